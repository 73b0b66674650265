// An application with a main loop (GLib's): a dispatcher brings all reports of the library to the main
// thread, where they may touch the application's state and its windows. Analyses an address and downloads the
// first item that it finds; Ctrl-C stops that.
//
//   example_main_loop URL FOLDER

#include <Reelhaul/Reelhaul.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <glib-unix.h>

using namespace Halvorn;

namespace {

//! [dispatcher]
/// Has the main loop run `work`. From any thread. g_main_context_invoke won't do: while the loop does not run
/// yet it would run the work at once, on the calling thread.
void Post(std::function<void()> work) {
    auto const run = [](void* data) -> int {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
    };
    auto const destroy = [](void* data) { delete static_cast<std::function<void()>*>(data); };
    g_idle_add_full(G_PRIORITY_DEFAULT, run, new std::function<void()>(std::move(work)), destroy);
}
//! [dispatcher]

//! [application]
/// The application. All of it runs on the main thread alone, so nothing needs a lock.
class Application final : public IHVDownloadTaskDelegate {
public:
    Application(std::string const& url, std::string folder, GMainLoop* loop)
        : folder_(std::move(folder)), loop_(loop), task_(IHVDownloadTask::MallocDownloadTask(url)) {
        task_->SetDelegate(this);
        task_->SetJSRuntimePath(IHVDownloadPlugin::BuiltInJSRuntimePathFile());
        task_->StartTask();
    }
    ~Application() {
        task_->SetDelegate(nullptr);
    } // of what still waits in the loop nothing reaches it any more
    Application(Application const&) = delete;
    Application& operator=(Application const&) = delete;

    /// Asks for the end, which comes later as a report like any other.
    void Stop() {
        stopped_ = true;
        task_->StopTask();
        if (download_ != nullptr)
            download_->CancelDownload();
    }
    int ExitStatus() const { return stopped_ ? 130 : failed_ ? 1 : 0; }

    void DownloadTaskStarted(std::string message, IHVDownloadTask const*) override {
        std::fprintf(stderr, "%s\n", message.c_str());
    }
    void DownloadTaskProgress(std::string message, float, IHVDownloadTask const*) override {
        std::fprintf(stderr, "%s\n", message.c_str());
    }
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item, IHVDownloadTask const*) override {
        if (!stopped_ && download_ == nullptr) // of a playlist the first item
            Download(item);
    }
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const*) override {
        if (!std::exchange(analysed_, true)) // a stopped analysis may report two ends
            End("analysis", error);
    }

private:
    void Download(std::shared_ptr<IHVDownloadItem> const& item) {
        download_ = IHVDownloadController::MallocDownloadController(item, folder_);
        download_->SetJSRuntimePath(IHVDownloadPlugin::BuiltInJSRuntimePathFile());
        download_->SetDownloadProgressFunc([this](float percent) {
            std::fprintf(stderr, "%s: %d %%\n", download_->GetDownloadOutputName().c_str(),
                         static_cast<int>(percent));
        });
        download_->SetDownloadCompleteFunc([this](std::shared_ptr<IHVError const> error) {
            End(download_->DownloadOutputPathFile(), error);
        });
        ++working_;
        download_->StartDownload();
    }
    void End(std::string const& what, std::shared_ptr<IHVError const> const& error) {
        if (error->Succeed())
            std::printf("%s: done\n", what.c_str());
        else
            std::fprintf(stderr, "%s\n", error->GetErrorMessage().c_str());
        failed_ = failed_ || !error->Succeed();
        if (--working_ == 0)
            g_main_loop_quit(loop_);
    }

    std::string const folder_;
    GMainLoop* const loop_;
    std::shared_ptr<IHVDownloadTask> const task_;
    std::shared_ptr<IHVDownloadController> download_;
    int working_ = 1; ///< the analysis, and the download
    bool analysed_ = false;
    bool stopped_ = false;
    bool failed_ = false;
};
//! [application]

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: example_main_loop URL FOLDER\n");
        return 2;
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false); // the tools beside the library
    //! [main]
    IHVCallbackDispatcher::SetDispatcher(Post); // before anything is started
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    Application application(argv[1], argv[2], loop);
    auto const stop = [](void* data) -> int {
        static_cast<Application*>(data)->Stop();
        return G_SOURCE_CONTINUE;
    };
    guint const interrupt = g_unix_signal_add(SIGINT, stop, &application);
    g_main_loop_run(loop);
    g_source_remove(interrupt);
    g_main_loop_unref(loop);
    //! [main]
    return application.ExitStatus();
}
