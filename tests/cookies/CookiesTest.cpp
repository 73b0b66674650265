// The cookies record: what it holds, the file that the tool makes, and the file from a running browser.

#include "HVArgsBuilder.h"
#include "HVLatch.h"
#include "IHVCookieMessage.h"
#include "IHVCookieStock.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadPlugin.h"
#include "IHVThread.h"
#include "LogLines.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;
constexpr unsigned int Patience = 20000; // milliseconds, for what comes at once

std::string Bytes(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct State final : IHVBrowserState {
    bool HasCookieData() const override { return data; }
    long long GetStateTime() const override { return time; }
    bool IsResponding() const override { return responding; }
    bool IsRequestBlocked() const override { return blocked; }
    bool IsReachable() const override { return reachable; }

    bool data = false;
    long long time = 0;
    bool responding = true;
    bool blocked = false;
    bool reachable = true;
};

/// A browser that shows one state before a request and another one after it.
struct FakeStock final : IHVCookieStock {
    std::shared_ptr<IHVError const> SendCookieMessage(std::shared_ptr<IHVCookieMessage const> sent) override {
        ++messages;
        if (after.time < 0)
            after.time += sent->GetMessageTime() + 1; // -1: the very time of the request
        return IHVError::MallocError("FakeStock", 1, "SendCookieMessage", -1, "Error", "not looked at");
    }
    std::shared_ptr<IHVBrowserState const> GetBrowserState(HVDownloadBrowser) override {
        if (gate)
            gate->Wait(Patience);
        if (throwing)
            throw std::runtime_error("no state");
        looks += messages;
        return std::make_shared<State>(messages > 0 ? after : before);
    }
    std::string GetCookieData() override {
        ++reads;
        return "AP8KJQ==";
    }
    bool BrowserWasStarted(HVDownloadBrowser browser) override { return browser == started; }

    State before;
    State after;
    HVDownloadBrowser started = HVDownloadBrowserUnknown;
    bool throwing = false;
    std::shared_ptr<HVLatch> gate;
    std::atomic<int> messages = 0;
    std::atomic<int> looks = 0; // after the request
    std::atomic<int> reads = 0;
};

/// What the callback of one run got.
struct Outcome {
    std::string path;
    std::shared_ptr<IHVBrowserState const> state;
    std::atomic<int> calls = 0;
    HVLatch released; // nobody holds the callback any more, so no further call can come
};

/// Goes with the last copy of the callback that holds it.
struct Guard {
    explicit Guard(std::shared_ptr<Outcome> of) : outcome(std::move(of)) {}
    Guard(Guard const&) = delete;
    Guard& operator=(Guard const&) = delete;
    ~Guard() { outcome->released.Raise(); }

    std::shared_ptr<Outcome> const outcome;
};

IHVDownloadCookies::Callback CallbackInto(std::shared_ptr<Outcome> outcome) {
    auto guard = std::make_shared<Guard>(std::move(outcome));
    return [guard](std::string const& path, std::shared_ptr<IHVBrowserState const> state) {
        guard->outcome->path = path;
        guard->outcome->state = state;
        ++guard->outcome->calls;
    };
}

class Cookies : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "cookies.XXXXXX").string();
        ASSERT_TRUE(mkdtemp(name.data()));
        folder_ = name;
        IHVCookieStock::SetSharedCookieStock(stock_);
    }
    void TearDown() override {
        IHVCookieStock::SetSharedCookieStock(nullptr);
        IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath("");
        fs::remove_all(folder_);
    }

    std::shared_ptr<Outcome> Run(HVDownloadBrowser browser, long long timeout) {
        auto outcome = std::make_shared<Outcome>();
        auto const record = IHVDownloadCookies::MallocDownloadCookies();
        EXPECT_TRUE(
            record->GenerateCookiesFile2(folder_, CallbackInto(outcome), browser, timeout)->Succeed());
        EXPECT_EQ(outcome->released.Wait(Patience), HVErrSuccess);
        EXPECT_EQ(outcome->calls, 1);
        return outcome;
    }

    /// Has this shell script run in the tool's place.
    void Tool(std::string const& script) {
        std::ofstream(folder_ + "/yt-dlp") << "#!/bin/sh\n" << script;
        fs::permissions(folder_ + "/yt-dlp", fs::perms::owner_all);
        IHVDownloadPlugin::SharedDownloadPlugin()->SetLocalPluginInstallPath(folder_);
        ASSERT_EQ(HVArgsBuilder::GetDownloadCommadExe(), folder_ + "/yt-dlp");
    }

    std::string folder_;
    std::shared_ptr<FakeStock> stock_ = std::make_shared<FakeStock>();
    LogLines log_;
};

TEST_F(Cookies, NamesOfBrowsers) {
    char const* const words[] = {"chrome", "chromium", "firefox", "edge",  "safari", "brave",
                                 "opera",  "vivaldi",  "unknown", "whale", "unknown"};
    for (int i = 0; i < 11; ++i) {
        auto const browser = static_cast<HVDownloadBrowser>(i);
        auto const record = IHVDownloadCookies::MallocDownloadCookies(browser);
        EXPECT_EQ(record->CookiesFromBrowserParamName(), words[i]);
        EXPECT_EQ(record->CookiesFromBrowserName() == "Unknown", words[i] == std::string("unknown"));
        EXPECT_EQ(record->CookiesPluginInstallerURL(browser), "");
    }
    EXPECT_EQ(HVDownloadBrowserUnknown, 8);
    EXPECT_EQ(HVDownloadBrowserProbed, 2);
}

TEST_F(Cookies, Fields) {
    auto const record = IHVDownloadCookies::MallocDownloadCookies("/c");
    EXPECT_EQ(record->GetCookiesFromBrowser(), HVDownloadBrowserUnknown);
    record->SetCookiesFromBrowser(HVDownloadBrowserEdge);
    EXPECT_EQ(record->Clone()->GetCookiesPathFile(), "/c");
    EXPECT_EQ(record->Clone()->GetCookiesFromBrowser(), HVDownloadBrowserEdge);
    EXPECT_EQ(IHVDownloadCookies::MallocDownloadCookies()->GetCookiesPathFile(), "");
}

TEST_F(Cookies, FileByTheTool) {
    // As the real tool: it writes the file, then complains that it was given no address.
    Tool("printf '%s\\n' \"$@\" > \"$4\"; echo 'no %s address' >&2; exit 2");
    auto const record = IHVDownloadCookies::MallocDownloadCookies();
    EXPECT_TRUE(record->GenerateCookiesFile(folder_, HVDownloadBrowserFirefox)->Succeed());
    auto const path = record->GetCookiesPathFile();
    EXPECT_EQ(fs::path(path).parent_path(), folder_);
    EXPECT_EQ(fs::path(path).extension(), ".txt");
    EXPECT_EQ(Bytes(path), "--cookies-from-browser\nfirefox\n--cookies\n" + path + "\n");
    EXPECT_EQ(log_.Take(), std::vector<std::string>{"1 ERROR: no %s address\n."});
}

TEST_F(Cookies, FailuresOfTheTool) {
    auto const record = IHVDownloadCookies::MallocDownloadCookies(HVDownloadBrowserEdge);
    auto const message = [&](std::string const& folder, HVDownloadBrowser browser) {
        auto const error = record->GenerateCookiesFile(folder, browser);
        EXPECT_EQ(error->GetErrorCode(), -1);
        EXPECT_EQ(error->GetErrorTitle(), "Error");
        EXPECT_EQ(error->GetSourceFile(), "HVDownLoadCookies");
        EXPECT_EQ(error->GetFunctionName(), "GenerateCookiesFile");
        return error->GetErrorMessage();
    };
    EXPECT_EQ(message("", HVDownloadBrowserUnknown), "cookies path is not set.");
    EXPECT_EQ(message(folder_, HVDownloadBrowserUnknown), "Browser is unknown.");
    EXPECT_EQ(record->GetCookiesPathFile(), "");
    Tool("echo '100%s bad' >&2");
    EXPECT_EQ(message(folder_, HVDownloadBrowserEdge), "failed to creater cookies file. 100%s bad\n");
    auto const planned = record->GetCookiesPathFile();
    EXPECT_EQ(fs::path(planned).parent_path(), folder_);
    fs::remove(folder_ + "/yt-dlp");
    EXPECT_EQ(message(folder_, HVDownloadBrowserEdge), "failed to get cookies.");
    EXPECT_NE(record->GetCookiesPathFile(), planned) << "the planned path stays after any failure";
}

TEST_F(Cookies, AnswerLandsInAFile) {
    stock_->after.data = true;
    stock_->after.time = -1;
    auto const outcome = Run(HVDownloadBrowserEdge, 0);
    EXPECT_EQ(outcome->path, folder_ + "/edge" + std::to_string(stock_->after.time) + ".txt");
    EXPECT_EQ(Bytes(outcome->path), std::string("\0\xFF\n%", 4));
    EXPECT_EQ(fs::status(outcome->path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(outcome->state->HasCookieData());
}

TEST_F(Cookies, NoAnswer) {
    auto const edge = HVDownloadBrowserEdge;
    struct {
        char const* name;
        void (*set)(FakeStock&);
        HVDownloadBrowser browser;
        bool state;
        int messages;
    } const rows[] = {{"none named, other one ran", [](FakeStock& s) { s.started = HVDownloadBrowserChrome; },
                       HVDownloadBrowserUnknown, false, 0},
                      {"not reachable", [](FakeStock& s) { s.before.reachable = false; }, edge, true, 0},
                      {"blocked", [](FakeStock& s) { s.before.blocked = true; }, edge, true, 0},
                      {"stops responding",
                       [](FakeStock& s) {
                           s.after.responding = false;
                           s.after.data = true;
                           s.after.time = -1;
                       },
                       edge, true, 1},
                      {"older data only",
                       [](FakeStock& s) {
                           s.after.data = true;
                           s.after.time = -2;
                       },
                       edge, true, 1},
                      {"newer, without data", [](FakeStock& s) { s.after.time = -1; }, edge, true, 1},
                      {"fault in the source", [](FakeStock& s) { s.throwing = true; }, edge, false, 0}};
    for (auto const& row : rows) {
        SCOPED_TRACE(row.name);
        stock_ = std::make_shared<FakeStock>();
        row.set(*stock_);
        IHVCookieStock::SetSharedCookieStock(stock_);
        auto const outcome = Run(row.browser, 0);
        EXPECT_EQ(outcome->path, "");
        EXPECT_EQ(outcome->state != nullptr, row.state);
        EXPECT_EQ(stock_->messages, row.messages);
        EXPECT_EQ(stock_->looks, row.messages) << "no time, one look";
        EXPECT_EQ(stock_->reads, 0);
    }
    IHVCookieStock::SetSharedCookieStock(nullptr);
    EXPECT_FALSE(Run(edge, 0)->state->IsReachable()) << "without a source";
}

TEST_F(Cookies, OneSecondIsThreeLooks) {
    EXPECT_EQ(Run(HVDownloadBrowserEdge, 1)->path, "");
    EXPECT_EQ(stock_->looks, 3);
}

TEST_F(Cookies, ProbedBrowserStandsIn) {
    stock_->started = HVDownloadBrowserProbed;
    stock_->after.data = true;
    stock_->after.time = 1700000000000000;
    // The path is told even when the file can't be written.
    auto const path = folder_ + "/firefox1700000000000000.txt";
    fs::create_directory(path);
    EXPECT_EQ(Run(HVDownloadBrowserUnknown, 0)->path, path);
    EXPECT_EQ(log_.Take(),
              std::vector<std::string>{"1 HVDownloadCookies::SaveStringToFile,Create File fail"});
}

TEST_F(Cookies, OneRunAtATime) {
    stock_->gate = std::make_shared<HVLatch>();
    auto const record = IHVDownloadCookies::MallocDownloadCookies();
    auto const start = [&](std::shared_ptr<Outcome> outcome) {
        return record->GenerateCookiesFile2(folder_, CallbackInto(outcome), HVDownloadBrowserEdge, 0);
    };
    auto const first = std::make_shared<Outcome>();
    auto const refused = std::make_shared<Outcome>();
    EXPECT_TRUE(start(first)->Succeed());
    auto const error = start(refused);
    EXPECT_EQ(error->GetErrorCode(), HVErrorCodeIO);
    EXPECT_EQ(error->GetErrorTitle(), "IO Error");
    EXPECT_EQ(error->GetErrorMessage(), "IO error, try again later");
    EXPECT_EQ(error->GetFunctionName(), "GenerateCookiesFile2");
    stock_->gate->Raise();
    EXPECT_EQ(first->released.Wait(Patience), HVErrSuccess);
    EXPECT_EQ(first->calls, 1);
    EXPECT_EQ(refused->calls, 0);
    // The worker ends a moment after its callback.
    auto second = std::make_shared<Outcome>();
    for (; !start(second)->Succeed(); second = std::make_shared<Outcome>())
        IHVThread::Sleep(1);
    EXPECT_EQ(second->released.Wait(Patience), HVErrSuccess);
    EXPECT_EQ(second->calls, 1);
}

// An owner may drop the record at once, and a callback may hold it.
TEST_F(Cookies, RecordLivesAsLongAsItsWorker) {
    stock_->gate = std::make_shared<HVLatch>();
    auto record = IHVDownloadCookies::MallocDownloadCookies("/c");
    std::weak_ptr<IHVDownloadCookies> const watched = record;
    HVLatch done;
    std::string path;
    record->GenerateCookiesFile2(
        folder_,
        [&done, &path, record](std::string const&, std::shared_ptr<IHVBrowserState const>) {
            path = record->GetCookiesPathFile();
            done.Raise();
        },
        HVDownloadBrowserEdge, 0);
    record.reset();
    EXPECT_FALSE(watched.expired());
    stock_->gate->Raise();
    ASSERT_EQ(done.Wait(Patience), HVErrSuccess);
    EXPECT_EQ(path, "/c");
    for (unsigned int i = 0; i < Patience && !watched.expired(); ++i)
        IHVThread::Sleep(1);
    EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace Halvorn
