// Analyses an address that wants cookies: those of a file, of a browser, or of a file made from a browser.
//
//   example_cookies URL FILE
//   example_cookies URL BROWSER [FOLDER]
//
// BROWSER is the tool's word, such as firefox. With FOLDER its cookies are first written to a file there,
// which later runs can use without the browser.

#include "Analysis.h"

#include <cstdio>

using namespace Halvorn;

namespace {

HVDownloadBrowser BrowserNamed(std::string const& word) {
    for (auto const browser : {HVDownloadBrowserChrome, HVDownloadBrowserChromium, HVDownloadBrowserFirefox,
                               HVDownloadBrowserEdge, HVDownloadBrowserSafari, HVDownloadBrowserBrave,
                               HVDownloadBrowserOpera, HVDownloadBrowserVivaldi, HVDownloadBrowserWhale})
        if (IHVBrowserState::BrowserParamName(browser) == word)
            return browser;
    return HVDownloadBrowserUnknown;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: example_cookies URL FILE|BROWSER [FOLDER]\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    std::string const source = argv[2];
    //! [record]
    auto const browser = BrowserNamed(source);
    auto const cookies = browser == HVDownloadBrowserUnknown
                             ? IHVDownloadCookies::MallocDownloadCookies(source)   // a cookies file
                             : IHVDownloadCookies::MallocDownloadCookies(browser); // read at each run
    //! [record]
    //! [make]
    if (argc == 4) {
        auto const made =
            cookies->GenerateCookiesFile(argv[3], browser); // blocks: the tool reads the browser
        if (!made->Succeed()) {
            std::fprintf(stderr, "no cookies from %s: %s\n", source.c_str(), made->GetErrorMessage().c_str());
            return 1;
        }
        std::printf("cookies in %s\n",
                    cookies->GetCookiesPathFile().c_str()); // the record uses it from now on
    }
    //! [make]
    //! [use]
    auto const options = IHVDownloadOptions::MallocDownloadOptions();
    options->SetDownloadCookies(cookies);
    Analysis analysis(argv[1], options); // controllers take the same bundle by SetOptions
    analysis.Wait();
    //! [use]
    if (!analysis.result->Succeed()) {
        std::fprintf(stderr, "%s: %s\n", argv[1], analysis.result->GetErrorMessage().c_str());
        return 1;
    }
    for (auto const& item : analysis.items)
        std::printf("%s\n", item->GetFileName().c_str());
    return 0;
}
