#pragma once
// What the tests with the real tool share: the media site on loopback, an analysis and a download as a user
// sees them, and what ffprobe says of a file. The site runs as long as the test program.

#include "IHVDownloadController.h"
#include "IHVDownloadControllers.h"
#include "Recorder.h"
#include "Text.h"

#include <filesystem>
#include <future>
#include <memory>

namespace Live {

using Halvorn::IHVDownloadItem;
using Halvorn::IHVError;

/// The address of something on the site, such as "watch/combined".
std::string Page(std::string const& path);
/// The folder with yt-dlp, ffmpeg, ffprobe and deno that the build has set up.
std::string ToolsFolder();
/// Puts the tools of a folder in force; without one, those of the build.
void UseTools(std::string const& folder = ToolsFolder());
/// An empty folder that is removed at the end of the program.
std::string NewFolder(std::string const& parent = "/tmp");
/// A program that runs in the background, and ends when its standard input does, with the object.
class Background {
public:
    explicit Background(std::vector<std::string> const& command);
    ~Background() { Rest(); }
    Background(Background const&) = delete;
    Background& operator=(Background const&) = delete;
    /// The next line that it prints; empty when none comes.
    std::string Line();
    /// Waits for its end: what it has printed besides, standard error included.
    std::string Rest();

private:
    std::string const output_;
    std::FILE* input_;
    std::size_t taken_ = 0;
};
inline std::string OutputOf(std::vector<std::string> const& command) {
    return Background(command).Rest();
}
std::string ContentOf(std::string const& file);
/// Kinds of the streams and the seconds, such as "video audio 8"; what ffprobe complains of otherwise.
std::string Probe(std::string const& file);
/// Names in a folder, sorted, each with a bar behind it.
std::string NamesIn(std::string const& folder);
/// What any run of the process has left: files of its temporary folder, command lines of running tools.
std::string Leftovers();

/// One analysis, from its start to the end of its thread.
struct Analysis final : Recorder {
    std::shared_ptr<Halvorn::IHVDownloadTask> task;

    /// Starts it: from the tool's JSON, or from the tables that it prints.
    explicit Analysis(std::string const& url, bool fromTables = false);
    Analysis& Wait();
    /// That of the one end.
    std::string Message() const { return ends.size() == 1 ? ends[0]->GetErrorMessage() : "no one end"; }
    bool Succeed() const { return ends.size() == 1 && ends[0]->Succeed(); }
    /// The codes of the first item's formats in their order, each with a blank behind it.
    std::string Codes() const;
};

/// The one item of a page, or null with a failure of the test.
std::shared_ptr<IHVDownloadItem> ItemOf(std::string const& page);
/// Makes the format with this code the current one, and a subtitle such as "fr vtt"; false when the item has
/// none.
bool Choose(IHVDownloadItem& item, std::string const& code, std::string const& subtitle = "");

/// Downloads that run together in one queue.
class Downloads {
public:
    struct Row {
        std::shared_ptr<Halvorn::IHVDownloadController> controller;
        std::vector<std::shared_ptr<IHVError const>> ends;
        std::vector<float> percents;
        std::promise<void> ended;
        std::future<void> end = ended.get_future();

        std::string Message() const { return ends.size() == 1 ? ends[0]->GetErrorMessage() : "no one end"; }
        std::string File() const { return controller->DownloadOutputPathFile(); }
    };

    ~Downloads();
    Row& Add(std::shared_ptr<IHVDownloadItem> item, std::string const& folder);
    void Start() {
        started_ = true;
        queue_->StartDownload({});
    }
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
