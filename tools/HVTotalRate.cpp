#include "HVTotalRate.h"

#include "HVFileSystem.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace Halvorn {

namespace {

constexpr char kOption[] = "--limit-rate";
/// The tool would take a download that we hold back for one that the site does.
constexpr char kOpposite[] = "--throttled-rate";

std::string NextName() {
    static std::atomic<unsigned int> number = 0;
    return ".tool-rate-" + std::to_string(++number) + ".";
}

/// Takes an option out; 0 where there is none.
std::int64_t TakeNumber(std::vector<std::string>& args, char const* option) {
    std::int64_t number = 0;
    auto const found = std::find(args.begin(), args.end(), option);
    if (found == args.end() || found + 1 == args.end())
        return number;
    std::string const& value = found[1];
    std::from_chars(value.data(), value.data() + value.size(), number);
    args.erase(found, found + 2);
    return number;
}

} // namespace

HVTotalRate::HVTotalRate() : name_(NextName()) {}

HVTotalRate::~HVTotalRate() {
    if (!folder_.empty())
        IHVFileProvider::RemoveTmpFiles(name_);
}

void HVTotalRate::SetRate(std::int64_t bytesPerSecond) {
    std::lock_guard const lock(mutex_);
    rate_ = std::max<std::int64_t>(0, bytesPerSecond);
    if (!folder_.empty() && !WriteRate())
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                             "Downloads under way can't be told of the new rate limit.");
}

void HVTotalRate::SetRuns(int count) {
    std::lock_guard const lock(mutex_);
    runs_ = std::max(1, count);
}

/// Whole or not at all: runs read it at any time.
bool HVTotalRate::WriteRate() const {
    std::string const path = folder_ + ".rate";
    std::string const fresh = path + ".new";
    std::ofstream file(fresh, std::ios::trunc);
    file << rate_ << '\n';
    file.close();
    std::error_code failure;
    if (file)
        std::filesystem::rename(fresh, path, failure);
    return file && !failure;
}

std::string HVTotalRate::Share(std::string const& extensionFolder) {
    std::lock_guard const lock(mutex_);
    std::string const folder = IHVFileProvider::AppendPathComponent(FolderOfPath(extensionFolder), name_);
    if (folder == folder_)
        return folder_;
    std::error_code failure;
    std::filesystem::create_directory_symlink(extensionFolder, folder, failure);
    folder_ = folder;
    if (!failure && (rate_ == 0 || WriteRate()))
        return folder_;
    folder_.clear();
    return {};
}

void HVTotalRate::GiveShare(std::vector<std::string>& args) const {
    std::int64_t share = 0;
    {
        std::lock_guard const lock(mutex_);
        if (rate_ == 0)
            return;
        share = std::max<std::int64_t>(1, rate_ / runs_);
    }
    if (auto const own = TakeNumber(args, kOption); own > 0)
        share = std::min(share, own);
    TakeNumber(args, kOpposite);
    args.insert(args.begin(), {kOption, std::to_string(share)});
}

} // namespace Halvorn
