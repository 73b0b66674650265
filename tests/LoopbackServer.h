#pragma once
// A web server on loopback that answers as a test tells it.

#include <atomic>
#include <csignal>
#include <functional>
#include <list>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

class LoopbackServer {
public:
    /// Answers one request, whose head it gets, on the open connection.
    using Handler = std::function<void(int connection, std::string const& request)>;

    explicit LoopbackServer(Handler handler)
        : handler_(std::move(handler)), listener_(socket(AF_INET, SOCK_STREAM, 0)) {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address_;
        auto* const any = reinterpret_cast<sockaddr*>(&address_);
        if (bind(listener_, any, size) != 0 || listen(listener_, 64) != 0 ||
            getsockname(listener_, any, &size) != 0)
            throw std::runtime_error("no loopback server");
        // Whoever hangs up on us must not end the test.
        std::signal(SIGPIPE, SIG_IGN);
        acceptor_ = std::thread([this] { Accept(); });
    }
    ~LoopbackServer() {
        // A connection wakes the acceptor on every system; shutting the listener down doesn't.
        stopping_ = true;
        int const waker = socket(AF_INET, SOCK_STREAM, 0);
        static_cast<void>(connect(waker, reinterpret_cast<sockaddr*>(&address_), sizeof address_));
        acceptor_.join();
        close(waker);
        for (auto& connection : connections_)
            connection.join();
        close(listener_);
    }
    LoopbackServer(LoopbackServer const&) = delete;
    LoopbackServer& operator=(LoopbackServer const&) = delete;

    std::string Url(std::string const& path = {}) const {
        return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + path;
    }

    static bool Send(int connection, std::string const& text) {
        return send(connection, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
    }
    static void Reply(int connection, std::string const& status, std::string const& body) {
        Send(connection, "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) +
                             "\r\nConnection: close\r\n\r\n" + body);
    }
    /// Says nothing until the other side gives up.
    static void Hang(int connection) {
        char byte = 0;
        while (recv(connection, &byte, 1, 0) > 0) {
        }
    }
    static std::string PathOf(std::string const& request) {
        std::size_t const begin = request.find(' ') + 1;
        return request.substr(begin, request.find(' ', begin) - begin);
    }

private:
    void Accept() {
        for (;;) {
            int const connection = accept(listener_, nullptr, nullptr);
            if (stopping_ || connection < 0) {
                if (connection >= 0)
                    close(connection);
                return;
            }
            connections_.emplace_back([this, connection] { Serve(connection); });
        }
    }
    void Serve(int connection) {
        std::string request;
        char buffer[4096];
        // A TLS greeting gets no answer, and so fails at once.
        while (request.find("\r\n\r\n") == std::string::npos && (request.empty() || request[0] != '\x16')) {
            ssize_t const length = recv(connection, buffer, sizeof buffer, 0);
            if (length <= 0)
                break;
            request.append(buffer, static_cast<std::size_t>(length));
        }
        if (request.find("\r\n\r\n") != std::string::npos)
            handler_(connection, request);
        close(connection);
    }

    Handler handler_;
    int listener_;
    sockaddr_in address_{};
    std::atomic<bool> stopping_ = false;
    std::list<std::thread> connections_;
    std::thread acceptor_;
};
