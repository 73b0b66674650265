#include "IHVFileProvider.h"
#include "IHVHTTPDownload.h"
#include "IHVHTTPFetch.h"
#include "IHVTask.h"
#include "LoopbackServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct Fetched {
    std::shared_ptr<IHVData const> data;
    std::shared_ptr<IHVError const> error;
};

Fetched Fetch(std::string const& url, int timeout = 20) {
    std::promise<Fetched> promise;
    auto const calls = std::make_shared<std::atomic<int>>(0);
    IHVHTTPFetch::DetachHTTPFetch(
        url,
        [&, calls](std::shared_ptr<IHVData const> data, std::shared_ptr<IHVError const> error) {
            if (++*calls == 1)
                promise.set_value({std::move(data), std::move(error)});
        },
        HTTPFetchMethod::Get, timeout);
    auto fetched = promise.get_future().get();
    EXPECT_EQ(*calls, 1);
    return fetched;
}

std::shared_ptr<IHVError const> Download(std::string const& url, std::string const& path, int timeout = 20) {
    std::promise<std::shared_ptr<IHVError const>> promise;
    IHVHTTPDownload::DetachHTTPDownload(
        url, path, [&](std::shared_ptr<IHVError const> error) { promise.set_value(std::move(error)); },
        timeout);
    return promise.get_future().get();
}

class HVHTTP : public testing::Test {
protected:
    HVHTTP() : folder_(fs::temp_directory_path() / IHVFileProvider::CreateRandomFileName("http", 12)) {
        fs::create_directories(folder_);
    }
    ~HVHTTP() override { fs::remove_all(folder_); }

    void Answer(int connection, std::string const& request) const {
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
        else if (path == "/hang")
            LoopbackServer::Hang(connection);
        else if (path == "/endless")
            Flood(connection);
        else if (path.compare(0, 4, "/to?") == 0)
            LoopbackServer::Send(connection, "HTTP/1.1 302 Found\r\nLocation: " + path.substr(4) +
                                                 "\r\nContent-Length: 5\r\nConnection: close\r\n\r\nmoved");
        else
            LoopbackServer::Reply(connection, path.substr(1) + " Refused", "reason");
    }
    static void Flood(int connection) {
        std::string const block(1U << 20, 'x');
        LoopbackServer::Send(connection, "HTTP/1.1 200 OK\r\n\r\n");
        while (LoopbackServer::Send(connection, block)) {
        }
    }
    std::string Only() const { return folder_ / "file"; }
    std::size_t Entries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
    }

    LoopbackServer server_{
        [this](int connection, std::string const& request) { Answer(connection, request); }};
    fs::path folder_;
};

TEST_F(HVHTTP, EveryOutcomeIsReportedOnce) {
    std::string const base = server_.Url();
    struct Row {
        std::string url, body, failure;
        int timeout = 20;
    };
    for (auto const& row : std::vector<Row>{
             {base + "/ok", "body\xFF", ""},
             {base + "/empty", "", ""},
             {base + "/to?/ok", "body\xFF", ""},
             {server_.Url("/to?" + server_.Url("/to?/ok")), "body\xFF", ""},
             {base + "/300", "", "status 300"},
             {base + "/to?/404", "", "status 404"},
             {base + "/to?http://192.0.2.1/", "", "only https is safe"},
             {base + "/to?file:///etc/passwd", "", "only https is safe"},
             {base + "/403", "", "status 403"},
             {base + "/404", "", "status 404"},
             {base + "/500", "", "status 500"},
             {base + "/cut", "", "Can't"},
             {base + "/garbage", "", "Can't"},
             {base + "/hang", "", "timed out", 1},
             {"https" + base.substr(4) + "/ok", "", "Can't"},
             {"http://127.0.0.1:1/", "", "Can't"},
             {"http://example.com/", "", "only https is safe"},
             {"http://127.0.0.1@example.com/", "", "only https is safe"},
             {"http://127.example.com/", "", "only https is safe"},
             {"file:///etc/passwd", "", "only https is safe"},
             {"", "", "no web address"},
             {"https://[bad", "", "no web address"},
         }) {
        SCOPED_TRACE(row.url);
        auto const fetched = Fetch(row.url, row.timeout);
        auto const downloaded = Download(row.url, Only(), row.timeout);
        ASSERT_EQ(fetched.error->Succeed(), row.failure.empty()) << fetched.error->GetErrorMessage();
        EXPECT_EQ(downloaded->Succeed(), row.failure.empty());
        if (row.failure.empty()) {
            EXPECT_EQ(fetched.data->ToText(), row.body);
            std::ostringstream text;
            text << std::ifstream(Only(), std::ios::binary).rdbuf();
            EXPECT_EQ(text.str(), row.body);
            fs::remove(Only());
        } else {
            EXPECT_EQ(fetched.data, nullptr);
            EXPECT_THAT(fetched.error->GetErrorMessage(), HasSubstr(row.failure));
            EXPECT_THAT(downloaded->GetErrorMessage(), HasSubstr(row.failure));
        }
        EXPECT_EQ(Entries(), 0U) << "something half was left";
    }
}

TEST_F(HVHTTP, ARedirectLoopAndAnEndlessBodyEnd) {
    LoopbackServer const circle([](int connection, std::string const&) {
        LoopbackServer::Send(connection,
                             "HTTP/1.1 301 Moved\r\nLocation: /again\r\nConnection: close\r\n\r\n");
    });
    EXPECT_THAT(Fetch(circle.Url("/")).error->GetErrorMessage(), HasSubstr("too many redirects"));
    EXPECT_THAT(Fetch(server_.Url("/endless"), 60).error->GetErrorMessage(), HasSubstr("too long"));
}

TEST_F(HVHTTP, RequestsNameTheirSender) {
    EXPECT_THAT(Fetch(server_.Url("/agent")).data->ToText(), HasSubstr("\r\nUser-Agent: Reelhaul/1."));
}

TEST_F(HVHTTP, ADownloadThatFailsLeavesTheOldFile) {
    std::ofstream(Only()) << "old";
    EXPECT_FALSE(Download(server_.Url("/cut"), Only())->Succeed());
    EXPECT_EQ(fs::file_size(Only()), 3U);
    EXPECT_EQ(Entries(), 1U);
    auto const nowhere = Download(server_.Url("/ok"), folder_ / "missing/file");
    EXPECT_THAT(nowhere->GetErrorMessage(), HasSubstr("the folder does not exist"));
}

TEST_F(HVHTTP, CertificatesAreChecked) {
    std::string const key = folder_ / "key.pem";
    std::string const certificate = folder_ / "certificate.pem";
    auto const maker = IHVTask::MallocTask();
    ASSERT_TRUE(
        maker
            ->Launch("/usr/bin/env",
                     {"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
                      "-nodes", "-keyout", key, "-out", certificate, "-days", "2", "-subj", "/CN=localhost",
                      "-addext", "subjectAltName=IP:127.0.0.1"},
                     true)
            ->Succeed());
    maker->WaitExit(HVInfiniteTimeOut);
    auto const server = IHVTask::MallocTask();
    std::promise<std::string> listening;
    server->SetOutputHandler(
        [&, text = std::string(), told = false](std::shared_ptr<IHVData const> data) mutable {
            text += data->ToText();
            std::size_t const port = text.find("ACCEPT 127.0.0.1:");
            if (!told && port != std::string::npos && text.find('\n', port) != std::string::npos) {
                told = true;
                listening.set_value(text.substr(port + 7, text.find('\n', port) - port - 7));
            }
        });
    ASSERT_TRUE(server
                    ->Launch("/usr/bin/env",
                             {"openssl", "s_server", "-accept", "127.0.0.1:0", "-cert", certificate, "-key",
                              key, "-www"},
                             true)
                    ->Succeed());
    auto future = listening.get_future();
    ASSERT_EQ(future.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    std::string const url = "https://" + future.get() + "/";
    EXPECT_THAT(Fetch(url).error->GetErrorMessage(), HasSubstr("certificate"));
    setenv("SSL_CERT_FILE", certificate.c_str(), 1);
    auto const trusted = Fetch(url);
    unsetenv("SSL_CERT_FILE");
    EXPECT_TRUE(trusted.error->Succeed()) << trusted.error->GetErrorMessage();
    server->Terminate();
    server->WaitExit(HVInfiniteTimeOut);
}

TEST_F(HVHTTP, TheEndOfTheProcessStopsWhatIsUnderWay) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto const begin = std::chrono::steady_clock::now();
    EXPECT_EXIT(
        {
            int const listener = socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            socklen_t size = sizeof address;
            auto* const any = reinterpret_cast<sockaddr*>(&address);
            if (bind(listener, any, size) != 0 || listen(listener, 1) != 0 ||
                getsockname(listener, any, &size) != 0)
                std::exit(1);
            IHVHTTPFetch::DetachHTTPFetch(
                "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)),
                [](std::shared_ptr<IHVData const>, std::shared_ptr<IHVError const> error) {
                    std::fprintf(stderr, "%s\n", error->GetErrorMessage().c_str());
                },
                HTTPFetchMethod::Get, 600);
            // The request has come, and gets no answer.
            char byte = 0;
            std::exit(recv(accept(listener, nullptr, nullptr), &byte, 1, 0) == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "the application is about to end");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

} // namespace
} // namespace Halvorn
