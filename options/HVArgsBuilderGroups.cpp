// The groups of arguments that come from the option records. Which value depends on which other one is the
// tool's and the records' business, and differs from group to group on purpose.

#include "HVArgsBuilder.h"

#include "IHVAdobePassAuthentication.h"
#include "IHVAuthenticationOptions.h"
#include "IHVCertificateAuthentication.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVGeneralAuthentication.h"
#include "IHVGeneralOptions.h"
#include "IHVGeoRestrictionOptions.h"
#include "IHVLogConfig.h"
#include "IHVNetrcAuthentication.h"
#include "IHVNetworkOptions.h"
#include "IHVProxy.h"

#include <utility>

namespace Halvorn {

namespace {

using Args = std::vector<std::string>;

char const* const NoCheckCertificates = "--no-check-certificates";

/// Appends the option and its value; false, and nothing, for an empty value.
bool AppendValue(Args& args, char const* option, std::string const& value) {
    if (value.empty())
        return false;
    args.emplace_back(option);
    args.push_back(value);
    return true;
}

void AppendNumber(Args& args, char const* option, int value) {
    AppendValue(args, option, std::to_string(value));
}

void AppendProxy(Args& args, char const* option, std::shared_ptr<IHVProxy> const& proxy) {
    if (proxy)
        AppendValue(args, option, proxy->BuildProxyURL());
}

void AppendRates(Args& args, int limit, int throttled) {
    if (limit > 0 && throttled > 0 && limit <= throttled) {
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "limit rate(%d) can't lower throttled rate(%%), ignore it.\n", limit);
        return;
    }
    if (limit > 0)
        AppendNumber(args, "--limit-rate", limit);
    if (throttled > 0)
        AppendNumber(args, "--throttled-rate", throttled);
}

} // namespace

IHVDownloadOptions& HVArgsBuilder::Bundle() {
    if (!options_)
        options_ = IHVDownloadOptions::MallocDownloadOptions();
    return *options_;
}

void HVArgsBuilder::SetGeneralOptions(std::shared_ptr<IHVGeneralOptions> options) {
    Bundle().SetGeneralOptions(std::move(options));
}

void HVArgsBuilder::SetNetworkOptions(std::shared_ptr<IHVNetworkOptions>& options) {
    Bundle().SetNetworkOptions(options);
}

void HVArgsBuilder::SetAuthenticationOptions(std::shared_ptr<IHVAuthenticationOptions>& options) {
    Bundle().SetAuthenticationOptions(options);
}

void HVArgsBuilder::SetGeoRestrictionOptions(std::shared_ptr<IHVGeoRestrictionOptions> options) {
    Bundle().SetGeoRestrictionOptions(std::move(options));
}

void HVArgsBuilder::SetDownloadCookiesOpitons(std::shared_ptr<IHVDownloadCookies> cookies) {
    Bundle().SetDownloadCookies(std::move(cookies));
}

Args HVArgsBuilder::BuildOptionsArgs() const {
    if (!options_)
        return {NoCheckCertificates};
    Args args = BuildAuthOptionsArgs();
    for (auto const& group : {BuildNetworkOptsArgs(), BuildGeoOptsArgs()})
        args.insert(args.end(), group.begin(), group.end());
    return args;
}

Args HVArgsBuilder::BuildAuthOptionsArgs() const {
    auto const auth = options_ ? options_->GetAuthenticationOptions() : nullptr;
    if (!auth)
        return {};
    Args args;
    // The first method that is set is used, even if it adds nothing.
    if (auto const general = auth->GetGeneralAuthentication())
        BuildGeneralAuthOptionsArgs(args, general);
    else if (auto const netrc = auth->GetNetrcAuthentication())
        BuildNetrcAuthOptionsArgs(args, netrc);
    else if (auto const adobePass = auth->GetAdobePassAuthentication())
        BuildAdobePassAuthOptionsArgs(args, adobePass);
    else if (auto const certificate = auth->GetCertificateAuthentication())
        BuildCertificateAuthOptionsArgs(args, certificate);
    AppendValue(args, "--video-password", auth->GetVideoPassword());
    return args;
}

void HVArgsBuilder::BuildGeneralAuthOptionsArgs(
    Args& args, std::shared_ptr<IHVGeneralAuthentication> const& method) const {
    if (!method || !AppendValue(args, "--username", method->GetUserName()))
        return;
    AppendValue(args, "--password", method->GetUserPWD());
    AppendValue(args, "--twofactor", method->GetTwoFactorCode());
}

void HVArgsBuilder::BuildNetrcAuthOptionsArgs(Args& args,
                                              std::shared_ptr<IHVNetrcAuthentication> const& method) const {
    if (!method)
        return;
    args.emplace_back("--netrc");
    AppendValue(args, "--netrc-location", method->GetLocation());
    AppendValue(args, "--netrc-cmd", method->GetCommand());
}

void HVArgsBuilder::BuildAdobePassAuthOptionsArgs(
    Args& args, std::shared_ptr<IHVAdobePassAuthentication> const& method) const {
    if (method && AppendValue(args, "--ap-mso", method->GetMultipleSystemOperator()) &&
        AppendValue(args, "--ap-username", method->GetUserName()))
        AppendValue(args, "--ap-password", method->GetUserPWD());
}

void HVArgsBuilder::BuildCertificateAuthOptionsArgs(
    Args& args, std::shared_ptr<IHVCertificateAuthentication> const& method) const {
    if (method && AppendValue(args, "--client-certificate", method->GetCertificateFile()) &&
        AppendValue(args, "--client-certificate-key", method->GetCertificatePrivateKey()))
        AppendValue(args, "--client-certificate-password", method->GetCertificatePWD());
}

Args HVArgsBuilder::BuildNetworkOptsArgs() const {
    auto const network = options_ ? options_->GetNetworkOptions() : nullptr;
    // No record means the same as a new one.
    if (!network)
        return {NoCheckCertificates};
    Args args;
    AppendProxy(args, "--proxy", network->GetProxy());
    if (network->GetSocketTimeout() != IHVNetworkOptions::HVConnectionTimeOutUndefined)
        AppendNumber(args, "--socket-timeout", network->GetSocketTimeout());
    AppendValue(args, "--source-address", network->GetClientSideIPAddress());
    if (!network->GetCheckCertificates())
        args.emplace_back(NoCheckCertificates);
    if (network->GetConnectionVia() == IHVNetworkOptions::ConnectionViaIPv4)
        args.emplace_back("--force-ipv4");
    else if (network->GetConnectionVia() == IHVNetworkOptions::ConnectionViaIPv6)
        args.emplace_back("--force-ipv6");
    // The tool has options of its own for both, which it does not document any more.
    for (auto const& [field, value] :
         {std::pair("User-Agent:", network->GetUserAgent()), std::pair("Referer:", network->GetReferer())})
        if (!value.empty())
            AppendValue(args, "--add-headers", field + value);
    return args;
}

Args HVArgsBuilder::BuildGeoOptsArgs() const {
    auto const geo = options_ ? options_->GetGeoRestrictionOptions() : nullptr;
    if (!geo)
        return {};
    Args args;
    AppendProxy(args, "--geo-verification-proxy", geo->GetProxy());
    if (!geo->IsDefaultXFFValue())
        AppendValue(args, "--xff", geo->GetXForwardedFor());
    return args;
}

Args HVArgsBuilder::BuildGeneralOptions() const {
    auto const general = options_ ? options_->GetGeneralOptions() : nullptr;
    if (!general)
        return {};
    Args args;
    if (general->GetConCurrentFragments() > 1)
        AppendNumber(args, "--concurrent-fragments", general->GetConCurrentFragments());
    if (general->GetKeepFragments())
        args.emplace_back("--keep-fragments");
    AppendRates(args, general->GetLimitDownloadRate(), general->GetThrottledDownloadRate());
    if (general->GetRetryCount() != IHVGeneralOptions::HVDefaultRetryCount) {
        AppendNumber(args, "--retries", general->GetRetryCount());
        AppendNumber(args, "--fragment-retries", general->GetRetryCount());
    }
    if (general->GetKeepVideo())
        args.emplace_back("--keep-video");
    if (general->GetBufferSize() > 0)
        AppendNumber(args, "--buffer-size", general->GetBufferSize());
    if (!general->GetAutoResizeBufferSize())
        args.emplace_back("--no-resize-buffer");
    if (!general->GetUsePartFile())
        args.emplace_back("--no-part");
    return args;
}

Args HVArgsBuilder::BuildConfigurationArgs() const {
    auto const general = options_ ? options_->GetGeneralOptions() : nullptr;
    return general && general->GetIgnoreToolConfiguration() ? Args{"--ignore-config"} : Args();
}

Args HVArgsBuilder::BuildCookiesptions() const {
    auto const cookies = options_ ? options_->GetDownloadCookies() : nullptr;
    if (!cookies)
        return {};
    auto const path = cookies->GetCookiesPathFile();
    if (!path.empty())
        return {"--cookies", path};
    return {"--cookies-from-browser", cookies->CookiesFromBrowserArgument()};
}

} // namespace Halvorn
