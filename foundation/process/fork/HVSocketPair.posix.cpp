#include "HVSocketPair.h"

#include "HVSystemProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

namespace Halvorn {

namespace {

constexpr std::size_t kMostDescriptors = 4;

/// Milliseconds until the limit, at least 0.
int Left(HVTimeLimit limit) {
    auto const left =
        std::chrono::duration_cast<std::chrono::milliseconds>(limit - std::chrono::steady_clock::now())
            .count();
    return static_cast<int>(std::clamp<long long>(left, 0, 60'000));
}

/// As send(2), with descriptors.
ssize_t SendSome(int socket, std::string_view text, std::vector<int> const& descriptors) {
    iovec part{const_cast<char*>(text.data()), text.size()}; // NOLINT: the system's own signature
    alignas(cmsghdr) char control[CMSG_SPACE(kMostDescriptors * sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
        std::size_t const size = descriptors.size() * sizeof(int);
        message.msg_control = control;
        message.msg_controllen = static_cast<decltype(message.msg_controllen)>(CMSG_SPACE(size));
        cmsghdr* const head = CMSG_FIRSTHDR(&message);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = static_cast<decltype(head->cmsg_len)>(CMSG_LEN(size));
        std::memcpy(CMSG_DATA(head), descriptors.data(), size);
    }
    return sendmsg(socket, &message, QuietSendFlag());
}

} // namespace

int HVSocketPair::Open() {
    std::array<int, 2> ends{-1, -1};
    if (int const error = OpenSockets(ends); error != 0)
        return error;
    ours = HVDescriptor(ends[0]);
    theirs = HVDescriptor(ends[1]);
    return fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0 ? 0 : errno;
}

bool SendText(int socket, std::string_view text, std::vector<int> const& descriptors, HVTimeLimit limit) {
    std::size_t sent = 0;
    while (sent < text.size()) {
        ssize_t const size =
            SendSome(socket, text.substr(sent), sent == 0 ? descriptors : std::vector<int>());
        if (size > 0) {
            sent += static_cast<std::size_t>(size);
            continue;
        }
        if (errno == EINTR)
            continue;
        pollfd polled{socket, POLLOUT, 0};
        if ((errno != EAGAIN && errno != EWOULDBLOCK) || poll(&polled, 1, Left(limit)) <= 0)
            return false;
    }
    return true;
}

HVReceived ReceiveLine(int socket, std::string& rest, std::string& line, HVTimeLimit limit, int watched) {
    while (true) {
        if (auto const end = rest.find('\n'); end != std::string::npos) {
            line = rest.substr(0, end);
            rest.erase(0, end + 1);
            return HVReceived::Line;
        }
        char buffer[512];
        ssize_t const size = recv(socket, buffer, sizeof buffer, 0);
        if (size > 0) {
            rest.append(buffer, static_cast<std::size_t>(size));
            continue;
        }
        if (size == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR))
            return HVReceived::Closed;
        pollfd polled[2] = {{socket, POLLIN, 0}, {watched, 0, 0}};
        int const ready = poll(polled, watched < 0 ? 1 : 2, Left(limit));
        if (ready == 0)
            return HVReceived::Silence;
        if (ready > 0 && polled[0].revents == 0 && polled[1].revents != 0)
            return HVReceived::Closed;
    }
}

} // namespace Halvorn
