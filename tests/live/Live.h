#pragma once
// What the tests with the real tool share: the media site on loopback, an analysis and a download as a user
// sees them, and what ffprobe says of a file. The site runs as long as the test program.

#include "IHVDownloadController.h"
#include "IHVDownloadControllers.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadTask.h"
#include "IHVPlayList.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Live {

using Halvorn::IHVDownloadItem;
using Halvorn::IHVError;
using Clock = std::chrono::steady_clock;

/// The address of something on the site, such as "watch/combined".
std::string Page(std::string const& path);
/// The folder with yt-dlp, ffmpeg, ffprobe and deno that the build has set up.
std::string ToolsFolder();
/// An empty folder that is removed at the end of the program.
std::string NewFolder(std::string const& parent = "/tmp");
/// What a program prints, standard error included.
std::string OutputOf(std::vector<std::string> const& command);
/// A program that runs in the background, and ends when its standard input does, with the object.
class Background {
public:
    explicit Background(std::vector<std::string> const& command);
    ~Background() { Rest(); }
    Background(Background const&) = delete;
    Background& operator=(Background const&) = delete;
    /// The next line that it prints.
    std::string Line();
    /// Waits for its end: what it has printed besides.
    std::string Rest();

private:
    int pid_;
    int in_;
    int out_;
};
std::string ContentOf(std::string const& file);
/// Kinds of the streams and the seconds, such as "video audio 8"; what ffprobe complains of otherwise.
std::string Probe(std::string const& file);
/// Names in a folder, sorted, each with `end` behind it.
std::string NamesIn(std::string const& folder, std::string const& end);
/// What any run of the process has left: files of its temporary folder, command lines of running tools.
std::string Leftovers();
/// Looks until it is true, for at most so long.
bool Within(std::chrono::milliseconds limit, std::function<bool()> const& condition);

using Task = Halvorn::IHVDownloadTask;

/// One analysis, from its start to the end of its thread.
struct Analysis final : Halvorn::IHVDownloadTaskDelegate {
    std::shared_ptr<Task> task;
    std::vector<std::shared_ptr<IHVDownloadItem>> items;
    std::shared_ptr<Halvorn::IHVPlayList> playList;
    std::vector<std::shared_ptr<IHVError const>> ends;
    std::vector<std::string> messages;
    double seconds = 0;

    /// Starts it: from the tool's JSON, or from the tables that it prints.
    explicit Analysis(std::string const& url, bool fromTables = false);
    Analysis& Wait();
    std::string Message() const { return ends.empty() ? "no end" : ends.back()->GetErrorMessage(); }
    /// The codes of the first item's formats in their order, each with a blank behind it.
    std::string Codes() const;

    void DownloadTaskStarted(std::string text, Task const*) override { messages.push_back(text); }
    void DownloadTaskProgress(std::string text, float, Task const*) override { messages.push_back(text); }
    void DownloadTaskGetPlayList(std::shared_ptr<Halvorn::IHVPlayList> list, Task const*) override {
        playList = list;
    }
    void DownloadTaskGetPlayItem(std::shared_ptr<IHVDownloadItem> item, Task const*) override {
        items.push_back(item);
    }
    void DownloadTaskCompleted(std::shared_ptr<IHVError const> error, Task const*) override {
        seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
        ends.push_back(error);
    }

private:
    Clock::time_point const begin_ = Clock::now();
};

/// The one item of a page, or null with a failure of the test.
std::shared_ptr<IHVDownloadItem> ItemOf(std::string const& page);
/// Makes the format with this code the current one; false when the item has none.
bool Choose(IHVDownloadItem& item, std::string const& code);

/// The same for a subtitle, such as "fr vtt"; an empty text chooses none.
bool ChooseSubtitle(IHVDownloadItem& item, std::string const& codeAndFormat);

/// Downloads that run together in one queue.
class Downloads {
public:
    struct Row {
        std::shared_ptr<Halvorn::IHVDownloadController> controller;
        std::vector<std::shared_ptr<IHVError const>> ends;
        std::vector<float> percents;
        std::promise<void> ended;
        std::future<void> end = ended.get_future();

        std::string Message() const { return ends.empty() ? "no end" : ends.back()->GetErrorMessage(); }
        std::string File() const { return controller->DownloadOutputPathFile(); }
    };

    ~Downloads();
    Row& Add(std::shared_ptr<IHVDownloadItem> item, std::string const& folder);
    void Start();
    /// False when one hasn't ended after two minutes.
    bool WaitAll();
    bool Run() {
        Start();
        return WaitAll();
    }

private:
    std::shared_ptr<Halvorn::IHVDownloadControllers> queue_ =
        Halvorn::IHVDownloadControllers::MallocDownloadControllers();
    std::vector<std::unique_ptr<Row>> rows_;
    bool started_ = false;
};

} // namespace Live
