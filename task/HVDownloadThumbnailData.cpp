// The part of HVDownloadThumbnail that fetches the bytes, by a run of the tool.
#include "HVDownloadThumbnail.h"

#include "HVApplicationCall.h"
#include "HVArgsBuilder.h"
#include "HVToolRun.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <limits>
#include <new>
#include <utility>

namespace Halvorn {

namespace {

/// What the tool adds to the name while it writes.
constexpr char kPartExtension[] = ".part";
constexpr int kRandomNameLength = 10;
/// How much of the tool's words is read, in bytes; a run that says more is no picture's.
constexpr std::size_t kMostWords = 1024UL * 1024;
constexpr std::int64_t kSizeLimit = 20'000'000;
std::atomic<std::int64_t> gSizeLimit = kSizeLimit;

struct Bytes {
    std::unique_ptr<unsigned char[]> data;
    std::int32_t size = 0;
};

/// The whole file; no data when it can't be read or is larger than the limit.
Bytes ReadFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::streamoff const length = file ? static_cast<std::streamoff>(file.tellg()) : -1;
    if (length < 0 || length > std::min<std::int64_t>(gSizeLimit, std::numeric_limits<std::int32_t>::max()))
        return {};
    Bytes bytes;
    bytes.data.reset(new (std::nothrow) unsigned char[static_cast<std::size_t>(length)]);
    bytes.size = static_cast<std::int32_t>(length);
    file.seekg(0);
    // An unsigned char may be read through a char pointer.
    if (bytes.data == nullptr || !file.read(reinterpret_cast<char*>(bytes.data.get()), bytes.size))
        return {};
    return bytes;
}

bool IsTooLarge(std::string const& path) {
    std::error_code error;
    auto const size = std::filesystem::file_size(path, error);
    return !error && size > static_cast<std::uintmax_t>(std::max<std::int64_t>(gSizeLimit, 0));
}

/// Reads what the tool says about an address: with these words it begins the downloads of a list.
class ListDetector {
public:
    void Take(std::string const& chunk) {
        words_ += chunk;
        for (char const* const kind : {"playlist", "multi_video"}) {
            std::string const line = std::string("[download] Downloading ") + kind + ": ";
            if (words_.starts_with(line) || words_.find("\n" + line) != std::string::npos)
                isList_ = true;
        }
    }
    bool IsList() const { return isList_; }

private:
    std::string words_; ///< of the delivery thread
    std::atomic<bool> isList_ = false;
};

/// What the application says; no, where its function throws.
bool Asked(std::function<bool()> const& mayGoOn) {
    bool answer = !mayGoOn;
    if (mayGoOn)
        CallApplication([&] { answer = mayGoOn(); });
    return answer;
}

} // namespace

bool HVDownloadThumbnail::DownLoadThumbnailData(std::shared_ptr<IHVDownloadOptions> options) {
    return FetchData(std::move(options), {}, nullptr, kFetchTime);
}

bool HVDownloadThumbnail::FetchData(std::shared_ptr<IHVDownloadOptions> options,
                                    std::string const& jsRuntimePath, HVToolStop* stop, unsigned int time,
                                    std::function<bool()> const& mayGoOn) {
    if (data_ != nullptr && dataSize_ != 0) {
        IHVLogConfig::Printf("The thumbnail %s was downloaded.", downloadURL_.c_str());
        return true;
    }
    HVArgsBuilder const builder(options);
    std::string const folder = IHVFileProvider::GetTmpPath();
    if (folder.empty())
        return false;
    std::string const name = IHVFileProvider::CreateRandomFileName(GetExtension(), kRandomNameLength);
    std::string const path = IHVFileProvider::AppendPathComponent(folder, name);
    HVToolRun run(HVArgsBuilder::GetDownloadCommadExe(), builder.BuildDownloadThumbArgs(downloadURL_, path));
    run.SetJSRuntimePath(jsRuntimePath);
    run.SetOptions(options.get());
    run.SetStop(stop);
    run.SetLimits({time, 0, kMostWords});
    // The argument list names a file and an address and nothing else, so what is fetched from there is looked
    // at while it comes: a film is no picture, nor is the first entry of a list.
    auto const detector = std::make_shared<ListDetector>();
    run.SetOutputHandler([detector](std::string const& chunk) { detector->Take(chunk); });
    run.SetWatch([&] {
        return !detector->IsList() && !IsTooLarge(path) && !IsTooLarge(path + kPartExtension) &&
               Asked(mayGoOn);
    });
    auto const result = run.Run();
    if (result.startError != nullptr) {
        IHVLogConfig::Printf("creat LaunchTask err!");
        return false;
    }
    // How the tool ended does not matter: only the file counts.
    Bytes bytes;
    if (!detector->IsList() && IHVFileProvider::PathFileExist(path))
        bytes = ReadFile(path);
    if (bytes.data == nullptr) {
        run.OnExit([stem = name.substr(0, kRandomNameLength)] { IHVFileProvider::RemoveTmpFiles(stem); });
        return false;
    }
    data_ = std::move(bytes.data);
    dataSize_ = bytes.size;
    return true;
}

bool IHVDownloadThumbnail::Fetch(std::shared_ptr<IHVDownloadOptions> options,
                                 std::string const& jsRuntimePath, unsigned int milliseconds,
                                 std::function<bool()> const& mayGoOn) {
    auto* const own = dynamic_cast<HVDownloadThumbnail*>(this);
    if (own == nullptr)
        return DownLoadThumbnailData(std::move(options));
    unsigned int const time = milliseconds == 0 ? HVDownloadThumbnail::kFetchTime : milliseconds;
    return own->FetchData(std::move(options), jsRuntimePath, nullptr, time, mayGoOn);
}

std::int64_t HVDownloadThumbnail::SizeLimit() {
    return gSizeLimit;
}

void IHVDownloadThumbnail::SetSizeLimit(std::int64_t bytes) {
    gSizeLimit = bytes;
}

} // namespace Halvorn
