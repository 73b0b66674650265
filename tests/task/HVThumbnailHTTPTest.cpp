#include "LogLines.h"
#include "LoopbackServer.h"
#include "ScriptedTool.h"
#include "Text.h"

#include "HVDownloadTaskParser.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadOptions.h"
#include "IHVNetworkOptions.h"
#include "IHVProxy.h"

using namespace Halvorn;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string const kPicture = "\xFF\xD8\xFF picture";

} // namespace

class ThumbnailHTTP : public ScriptedTool {
protected:
    /// Analyses an item with one thumbnail at `url`: its bytes, and how many runs it took.
    std::string Run(std::string const& url, std::shared_ptr<IHVDownloadOptions> options = nullptr,
                    std::function<void(IHVDownloadTask&)> const& meanwhile = {}) {
        Put("row",
            R"(line {"title":"A","http_headers":{"User-Agent":"agent","Cookie":"theirs","X-Odd":"a\\r\\nB: c",)"
            R"("Referer":"site"},"formats":[{"format_id":"18"}],"thumbnails":[{"id":"0","url":")" +
                url + R"("}]})");
        auto const before = Starts().size();
        auto const task = std::make_shared<HVDownloadTaskParser>("script:row");
        Recorder recorder;
        task->SetDelegate(&recorder);
        task->SetThumbnailsByHTTP(true);
        task->SetOptions(std::move(options));
        EXPECT_TRUE(task->StartTask()->Succeed());
        if (meanwhile)
            meanwhile(*task);
        EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        auto const thumbnail = recorder.items.empty() ? nullptr : recorder.items[0]->GetThumbnail();
        std::string bytes;
        if (thumbnail != nullptr && thumbnail->GetData() != nullptr)
            bytes.assign(thumbnail->GetData(), thumbnail->GetData() + thumbnail->GetDataSize());
        return Text(bytes, Starts().size() - before);
    }
    std::string Request() const {
        std::lock_guard const lock(mutex_);
        return request_;
    }

    std::atomic<bool> hangs_ = false;
    mutable std::mutex mutex_;
    std::string request_; ///< the latest one
    LoopbackServer server_{[this](int connection, std::string const& request) {
        {
            std::lock_guard const lock(mutex_);
            request_ = request;
        }
        std::string const path = LoopbackServer::PathOf(request);
        if (path == "/hang") {
            hangs_ = true;
            LoopbackServer::Hang(connection);
        } else if (path == "/to") {
            LoopbackServer::Send(connection, "HTTP/1.1 302 Found\r\nLocation: http://localhost" +
                                                 server_.Url().substr(server_.Url().rfind(':')) +
                                                 "/ok\r\nContent-Length: 0\r\n\r\n");
        } else if (path == "/page") {
            LoopbackServer::Reply(connection, "200 OK", "<html>");
        } else if (path == "/large") {
            LoopbackServer::Reply(connection, "200 OK", kPicture + std::string(2000, ' '));
        } else {
            LoopbackServer::Reply(connection, path == "/404" ? "404 Not Found" : "200 OK", kPicture);
        }
    }};
    LogLines log_;
};

TEST_F(ThumbnailHTTP, TakesAPictureAndLeavesAllElseToTheTool) {
    IHVDownloadThumbnail::SetSizeLimit(1000);
    Put("fetch", "out by the tool\nwrite . 7");
    for (auto const& [url, expected] : Rows{{server_.Url("/ok"), kPicture + "|1"},
                                            {server_.Url("/page"), "|2"},
                                            {server_.Url("/404"), "|2"},
                                            {server_.Url("/large"), "|2"}})
        EXPECT_EQ(Run(url), expected) << url;
    EXPECT_THAT(Run("script:fetch"), testing::EndsWith("|2"));
    // What a header may do is its own host's alone.
    EXPECT_EQ(Run(server_.Url("/to")), kPicture + "|1");
    EXPECT_THAT(Request(), AllOf(HasSubstr("User-Agent: agent\r\n"), Not(HasSubstr("Referer"))));
    IHVDownloadThumbnail::SetSizeLimit(20'000'000);
}

TEST_F(ThumbnailHTTP, AsksAsTheOptionsWant) {
    auto const options = IHVDownloadOptions::MallocDownloadOptions();
    Put("cookies.txt", "# Netscape HTTP Cookie File\n.pictures.invalid\tTRUE\t/\tFALSE\t0\town\t1\n"
                       "other.invalid\tFALSE\t/\tFALSE\t0\talien\t1\n");
    options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies(Path("cookies.txt")));
    auto const network = IHVNetworkOptions::MallocNetworkOptions();
    std::string const url = server_.Url();
    network->SetProxy(IHVProxy::MallocProxy(IHVProxy::ProxySchemeHttp, "127.0.0.1",
                                            std::stoi(url.substr(url.rfind(':') + 1)), "me", "secret"));
    options->SetNetworkOptions(network);
    EXPECT_EQ(Run("http://a.pictures.invalid/ok", options), kPicture + "|1");
    EXPECT_THAT(Request(),
                AllOf(HasSubstr("GET http://a.pictures.invalid/ok HTTP"), HasSubstr("Referer: site\r\n"),
                      HasSubstr("User-Agent: agent\r\n"), HasSubstr("Cookie: own=1\r\n"),
                      HasSubstr("Proxy-Authorization: Basic bWU6c2VjcmV0\r\n"), Not(HasSubstr("B: c"))));
    // The tool alone can read a browser's cookies.
    options->SetDownloadCookies(IHVDownloadCookies::MallocDownloadCookies(HVDownloadBrowserFirefox));
    EXPECT_EQ(Run("http://a.pictures.invalid/ok", options), "|2");
}

TEST_F(ThumbnailHTTP, IsEndedByAStop) {
    EXPECT_EQ(Run(server_.Url("/hang"), nullptr,
                  [this](IHVDownloadTask& task) {
                      EXPECT_TRUE(Eventually([this] { return hangs_.load(); }));
                      task.StopTask();
                      EXPECT_EQ(task.WaitFinish(10'000), HVErrSuccess); // less than a request may take
                  }),
              "|1");
}
