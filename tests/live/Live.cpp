#include "Live.h"

#include "HVConstants.h"
#include "IHVDownloadFormat.h"
#include "IHVDownloadPlugin.h"
#include "IHVDownloadSubtitle.h"
#include "IHVFileProvider.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not every system's header has it

using namespace Halvorn;
namespace fs = std::filesystem;

namespace {

struct Program {
    pid_t pid = -1;
    int in = -1;
    int out = -1;
};

/// Plain system calls, none of the library's: what is tested can't serve as the yardstick.
Program Start(std::vector<std::string> command) {
    int in[2];
    int out[2];
    if (pipe(in) != 0 || pipe(out) != 0)
        throw std::runtime_error("no pipe");
    for (int const end : {in[0], in[1], out[0], out[1]})
        fcntl(end, F_SETFD, FD_CLOEXEC);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, out[1], 2);
    std::vector<char*> argv(command.size() + 1);
    std::transform(command.begin(), command.end(), argv.begin(),
                   [](auto& argument) { return argument.data(); });
    Program program{-1, in[1], out[0]};
    int const failure = posix_spawnp(&program.pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    if (failure != 0)
        throw std::runtime_error(command.front() + " can't be started");
    return program;
}

std::string ReadUntil(int fd, char stop) {
    std::string text;
    char byte = 0;
    while (read(fd, &byte, 1) == 1 && byte != stop)
        text += byte;
    return text;
}

/// A failure of the environment would make the tests skipped ones, which nobody minds.
[[noreturn]] void GiveUp(std::string const& reason) {
    std::cerr << "live: " << reason << std::endl;
    std::exit(EXIT_FAILURE);
}

class Environment final : public testing::Environment {
public:
    std::string address;
    std::vector<std::string> folders;

    void SetUp() override {
        std::string const site = REELHAUL_SOURCE_DIR "/tests/site";
        site_ = Start({"python3", site + "/site.py"});
        // The first use makes the media, and says so on a line of its own.
        while (address.compare(0, 7, "http://") != 0) {
            address = ReadUntil(site_.out, '\n');
            if (address.empty())
                GiveUp("the site did not start");
        }
        setenv("PYTHONPATH", (site + "/plugin").c_str(), 1);
        for (char const* tool : {"yt-dlp", "ffmpeg", "ffprobe", "deno"})
            if (access((Live::ToolsFolder() + "/" + tool).c_str(), X_OK) != 0)
                GiveUp(tool + std::string(" is missing: run scripts/get-tools.sh and configure with "
                                          "REELHAUL_TOOLS_DIR"));
        setenv("REELHAUL_SETTINGS", (Live::NewFolder() + "/settings").c_str(), 1);
        IHVDownloadPlugin::UseLocalPluginForThisProcess(true);
        IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath(Live::ToolsFolder());
    }
    void TearDown() override {
        close(site_.in);
        waitpid(site_.pid, nullptr, 0);
        for (auto const& folder : folders)
            fs::remove_all(folder);
    }

private:
    Program site_;
};

auto* const gEnvironment =
    dynamic_cast<Environment*>(testing::AddGlobalTestEnvironment(new Environment)); // gtest owns it

} // namespace

namespace Live {

std::string Page(std::string const& path) {
    return gEnvironment->address + "/" + path;
}

std::string ToolsFolder() {
    return REELHAUL_BINARY_DIR "/lib";
}

std::string NewFolder(std::string const& parent) {
    std::string path = parent + "/reelhaul-test-XXXXXX";
    if (mkdtemp(path.data()) == nullptr)
        throw std::runtime_error("no folder in " + parent);
    return gEnvironment->folders.emplace_back(path);
}

Background::Background(std::vector<std::string> const& command) {
    Program const program = Start(command);
    pid_ = program.pid;
    in_ = program.in;
    out_ = program.out;
}

std::string Background::Line() {
    return ReadUntil(out_, '\n');
}

std::string Background::Rest() {
    if (pid_ < 0)
        return {};
    close(in_);
    std::string text = ReadUntil(out_, '\0');
    close(out_);
    waitpid(std::exchange(pid_, -1), nullptr, 0);
    return text;
}

std::string OutputOf(std::vector<std::string> const& command) {
    return Background(command).Rest();
}

std::string ContentOf(std::string const& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string Probe(std::string const& file) {
    std::istringstream words(
        OutputOf({ToolsFolder() + "/ffprobe", "-v", "error", "-show_entries",
                  "stream=codec_type:format=duration", "-of", "default=nw=1:nk=1", file}));
    std::string text;
    for (std::string word; words >> word;) {
        bool const number = word.find_first_not_of("0123456789.") == std::string::npos;
        // Encoders' paddings differ by some hundredths of a second.
        text += number ? std::to_string(std::lround(std::stod(word))) : word + " ";
    }
    return text;
}

std::string NamesIn(std::string const& folder, std::string const& end) {
    std::set<std::string> names;
    for (auto const& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename());
    std::string text;
    for (auto const& name : names)
        text += name + end;
    return text;
}

std::string Leftovers() {
    std::string const folder = IHVFileProvider::GetTmpPath();
    std::string found;
    for (auto const& entry : fs::directory_iterator(folder)) {
        // A thumbnail's file stays as long as the process.
        auto const extension = entry.path().extension();
        if (entry.path().filename().string().front() != '.' && extension != ".jpg" && extension != ".png")
            found += entry.path().string() + "\n";
    }
    // Every tool of a run has a path of the temporary folder among its arguments, an analysis the site's.
    std::istringstream lines(OutputOf({"ps", "-A", "-ww", "-o", "pid=,stat=,args="}));
    for (std::string line; std::getline(lines, line);)
        if (line.find(folder) != std::string::npos || line.find(gEnvironment->address) != std::string::npos)
            found += line + "\n";
    return found;
}

bool Within(std::chrono::milliseconds limit, std::function<bool()> const& condition) {
    auto const end = Clock::now() + limit;
    while (!condition()) {
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

Analysis::Analysis(std::string const& url, bool fromTables)
    : task(fromTables ? IHVDownloadTask::MallocTextDownloadTask(url)
                      : IHVDownloadTask::MallocDownloadTask(url)) {
    task->SetDelegate(this);
    task->SetJSRuntimePath(ToolsFolder() + "/deno");
    task->StartTask();
}

Analysis& Analysis::Wait() {
    EXPECT_EQ(task->WaitFinish(60000), HVErrSuccess) << task->TaskURL();
    return *this;
}

std::string Analysis::Codes() const {
    std::string codes;
    for (int i = 0; !items.empty() && i < items[0]->GetDownloadFormatCount(); ++i)
        codes += items[0]->GetDownloadFormatAtIndex(i)->FormatCode() + " ";
    return codes;
}

std::shared_ptr<IHVDownloadItem> ItemOf(std::string const& page) {
    Analysis analysis(Page(page));
    analysis.Wait();
    EXPECT_EQ(analysis.items.size(), 1U) << page << ": " << analysis.Message();
    return analysis.items.empty() ? nullptr : analysis.items.front();
}

bool Choose(IHVDownloadItem& item, std::string const& code) {
    for (int i = 0; i < item.GetDownloadFormatCount(); ++i) {
        if (item.GetDownloadFormatAtIndex(i)->FormatCode() == code) {
            item.SetCurrentFormatIndex(i);
            return true;
        }
    }
    return false;
}

bool ChooseSubtitle(IHVDownloadItem& item, std::string const& codeAndFormat) {
    auto const blank = codeAndFormat.find(' ');
    for (int i = 0; i < item.GetDownloadSubtitlesCount(); ++i) {
        auto const subtitle = item.GetDownloadSubtitleAtIndex(i);
        if (subtitle->GetLanguageCode() == codeAndFormat.substr(0, blank)) {
            item.SetCurrentSubtitleIndex(i);
            return subtitle->SetCurrentSubtitleFormat(codeAndFormat.substr(blank + 1));
        }
    }
    return codeAndFormat.empty();
}

Downloads::~Downloads() {
    queue_->StopDownload({});
    WaitAll();
}

Downloads::Row& Downloads::Add(std::shared_ptr<IHVDownloadItem> item, std::string const& folder) {
    Row* const row = rows_.emplace_back(std::make_unique<Row>()).get();
    row->controller = IHVDownloadController::MallocDownloadController(std::move(item), folder);
    row->controller->SetJSRuntimePath(ToolsFolder() + "/deno");
    row->controller->SetDownloadProgressFunc([row](float percent) { row->percents.push_back(percent); });
    row->controller->SetDownloadCompleteFunc([row](std::shared_ptr<IHVError const> error) {
        row->ends.push_back(std::move(error));
        if (row->ends.size() == 1)
            row->ended.set_value();
    });
    queue_->AddController(row->controller);
    return *row;
}

void Downloads::Start() {
    started_ = true;
    queue_->StartDownload({});
}

bool Downloads::WaitAll() {
    auto const limit = Clock::now() + std::chrono::minutes(2);
    return !started_ || std::all_of(rows_.begin(), rows_.end(), [limit](auto const& row) {
        return row->end.wait_until(limit) == std::future_status::ready;
    });
}

} // namespace Live
