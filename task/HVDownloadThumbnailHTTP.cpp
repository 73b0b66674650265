// The part of HVDownloadThumbnail that fetches the bytes without a run of the tool.

#include "HVDownloadThumbnail.h"
#include "HVHTTPRequest.h"
#include "HVToolStop.h"
#include "IHVAuthenticationOptions.h"
#include "IHVCertificateAuthentication.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVLogConfig.h"
#include "IHVNetworkOptions.h"
#include "IHVProxy.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace Halvorn {

namespace {

using namespace std::string_view_literals;

constexpr unsigned int kMillisecondsOfSecond = 1000;

/// Whether the bytes begin as those of a picture do. A page that says that there is none comes with a good
/// status, too.
bool IsPicture(std::string_view bytes) {
    constexpr std::array kBegins = {"\xFF\xD8\xFF"sv, "\x89PNG\r\n\x1A\n"sv, "GIF8"sv, "BM"sv, "II*\0"sv,
                                    "MM\0*"sv,        "\0\0\0\x0CjP  "sv};
    constexpr std::array kBrands = {"avif"sv, "avis"sv, "heic"sv, "mif1"sv};
    constexpr std::size_t kType = 4; // where a file of one of these families says which it is
    constexpr std::size_t kBrand = 8;
    if (std::any_of(kBegins.begin(), kBegins.end(), [bytes](auto it) { return bytes.starts_with(it); }))
        return true;
    if (bytes.size() < kBrand + kType)
        return false;
    std::string_view const brand = bytes.substr(kBrand, kType);
    return (bytes.starts_with("RIFF") && brand == "WEBP") ||
           (bytes.substr(kType, kType) == "ftyp" &&
            std::find(kBrands.begin(), kBrands.end(), brand) != kBrands.end());
}

void TakeNetwork(HVHTTPTerms& terms, IHVNetworkOptions const& network) {
    if (auto const& proxy = network.GetProxy())
        terms.proxy = proxy->BuildProxyURL();
    terms.checkCertificates = network.GetCheckCertificates();
    terms.localAddress = network.GetClientSideIPAddress();
    if (network.GetConnectionVia() == IHVNetworkOptions::ConnectionViaIPv4)
        terms.ipVersion = 4;
    else if (network.GetConnectionVia() == IHVNetworkOptions::ConnectionViaIPv6)
        terms.ipVersion = 6;
    terms.connectSeconds = std::max(0, network.GetSocketTimeout());
}

/// Of the ways to log in the first one that is set counts, and only a certificate is shown to every host.
void TakeCertificate(HVHTTPTerms& terms, IHVAuthenticationOptions const& login) {
    auto const certificate = login.GetCertificateAuthentication();
    if (certificate == nullptr || login.GetGeneralAuthentication() != nullptr ||
        login.GetNetrcAuthentication() != nullptr || login.GetAdobePassAuthentication() != nullptr)
        return;
    terms.certificate = certificate->GetCertificateFile();
    terms.certificateKey = certificate->GetCertificatePrivateKey();
    if (!terms.certificateKey.empty())
        terms.certificatePassword = certificate->GetCertificatePWD();
}

/// How the tool would ask; empty where only the tool can ask so.
std::optional<HVHTTPTerms> TermsOf(IHVDownloadOptions const* options) {
    HVHTTPTerms terms;
    terms.checkCertificates = false; // as everywhere without a record that asks for it
    if (options == nullptr)
        return terms;
    if (auto const network = options->GetNetworkOptions())
        TakeNetwork(terms, *network);
    if (auto const login = options->GetAuthenticationOptions())
        TakeCertificate(terms, *login);
    if (auto const cookies = options->GetDownloadCookies()) {
        terms.cookiesFile = cookies->GetCookiesPathFile();
        // A browser's own are for the tool to read.
        if (terms.cookiesFile.empty())
            return std::nullopt;
    }
    return terms;
}

} // namespace

bool HVDownloadThumbnail::FetchByHTTP(IHVDownloadOptions const* options, HVToolStop* stop,
                                      unsigned int time) {
    if (data_ != nullptr && dataSize_ != 0)
        return true;
    auto terms = TermsOf(options);
    if (!terms)
        return false;
    terms->headers = headers_;
    auto const limit = static_cast<std::size_t>(
        std::clamp<std::int64_t>(SizeLimit(), 0, std::numeric_limits<std::int32_t>::max()));
    std::string bytes;
    HVHTTPRequest request;
    request.url = downloadURL_;
    request.timeout = static_cast<int>(std::max(1U, time / kMillisecondsOfSecond));
    request.terms = &*terms;
    request.cancel = std::make_shared<HVHTTPCancel>();
    request.sink = [&bytes, limit](std::string_view piece) -> std::string {
        if (piece.size() > limit - bytes.size())
            return "the picture is too large";
        bytes.append(piece);
        return {};
    };
    HVToolStop::Attachment const attachment(stop, [cancel = request.cancel] { cancel->Request(); });
    // A stop that came before found nothing attached.
    if (stop != nullptr && stop->Requested())
        return false;
    std::string failure = PerformHTTPRequest(request);
    if (failure.empty() && !IsPicture(bytes))
        failure = "that is no picture";
    if (!failure.empty()) {
        IHVLogConfig::Printf("The tool is to fetch the thumbnail: %s.", failure.c_str());
        return false;
    }
    data_.reset(new (std::nothrow) unsigned char[bytes.size()]);
    if (data_ == nullptr)
        return false;
    std::memcpy(data_.get(), bytes.data(), bytes.size());
    dataSize_ = static_cast<std::int32_t>(bytes.size());
    return true;
}

} // namespace Halvorn
