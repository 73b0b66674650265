// The part of HVDownloadFormat that reads the tool's plain format table. Its columns stand where the keys of
// the head line stand, in three sections with a bar between them.
#include "HVDownloadFormat.h"

#include "HVNumberText.h"
#include "IHVStringHelper.h"

namespace Halvorn {

char const HVFormatIDKey[] = "ID";
char const HVFormatExtKey[] = "EXT";
char const HVFormatResolutionKey[] = "RESOLUTION";
char const HVFormatFPSKey[] = "FPS";
char const HVFormatHDRKey[] = "HDR";
char const HVFormatCHKey[] = "CH";
char const HVFormatFileSizeKey[] = "FILESIZE";
char const HVFormatTBRKey[] = "TBR";
char const HVFormatProtoKey[] = "PROTO";
char const HVFormatVCodecKey[] = "VCODEC";
char const HVFormatVBRKey[] = "VBR";
char const HVFormatACodecKey[] = "ACODEC";
char const HVFormatABRKey[] = "ABR";
char const HVFormatASRKey[] = "ASR";
char const HVFormatMoreInfoKey[] = "MORE INFO";

namespace {

bool Contains(std::string const& text, char const* part) {
    return text.find(part) != std::string::npos;
}

/// Where the key's column begins in both lines, or npos when either does not reach it.
std::size_t ColumnOf(std::string const& key, std::string const& row, std::string const& head) {
    std::size_t const column = head.find(key);
    return column < row.size() ? column : std::string::npos;
}

struct SizeUnit {
    char letter;
    float bytes;
};

} // namespace

bool HVDownloadFormat::IsFormatAuxiliary(std::string const& text) {
    return Contains(text, HVFormatIDKey) && Contains(text, HVFormatExtKey) &&
           Contains(text, HVFormatResolutionKey);
}

bool HVDownloadFormat::LoadFormPainText(std::string const& row, std::string const& head) {
    if (!IsFormatAuxiliary(head) || row.empty())
        return false;
    std::vector<std::string> const rows = IHVStringHelper::Split(row, '|');
    std::vector<std::string> const heads = IHVStringHelper::Split(head, '|');
    if (rows.size() != 3 || heads.size() != 3)
        return false;
    // In turn: a section is not even looked at once one before it has failed.
    auto filled = [&](std::size_t part) { return !rows[part].empty() && !heads[part].empty(); };
    if (!filled(0) || !ParseFormatFirstPart(rows[0], heads[0]) || !filled(1) ||
        !ParseFormatSecondPart(rows[1], heads[1]) || !filled(2) || !ParseFormatThirdPart(rows[2], heads[2]))
        return false;
    if (extension_ == "mhtml" || Contains(videoCodecName_, "images"))
        return false;
    audioOnly_ = videoCodecName_.empty() || Contains(videoCodecName_, "audio only") ||
                 Contains(resolution_, "audio only");
    videoOnly_ = audioCodecName_.empty() || Contains(audioCodecName_, "video only");
    return true;
}

bool HVDownloadFormat::ParseFormatFirstPart(std::string const& row, std::string const& head) {
    formatCode_ = ReadLeftAlignValueForKey(HVFormatIDKey, row, head);
    if (formatCode_.empty())
        return false;
    extension_ = ReadLeftAlignValueForKey(HVFormatExtKey, row, head);
    if (extension_.empty())
        return false;
    resolution_ = ReadLeftAlignValueForKey(HVFormatResolutionKey, row, head);
    if (!resolution_.empty())
        ParseResolution(resolution_);
    std::string const rate = ReadRightAlignValueForKey(HVFormatFPSKey, row, head);
    if (IHVStringHelper::IsNumberString(rate))
        framePerSecond_ = TextToFloat(rate);
    hdr_ = ReadLeftAlignValueForKey(HVFormatHDRKey, row, head);
    std::string const channels = ReadRightAlignValueForKey(HVFormatCHKey, row, head);
    if (IHVStringHelper::IsNumberString(channels))
        channelCount_ = std::stoi(channels);
    return true;
}

bool HVDownloadFormat::ParseFormatSecondPart(std::string const& row, std::string const& head) {
    sizeFormat_ = ReadRightAlignValueForKey(HVFormatFileSizeKey, row, head);
    if (IsSizeString(sizeFormat_))
        ParseSizeFormat(sizeFormat_);
    tbr_ = ReadRightAlignValueForKey(HVFormatTBRKey, row, head);
    proto_ = ReadLeftAlignValueForKey(HVFormatProtoKey, row, head);
    return true;
}

bool HVDownloadFormat::ParseFormatThirdPart(std::string const& row, std::string const& head) {
    videoCodecName_ = ReadLeftAlignValueForKey(HVFormatVCodecKey, row, head);
    vbr_ = ReadRightAlignValueForKey(HVFormatVBRKey, row, head);
    audioCodecName_ = ReadLeftAlignValueForKey(HVFormatACodecKey, row, head);
    abr_ = ReadRightAlignValueForKey(HVFormatABRKey, row, head);
    asr_ = ReadRightAlignValueForKey(HVFormatASRKey, row, head);
    moreInfo_ = ReadLeftAlignValueForKey(HVFormatMoreInfoKey, row, head);
    return true;
}

/// A left-aligned value begins where its key does. It ends before the next key, or, where a right-aligned
/// neighbour has grown to the left of its own key, at the blank in front of that neighbour.
std::string HVDownloadFormat::ReadLeftAlignValueForKey(std::string const& key, std::string const& row,
                                                       std::string const& head) const {
    std::size_t const column = ColumnOf(key, row, head);
    if (column == std::string::npos)
        return {};
    int const next = IndexOfNextKeyFromPos(static_cast<int>(column + key.size()), head);
    if (next < 0 || static_cast<std::size_t>(next) >= row.size())
        return IHVStringHelper::Trimmed(row.substr(column));
    std::size_t const blank = static_cast<std::size_t>(IndexOfNearestWhitespaceReverse(next, row));
    std::size_t const end = blank > column ? blank : static_cast<std::size_t>(next);
    return IHVStringHelper::Trimmed(row.substr(column, end - column));
}

/// A right-aligned value ends where its key does and reaches back to the nearest blank, which may stand far
/// to the left of the key.
std::string HVDownloadFormat::ReadRightAlignValueForKey(std::string const& key, std::string const& row,
                                                        std::string const& head) const {
    std::size_t const column = ColumnOf(key, row, head);
    if (column == std::string::npos)
        return {};
    std::size_t const end = column + key.size();
    std::size_t const blank =
        static_cast<std::size_t>(IndexOfNearestWhitespaceReverse(static_cast<int>(end) - 1, row));
    if (blank >= end || blank >= row.size())
        return {};
    // One character more than the column reaches: read on purpose.
    return IHVStringHelper::Trimmed(row.substr(blank, end - blank + 1));
}

int HVDownloadFormat::IndexOfNextKeyFromPos(int pos, std::string const& text) const {
    std::size_t const found = text.find_first_not_of(' ', static_cast<std::size_t>(pos));
    return found == std::string::npos ? -1 : static_cast<int>(found);
}

int HVDownloadFormat::IndexOfNearestWhitespaceReverse(int pos, std::string const& text) const {
    if (static_cast<std::size_t>(pos) >= text.size())
        return pos;
    std::size_t const found = text.rfind(' ', static_cast<std::size_t>(pos));
    return found == std::string::npos ? 0 : static_cast<int>(found);
}

void HVDownloadFormat::ParseResolution(std::string const& text) {
    std::vector<std::string> const parts = IHVStringHelper::Split(text, 'x');
    if (parts.size() != 2)
        return;
    if (IHVStringHelper::IsNumberString(parts[0]))
        width_ = std::stoi(parts[0]);
    if (IHVStringHelper::IsNumberString(parts[1]))
        height_ = std::stoi(parts[1]);
}

bool HVDownloadFormat::IsSizeString(std::string const& text) const {
    std::string const size = IHVStringHelper::Trimmed(text);
    std::size_t const unit = size.find_first_not_of("~ 0123456789.");
    if (unit == std::string::npos || size.find_first_of("0123456789.") >= unit)
        return false;
    std::string const name = IHVStringHelper::ToLower(size.substr(unit));
    for (char const* const known : {"mib", "mb", "gib", "gb", "kib", "kb", "bytes", "b", "tib", "tb"}) {
        if (name == known)
            return true;
    }
    return false;
}

void HVDownloadFormat::ParseSizeFormat(std::string const& text) {
    std::size_t const tilde = text.find('~');
    std::size_t const start = tilde == std::string::npos ? 0 : tilde + 1;
    constexpr SizeUnit kUnits[] = {{'K', 1024.0F}, {'M', 1048576.0F}, {'G', 1073741824.0F}};
    // Capital letters only, and none for "TiB": such a size counts as its bare number.
    std::size_t end = std::string::npos;
    float multiplier = 1.0F;
    for (SizeUnit const& unit : kUnits) {
        end = text.rfind(unit.letter);
        if (end != std::string::npos) {
            multiplier = unit.bytes;
            break;
        }
    }
    bool const behindStart = end != std::string::npos && end > start;
    std::string const number = behindStart ? text.substr(start, end - start) : text.substr(start);
    float const bytes = TextToFloat(IHVStringHelper::Trimmed(number)) * multiplier;
    constexpr float kLimit = 18446744073709551616.0F;
    size_ = bytes >= 0.0F && bytes < kLimit ? static_cast<std::uint64_t>(bytes) : 0;
}

} // namespace Halvorn
