#pragma once
// A file descriptor that knows its owner. One thread at a time.

namespace Halvorn {

/// Closes a file descriptor when it goes.
class HVDescriptor {
public:
    explicit HVDescriptor(int fd = -1) : fd_(fd) {}
    HVDescriptor(HVDescriptor&& other) noexcept : fd_(other.Release()) {}
    HVDescriptor& operator=(HVDescriptor&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    HVDescriptor(HVDescriptor const&) = delete;
    HVDescriptor& operator=(HVDescriptor const&) = delete;
    ~HVDescriptor() { Reset(); }

    int Get() const { return fd_; }
    bool Valid() const { return fd_ >= 0; }
    int Release() {
        int const fd = fd_;
        fd_ = -1;
        return fd;
    }
    /// Forgets the old one before it closes it: a forked copy must find no number here that another file has
    /// by then.
    void Reset(int fd = -1);

private:
    int fd_;
};

} // namespace Halvorn
