#include "Folder.h"
#include "IHVHTTPDownload.h"
#include "IHVHTTPFetch.h"
#include "LoopbackServer.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <future>

namespace Halvorn {
namespace {

using testing::HasSubstr;

/// Fetches a body, or tells the error; one report comes.
std::string Fetch(std::string const& url, int timeout = 20) {
    std::promise<std::string> promise;
    auto const calls = std::make_shared<std::atomic<int>>(0);
    IHVHTTPFetch::DetachHTTPFetch(
        url,
        [&, calls](std::shared_ptr<IHVData const> data, std::shared_ptr<IHVError const> error) {
            EXPECT_EQ(data != nullptr, error->Succeed());
            if (++*calls == 1)
                promise.set_value(data ? "body: " + data->ToText() : error->GetErrorMessage());
        },
        HTTPFetchMethod::Get, timeout);
    auto fetched = promise.get_future().get();
    EXPECT_EQ(*calls, 1);
    return fetched;
}

class HVHTTP : public testing::Test {
protected:
    void Answer(int connection, std::string const& request) {
        std::string const path = LoopbackServer::PathOf(request);
        if (path == "/ok")
            LoopbackServer::Reply(connection, "200 OK", "body\xFF");
        else if (path == "/empty")
            LoopbackServer::Reply(connection, "200 OK", "");
        else if (path == "/agent")
            LoopbackServer::Reply(connection, "200 OK", request);
        else if (path == "/cut")
            LoopbackServer::Send(connection, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
        else if (path == "/garbage")
            LoopbackServer::Send(connection, "no answer at all\r\n\r\n");
        else if (path == "/hang") {
            hanging_ = true;
            hanging_.notify_all();
            LoopbackServer::Hang(connection);
        } else if (path == "/endless") {
            bool open = LoopbackServer::Send(connection, "HTTP/1.1 200 OK\r\n\r\n");
            while (open)
                open = LoopbackServer::Send(connection, std::string(1U << 20, 'x'));
        } else if (path.compare(0, 4, "/to?") == 0)
            LoopbackServer::Send(connection, "HTTP/1.1 302 Found\r\nLocation: " + path.substr(4) +
                                                 "\r\nContent-Length: 5\r\nConnection: close\r\n\r\nmoved");
        else
            LoopbackServer::Reply(connection, path.substr(1) + " Refused", "reason");
    }
    /// Downloads to the only file, and tells its content or the error.
    std::string Download(std::string const& url, int timeout = 20, std::string const& name = "file") {
        std::promise<std::shared_ptr<IHVError const>> promise;
        IHVHTTPDownload::DetachHTTPDownload(
            url, folder_ / name,
            [&](std::shared_ptr<IHVError const> error) { promise.set_value(std::move(error)); }, timeout);
        auto const error = promise.get_future().get();
        return error->Succeed() ? "body: " + folder_.Get(name) : error->GetErrorMessage();
    }

    std::atomic<bool> hanging_ = false;
    LoopbackServer server_{
        [this](int connection, std::string const& request) { Answer(connection, request); }};
    Folder folder_;
};

TEST_F(HVHTTP, EveryOutcomeIsReportedOnce) {
    std::string const base = server_.Url();
    for (auto const& [url, body] : Rows{{base + "/ok", "body\xFF"},
                                        {base + "/empty", ""},
                                        {base + "/to?/ok", "body\xFF"},
                                        {base + "/to?" + base + "/to?/ok", "body\xFF"}}) {
        EXPECT_EQ(Fetch(url), "body: " + body);
        EXPECT_EQ(Download(url), "body: " + body);
    }
    EXPECT_EQ(folder_.Count(), 1);
    EXPECT_THAT(Fetch(base + "/agent"), HasSubstr("\r\nUser-Agent: Reelhaul/1."));
    std::filesystem::remove(folder_ / "file");
    for (auto const& [url, failure] : Rows{{base + "/300", "status 300"},
                                           {base + "/403", "status 403"},
                                           {base + "/404", "status 404"},
                                           {base + "/500", "status 500"},
                                           {base + "/to?/404", "status 404"},
                                           {base + "/cut", "Can't"},
                                           {base + "/garbage", "Can't"},
                                           {"https" + base.substr(4) + "/ok", "Can't"},
                                           {"http://127.0.0.1:1/", "Can't"},
                                           {base + "/to?http://192.0.2.1/", "only https is safe"},
                                           {base + "/to?file:///etc/passwd", "only https is safe"},
                                           {"http://example.com/", "only https is safe"},
                                           {"http://127.0.0.1@example.com/", "only https is safe"},
                                           {"http://127.example.com/", "only https is safe"},
                                           {"file:///etc/passwd", "only https is safe"},
                                           {"", "no web address"},
                                           {"https://[bad", "no web address"}}) {
        EXPECT_THAT(Fetch(url), HasSubstr(failure)) << url;
        EXPECT_THAT(Download(url), HasSubstr(failure)) << url;
        EXPECT_EQ(folder_.Count(), 0) << "something half was left of " << url;
    }
    EXPECT_THAT(Fetch(base + "/hang", 1), HasSubstr("timed out"));
    EXPECT_THAT(Download(base + "/hang", 1), HasSubstr("timed out"));
}

TEST_F(HVHTTP, ARedirectLoopAndAnEndlessBodyEnd) {
    LoopbackServer const circle([](int connection, std::string const&) {
        LoopbackServer::Send(connection,
                             "HTTP/1.1 301 Moved\r\nLocation: /again\r\nConnection: close\r\n\r\n");
    });
    EXPECT_THAT(Fetch(circle.Url("/")), HasSubstr("too many redirects"));
    EXPECT_THAT(Fetch(server_.Url("/endless"), 60), HasSubstr("too long"));
}

TEST_F(HVHTTP, ADownloadThatFailsLeavesTheOldFile) {
    folder_.Put("file", "old");
    EXPECT_THAT(Download(server_.Url("/cut")), HasSubstr("Can't"));
    EXPECT_EQ(folder_.Get("file"), "old");
    EXPECT_EQ(folder_.Count(), 1);
    EXPECT_THAT(Download(server_.Url("/ok"), 20, "missing/file"), HasSubstr("the folder does not exist"));
}

TEST_F(HVHTTP, CertificatesAreChecked) {
    std::string const certificate = folder_ / "certificate";
    std::string const script =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout " + certificate +
        ".key -out " + certificate +
        " -days 2 -subj /CN=localhost -addext subjectAltName=IP:127.0.0.1 2>&1 && "
        "exec openssl s_server -accept 127.0.0.1:0 -naccept 2 -www -cert " +
        certificate + " -key " + certificate + ".key 2>&1";
    std::FILE* const server = popen(script.c_str(), "r");
    std::string url;
    for (char line[1000]; url.empty() && std::fgets(line, sizeof line, server) != nullptr;)
        if (std::string const text = line; text.compare(0, 7, "ACCEPT ") == 0)
            url = "https://" + text.substr(7, text.size() - 8) + "/";
    ASSERT_NE(url, "");
    EXPECT_THAT(Fetch(url), HasSubstr("certificate"));
    setenv("SSL_CERT_FILE", certificate.c_str(), 1);
    EXPECT_THAT(Fetch(url), HasSubstr("body: "));
    unsetenv("SSL_CERT_FILE");
    pclose(server);
}

TEST_F(HVHTTP, TheEndOfTheProcessStopsWhatIsUnderWay) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            IHVHTTPFetch::DetachHTTPFetch(
                server_.Url("/hang"),
                [](std::shared_ptr<IHVData const>, std::shared_ptr<IHVError const> error) {
                    std::fprintf(stderr, "%s\n", error->GetErrorMessage().c_str());
                },
                HTTPFetchMethod::Get, 600);
            hanging_.wait(false);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "the application is about to end");
}

} // namespace
} // namespace Halvorn
