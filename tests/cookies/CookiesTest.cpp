// The cookies record: what it holds, the file that the tool makes, and the file from a running browser.

#include "HVLatch.h"
#include "IHVCookieMessage.h"
#include "IHVCookieStock.h"
#include "IHVDownloadCookies.h"
#include "LogLines.h"
#include "ScriptedTool.h"
#include "Text.h"

#include <atomic>
#include <future>
#include <stdexcept>

#include <sys/stat.h>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;

struct State final : IHVBrowserState {
    bool HasCookieData() const override { return data; }
    long long GetStateTime() const override { return time; }
    bool IsResponding() const override { return responding; }
    bool IsRequestBlocked() const override { return blocked; }
    bool IsReachable() const override { return reachable; }

    State(bool hasData = false, long long at = 0, bool responds = true)
        : data(hasData), time(at), responding(responds) {}

    bool data;
    long long time;
    bool responding;
    bool blocked = false;
    bool reachable = true;
};

/// A browser that shows one state before a request and another one after it.
struct FakeStock final : IHVCookieStock {
    std::shared_ptr<IHVError const> SendCookieMessage(std::shared_ptr<IHVCookieMessage const> sent) override {
        ++messages;
        if (after.time < 0)
            after.time += sent->GetMessageTime() + 1; // -1: the very time of the request
        if (sends)
            return IHVError::MallocSucceed("FakeStock", 1, "SendCookieMessage");
        return IHVError::MallocError("FakeStock", 1, "SendCookieMessage", -1, "Error", "not sent");
    }
    std::shared_ptr<IHVBrowserState const> GetBrowserState(HVDownloadBrowser) override {
        if (gate)
            gate->Wait(20000);
        if (throwing)
            throw std::runtime_error("no state");
        looks += messages;
        return std::make_shared<State>(messages > 0 ? after : before);
    }
    std::string GetCookieData() override { return data; }
    bool BrowserWasStarted(HVDownloadBrowser browser) override { return browser == started; }

    State before;
    State after;
    std::string data = "AP8KJQ==";
    HVDownloadBrowser started = HVDownloadBrowserUnknown;
    bool throwing = false;
    bool sends = false; // GenerateCookiesFile2 does not look at it
    std::shared_ptr<HVLatch> gate;
    std::atomic<int> messages = 0;
    std::atomic<int> looks = 0; // after the request
};

/// What the callback of one run got; it shares this.
struct Outcome {
    std::string path;
    std::shared_ptr<IHVBrowserState const> state;
    std::atomic<int> calls = 0;
};

/// Whether one call has come, and no other one can: nobody holds the callback any more.
bool CalledOnce(std::shared_ptr<Outcome> const& outcome) {
    return Eventually([&] { return outcome.use_count() == 1; }) && outcome->calls == 1;
}

class Cookies : public ScriptedTool {
protected:
    Cookies() { IHVCookieStock::SetSharedCookieStock(stock_); }
    ~Cookies() override { IHVCookieStock::SetSharedCookieStock(nullptr); }

    bool Start(std::shared_ptr<Outcome> const& outcome, HVDownloadBrowser browser,
               long long timeout = 0) const {
        auto const callback = [outcome](std::string const& path,
                                        std::shared_ptr<IHVBrowserState const> state) {
            outcome->path = path;
            outcome->state = state;
            ++outcome->calls;
        };
        return record_->GenerateCookiesFile2(folder_, callback, browser, timeout)->Succeed();
    }
    std::shared_ptr<Outcome> Run(HVDownloadBrowser browser, long long timeout = 0) const {
        auto outcome = std::make_shared<Outcome>();
        // The worker of the run before ends a moment after its callback.
        EXPECT_TRUE(Eventually([&] { return Start(outcome, browser, timeout); }));
        EXPECT_TRUE(CalledOnce(outcome));
        return outcome;
    }

    std::string const folder_ = fs::path(Path(".")).parent_path();
    std::shared_ptr<IHVDownloadCookies> record_ = IHVDownloadCookies::MallocDownloadCookies("/c");
    std::shared_ptr<FakeStock> stock_ = std::make_shared<FakeStock>();
    LogLines log_;
};

TEST_F(Cookies, NamesOfBrowsers) {
    std::string words;
    for (int i = 0; i <= 10; ++i)
        words += IHVBrowserState::BrowserParamName(static_cast<HVDownloadBrowser>(i)) + " ";
    EXPECT_EQ(words, "chrome chromium firefox edge safari brave opera vivaldi unknown whale unknown ");
}

TEST_F(Cookies, FileByTheTool) {
    // As the real tool: it writes the file, then complains that it was given no address.
    ShellTool("printf '%s\\n' \"$@\" > \"$4\"; echo 'no %s address' >&2; exit 2");
    EXPECT_TRUE(record_->GenerateCookiesFile(folder_, HVDownloadBrowserFirefox)->Succeed());
    auto const path = record_->GetCookiesPathFile();
    EXPECT_EQ(ContentOf(path), "--cookies-from-browser\nfirefox\n--cookies\n" + path + "\n");
    EXPECT_EQ(log_.Take(), std::vector<std::string>{"1 ERROR: no %s address\n."});
}

// Also from a tool that only opens it, and whatever the umask of the process is.
TEST_F(Cookies, FileByTheToolIsTheUsersAloneFromItsFirstMoment) {
    auto const before = umask(0);
    ShellTool("head -1 \"$4\" >\"$0.head\"; ls -l \"$4\" | cut -c1-10 >\"$4\"");
    EXPECT_TRUE(record_->GenerateCookiesFile(folder_, HVDownloadBrowserFirefox)->Succeed());
    umask(before);
    EXPECT_EQ(ContentOf(record_->GetCookiesPathFile()), "-rw-------\n");
    EXPECT_EQ(ContentOf(Path("yt-dlp.head")), "# Netscape HTTP Cookie File\n");
    ShellTool("exit 1");
    EXPECT_FALSE(record_->GenerateCookiesFile(folder_, HVDownloadBrowserFirefox)->Succeed());
    EXPECT_FALSE(fs::exists(record_->GetCookiesPathFile())) << "an empty file is left";
}

TEST_F(Cookies, FailuresOfTheTool) {
    auto const message = [&](std::string const& folder, HVDownloadBrowser browser) {
        return record_->GenerateCookiesFile(folder, browser)->GetErrorMessage();
    };
    EXPECT_EQ(message("", HVDownloadBrowserEdge), "cookies path is not set.");
    EXPECT_EQ(message(folder_, HVDownloadBrowserUnknown), "Browser is unknown.");
    EXPECT_EQ(record_->GetCookiesPathFile(), "/c");
    ShellTool("echo '100%s bad' >&2");
    EXPECT_EQ(message(folder_, HVDownloadBrowserEdge), "failed to creater cookies file. 100%s bad\n");
    EXPECT_NE(record_->GetCookiesPathFile(), "/c") << "the planned path stays after any failure";
    fs::remove(Path("yt-dlp"));
    EXPECT_EQ(message(folder_, HVDownloadBrowserEdge), "failed to get cookies.");
}

TEST_F(Cookies, AnswerLandsInAFile) {
    stock_->after.data = true;
    stock_->after.time = -1;
    auto const outcome = Run(HVDownloadBrowserEdge);
    EXPECT_EQ(outcome->path, folder_ + "/edge" + std::to_string(stock_->after.time) + ".txt");
    EXPECT_EQ(ContentOf(outcome->path), std::string("\0\xFF\n%", 4));
    EXPECT_EQ(fs::status(outcome->path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(outcome->state->HasCookieData());
}

TEST_F(Cookies, NoAnswer) {
    using Stock = FakeStock;
    struct {
        char const* name;
        void (*set)(Stock&);
        bool state;
        int messages;
    } const rows[] = {{"not reachable", [](Stock& s) { s.before.reachable = false; }, true, 0},
                      {"blocked", [](Stock& s) { s.before.blocked = true; }, true, 0},
                      {"stops responding", [](Stock& s) { s.after = State(true, -1, false); }, true, 1},
                      {"older data only", [](Stock& s) { s.after = State(true, -2); }, true, 1},
                      {"newer, without data", [](Stock& s) { s.after = State(false, -1); }, true, 1},
                      {"fault in the source", [](Stock& s) { s.throwing = true; }, false, 0}};
    for (auto const& row : rows) {
        SCOPED_TRACE(row.name);
        stock_ = std::make_shared<FakeStock>();
        row.set(*stock_);
        IHVCookieStock::SetSharedCookieStock(stock_);
        auto const outcome = Run(HVDownloadBrowserEdge);
        EXPECT_EQ(outcome->path, "");
        EXPECT_EQ(outcome->state != nullptr, row.state);
        EXPECT_EQ(stock_->messages, row.messages);
        EXPECT_EQ(stock_->looks, row.messages) << "no time, one look";
    }
    EXPECT_EQ(Run(HVDownloadBrowserUnknown)->state, nullptr);
    IHVCookieStock::SetSharedCookieStock(nullptr);
    EXPECT_FALSE(Run(HVDownloadBrowserEdge)->state->IsReachable()) << "without a source";
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
    EXPECT_EQ(Run(HVDownloadBrowserUnknown)->path, path);
    EXPECT_EQ(log_.Take().size(), 1U);
    fs::remove(path);
    Put("other", "not ours");
    fs::create_symlink(Path("other"), path);
    Run(HVDownloadBrowserUnknown);
    EXPECT_EQ(ContentOf(path), std::string("\0\xFF\n%", 4));
    EXPECT_EQ(ContentOf(Path("other")), "not ours") << "a link in the file's place was followed";
}

// As it is asked by a program: every failure is an error in words, and never a path.
TEST_F(Cookies, AskedWithAnError) {
    struct {
        char const* name;
        void (*set)(FakeStock&);
        std::string folder;
        std::string words;
    } const rows[] = {
        {"blocked", [](FakeStock& s) { s.before.blocked = true; }, folder_, "takes no request"},
        {"not sent", [](FakeStock& s) { s.sends = false; }, folder_, "not sent"},
        {"gone meanwhile", [](FakeStock& s) { s.after.responding = false; }, folder_, "stopped answering"},
        {"never answers", [](FakeStock& s) { s.after.data = false; }, folder_,
         "Edge did not answer within 0 s"},
        {"no base64", [](FakeStock& s) { s.data = "AP8*"; }, folder_, "can't be read"},
        {"no folder", [](FakeStock&) {}, folder_ + "/none", "the folder does not exist"},
        {"a fault of the source", [](FakeStock& s) { s.throwing = true; }, folder_, "no state"},
        {"an answer", [](FakeStock&) {}, folder_, "Operation was succeed"}};
    for (auto const& row : rows) {
        SCOPED_TRACE(row.name);
        stock_ = std::make_shared<FakeStock>();
        stock_->after = State(true, -1);
        stock_->sends = true;
        row.set(*stock_);
        IHVCookieStock::SetSharedCookieStock(stock_);
        std::promise<std::pair<std::string, std::string>> told;
        auto const record = IHVDownloadCookies::MallocDownloadCookies();
        record->AskRunningBrowser({HVDownloadBrowserEdge, {}, {}, row.folder, 0},
                                  [&told](auto const& error, auto const& path) {
                                      told.set_value({error->GetErrorMessage(), path});
                                  });
        auto const [words, path] = told.get_future().get();
        EXPECT_THAT(words, testing::HasSubstr(row.words));
        EXPECT_EQ(ContentOf(path), row.name == std::string("an answer") ? std::string("\0\xFF\n%", 4) : "");
    }
    std::promise<bool> cancelled;
    stock_->after = State(false, -1);
    auto const record = IHVDownloadCookies::MallocDownloadCookies();
    record->AskRunningBrowser(
        {HVDownloadBrowserEdge, {}, {}, folder_, 3600},
        [&](auto const& error, auto const&) { cancelled.set_value(error->UserCancel()); });
    record->StopAsking();
    EXPECT_TRUE(cancelled.get_future().get());
}

// An owner may drop the record at once, and a callback may hold it; meanwhile no second run begins.
TEST_F(Cookies, RecordLivesAsLongAsItsOneWorker) {
    stock_->gate = std::make_shared<HVLatch>();
    std::weak_ptr<IHVDownloadCookies> const watched = record_;
    std::promise<std::string> path;
    record_->GenerateCookiesFile2(
        folder_,
        [&path, record = record_](auto const&, auto const&) { path.set_value(record->GetCookiesPathFile()); },
        HVDownloadBrowserEdge, 0);
    auto const second = std::make_shared<Outcome>();
    EXPECT_FALSE(Start(second, HVDownloadBrowserEdge));
    record_.reset();
    EXPECT_FALSE(watched.expired());
    stock_->gate->Raise();
    EXPECT_EQ(path.get_future().get(), "/c");
    EXPECT_TRUE(Eventually([&] { return watched.expired(); }));
    EXPECT_EQ(second->calls, 0);
}

} // namespace
} // namespace Halvorn
