#include "HVRecording.h"

#include "HVNumberText.h"
#include "IHVStringHelper.h"
#include "IHVTask.h"

#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace Halvorn {

namespace {

namespace fs = std::filesystem;

constexpr char kPartExtension[] = ".part";
constexpr int kSecondsPerMinute = 60;

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Seconds of "time=00:01:02.50" in ffmpeg's report; -1 for another line, and before there is a time.
int TimeIn(std::string_view line) {
    constexpr std::string_view kKey = " time=";
    auto const key = line.find(kKey);
    if (key == std::string_view::npos)
        return -1;
    int seconds = 0;
    int part = 0;
    int colons = 0;
    bool any = false;
    for (char const character : line.substr(key + kKey.size())) {
        if (IsDigit(character) && part < kSecondsPerMinute * kSecondsPerMinute) {
            part = part * 10 + (character - '0');
            any = true;
        } else if (character == ':' && any && ++colons < 3) {
            seconds = (seconds + part) * kSecondsPerMinute;
            part = 0;
        } else {
            break;
        }
    }
    return any ? seconds + part : -1;
}

/// What ffmpeg prints for each report and each segment.
bool IsRoutine(std::string_view line) {
    return line.find(" bitrate=") != std::string_view::npos ||
           (line.find(" @ 0x") != std::string_view::npos &&
            (line.find("] Opening '") != std::string_view::npos ||
             line.find("] Skip (") != std::string_view::npos));
}

} // namespace

void HVRecording::Begin(std::string file) {
    file_ = std::move(file);
    begin_ = IHVTask::RunningTime();
    begun_ = true;
}

std::string HVRecording::Take(std::string const& chunk) {
    std::string rest;
    auto const lines = IHVStringHelper::Split(chunk, '\n');
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (int const seconds = TimeIn(lines[i]); seconds >= 0)
            toldSeconds_ = seconds;
        if (IsRoutine(lines[i]))
            continue;
        rest += lines[i];
        if (i + 1 < lines.size())
            rest += '\n';
    }
    return rest;
}

int HVRecording::Seconds() const {
    if (int const told = toldSeconds_; told >= 0)
        return told;
    if (Bytes() == 0)
        return 0;
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::seconds>(IHVTask::RunningTime() - begin_).count());
}

/// Picture and sound may be recorded apart. What ffmpeg makes of the file afterwards is no recording.
std::int64_t HVRecording::Bytes() const {
    if (!begun_)
        return 0;
    fs::path const path(file_);
    std::string const stem = path.stem().string() + ".";
    std::uintmax_t bytes = 0;
    std::error_code failure;
    for (fs::directory_iterator entry(path.parent_path(), failure), end; !failure && entry != end;
         entry.increment(failure)) {
        std::string const name = entry->path().filename().string();
        std::error_code gone;
        auto const size = entry->file_size(gone);
        if (!gone && name.starts_with(stem) && name.find(".temp.") == std::string::npos)
            bytes += size;
    }
    return static_cast<std::int64_t>(bytes);
}

void HVRecording::TakePart() const {
    std::error_code failure;
    std::string const part = file_ + kPartExtension;
    if (begun_ && !fs::exists(file_, failure) && fs::exists(part, failure) &&
        fs::file_size(part, failure) > 0)
        fs::rename(part, file_, failure);
}

} // namespace Halvorn
