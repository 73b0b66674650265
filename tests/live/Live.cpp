#include "Live.h"

#include "HVConstants.h"
#include "IHVDownloadFormat.h"
#include "IHVDownloadPlugin.h"
#include "IHVDownloadSubtitle.h"
#include "IHVFileProvider.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <unistd.h>

using namespace Halvorn;
namespace fs = std::filesystem;

namespace {

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
        site_ = std::make_unique<Live::Background>(std::vector<std::string>{"python3", site + "/site.py"});
        // The first use makes the media, and says so on a line of its own.
        while (address.compare(0, 7, "http://") != 0) {
            address = site_->Line();
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
        Live::UseTools();
    }
    void TearDown() override {
        site_.reset();
        for (auto const& folder : folders)
            fs::remove_all(folder);
    }

private:
    std::unique_ptr<Live::Background> site_;
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

void UseTools(std::string const& folder) {
    IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath(folder);
}

std::string NewFolder(std::string const& parent) {
    std::string path = parent + "/reelhaul-test-XXXXXX";
    if (mkdtemp(path.data()) == nullptr)
        throw std::runtime_error("no folder in " + parent);
    return gEnvironment->folders.emplace_back(path);
}

Background::Background(std::vector<std::string> const& command) : output_(NewFolder() + "/output") {
    std::string line = "exec";
    for (std::string word : command) {
        for (std::size_t at = 0; (at = word.find('\'', at)) != std::string::npos; at += 4)
            word.replace(at, 1, "'\\''");
        line += " '" + word + "'";
    }
    // None of the library's children: what is tested can't serve as the yardstick.
    input_ = popen((line + " >" + output_ + " 2>&1").c_str(), "we");
}

std::string Background::Line() {
    std::string text;
    std::size_t end = std::string::npos;
    Eventually([&] {
        text = ContentOf(output_);
        end = text.find('\n', taken_);
        return end != std::string::npos;
    });
    return end == std::string::npos ? "" : text.substr(std::exchange(taken_, end + 1), end - taken_);
}

std::string Background::Rest() {
    if (input_ != nullptr)
        pclose(std::exchange(input_, nullptr));
    return ContentOf(output_).substr(taken_);
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

std::string NamesIn(std::string const& folder) {
    std::set<std::string> names;
    for (auto const& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename());
    std::string text;
    for (auto const& name : names)
        text += name + "|";
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

bool Choose(IHVDownloadItem& item, std::string const& code, std::string const& subtitle) {
    int format = 0;
    while (format < item.GetDownloadFormatCount() &&
           item.GetDownloadFormatAtIndex(format)->FormatCode() != code)
        ++format;
    item.SetCurrentFormatIndex(format);
    auto const blank = subtitle.find(' ');
    for (int i = 0; i < item.GetDownloadSubtitlesCount() && !subtitle.empty(); ++i)
        if (item.GetDownloadSubtitleAtIndex(i)->GetLanguageCode() == subtitle.substr(0, blank))
            item.SetCurrentSubtitleIndex(i);
    return item.GetCurrentFormatIndex() == format &&
           (subtitle.empty() || item.GetDownloadSubtitleAtIndex(item.GetCurrentSubtitleIndex())
                                    ->SetCurrentSubtitleFormat(subtitle.substr(blank + 1)));
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

bool Downloads::WaitAll() {
    auto const limit = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    return !started_ || std::all_of(rows_.begin(), rows_.end(), [limit](auto const& row) {
        return row->end.wait_until(limit) == std::future_status::ready;
    });
}

} // namespace Live
