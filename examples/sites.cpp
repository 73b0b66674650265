// Options by site: one host gets a proxy, cookies, a user agent and a referer of its own, all others none of
// them.
//
//   example_sites FOLDER HOST PROXY_PORT COOKIES_FILE URL...

#include "Analysis.h"

#include <cstdio>
#include <cstdlib>

using namespace Halvorn;

namespace {

//! [bundle]
/// A proxy on this machine, such as one end of a tunnel.
std::shared_ptr<IHVDownloadOptions> OptionsBehindProxy(int port, std::string const& cookiesFile) {
    auto const network = IHVNetworkOptions::MallocNetworkOptions();
    network->SetProxy(IHVProxy::MallocProxy(IHVProxy::ProxySchemeHttp, "127.0.0.1", port, "", ""));
    network->SetUserAgent("ExamplePlayer/1.0");
    network->SetReferer("https://members.example/");
    network->SetCheckCertificates(true); // cookies go with each request
    auto options = IHVDownloadOptions::MallocDownloadOptions();
    options->SetNetworkOptions(network);
    options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies(cookiesFile));
    return options;
}
//! [bundle]

} // namespace

int main(int argc, char** argv) {
    if (argc < 6) {
        std::fprintf(stderr, "usage: example_sites FOLDER HOST PROXY_PORT COOKIES_FILE URL...\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    //! [choose]
    // Made once: tasks ask on threads of their own, several at the same time.
    auto const forSite = [site = std::string(argv[2]),
                          options = OptionsBehindProxy(std::atoi(argv[3]), argv[4])](
                             std::string const& host) -> std::shared_ptr<IHVDownloadOptions> {
        bool const ofSite = host == site || host.ends_with("." + site);
        return ofSite ? options : nullptr; // null: what SetOptions says
    };
    auto const queue = IHVDownloadControllers::MallocDownloadControllers();
    for (int i = 5; i < argc; ++i) {
        Analysis analysis(argv[i], nullptr, forSite);
        analysis.Wait();
        if (!analysis.result->Succeed())
            std::fprintf(stderr, "%s: %s\n", argv[i], analysis.result->GetErrorMessage().c_str());
        for (auto const& item : analysis.items) {
            auto const row = IHVDownloadController::MallocDownloadController(item, argv[1]);
            row->SetJSRuntimePath(IHVDownloadPlugin::BuiltInJSRuntimePathFile());
            row->SetOptionsForSite(forSite); // a download wants what its analysis had
            queue->AddController(row);
        }
    }
    queue->StartAll();
    queue->WaitFinish(HVInfiniteTimeOut);
    //! [choose]
    int done = 0;
    for (int const row : queue->AllControllers()) {
        auto const controller = queue->GetController(row);
        done += controller->DownloadSucceed() ? 1 : 0;
        std::printf("%s: %s\n", controller->GetDownloadOutputName().c_str(),
                    controller->DownloadSucceed() ? controller->DownloadOutputPathFile().c_str()
                                                  : controller->LastError()->GetErrorMessage().c_str());
    }
    return done == argc - 5 ? 0 : 1;
}
