#include "HVToolAside.h"

#include "HVFileSystem.h"
#include "IHVFileProvider.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>

namespace Halvorn {

namespace {

namespace fs = std::filesystem;

constexpr char const* kHiddenFront = ".reelhaul-";
constexpr char const* kHiddenEnd = "part";
/// What a tool that is no zip adds to its name for a moment, while it replaces itself.
constexpr char const* kReplacementEnds[] = {"", ".new", ".old"};
/// Differs when the file is another one than before.
std::string StateOf(std::string const& path) {
    std::error_code error;
    auto const size = fs::file_size(path, error);
    auto const time = fs::last_write_time(path, error);
    // Some libraries count in integers of 128 bits, which std::to_string doesn't take.
    auto const count = std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
    return error ? std::string() : std::to_string(size) + " " + std::to_string(count);
}

bool IsHiddenName(std::string const& name) {
    return name.starts_with(kHiddenFront) &&
           std::any_of(std::begin(kReplacementEnds), std::end(kReplacementEnds),
                       [&](std::string const& end) { return name.ends_with("." + (kHiddenEnd + end)); });
}

} // namespace

HVToolAside::HVToolAside(std::string const& tool) {
    std::error_code error;
    auto const real = fs::canonical(tool, error);
    tool_ = error ? tool : real.string();
    path_ = IHVFileProvider::AppendPathComponent(fs::path(tool_).parent_path().string(),
                                                 kHiddenFront +
                                                     IHVFileProvider::CreateRandomFileName(kHiddenEnd, 12));
    state_ = StateOf(tool_);
}

HVToolAside::~HVToolAside() {
    std::error_code ignored;
    for (std::string const end : kReplacementEnds)
        fs::remove(path_ + end, ignored);
}

std::string HVToolAside::Make() const {
    auto const copied = IHVFileProvider::CpFile(tool_, path_, true);
    return copied->Succeed() ? std::string() : copied->GetErrorMessage();
}

std::string HVToolAside::PutInPlace() const {
    if (StateOf(tool_) != state_)
        return "\"" + tool_ + "\" was changed by someone else meanwhile.";
    // One more copy, since it is what flushes the bytes before the name changes its meaning.
    auto const copied = IHVFileProvider::CpFile(path_, tool_, true);
    return copied->Succeed() ? std::string() : copied->GetErrorMessage();
}

void HVToolAside::RemoveLeftovers(std::string const& folder, std::chrono::seconds age) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        // The time of its own last change: a fresh copy has the modification time of the old tool.
        if (IsHiddenName(entry->path().filename().string()) &&
            SecondsSinceChange(entry->path().string()) >= age.count())
            fs::remove(entry->path(), ignored);
    }
}

} // namespace Halvorn
