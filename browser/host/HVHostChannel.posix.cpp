#include "HVHostChannel.h"

#include "HVHostMessage.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace Halvorn {

namespace {

/// A side that reads nothing costs no more memory than this.
constexpr std::size_t kMostUnsent = kLongestAnswer + kLongestRequest;

void DontBlock(int fd) {
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
}

bool MayGoOn() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

} // namespace

HVHostChannel::HVHostChannel(int in, int out, std::size_t longestMessage)
    : in_(in), out_(out), frames_(longestMessage) {
    DontBlock(in);
    DontBlock(out);
}

HVHostChannel::HVHostChannel(HVDescriptor connection, std::size_t longestMessage)
    : connection_(std::move(connection)), in_(connection_.Get()), out_(connection_.Get()),
      frames_(longestMessage) {}

void HVHostChannel::Read() {
    char buffer[64UL * 1024];
    ssize_t const length = read(in_, buffer, sizeof buffer);
    if (length > 0)
        frames_.Append({buffer, static_cast<std::size_t>(length)});
    else if (length == 0 || !MayGoOn())
        over_ = true;
}

void HVHostChannel::Send(std::string const& message) {
    unsent_ += HVFrames::Frame(message);
    Write();
    over_ = over_ || unsent_.size() > kMostUnsent;
}

void HVHostChannel::Write() {
    while (!unsent_.empty()) {
        ssize_t const length = write(out_, unsent_.data(), unsent_.size());
        if (length < 0) {
            over_ = over_ || !MayGoOn();
            return;
        }
        unsent_.erase(0, static_cast<std::size_t>(length));
    }
}

} // namespace Halvorn
