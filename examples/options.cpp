// Tells the tool how to work: a login, the network, the rate. The password is read from standard input, not
// from the command line, where others could see it.
//
//   example_options URL USER <password-file

#include "Analysis.h"

#include <cstdio>
#include <iostream>

using namespace Halvorn;

int main(int argc, char** argv) {
    std::string password;
    if (argc != 3 || !std::getline(std::cin, password)) {
        std::fprintf(stderr, "usage: example_options URL USER <password-file\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    //! [options]
    auto const login = IHVAuthenticationOptions::MallocAuthenticationOptions();
    login->SetGeneralAuthentication(
        IHVGeneralAuthentication::MallocGeneralAuthentication(argv[2], password, ""));
    auto const network = IHVNetworkOptions::MallocNetworkOptions();
    network->SetSocketTimeout(20);       // seconds
    network->SetCheckCertificates(true); // a new record does not ask for that
    auto const general = IHVGeneralOptions::MallocGeneralOptions();
    general->SetLimitDownloadRate(4 * 1024 * 1024); // bytes a second

    auto const options = IHVDownloadOptions::MallocDownloadOptions();
    options->SetAuthenticationOptions(login);
    options->SetNetworkOptions(network);
    options->SetGeneralOptions(general);
    Analysis analysis(argv[1], options); // controllers take the same bundle by SetOptions
    analysis.Wait();
    //! [options]
    if (!analysis.result->Succeed()) {
        std::fprintf(stderr, "%s: %s\n", argv[1], analysis.result->GetErrorMessage().c_str());
        return 1;
    }
    for (auto const& item : analysis.items)
        std::printf("%s\n", item->GetFileName().c_str());
    return 0;
}
