// The part of HVDownloadThumbnail that fetches the bytes, by a run of the tool.
#include "HVDownloadThumbnail.h"

#include "HVArgsBuilder.h"
#include "HVConstants.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"
#include "IHVTask.h"

#include <fstream>
#include <limits>
#include <new>
#include <utility>

namespace Halvorn {

namespace {

struct Bytes {
    std::unique_ptr<unsigned char[]> data;
    std::int32_t size = 0;
};

/// The whole file; no data when it can't be read or is larger than a signed 32-bit number can tell.
Bytes ReadFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::streamoff const length = file ? static_cast<std::streamoff>(file.tellg()) : -1;
    if (length < 0 || length > std::numeric_limits<std::int32_t>::max())
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

} // namespace

bool HVDownloadThumbnail::DownLoadThumbnailData(std::shared_ptr<IHVDownloadOptions> options) {
    if (data_ != nullptr && dataSize_ != 0) {
        IHVLogConfig::Printf("The thumbnail %s was downloaded.", downloadURL_.c_str());
        return true;
    }
    HVArgsBuilder const builder(std::move(options));
    std::string const folder = IHVFileProvider::GetTmpPath();
    if (folder.empty())
        return false;
    std::string const path = IHVFileProvider::AppendPathComponent(
        folder, IHVFileProvider::CreateRandomFileName(GetExtension(), 10));
    std::shared_ptr<IHVTask> const task = IHVTask::LaunchTask(
        HVArgsBuilder::GetDownloadCommadExe(), builder.BuildDownloadThumbArgs(downloadURL_, path));
    if (task == nullptr) {
        IHVLogConfig::Printf("creat LaunchTask err!");
        return false;
    }
    // How the tool ended does not matter: only the file counts.
    task->WaitExit(HVInfiniteTimeOut);
    if (!IHVFileProvider::PathFileExist(path))
        return false;
    Bytes bytes = ReadFile(path);
    if (bytes.data == nullptr)
        return false;
    data_ = std::move(bytes.data);
    dataSize_ = bytes.size;
    return true;
}

} // namespace Halvorn
