#pragma once
/// \class Halvorn::IHVDownloadThumbnail
/// One picture of an item or a playlist: its size, its address and, once fetched, its bytes.
///
/// Thread-safety: reading is safe from several threads while nobody fetches; one fetch of a picture at a
/// time. Ownership: held by shared pointers. The bytes belong to the object and live as long as it.

#include "HVExport.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

class IHVDownloadOptions;

///@{
/// The column keys of the tool's thumbnail table.
HV_EXPORT extern char const HVDownloadThumbnailID[];
HV_EXPORT extern char const HVDownloadThumbnailWidth[];
HV_EXPORT extern char const HVDownloadThumbnailHeight[];
HV_EXPORT extern char const HVDownloadThumbnailURL[];
///@}

class HV_EXPORT IHVDownloadThumbnail {
public:
    /// Format of the bytes, as read from the address.
    enum ThumbnailDataFormat : int {
        ThumbnailJPEG = 0,
        ThumbnailWebP = 1,
        ThumbnailPNG = 2,
        ThumbnailBMP = 3,
        ThumbnailGIF = 4,
        ThumbnailTIFF = 5,
        ThumbnailUnknown = 6
    };

    ///@{
    /// Size of the picture in pixels, 0 when unknown.
    virtual int GetWidth() const = 0;
    virtual int GetHeight() const = 0;
    ///@}
    /// The address of the picture.
    virtual std::string const& GetDownloadURL() const = 0;
    /// The bytes as they came; null before a fetch. Valid until the next fetch that finds none.
    virtual unsigned char const* GetData() const = 0;
    /// Number of bytes, 0 before a fetch.
    virtual int GetDataSize() const = 0;
    /// ThumbnailUnknown when the address does not tell.
    virtual ThumbnailDataFormat GetDataFormat() const = 0;
    /// Fetches the bytes by a run of the tool, with `options`, which may be empty. Blocks until the tool has
    /// ended, for at most half a minute, so keep it off a thread that must answer. True when the bytes are
    /// there, at once when they were fetched before; false when the tool could not be started, took too long,
    /// left no file, or left one that could not be read or is too large (see SetSizeLimit), and for the
    /// address of a list.
    virtual bool DownLoadThumbnailData(std::shared_ptr<IHVDownloadOptions> options) = 0;

    /// The same for a thumbnail whose bytes an analysis has left out (see
    /// IHVDownloadTask::SetThumbnailBytes), with the path of the JS runtime, which may be empty, and for at
    /// most so many milliseconds, half a minute for 0. `mayGoOn`, which may be empty, is asked about ten
    /// times a second on this thread, and ends the fetch when it says false or throws.
    bool Fetch(std::shared_ptr<IHVDownloadOptions> options, std::string const& jsRuntimePath,
               unsigned int milliseconds, std::function<bool()> const& mayGoOn = {});

    /// How many bytes a picture may have, in this process, for fetches that begin afterwards: 20,000,000
    /// unless set. A larger one is given up while it comes.
    static void SetSizeLimit(std::int64_t bytes);

    /// Whether this ranks before `other`: by width, then height, then JPEG before others, then the number of
    /// bytes. Any thumbnail ranks before none.
    bool BetterThan(IHVDownloadThumbnail const* other) const;
    /// Usual extension of the format, without a dot; empty for ThumbnailUnknown.
    std::string GetExtension() const;
    /// Whether the text is the head line of the tool's thumbnail table.
    static bool IsThumbnailInfoToken(std::string const& text);
    /// The thumbnail of one row of the tool's table; empty when the row is none.
    static std::shared_ptr<IHVDownloadThumbnail> MallocDownloadThumbnail(std::string const& row,
                                                                         std::string const& head);

protected:
    ~IHVDownloadThumbnail() = default;
};

} // namespace Halvorn
