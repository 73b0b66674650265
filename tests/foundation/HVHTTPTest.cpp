#include "Folder.h"
#include "HVHTTPRequest.h"
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

/// Fetches a body, or tells the error.
std::string Fetch(std::string const& url, int timeout = 20) {
    std::promise<std::string> promise;
    IHVHTTPFetch::DetachHTTPFetch(
        url,
        [&](std::shared_ptr<IHVData const> data, std::shared_ptr<IHVError const> error) {
            promise.set_value(data ? "body: " + data->ToText() : error->GetErrorMessage());
        },
        HTTPFetchMethod::Get, timeout);
    return promise.get_future().get();
}

class HVHTTP : public testing::Test {
protected:
    HVHTTP() { setenv("http_proxy", "http://127.0.0.1:1", 1); } // which is not asked for loopback

    /// What the path asks for: a status, or a redirect, to itself when it names no target.
    void Answer(int connection, std::string const& request) {
        std::string const path = LoopbackServer::PathOf(request);
        if (path == "/hang") {
            hanging_ = true;
            hanging_.notify_all();
            LoopbackServer::Hang(connection);
        } else if (path == "/endless") {
            bool open = LoopbackServer::Send(connection, "HTTP/1.1 200 OK\r\n\r\n");
            while (open)
                open = LoopbackServer::Send(connection, std::string(1U << 20, 'x'));
        } else if (path == "/cut")
            LoopbackServer::Send(connection, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
        else if (path.starts_with("/to"))
            LoopbackServer::Reply(
                connection, "302 Found\r\nLocation: " + (path == "/to" ? path : path.substr(4)), "moved");
        else
            LoopbackServer::Reply(connection, path.substr(1) + " Status", "body\xFF");
    }
    std::atomic<bool> hanging_ = false;
    LoopbackServer server_{
        [this](int connection, std::string const& request) { Answer(connection, request); }};
    Folder folder_;
};

TEST_F(HVHTTP, EveryOutcomeIsReported) {
    std::string const base = server_.Url();
    for (auto const& [url, body] : Rows{{base + "/200", "body\xFF"},
                                        {base + "/204", ""},
                                        {base + "/to?" + base + "/to?/200", "body\xFF"}})
        EXPECT_EQ(Fetch(url), "body: " + body);
    for (auto const& [url, failure] : Rows{{base + "/300", "status 300"},
                                           {base + "/to?/404", "status 404"},
                                           {base + "/cut", "Can't"},
                                           {"https" + base.substr(4) + "/200", "Can't"},
                                           {"http://127.0.0.1:1/", "Can't"},
                                           {base + "/to?http://192.0.2.1/", "only https is safe"},
                                           {"http://127.0.0.1:PW@example.com/", "127.0.0.1:***@example.com"},
                                           {"http://bob:P W@h/", "\"http://bob:***@h/\" is no web address"},
                                           {"http://127.example.com/", "only https is safe"},
                                           {"file:///etc/passwd", "only https is safe"},
                                           {"", "no web address"},
                                           {"https://[bad", "no web address"}})
        EXPECT_THAT(Fetch(url), HasSubstr(failure)) << url;
    EXPECT_THAT(Fetch(base + "/hang", 1), HasSubstr("timed out"));
    EXPECT_THAT(Fetch(base + "/to"), HasSubstr("too many redirects"));
    EXPECT_THAT(Fetch(base + "/endless", 60), HasSubstr("too long"));
}

TEST_F(HVHTTP, CertificatesAreCheckedAndHttpsIsNotLeft) {
    folder_.Put("away", "HTTP/1.1 302 Found\r\nLocation: " + server_.Url("/200") + "\r\n\r\n");
    std::string const script =
        "cd '" + folder_.Path() +
        "' && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key -out "
        "certificate "
        "-subj /CN=localhost -addext subjectAltName=IP:127.0.0.1 2>&1 && "
        "exec openssl s_server -accept 127.0.0.1:0 -naccept 3 -HTTP -cert certificate -key key 2>&1";
    std::FILE* const server = popen(script.c_str(), "r");
    std::string url;
    for (char line[1000]; url.empty() && std::fgets(line, sizeof line, server) != nullptr;)
        if (std::string const text = line; text.compare(0, 7, "ACCEPT ") == 0)
            url = "https://" + text.substr(7, text.size() - 8) + "/away";
    ASSERT_NE(url, "");
    EXPECT_THAT(Fetch(url), HasSubstr("certificate"));
    HVHTTPTerms unchecked;
    unchecked.checkCertificates = false;
    EXPECT_THAT(PerformHTTPRequest({url, 60, [](auto) { return std::string(); }, &unchecked}),
                HasSubstr("from https to http"));
    setenv("SSL_CERT_FILE", (folder_ / "certificate").c_str(), 1);
    EXPECT_THAT(Fetch(url), HasSubstr("from https to http"));
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
