#pragma once
/// \class Halvorn::IHVGeneralOptions
/// How the tool downloads: rates, retries, fragments, what it keeps.
///
/// Thread-safety: none; set the record up before it goes to a task or a controller, whose worker threads read
/// it. Ownership: shared pointers.

#include "HVExport.h"

#include <memory>

namespace Halvorn {

class HV_EXPORT IHVGeneralOptions {
public:
    /// The retry count that the tool uses unasked, 10. A new record holds -1, which means the same.
    static const int HVDefaultRetryCount;

    /// A record with the defaults named below.
    static std::shared_ptr<IHVGeneralOptions> MallocGeneralOptions();

    /// Number of fragments that are fetched at the same time. 1.
    virtual int GetConCurrentFragments() const = 0;
    /// A number below 1 is logged and refused.
    virtual void SetConCurrentFragments(int count) = 0;
    ///@{
    /// Whether fragments stay after they were joined. False.
    virtual bool GetKeepFragments() const = 0;
    virtual void SetKeepFragments(bool keep) = 0;
    ///@}
    ///@{
    /// Highest rate in bytes per second, 0 for no limit. It has to be above the throttled rate where both are
    /// set; else neither is used.
    virtual int GetLimitDownloadRate() const = 0;
    virtual void SetLimitDownloadRate(int bytesPerSecond) = 0;
    ///@}
    ///@{
    /// Rate in bytes per second below which a site is taken to throttle, so that the media is asked for
    /// anew; 0 for never.
    virtual int GetThrottledDownloadRate() const = 0;
    virtual void SetThrottledDownloadRate(int bytesPerSecond) = 0;
    ///@}
    /// Number of retries of a download and of each fragment. -1.
    virtual int GetRetryCount() const = 0;
    /// A number below 0 is logged and refused: the first -1 can't be set again.
    virtual void SetRetryCount(int count) = 0;
    ///@{
    /// Whether the parts of a merged or converted file stay. False.
    virtual bool GetKeepVideo() const = 0;
    virtual void SetKeepVideo(bool keep) = 0;
    ///@}
    ///@{
    /// Size of the download buffer in bytes, 0 for the tool's default.
    virtual int GetBufferSize() const = 0;
    virtual void SetBufferSize(int bytes) = 0;
    ///@}
    ///@{
    /// Whether the tool may alter the buffer's size. True.
    virtual bool GetAutoResizeBufferSize() const = 0;
    virtual void SetAutoResizeBufferSize(bool resize) = 0;
    ///@}
    ///@{
    /// Whether a file grows under a name that ends in ".part". True.
    virtual bool GetUsePartFile() const = 0;
    virtual void SetUsePartFile(bool use) = 0;
    ///@}
    /// A record of its own with the same values.
    virtual std::shared_ptr<IHVGeneralOptions> Clone() const = 0;

    ///@{
    /// Whether the tool passes over the configuration files of its own that the user may have written, in
    /// analyses, downloads and thumbnails alike. False: they take part, and options in them such as
    /// "--extract-audio", "--remux-video", "--download-archive" or "--print" can make every analysis or
    /// download fail, with an error that does not tell why. A record of another implementation answers false
    /// and stores nothing.
    void SetIgnoreToolConfiguration(bool ignore);
    bool GetIgnoreToolConfiguration() const;
    ///@}

protected:
    ~IHVGeneralOptions() = default;
};

} // namespace Halvorn
