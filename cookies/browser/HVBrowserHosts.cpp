#include "HVBrowserHosts.h"

#include "HVBrowserState.h"

namespace Halvorn {

std::vector<HVBrowserHost> ConnectToBrowserHosts(std::string& fault) {
    constexpr std::chrono::seconds kHelloTime{2};
    std::vector<HVBrowserHost> hosts;
    std::string const folder = LocalSocketFolder(fault);
    if (folder.empty())
        return hosts;
    for (std::string const& path : LocalSockets(folder)) {
        HVBrowserHost host;
        host.connection = std::make_shared<HVLocalConnection>(kLongestAnswer);
        std::string text;
        if (!host.connection->Connect(path) ||
            host.connection->Receive(text, std::chrono::steady_clock::now() + kHelloTime) !=
                HVLocalConnection::End::None ||
            !host.hello.Read(text) || host.hello.type != "hello")
            continue;
        host.browser = BrowserOfWord(host.hello.browser);
        hosts.push_back(std::move(host));
    }
    return hosts;
}

} // namespace Halvorn
