// Brings the user's own copy of the tool up to date, after making it where it is missing.
//
//   example_update FOLDER [MIRROR]
//
// MIRROR stands in the place of the release host, such as https://mirror.example.org

#include <Reelhaul/Reelhaul.h>

#include <cstdio>
#include <filesystem>
#include <future>
#include <memory>

using namespace Halvorn;

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: example_update FOLDER [MIRROR]\n");
        return 2;
    }
    std::error_code ignored; // a folder that can't be made is told of by the update
    std::filesystem::create_directories(argv[1], ignored);
    if (argc == 3)
        IHVDownloadPlugin::SetReleaseMirror(argv[2], argv[2]);
    //! [update]
    auto const tools = IHVDownloadPlugin::SharedDownloadPlugin();
    tools->SetLocalPluginInstallPath(argv[1]);             // in each process, before the first task
    IHVDownloadPlugin::UseLocalPluginForThisProcess(true); // EnableLocalPlugin(true) would also store that

    using Result = std::shared_ptr<IHVError const>;
    auto const end = std::make_shared<std::promise<Result>>();
    tools->UpdateLocalPlugin(
        [end](Result error) { end->set_value(std::move(error)); }); // on a thread of its own
    Result const result = end->get_future().get();
    auto const update = IHVDownloadPlugin::LastUpdate(); // `result` is a success in nearly every case
    //! [update]
    if (!result->Succeed() || !update.message.empty()) {
        std::fprintf(stderr, "not updated: %s\n",
                     (update.message.empty() ? result->GetErrorMessage() : update.message).c_str());
        return 1;
    }
    if (update.changed)
        std::printf("updated from %s to %s\n", update.oldVersion.c_str(), update.newVersion.c_str());
    else
        std::printf("%s is current\n", update.newVersion.c_str());
    return 0;
}
