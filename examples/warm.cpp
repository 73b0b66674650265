// Keeps the tool in memory, so that its runs begin at once, and tells how long each analysis takes.
//
//   example_warm URL...

#include "Analysis.h"

#include <chrono>
#include <cstdio>
#include <thread>

using namespace Halvorn;

int main(int argc, char** argv) {
    using namespace std::chrono_literals;
    using Clock = std::chrono::steady_clock;
    if (argc < 2) {
        std::fprintf(stderr, "usage: example_warm URL...\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    //! [warm]
    IHVWarmTool::TurnOn(); // at the start of the application, to be ready when the first address is there
    //! [warm]
    // An application does not wait: runs that come before it is ready start the tool anew.
    IHVWarmTool::Status status = IHVWarmTool::GetStatus();
    for (; status.state == IHVWarmTool::State::Warming ||
           (status.state == IHVWarmTool::State::Ready && !status.complete);
         status = IHVWarmTool::GetStatus())
        std::this_thread::sleep_for(10ms);
    if (status.state != IHVWarmTool::State::Ready)
        std::fprintf(stderr, "not warm: %s\n", status.reason.c_str());
    bool complete = true;
    for (int i = 1; i < argc; ++i) {
        auto const begin = Clock::now();
        Analysis analysis(argv[i]);
        analysis.Wait();
        complete = complete && analysis.result->Succeed();
        std::string const found = analysis.items.empty() ? analysis.result->GetErrorMessage()
                                                         : analysis.items.front()->GetFileName();
        std::printf("%s: %lld ms\n", found.c_str(),
                    static_cast<long long>(
                        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count()));
    }
    return complete ? 0 : 1;
}
