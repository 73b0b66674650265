#pragma once
// What the recording of a live stream has come to. ffmpeg, which records for the tool, reports on standard
// error twice a second; the bytes are looked up where the tool writes them.
//
// Thread-safe. Begin comes before the rest.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

namespace Halvorn {

class HVRecording {
public:
    /// `file` is the path that the tool was given.
    void Begin(std::string file);
    /// Takes a chunk of standard error. Gives back what is not routine: a recording of days would fill the
    /// memory with the rest.
    std::string Take(std::string const& chunk);

    /// As the tool tells, where it does; else since the begin. 0 while nothing is recorded.
    int Seconds() const;
    std::int64_t Bytes() const;

    /// Gives a recording that the tool has left under the name of a part the file's own name; nothing where
    /// there is none.
    void TakePart() const;

private:
    std::string file_;
    std::atomic<bool> begun_ = false; ///< the file's name stands
    std::chrono::steady_clock::time_point begin_;
    std::atomic<int> toldSeconds_ = -1;
};

} // namespace Halvorn
