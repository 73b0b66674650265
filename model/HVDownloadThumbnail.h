#pragma once
// One picture, from the tool's JSON or from a row of its plain table. See IHVDownloadThumbnail for threads
// and ownership.

#include "HVHTTPTerms.h"
#include "HVJsonObjectThumbnail.h"
#include "IHVDownloadThumbnail.h"

#include <cstdint>
#include <functional>
#include <utility>

namespace Halvorn {

class HVToolStop;

class HVDownloadThumbnail final : public IHVDownloadThumbnail {
public:
    int GetWidth() const override { return width_; }
    int GetHeight() const override { return height_; }
    std::string const& GetDownloadURL() const override { return downloadURL_; }
    unsigned char const* GetData() const override { return data_.get(); }
    int GetDataSize() const override { return dataSize_; }
    ThumbnailDataFormat GetDataFormat() const override { return dataFormat_; }
    bool DownLoadThumbnailData(std::shared_ptr<IHVDownloadOptions> options) override;

    /// How long a fetch may take, in milliseconds.
    static constexpr unsigned int kFetchTime = 30'000;
    /// As DownLoadThumbnailData, with the JS runtime's path, which may be empty; it is ended at once when
    /// `stop`, which may be null, is requested, after `time` milliseconds, and when `mayGoOn`, which may be
    /// empty, says false.
    bool FetchData(std::shared_ptr<IHVDownloadOptions> options, std::string const& jsRuntimePath,
                   HVToolStop* stop, unsigned int time, std::function<bool()> const& mayGoOn = {});
    /// Fetches the bytes by HTTP as the tool would, without a run of it: with the headers and what `options`,
    /// which may be null, say of proxy, cookies and certificates. `stop` and `time` as above. False where it
    /// did not get a picture, or only the tool can ask as the options want.
    bool FetchByHTTP(IHVDownloadOptions const* options, HVToolStop* stop, unsigned int time);
    /// What the tool sends when it asks for it.
    void SetHeaders(HVHTTPHeaders headers) { headers_ = std::move(headers); }
    /// See IHVDownloadThumbnail::SetSizeLimit.
    static std::int64_t SizeLimit();

    /// False for a picture that is not offered: no identifier, no address, WebP, an empty pointer.
    bool LoadFromJson(std::shared_ptr<HVJsonObjectThumbnail const> const& json);
    /// Whether LoadFromJson was false for nothing but the WebP.
    bool IsUsableWebP() const { return !downloadURL_.empty() && dataFormat_ == ThumbnailWebP; }
    /// False for a row without identifier or address. WebP is not refused here.
    bool LoadFromInfo(std::string const& row, std::string const& head);
    static bool IsThumbnailInfoToken(std::string const& text);
    /// What stands in the row from the place of the key in the head line to the next blank.
    std::string ReadKeyValue(std::string const& row, std::string const& head, std::string const& key);
    /// With any letter case.
    ThumbnailDataFormat FormatFromExtension(std::string const& extension) const;

private:
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
    std::string id_;
    std::unique_ptr<unsigned char[]> data_;
    std::int32_t dataSize_ = 0;
    ThumbnailDataFormat dataFormat_ = ThumbnailUnknown;
    std::string downloadURL_;
    HVHTTPHeaders headers_;
};

} // namespace Halvorn
