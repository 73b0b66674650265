#include "HVOptionsRecord.h"

#include "HVFields.h"
#include "HVFileSystem.h"
#include "HVKeptNeed.h"
#include "IHVAdobePassAuthentication.h"
#include "IHVAuthenticationOptions.h"
#include "IHVCertificateAuthentication.h"
#include "IHVConversionOptions.h"
#include "IHVDownloadCookies.h"
#include "IHVFileProvider.h"
#include "IHVGeneralAuthentication.h"
#include "IHVGeneralOptions.h"
#include "IHVGeoRestrictionOptions.h"
#include "IHVNetrcAuthentication.h"
#include "IHVNetworkOptions.h"
#include "IHVProxy.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace Halvorn {

namespace {

// Records that are there, as "here" in theirs: one with its defaults alone is not the same as none.

std::string ProxyRecord(IHVProxy const& proxy, int& needs) {
    HVFields fields;
    fields.SetInteger("here", 1);
    fields.SetInteger("scheme", proxy.GetProxyScheme());
    fields.SetText("host", proxy.GetHostNameOrIP());
    fields.SetInteger("port", proxy.GetHostPort());
    fields.SetText("user", proxy.GetUserName());
    if (!proxy.GetUserPWD().empty())
        needs |= HVKeptNeedProxyPassword;
    return fields.Text();
}

std::shared_ptr<IHVProxy> ProxyOf(std::string const& record) {
    HVFields const fields(record);
    return record.empty()
               ? nullptr
               : IHVProxy::MallocProxy(static_cast<IHVProxy::ProxyScheme>(fields.Int("scheme")),
                                       fields.Get("host"), fields.Int("port"), fields.Get("user"), {});
}

std::string GeneralRecord(IHVGeneralOptions const& options) {
    HVFields fields;
    fields.SetInteger("here", 1);
    fields.SetInteger("fragments", options.GetConCurrentFragments());
    fields.SetInteger("keep fragments", options.GetKeepFragments() ? 1 : 0);
    fields.SetInteger("rate", options.GetLimitDownloadRate());
    fields.SetInteger("throttled", options.GetThrottledDownloadRate());
    fields.SetInteger("retries", options.GetRetryCount() + 1);
    fields.SetInteger("keep parts", options.GetKeepVideo() ? 1 : 0);
    fields.SetInteger("buffer", options.GetBufferSize());
    fields.SetInteger("fixed buffer", options.GetAutoResizeBufferSize() ? 0 : 1);
    fields.SetInteger("no part file", options.GetUsePartFile() ? 0 : 1);
    fields.SetInteger("ignore configuration", options.GetIgnoreToolConfiguration() ? 1 : 0);
    return fields.Text();
}

std::shared_ptr<IHVGeneralOptions> GeneralOf(HVFields const& fields) {
    auto options = IHVGeneralOptions::MallocGeneralOptions();
    options->SetConCurrentFragments(fields.Int("fragments"));
    options->SetKeepFragments(fields.Flag("keep fragments"));
    options->SetLimitDownloadRate(fields.Int("rate"));
    options->SetThrottledDownloadRate(fields.Int("throttled"));
    if (int const retries = fields.Int("retries"); retries > 0)
        options->SetRetryCount(retries - 1);
    options->SetKeepVideo(fields.Flag("keep parts"));
    options->SetBufferSize(fields.Int("buffer"));
    options->SetAutoResizeBufferSize(!fields.Flag("fixed buffer"));
    options->SetUsePartFile(!fields.Flag("no part file"));
    options->SetIgnoreToolConfiguration(fields.Flag("ignore configuration"));
    return options;
}

std::string NetworkRecord(IHVNetworkOptions const& options, int& needs) {
    HVFields fields;
    fields.SetInteger("here", 1);
    if (options.GetProxy() != nullptr)
        fields.SetText("proxy", ProxyRecord(*options.GetProxy(), needs));
    fields.SetInteger("via", options.GetConnectionVia());
    fields.SetText("from", options.GetClientSideIPAddress());
    fields.SetInteger("timeout", options.GetSocketTimeout() + 1);
    fields.SetText("agent", options.GetUserAgent());
    fields.SetText("referer", options.GetReferer());
    fields.SetInteger("check certificates", options.GetCheckCertificates() ? 1 : 0);
    return fields.Text();
}

std::shared_ptr<IHVNetworkOptions> NetworkOf(HVFields const& fields) {
    auto options = IHVNetworkOptions::MallocNetworkOptions();
    options->SetProxy(ProxyOf(fields.Get("proxy")));
    options->SetConnectionVia(static_cast<IHVNetworkOptions::ConnectionVia>(fields.Int("via")));
    options->SetClientSideIPAddress(fields.Get("from"));
    options->SetSocketTimeout(fields.Int("timeout") - 1);
    options->SetUserAgent(fields.Get("agent"));
    options->SetReferer(fields.Get("referer"));
    options->SetCheckCertificates(fields.Flag("check certificates"));
    return options;
}

std::string GeoRecord(IHVGeoRestrictionOptions const& options, int& needs) {
    HVFields fields;
    fields.SetInteger("here", 1);
    if (options.GetProxy() != nullptr)
        fields.SetText("proxy", ProxyRecord(*options.GetProxy(), needs));
    fields.SetText("forwarded for", options.GetXForwardedFor());
    return fields.Text();
}

/// Of the methods only a netrc file is kept, which others guard, and certificates without a password.
std::string LoginRecord(IHVAuthenticationOptions const& options, int& needs) {
    HVFields fields;
    fields.SetInteger("here", 1);
    if (!options.GetVideoPassword().empty())
        needs |= HVKeptNeedVideoPassword;
    auto const netrc = options.GetNetrcAuthentication();
    auto const certificate = options.GetCertificateAuthentication();
    bool const other = netrc == nullptr && options.GetAdobePassAuthentication() != nullptr;
    // The first of them counts.
    if (options.GetGeneralAuthentication() != nullptr || other) {
        needs |= HVKeptNeedLogin;
    } else if (netrc != nullptr) {
        if (!netrc->GetCommand().empty())
            needs |= HVKeptNeedLogin;
        fields.SetInteger("netrc", 1);
        fields.SetText("netrc place", AbsolutePath(netrc->GetLocation()));
    } else if (certificate != nullptr) {
        if (!certificate->GetCertificatePWD().empty())
            needs |= HVKeptNeedLogin;
        fields.SetText("certificate", AbsolutePath(certificate->GetCertificateFile()));
        fields.SetText("certificate key", AbsolutePath(certificate->GetCertificatePrivateKey()));
    }
    return fields.Text();
}

std::shared_ptr<IHVAuthenticationOptions> LoginOf(HVFields const& fields) {
    auto options = IHVAuthenticationOptions::MallocAuthenticationOptions();
    if (fields.Flag("netrc")) {
        auto const netrc = IHVNetrcAuthentication::MallocNetrcAuthentication();
        netrc->SetLocation(fields.Get("netrc place"));
        options->SetNetrcAuthentication(netrc);
    }
    if (auto const file = fields.Get("certificate"); !file.empty()) {
        auto const certificate = IHVCertificateAuthentication::MallocCertificateAuthentication();
        certificate->SetCertificateFile(file);
        certificate->SetCertificatePrivateKey(fields.Get("certificate key"));
        options->SetCertificateAuthentication(certificate);
    }
    return options;
}

std::string CookiesRecord(IHVDownloadCookies const& cookies) {
    HVFields fields;
    fields.SetInteger("here", 1);
    fields.SetText("file", AbsolutePath(cookies.GetCookiesPathFile()));
    fields.SetInteger("browser", cookies.GetCookiesFromBrowser());
    auto const store = cookies.GetBrowserStore();
    fields.SetText("profile", store.profile);
    fields.SetText("container", store.container);
    fields.SetText("keyring", store.keyring);
    return fields.Text();
}

std::shared_ptr<IHVDownloadCookies> CookiesOf(HVFields const& fields, int& needs) {
    std::string const file = fields.Get("file");
    if (!file.empty() && !IHVFileProvider::PathFileExist(file))
        needs |= HVKeptNeedCookies;
    auto cookies = file.empty() ? IHVDownloadCookies::MallocDownloadCookies()
                                : IHVDownloadCookies::MallocDownloadCookies(file);
    cookies->SetCookiesFromBrowser(static_cast<HVDownloadBrowser>(fields.Int("browser")));
    cookies->SetBrowserStore({fields.Get("profile"), fields.Get("container"), fields.Get("keyring")});
    return cookies;
}

/// Times of parts are kept in thousandths of a second, as the tool is told them.
constexpr double kTimeUnits = 1000;
/// More than the setter takes.
constexpr int kMostParts = 10'000;

std::string PartName(int number, char const* what) {
    return std::to_string(number) + " " + what;
}

std::string ConversionRecord(IHVConversionOptions const& options) {
    HVFields fields;
    fields.SetInteger("here", 1);
    fields.SetText("audio", options.GetAudio());
    fields.SetInteger("quality", options.GetAudioQuality());
    fields.SetText("container", options.GetContainer());
    fields.SetInteger("thumbnail", options.GetEmbedThumbnail() ? 1 : 0);
    fields.SetInteger("metadata", options.GetEmbedMetadata() ? 1 : 0);
    fields.SetInteger("chapters", options.GetEmbedChapters() ? 1 : 0);
    fields.SetInteger("subtitles", options.GetEmbedSubtitles() ? 1 : 0);
    fields.SetInteger("subtitles beside", options.GetKeepSubtitleFiles() ? 1 : 0);
    fields.SetText("subtitle format", options.GetSubtitleFormat());
    fields.SetInteger("split", options.GetSplitChapters() ? 1 : 0);
    fields.SetInteger("exact", options.GetExactCuts() ? 1 : 0);
    fields.SetText("sponsors removed", options.GetSponsorsRemoved());
    fields.SetText("sponsors marked", options.GetSponsorsMarked());
    fields.SetText("sponsor service", options.GetSponsorService());
    auto const sections = options.GetSections();
    fields.SetInteger("parts", static_cast<std::int64_t>(sections.size()));
    int number = 0;
    for (HVSection const& section : sections) {
        fields.SetInteger(PartName(++number, "begin"), std::llround(section.begin * kTimeUnits));
        fields.SetInteger(PartName(number, "end"), std::llround(section.end * kTimeUnits));
    }
    return fields.Text();
}

/// What the setters refuse, since the file was changed by hand, is left out.
std::shared_ptr<IHVConversionOptions> ConversionOfRecord(HVFields const& fields) {
    auto options = IHVConversionOptions::MallocConversionOptions();
    options->SetAudio(fields.Get("audio"), fields.Int("quality"));
    options->SetContainer(fields.Get("container"));
    options->SetEmbedThumbnail(fields.Flag("thumbnail"));
    options->SetEmbedMetadata(fields.Flag("metadata"));
    options->SetEmbedChapters(fields.Flag("chapters"));
    if (fields.Flag("subtitles"))
        options->SetEmbedSubtitles(true, fields.Flag("subtitles beside"));
    options->SetSubtitleFormat(fields.Get("subtitle format"));
    options->SetSplitChapters(fields.Flag("split"));
    options->SetExactCuts(fields.Flag("exact"));
    options->SetSponsorsRemoved(fields.Get("sponsors removed"));
    options->SetSponsorsMarked(fields.Get("sponsors marked"));
    options->SetSponsorService(fields.Get("sponsor service"));
    std::vector<HVSection> sections;
    auto const time = [&fields](int number, char const* what) {
        return static_cast<double>(fields.Integer(PartName(number, what))) / kTimeUnits;
    };
    for (int number = 1; number <= std::min(fields.Int("parts"), kMostParts); ++number)
        sections.push_back({time(number, "begin"), time(number, "end")});
    options->SetSections(sections);
    return options;
}

} // namespace

std::string OptionsRecord(IHVDownloadOptions const* options, int& needs) {
    if (options == nullptr)
        return {};
    HVFields fields;
    fields.SetInteger("here", 1);
    // Paths are made absolute: the next process stands in another folder.
    if (auto const general = options->GetGeneralOptions())
        fields.SetText("general", GeneralRecord(*general));
    if (auto const network = options->GetNetworkOptions())
        fields.SetText("network", NetworkRecord(*network, needs));
    if (auto const geo = options->GetGeoRestrictionOptions())
        fields.SetText("region", GeoRecord(*geo, needs));
    if (auto const login = options->GetAuthenticationOptions())
        fields.SetText("login", LoginRecord(*login, needs));
    if (auto const cookies = options->GetDownloadCookies())
        fields.SetText("cookies", CookiesRecord(*cookies));
    if (auto const conversion = options->GetConversionOptions())
        fields.SetText("conversion", ConversionRecord(*conversion));
    return fields.Text();
}

std::shared_ptr<IHVDownloadOptions> OptionsOfRecord(std::string_view record, int& needs) {
    if (record.empty())
        return nullptr;
    HVFields const fields(record);
    auto options = IHVDownloadOptions::MallocDownloadOptions();
    if (auto const general = fields.Get("general"); !general.empty())
        options->SetGeneralOptions(GeneralOf(HVFields(general)));
    if (auto const network = fields.Get("network"); !network.empty())
        options->SetNetworkOptions(NetworkOf(HVFields(network)));
    if (auto const region = fields.Get("region"); !region.empty()) {
        HVFields const geo(region);
        options->SetGeoRestrictionOptions(IHVGeoRestrictionOptions::MallocGeoRestrictionOptions(
            ProxyOf(geo.Get("proxy")), geo.Get("forwarded for")));
    }
    if (auto const login = fields.Get("login"); !login.empty())
        options->SetAuthenticationOptions(LoginOf(HVFields(login)));
    if (auto const cookies = fields.Get("cookies"); !cookies.empty())
        options->SetDownloadCookies(CookiesOf(HVFields(cookies), needs));
    if (auto const conversion = fields.Get("conversion"); !conversion.empty())
        options->SetConversionOptions(ConversionOfRecord(HVFields(conversion)));
    return options;
}

} // namespace Halvorn
