// An application with a main loop (GLib's): all that the library reports is handed over to the main thread,
// where it may touch the application's state and its windows. Analyses an address and downloads the first
// item that it finds; Ctrl-C stops that.
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

//! [post]
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
//! [post]

//! [application]
/// The application. Its own operations run on the main thread alone; those of the delegate come on the
/// library's threads and do nothing but post. What is posted keeps the application alive.
class Application final : public IHVDownloadTaskDelegate, public std::enable_shared_from_this<Application> {
public:
    Application(std::string const& url, std::string folder, GMainLoop* loop)
        : folder_(std::move(folder)), loop_(loop), task_(IHVDownloadTask::MallocDownloadTask(url)) {}

    void Start() {
        task_->SetDelegate(this);
        task_->SetJSRuntimePath(IHVDownloadPlugin::BuiltInJSRuntimePathFile());
        task_->StartTask();
    }
    /// Asks for the end, which comes later as a report like any other.
    void Stop() {
        stopped_ = true;
        task_->StopTask();
        if (download_ != nullptr)
            download_->StopDownload();
    }
    /// To be called after the loop: the task does not own its delegate.
    int Finish() {
        task_->WaitFinish(HVInfiniteTimeOut);
        return stopped_ ? 130 : failed_ ? 1 : 0;
    }

    void DownloadTaskStarted(std::string message, IHVDownloadTask const*) override { PostLine(message); }
    void DownloadTaskProgress(std::string message, float, IHVDownloadTask const*) override {
        PostLine(message);
    }
    void DownloadTaskGetPlayList(std::shared_ptr<IHVPlayList>, IHVDownloadTask const*) override {}
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item, IHVDownloadTask const*) override {
        Post([self = shared_from_this(), item] { self->Download(item); });
    }
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, IHVDownloadTask const*) override {
        Post([self = shared_from_this(), error] {
            if (!std::exchange(self->analysed_, true)) // a stopped analysis may report two ends
                self->End("analysis", error);
        });
    }

private:
    static void PostLine(std::string const& text) {
        Post([text] { std::fprintf(stderr, "%s\n", text.c_str()); });
    }
    void Download(std::shared_ptr<IHVDownloadItem> const& item) {
        if (stopped_ || download_ != nullptr) // of a playlist the first item
            return;
        download_ = IHVDownloadController::MallocDownloadController(item, folder_);
        download_->SetJSRuntimePath(IHVDownloadPlugin::BuiltInJSRuntimePathFile());
        download_->SetDownloadProgressFunc([name = item->GetFileName()](float percent) {
            PostLine(name + ": " + std::to_string(static_cast<int>(percent)) + " %");
        });
        // Weak: the application owns the controller, and the controller its callbacks.
        download_->SetDownloadCompleteFunc([weak = weak_from_this()](std::shared_ptr<IHVError const> error) {
            if (auto const self = weak.lock())
                Post([self, error] { self->End(self->download_->DownloadOutputPathFile(), error); });
        });
        ++working_;
        if (auto const result = download_->StartDownload(); !result->Succeed())
            End({}, result);
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
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    auto const application = std::make_shared<Application>(argv[1], argv[2], loop);
    auto const stop = [](void* data) -> int {
        static_cast<Application*>(data)->Stop();
        return G_SOURCE_CONTINUE;
    };
    guint const interrupt = g_unix_signal_add(SIGINT, stop, application.get());
    application->Start();
    g_main_loop_run(loop);
    int const status = application->Finish();
    g_source_remove(interrupt);
    g_main_loop_unref(loop);
    //! [main]
    return status;
}
