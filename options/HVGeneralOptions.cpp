#include "HVGeneralOptions.h"

#include "HVBorrowed.h"
#include "IHVLogConfig.h"

namespace Halvorn {

const int IHVGeneralOptions::HVDefaultRetryCount = 10;

// The fields are written past the setters, which would refuse a new record's retry count.
HVGeneralOptions::HVGeneralOptions(std::shared_ptr<IHVGeneralOptions const> const& source) {
    if (!source)
        return;
    usePartFile_ = source->GetUsePartFile();
    bufferSize_ = source->GetBufferSize();
    autoResizeBufferSize_ = source->GetAutoResizeBufferSize();
    keepVideo_ = source->GetKeepVideo();
    retryCount_ = source->GetRetryCount();
    throttledDownloadRate_ = source->GetThrottledDownloadRate();
    limitDownloadRate_ = source->GetLimitDownloadRate();
    keepFragments_ = source->GetKeepFragments();
    conCurrentFragments_ = source->GetConCurrentFragments();
    ignoreToolConfiguration_ = source->GetIgnoreToolConfiguration();
}

void HVGeneralOptions::SetConCurrentFragments(int count) {
    if (count >= 1)
        conCurrentFragments_ = count;
    else
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "Can't set concurrent fragment lower than 1.\n");
}

void HVGeneralOptions::SetRetryCount(int count) {
    if (count >= 0)
        retryCount_ = count;
    else
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "Can't set retry count lower than zero.\n");
}

std::shared_ptr<IHVGeneralOptions> HVGeneralOptions::Clone() const {
    return std::make_shared<HVGeneralOptions>(Borrowed<IHVGeneralOptions>(*this));
}

void IHVGeneralOptions::SetIgnoreToolConfiguration(bool ignore) {
    if (auto* const concrete = dynamic_cast<HVGeneralOptions*>(this))
        concrete->SetIgnoreToolConfiguration(ignore);
}

bool IHVGeneralOptions::GetIgnoreToolConfiguration() const {
    auto const* const concrete = dynamic_cast<HVGeneralOptions const*>(this);
    return concrete != nullptr && concrete->IgnoreToolConfiguration();
}

std::shared_ptr<IHVGeneralOptions> IHVGeneralOptions::MallocGeneralOptions() {
    return std::make_shared<HVGeneralOptions>();
}

} // namespace Halvorn
