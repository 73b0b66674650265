#pragma once
// Messages in a stream of bytes, as browsers frame them: the length as four bytes in this machine's order,
// then so many bytes. One thread at a time.

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace Halvorn {

class HVFrames {
public:
    /// A message of more bytes breaks the stream.
    explicit HVFrames(std::size_t longest) : longest_(longest) {}

    void Append(std::string_view bytes) { bytes_ += bytes; }
    /// Takes the next whole message. False when there is none yet.
    bool Next(std::string& message) {
        std::uint32_t length = 0;
        if (broken_ || bytes_.size() - begin_ < sizeof length)
            return Compact();
        std::memcpy(&length, bytes_.data() + begin_, sizeof length);
        broken_ = length > longest_;
        if (broken_ || bytes_.size() - begin_ - sizeof length < length)
            return Compact();
        message.assign(bytes_, begin_ + sizeof length, length);
        begin_ += sizeof length + length;
        return true;
    }
    /// Whether a message came that is too long: what follows can't be read.
    bool Broken() const { return broken_; }

    static std::string Frame(std::string_view message) {
        auto const length = static_cast<std::uint32_t>(message.size());
        std::string frame(sizeof length, '\0');
        std::memcpy(frame.data(), &length, sizeof length);
        return frame.append(message);
    }

private:
    bool Compact() {
        bytes_.erase(0, begin_);
        begin_ = 0;
        return false;
    }

    std::size_t const longest_;
    std::string bytes_;
    std::size_t begin_ = 0; ///< of what has not been taken
    bool broken_ = false;
};

} // namespace Halvorn
