// An application tests itself with the test kit: no network, no real tool, and faults as often as they are
// wanted.
//
//   example_TestKit FOLDER_OF_THE_KIT

#include <Reelhaul/Reelhaul.h>

#include <cstdio>
#include <filesystem>
#include <string>

using namespace Halvorn;

namespace {

struct Listener final : IHVDownloadTaskDelegate {
    std::shared_ptr<IHVDownloadItem> item;
    std::string fault;
    void DownloadTaskStarted(std::string, IHVDownloadTask const*) override {}
    void DownloadTaskProgress(std::string, float, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> found, IHVDownloadTask const*) override {
        item = found;
    }
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const*) override {
        fault = error->GetErrorMessage();
    }
};

/// What the application does, and what is to be tested: the path of the file, or the fault.
std::string Download(std::string const& url, std::string const& folder) {
    Listener listener;
    auto const task = IHVDownloadTask::MallocDownloadTask(url);
    task->SetDelegate(&listener);
    task->StartTask();
    task->WaitFinish(HVInfiniteTimeOut);
    if (listener.item == nullptr)
        return listener.fault;

    auto const queue = IHVDownloadControllers::MallocDownloadControllers();
    auto const controller = IHVDownloadController::MallocDownloadController(listener.item, folder);
    queue->AddController(controller);
    queue->StartAll();
    queue->WaitFinish(HVInfiniteTimeOut);
    return controller->DownloadSucceed() ? controller->DownloadOutputPathFile()
                                         : controller->LastError()->GetErrorMessage();
}

bool Expect(std::string const& what, std::string const& expected, std::string const& found) {
    bool const same = found.find(expected) != std::string::npos;
    std::printf("%s %s: %s\n", same ? "ok  " : "FAIL", what.c_str(), found.c_str());
    return same;
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2)
        return 2;
    // The kit stands in the place of the tool's local copy, in this process alone.
    IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath(arguments[1]);
    IHVDownloadPlugin::UseLocalPluginForThisProcess(true);

    auto const folder = std::filesystem::temp_directory_path() / "reelhaul-example-testkit";
    std::filesystem::create_directories(folder);
    std::string const file = Download("https://testkit.invalid/item", folder.string());
    bool good = Expect("a download", "A lighthouse at dusk.mp4", file) && std::filesystem::exists(file);
    good &= Expect("an address that is gone", "not available",
                   Download("https://testkit.invalid/fails", folder.string()));
    good &= Expect("a broken connection", "connection was closed",
                   Download("https://testkit.invalid/breaks", folder.string()));
    std::filesystem::remove_all(folder);
    return good ? 0 : 1;
}
