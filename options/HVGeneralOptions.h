#pragma once
// The implementation of IHVGeneralOptions.

#include "IHVGeneralOptions.h"

namespace Halvorn {

class HVGeneralOptions final : public IHVGeneralOptions {
public:
    HVGeneralOptions() = default;
    /// A copy; of nothing, a new record.
    explicit HVGeneralOptions(std::shared_ptr<IHVGeneralOptions const> const& source);

    int GetConCurrentFragments() const override { return conCurrentFragments_; }
    void SetConCurrentFragments(int count) override;
    bool GetKeepFragments() const override { return keepFragments_; }
    void SetKeepFragments(bool keep) override { keepFragments_ = keep; }
    int GetLimitDownloadRate() const override { return limitDownloadRate_; }
    void SetLimitDownloadRate(int bytesPerSecond) override { limitDownloadRate_ = bytesPerSecond; }
    int GetThrottledDownloadRate() const override { return throttledDownloadRate_; }
    void SetThrottledDownloadRate(int bytesPerSecond) override { throttledDownloadRate_ = bytesPerSecond; }
    int GetRetryCount() const override { return retryCount_; }
    void SetRetryCount(int count) override;
    bool GetKeepVideo() const override { return keepVideo_; }
    void SetKeepVideo(bool keep) override { keepVideo_ = keep; }
    int GetBufferSize() const override { return bufferSize_; }
    void SetBufferSize(int bytes) override { bufferSize_ = bytes; }
    bool GetAutoResizeBufferSize() const override { return autoResizeBufferSize_; }
    void SetAutoResizeBufferSize(bool resize) override { autoResizeBufferSize_ = resize; }
    bool GetUsePartFile() const override { return usePartFile_; }
    void SetUsePartFile(bool use) override { usePartFile_ = use; }
    std::shared_ptr<IHVGeneralOptions> Clone() const override;

    bool IgnoreToolConfiguration() const { return ignoreToolConfiguration_; }
    void SetIgnoreToolConfiguration(bool ignore) { ignoreToolConfiguration_ = ignore; }

private:
    bool usePartFile_ = true;
    int bufferSize_ = 0;
    bool autoResizeBufferSize_ = true;
    bool keepVideo_ = false;
    int retryCount_ = -1;
    int throttledDownloadRate_ = 0;
    int limitDownloadRate_ = 0;
    bool keepFragments_ = false;
    int conCurrentFragments_ = 1;
    bool ignoreToolConfiguration_ = false;
};

} // namespace Halvorn
