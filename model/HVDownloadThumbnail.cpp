#include "HVDownloadThumbnail.h"

#include "HVUtf8.h"
#include "IHVFileProvider.h"
#include "IHVStringHelper.h"

namespace Halvorn {

char const HVDownloadThumbnailID[] = "ID";
char const HVDownloadThumbnailWidth[] = "Width";
char const HVDownloadThumbnailHeight[] = "Height";
char const HVDownloadThumbnailURL[] = "URL";

namespace {

struct Extension {
    char const* text;
    IHVDownloadThumbnail::ThumbnailDataFormat format;
};

/// The first of each format is the one that GetExtension gives.
constexpr Extension kExtensions[] = {
    {"jpg", IHVDownloadThumbnail::ThumbnailJPEG},  {"jpeg", IHVDownloadThumbnail::ThumbnailJPEG},
    {"jp2", IHVDownloadThumbnail::ThumbnailJPEG},  {"webp", IHVDownloadThumbnail::ThumbnailWebP},
    {"png", IHVDownloadThumbnail::ThumbnailPNG},   {"bmp", IHVDownloadThumbnail::ThumbnailBMP},
    {"gif", IHVDownloadThumbnail::ThumbnailGIF},   {"tif", IHVDownloadThumbnail::ThumbnailTIFF},
    {"tiff", IHVDownloadThumbnail::ThumbnailTIFF},
};

} // namespace

bool IHVDownloadThumbnail::BetterThan(IHVDownloadThumbnail const* other) const {
    if (other == nullptr)
        return true;
    if (GetWidth() != other->GetWidth())
        return GetWidth() > other->GetWidth();
    if (GetHeight() != other->GetHeight())
        return GetHeight() > other->GetHeight();
    bool const jpeg = GetDataFormat() == ThumbnailJPEG;
    bool const otherJpeg = other->GetDataFormat() == ThumbnailJPEG;
    if (jpeg != otherJpeg)
        return jpeg;
    return static_cast<unsigned>(GetDataSize()) > static_cast<unsigned>(other->GetDataSize());
}

std::string IHVDownloadThumbnail::GetExtension() const {
    for (Extension const& extension : kExtensions) {
        if (extension.format == GetDataFormat())
            return extension.text;
    }
    return {};
}

bool IHVDownloadThumbnail::IsThumbnailInfoToken(std::string const& text) {
    return HVDownloadThumbnail::IsThumbnailInfoToken(text);
}

std::shared_ptr<IHVDownloadThumbnail> IHVDownloadThumbnail::MallocDownloadThumbnail(std::string const& row,
                                                                                    std::string const& head) {
    auto thumbnail = std::make_shared<HVDownloadThumbnail>();
    if (!thumbnail->LoadFromInfo(row, head))
        return nullptr;
    return thumbnail;
}

bool HVDownloadThumbnail::LoadFromJson(std::shared_ptr<HVJsonObjectThumbnail const> const& json) {
    if (json == nullptr)
        return false;
    id_ = json->GetID();
    if (id_.empty())
        return false;
    height_ = json->GetHeight();
    width_ = json->GetWidth();
    downloadURL_ = json->GetURL();
    if (downloadURL_.empty())
        return false;
    dataFormat_ = FormatFromExtension(IHVFileProvider::URLExtension(downloadURL_));
    return dataFormat_ != ThumbnailWebP;
}

bool HVDownloadThumbnail::LoadFromInfo(std::string const& row, std::string const& head) {
    if (!IsThumbnailInfoToken(head))
        return false;
    id_ = ReadKeyValue(row, head, HVDownloadThumbnailID);
    if (id_.empty())
        return false;
    std::string const width = ReadKeyValue(row, head, HVDownloadThumbnailWidth);
    if (IHVStringHelper::IsNumberString(width))
        width_ = std::stoi(width);
    std::string const height = ReadKeyValue(row, head, HVDownloadThumbnailHeight);
    if (IHVStringHelper::IsNumberString(height))
        height_ = std::stoi(height);
    downloadURL_ = ReadKeyValue(row, head, HVDownloadThumbnailURL);
    if (downloadURL_.empty())
        return false;
    dataFormat_ = FormatFromExtension(IHVFileProvider::URLExtension(downloadURL_));
    return true;
}

bool HVDownloadThumbnail::IsThumbnailInfoToken(std::string const& text) {
    for (char const* const key : {HVDownloadThumbnailID, HVDownloadThumbnailWidth, HVDownloadThumbnailHeight,
                                  HVDownloadThumbnailURL}) {
        if (text.find(key) == std::string::npos)
            return false;
    }
    return true;
}

std::string HVDownloadThumbnail::ReadKeyValue(std::string const& row, std::string const& head,
                                              std::string const& key) {
    std::size_t const place = head.find(key);
    if (place == std::string::npos)
        return {};
    // Columns are padded by code points.
    std::size_t const column = Utf8Offset(row, place);
    if (column >= row.size())
        return {};
    std::size_t const blank = row.find(' ', column);
    // The last value of a row is taken as it stands.
    return blank == std::string::npos ? row.substr(column)
                                      : IHVStringHelper::Trimmed(row.substr(column, blank - column));
}

IHVDownloadThumbnail::ThumbnailDataFormat
HVDownloadThumbnail::FormatFromExtension(std::string const& extension) const {
    std::string const lower = IHVStringHelper::ToLower(extension);
    for (Extension const& known : kExtensions) {
        if (lower == known.text)
            return known.format;
    }
    return ThumbnailUnknown;
}

} // namespace Halvorn
