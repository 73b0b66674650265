#include "HVDownloadPlugin.h"
#include "Folder.h"
#include "IHVAppSettings.h"
#include "LogLines.h"
#include "LoopbackServer.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <thread>
#include <tuple>

namespace Halvorn {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// Settings of the program's own, whatever the user has. The library reads them when it is loaded, and this
/// comes before.
__attribute__((constructor(101))) void NameSettings() {
    std::string const path = "/tmp/" + IHVFileProvider::CreateRandomFileName("json", 12);
    setenv("REELHAUL_SETTINGS", path.c_str(), 1);
}

class HVDownloadPluginTest : public testing::Test {
protected:
    HVDownloadPluginTest() { IHVDownloadPlugin::SetReleaseMirror(server_.Url(), server_.Url("/")); }
    ~HVDownloadPluginTest() override { IHVDownloadPlugin::SetReleaseMirror("", ""); }

    std::string File(std::string const& name) const { return folder_ / name; }
    void PutProgram(std::string const& name, std::string const& script) const {
        fs::permissions(folder_.Put(name, "#!/bin/sh\n" + script + "\n"), fs::perms(0755));
    }
    /// A local tool of this version; `update` is what it does when asked to update itself: "become VERSION".
    void PutTool(std::string const& version, std::string const& update = {}) const {
        PutProgram("yt-dlp",
                   "version=" + version +
                       "\nbecome() { sed \"s/^version=.*/version=$1/\" \"$0\" > \"$0.new\"; chmod +x "
                       "\"$0.new\"; mv \"$0.new\" \"$0\"; }\ncd '" +
                       folder_.Path() + "'\ncase $1 in\n--version) echo $version ;;\n" +
                       "--update) touch asked; " + update + "\nesac");
    }
    /// Runs an update to its end and returns what `done` got.
    std::shared_ptr<IHVError const> Update() const {
        std::promise<std::shared_ptr<IHVError const>> promise;
        plugin_->UpdateLocalPlugin([&](std::shared_ptr<IHVError const> error) { promise.set_value(error); });
        auto error = promise.get_future().get();
        plugin_->CancelUpdateLocalPlugin();
        return error;
    }

    std::string answer_ = R"({"tag_name": "2026.10.26"})";
    std::string status_ = "200 OK";
    std::string asked_;
    LoopbackServer server_{[this](int connection, std::string const& request) {
        asked_ = LoopbackServer::PathOf(request);
        LoopbackServer::Reply(connection, status_, answer_);
    }};
    Folder const folder_;
    std::shared_ptr<HVDownloadPlugin> plugin_ = std::make_shared<HVDownloadPlugin>();
};

TEST_F(HVDownloadPluginTest, TheSwitchIsStoredInTheOppositeSense) {
    EXPECT_TRUE(plugin_->LocalPluginEnabled()) << "as on a fresh installation";
    for (bool const enabled : {false, true}) {
        plugin_->EnableLocalPlugin(enabled);
        EXPECT_EQ(HVDownloadPlugin().LocalPluginEnabled(), enabled);
        EXPECT_EQ(IHVAppSettings::Shared()->GetBool("enableLocalPlugin"), !enabled);
    }
    IHVDownloadPlugin::UseLocalPluginForThisProcess(false);
    EXPECT_FALSE(IHVDownloadPlugin::SharedDownloadPlugin()->LocalPluginEnabled());
    EXPECT_TRUE(HVDownloadPlugin().LocalPluginEnabled()) << "the stored choice has changed";
    EXPECT_TRUE(fs::remove(std::getenv("REELHAUL_SETTINGS")));
}

TEST_F(HVDownloadPluginTest, PathsFollowTheInstallPath) {
    for (auto const& [path, expected] :
         Rows{{folder_.Path(), File("yt-dlp") + "|" + File("ffmpeg")}, {File("missing"), "|"}}) {
        plugin_->SetLocalPluginInstallPath(path);
        EXPECT_EQ(Text(plugin_->LocalPluginPathFile(), plugin_->LocalFfmpegPathFile()), expected);
        EXPECT_EQ(plugin_->LocalPluginUpdatePathFile(), (fs::path(path) / "yt-dlp-update").string());
    }
}

TEST_F(HVDownloadPluginTest, AVersionIsWhatTheToolPrints) {
    plugin_->SetLocalPluginInstallPath(folder_.Path());
    EXPECT_EQ(plugin_->LocalPluginVersion(), "2024.01.01") << "no tool";
    PutProgram("yt-dlp", "echo warning >&2; echo 2025.05.05");
    EXPECT_EQ(plugin_->LocalPluginVersion(), "2025.05.05\n");
    fs::permissions(File("yt-dlp"), fs::perms(0644));
    EXPECT_EQ(plugin_->LocalPluginVersion(), "") << "a tool that can't be started";
}

TEST_F(HVDownloadPluginTest, TheReleaseHostsAnswerIsReadWithCare) {
    LogLines log;
    for (auto const& [answer, version] : Rows{{R"({"tag_name": "2026.10.26", "other": [NaN]})", "2026.10.26"},
                                              {R"({"tag_name": 5})", ""},
                                              {R"(["tag_name"])", ""},
                                              {"<html>", ""},
                                              {"", "2024.01.01"},
                                              {R"({"message": "no"})", "2024.01.01"}}) {
        status_ = answer == R"({"message": "no"})" ? "403 rate limit exceeded" : "200 OK";
        answer_ = answer;
        EXPECT_EQ(plugin_->GetLatestYtDlpVersion(), version) << answer;
        EXPECT_EQ(asked_, "/repos/yt-dlp/yt-dlp/releases/latest");
        EXPECT_THAT(log.Take(), testing::Contains(testing::EndsWith("/latest, for 60 s at most.")));
    }
}

TEST_F(HVDownloadPluginTest, MirrorsComeFromTheApplicationThenTheEnvironment) {
    setenv("REELHAUL_RELEASE_FILES", "https://mirror.example/x/", 1);
    EXPECT_THAT(plugin_->GetLatestYtDlpVersionUrl(), testing::StartsWith(server_.Url("/yt-dlp/")));
    IHVDownloadPlugin::SetReleaseMirror(server_.Url(), "");
    EXPECT_THAT(plugin_->GetLatestYtDlpVersionUrl(), testing::StartsWith("https://mirror.example/x/yt-dlp/"));
    unsetenv("REELHAUL_RELEASE_FILES");
    EXPECT_THAT(plugin_->GetLatestYtDlpVersionUrl(), testing::StartsWith("https://github.com/yt-dlp/"));
}

TEST_F(HVDownloadPluginTest, AReleaseFileIsDownloadedBesideTheTool) {
    plugin_->SetLocalPluginInstallPath(folder_.Path());
    std::string version = "2026.10.26";
    answer_ = "program";
    // What fails leaves the file of before, and nothing half.
    for (char const* const status : {"200 OK", "404 Not Found"}) {
        status_ = status;
        EXPECT_EQ(plugin_->DownloadLatestYtDlp(version)->Succeed(), status_ == "200 OK");
        EXPECT_EQ(asked_, "/yt-dlp/yt-dlp/releases/download/2026.10.26/yt-dlp.exe");
        EXPECT_EQ(folder_.Get("yt-dlp-update") + Text(folder_.Count()), "program1");
    }
    plugin_->SetLocalPluginInstallPath(File("missing"));
    EXPECT_THAT(plugin_->DownloadLatestYtDlp(version)->GetErrorMessage(), HasSubstr("folder does not exist"));
}

TEST_F(HVDownloadPluginTest, WhetherANewerVersionExistsIsAskedForUnderTheOppositeName) {
    plugin_->SetLocalPluginInstallPath(folder_.Path());
    for (char const* const older : {"2026.10.25", "2026.9.30", "2025.12.31.9", "2026.10"}) {
        PutTool(older);
        EXPECT_TRUE(plugin_->LocalPluginIsUpToDate()) << older;
    }
    for (char const* const other : {"2026.10.26", "2026.10.026", "2026.10.26.1", "2026.11.01", "2027.01.01",
                                    "nightly@2026.01.01", "99999999999.1"}) {
        PutTool(other);
        EXPECT_FALSE(plugin_->LocalPluginIsUpToDate()) << other;
    }
}

TEST_F(HVDownloadPluginTest, AnUpdateTakesWhatWasOfferedAndTellsItsOutcome) {
    plugin_->CancelUpdateLocalPlugin(); // returns, though nothing was ever started
    EXPECT_EQ(Update()->GetErrorMessage(), "Not set pluginInstallPath");
    plugin_->SetLocalPluginInstallPath(folder_.Path());
    folder_.Put("ffmpeg", "in place");
    EXPECT_FALSE(plugin_->Outcome().finished);
    std::string const old = "2025.01.01";
    std::string const stays = "1|1|0|2025.01.01|2025.01.01|2026.10.26";
    struct Row {
        std::string version, update;
        char const* status;
        std::string expected; ///< succeeded, asked the tool, changed; old, new and offered version
        std::string message;
    };
    for (auto const& row : std::vector<Row>{
             {old, "become 2026.10.26", "200 OK", "1|1|1|2025.01.01|2026.10.26|2026.10.26", ""},
             {"2027.01.01", "false", "200 OK", "1|0|0|2027.01.01|2027.01.01|2026.10.26", ""},
             {old, "touch $0.new $0.old; echo 'ERROR: no 100% way' >&2", "200 OK", stays,
              "ERROR: no 100% way"},
             {old, "become evil", "200 OK", stays, "\"evil\", which is no version"},
             {old, "become 2024.12.31", "200 OK", stays, "older than the one in use"},
             {old, "become 2026.10.27", "200 OK", stays, "not the offered 2026.10.26"},
             {old, "become 2026.10.26; echo w, skipping verification", "200 OK", stays, "no checksum"},
             {old, "false", "500 Broken", "1|0|0|2025.01.01|2025.01.01|", "status 500"},
             {"2023.01.01", "become 2024.02.02", "500 Broken", "1|1|1|2023.01.01|2024.02.02|", ""},
             {"nightly", "false", "200 OK", "0|0|0|||", "\"nightly\" and \"2026.10.26\" can't be compared"},
             {old, "false", "evil", "0|0|0|||", "and \"2027.01.01evil\" can't be compared"},
         }) {
        fs::remove(File("asked"));
        PutTool(row.version, row.update);
        status_ = row.status;
        if (status_ == "evil")
            std::tie(status_, answer_) = std::pair("200 OK", R"({"tag_name": "2027.01.01evil"})");
        bool const succeeded = Update()->Succeed();
        auto const outcome = plugin_->Outcome();
        bool const asked = fs::exists(File("asked"));
        EXPECT_TRUE(outcome.finished);
        EXPECT_EQ(Text(succeeded, asked, outcome.changed, outcome.oldVersion, outcome.newVersion,
                       outcome.offeredVersion),
                  row.expected);
        EXPECT_THAT(outcome.message, HasSubstr(row.message));
        EXPECT_EQ(outcome.message.empty(), row.message.empty());
        EXPECT_EQ(folder_.Count(), asked ? 3 : 2) << "something is left of " << row.update;
    }
    status_ = "500 Broken";
    plugin_->SetLocalPluginInstallPath(File("missing"));
    EXPECT_TRUE(Update()->Succeed());
    EXPECT_THAT(plugin_->Outcome().message, HasSubstr("no target is named"));
}

TEST_F(HVDownloadPluginTest, UpdatesFollowOneAnotherWhoeverAsksForThem) {
    plugin_->SetLocalPluginInstallPath(folder_.Path());
    // Two at once would both find the mark.
    PutTool("2025.01.01", "if mkdir busy; then sleep 0.3; rmdir busy; else touch overlap; fi");
    std::atomic<int> ends = 0;
    plugin_->UpdateLocalPlugin([&](std::shared_ptr<IHVError const>) { ends = 100; });
    plugin_->UpdateLocalPlugin([&](std::shared_ptr<IHVError const>) { ++ends; });
    plugin_->CancelUpdateLocalPlugin();
    EXPECT_EQ(ends.exchange(0), 2) << "the second function takes the place of the first";

    // Out of the function and from other threads at the same time.
    HVDownloadPlugin::UpdateFunction const again = [&](std::shared_ptr<IHVError const>) {
        plugin_->CancelUpdateLocalPlugin();
        if (++ends < 3)
            plugin_->UpdateLocalPlugin(again);
        plugin_->CancelUpdateLocalPlugin();
    };
    std::thread other([&] { plugin_->UpdateLocalPlugin(again); });
    plugin_->UpdateLocalPlugin(again);
    other.join();
    while (ends < 4)
        plugin_->CancelUpdateLocalPlugin();
    plugin_->CancelUpdateLocalPlugin();
    EXPECT_EQ(ends, 4);
    EXPECT_FALSE(fs::exists(File("overlap")));
}

TEST_F(HVDownloadPluginTest, AnUpdateKeepsItsOwnerAndOutlivesAThrowingFunction) {
    plugin_->SetLocalPluginInstallPath(folder_.Path());
    PutTool("2026.10.26$(cd " + folder_.Path() + "; until [ -e go ]; do sleep 0.01; done)");
    std::promise<void> told;
    plugin_->UpdateLocalPlugin([&](std::shared_ptr<IHVError const>) {
        told.set_value();
        throw std::runtime_error("from the application");
    });
    std::weak_ptr<HVDownloadPlugin> const observer = plugin_;
    plugin_.reset();
    EXPECT_FALSE(observer.expired());
    folder_.Put("go", "");
    told.get_future().wait();
    while (!observer.expired())
        std::this_thread::yield();
}

} // namespace
} // namespace Halvorn
