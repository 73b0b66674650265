#include "Live.h"

#include "IHVDownloadPlugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

using namespace Halvorn;
namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr char const* kOld = "2025.01.01";
constexpr char const* kNew = "2100.01.01";
constexpr char const* kNewest = "2100.02.01";

void Put(std::string const& file, std::string const& text) {
    std::ofstream(file) << text;
}

/// The real tool as it is released, of another version.
void MakeTool(std::string const& version, std::string const& file, std::string const& added = "x=") {
    Live::OutputOf({"python3", REELHAUL_SOURCE_DIR "/tests/servers/older_tool.py",
                    Live::ToolsFolder() + "/yt-dlp", version, file, added});
}

bool HasBytecode(std::string const& tool) {
    return Live::ContentOf(tool).find("yt_dlp/version.pyc") != std::string::npos;
}

/// A release host on loopback, the only one that the library and the tool can reach, and a local copy.
class UpdateTest : public testing::Test {
protected:
    UpdateTest() {
        fs::create_directories(host_ + "/files");
        fs::create_directories(host_ + "/yt-dlp");
        // The tool would trust the certificates of a Python package otherwise, where that is installed.
        Put(host_ + "/yt-dlp/config", "--compat-options no-certifi");
        Put(host_ + "/files/_update_spec", "# nothing is held back");
        for (auto const& [name, value] :
             std::vector<std::pair<char const*, std::string>>{{"REELHAUL_RELEASE_API", server_.Line()},
                                                              {"HTTPS_PROXY", server_.Line()},
                                                              {"SSL_CERT_FILE", host_ + "/ca.pem"},
                                                              {"XDG_CONFIG_HOME", host_}})
            setenv(name, value.c_str(), 1);
        fs::create_symlink(Live::ToolsFolder() + "/ffmpeg", local_ + "/ffmpeg");
        api_ = std::getenv("REELHAUL_RELEASE_API");
        Live::UseTools(local_);
    }
    ~UpdateTest() override {
        for (char const* name : {"REELHAUL_RELEASE_API", "HTTPS_PROXY", "SSL_CERT_FILE", "XDG_CONFIG_HOME"})
            unsetenv(name);
        Live::UseTools();
    }

    void Offer(std::string const& version, std::string const& sum = {}) const {
        std::string const file = host_ + "/files/yt-dlp";
        if (sum.empty())
            MakeTool(version, file);
        Put(host_ + "/latest.json", R"({"tag_name": ")" + version + R"(", "target_commitish": "master"})");
        Put(host_ + "/files/SHA2-256SUMS", sum.empty() ? Live::OutputOf({"sha256sum", file}) : sum);
    }
    std::string Asked() const { return Live::ContentOf(host_ + "/log"); }
    static IHVDownloadPlugin::UpdateOutcome Update() {
        auto const plugin = IHVDownloadPlugin::SharedDownloadPlugin();
        std::atomic<int> done = 0;
        plugin->UpdateLocalPlugin([&](std::shared_ptr<IHVError const> const& error) {
            EXPECT_TRUE(error->Succeed()) << error->GetErrorMessage();
            ++done;
        });
        plugin->CancelUpdateLocalPlugin();
        EXPECT_EQ(done, 1);
        return IHVDownloadPlugin::LastUpdate();
    }
    static std::string Version() {
        auto const text = IHVDownloadPlugin::SharedDownloadPlugin()->LocalPluginVersion();
        return text.substr(0, text.find('\n'));
    }
    /// The command's output; its exit status stands at the end.
    static std::string Command(std::string const& folder, std::string const& before = {}) {
        return Live::OutputOf({"sh", "-c",
                               before + REELHAUL_BINARY_DIR "/bin/reelhaul tools update --tool '" + folder +
                                   "'; echo \"status $?\""});
    }

    std::string const host_ = Live::NewFolder();
    std::string const local_ = Live::NewFolder();
    std::string const tool_ = local_ + "/yt-dlp";
    Live::Background server_{{"python3", REELHAUL_SOURCE_DIR "/tests/servers/release.py", host_}};
    std::string api_;
};

TEST_F(UpdateTest, TheToolUpdatesItselfAgainAndAgainWhileItRuns) {
    // A run that has read where its parts are in the file and has yet to load most of them.
    std::string const hold = host_ + "/hold";
    Put(hold, "");
    MakeTool(kOld, tool_,
             "yt_dlp/version.py=\nimport os, time\nif os.path.exists('" + hold +
                 ".on'):\n    print('held', flush=True)\n    while os.path.exists('" + hold +
                 "'): time.sleep(0.02)\n");
    std::string before = kOld;
    for (std::string const version : {kNew, kNewest}) {
        Offer(version);
        Put(hold + (before == kOld ? ".on" : ".off"), "");
        Live::Background running({tool_, "--list-extractors"});
        EXPECT_EQ(before == kOld ? running.Line() : "held", "held");
        fs::remove(hold + ".on");
        auto const outcome = Update();
        EXPECT_TRUE(outcome.changed);
        EXPECT_EQ(outcome.oldVersion + " " + outcome.newVersion + " " + outcome.offeredVersion,
                  before + " " + version + " " + version);
        EXPECT_EQ(outcome.message, "");
        EXPECT_EQ(Version(), version);
        EXPECT_TRUE(HasBytecode(tool_));
        fs::remove(hold);
        EXPECT_THAT(running.Rest(), EndsWith("generic\n"));
        EXPECT_EQ(Live::NamesIn(local_), "ffmpeg|yt-dlp|") << "something is left";
        before = version;
    }
    EXPECT_THAT(Asked(), HasSubstr("/releases/download/" + std::string(kNewest) + "/yt-dlp\n"));
    // It reads the site by the plugin of the tests.
    EXPECT_NE(Live::ItemOf("watch/combined"), nullptr);
}

TEST_F(UpdateTest, AnUpdateThatCannotBeMadeLeavesTheToolAlone) {
    MakeTool(kOld, tool_);
    // Nothing newer: it gets its bytecode, and serves all rows.
    Offer(kOld);
    EXPECT_FALSE(Update().changed);
    EXPECT_TRUE(HasBytecode(tool_));
    EXPECT_EQ(Asked(), "/repos/yt-dlp/yt-dlp/releases/latest\n") << "the tool was asked to update itself";
    std::string const content = Live::ContentOf(tool_);

    struct Row {
        char const* name;
        std::function<void()> prepare;
        std::string offered, message;
    };
    std::string const garbage = host_ + "/files/yt-dlp";
    for (auto const& row : std::vector<Row>{
             {"the same again", [] {}, kOld, ""},
             {"an answer that is no JSON", [&] { Put(host_ + "/latest.json", "<html>"); }, "",
              "names no version"},
             {"a file that is not the release's", [&] { Offer(kNew, std::string(64, '0') + "  yt-dlp\n"); },
              kNew, "Unable to verify the new executable"},
             {"a release that does not run",
              [&] {
                  Put(garbage, "no program");
                  Offer(kNew, Live::OutputOf({"sha256sum", garbage}));
              },
              kNew, "Updated yt-dlp"},
             {"no such release file", [&] { fs::remove(garbage); }, kNew, "does not exist"},
             {"no host", [] { setenv("REELHAUL_RELEASE_API", "https://127.0.0.1:1", 1); }, "", "127.0.0.1"},
             {"a certificate of nobody's",
              [&] {
                  setenv("REELHAUL_RELEASE_API", api_.c_str(), 1);
                  setenv("SSL_CERT_FILE", "/dev/null", 1);
              },
              "", "certificate"},
         }) {
        SCOPED_TRACE(row.name);
        row.prepare();
        auto const outcome = Update();
        EXPECT_FALSE(outcome.changed);
        EXPECT_EQ(outcome.oldVersion + " " + outcome.newVersion, kOld + std::string(" ") + kOld);
        EXPECT_EQ(outcome.offeredVersion, row.offered);
        EXPECT_THAT(outcome.message, HasSubstr(row.message));
        EXPECT_EQ(outcome.message.empty(), row.message.empty()) << outcome.message;
        EXPECT_THAT(outcome.message, Not(HasSubstr(".reelhaul-")));
        EXPECT_TRUE(Live::ContentOf(tool_) == content);
        EXPECT_EQ(Live::NamesIn(local_), "ffmpeg|yt-dlp|");
    }
}

TEST_F(UpdateTest, TheCommandSeedsAFolderAndTellsTheTruth) {
    std::string const folder = local_ + "/seeded";
    fs::create_directory(folder);
    ASSERT_TRUE(fs::is_symlink(Live::ToolsFolder() + "/ffmpeg"));
    Offer(kOld);
    // Room for ffmpeg, not for the tool.
    std::string const full = Command(folder, "trap '' XFSZ; ulimit -f 4000; ");
    EXPECT_THAT(full, HasSubstr("There is no local yt-dlp that runs: Can't copy"));
    EXPECT_THAT(full, EndsWith("status 1\n"));
    EXPECT_EQ(Live::NamesIn(folder), "ffmpeg|") << "something is left of the tool";

    EXPECT_THAT(Command(folder), testing::ContainsRegex("yt-dlp [0-9.]+ is up to date.\nstatus 0\n$"));
    for (auto const& entry : fs::directory_iterator(folder)) {
        EXPECT_TRUE(entry.is_regular_file() && !entry.is_symlink()) << entry.path();
        EXPECT_THAT(
            Live::OutputOf({entry.path(), entry.path().filename() == "ffmpeg" ? "-version" : "--version"}),
            testing::ContainsRegex("^(ffmpeg version )?[0-9]"));
    }
    // A packager's mark keeps the built-in tool from updating itself.
    Offer(kNew);
    EXPECT_THAT(Command(folder), testing::ContainsRegex("yt-dlp [0-9.]+ stays: .*\nstatus 1\n$"));
    MakeTool(kOld, folder + "/yt-dlp");
    EXPECT_THAT(Command(folder), EndsWith("yt-dlp was updated from 2025.01.01 to 2100.01.01.\nstatus 0\n"));
}

} // namespace
