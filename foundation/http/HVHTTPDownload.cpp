#include "HVAtomicFile.h"
#include "HVHTTPRequest.h"
#include "HVMaskedArguments.h"
#include "IHVHTTPDownload.h"

#include <exception>
#include <utility>

namespace Halvorn {

namespace {

std::shared_ptr<IHVError const> Failure(std::string const& url, std::string const& reason) {
    std::string const message = "Can't download \"" + MaskedAddress(url) + "\": " + reason + ".";
    return IHVError::MallocError("HVHTTPDownload", __LINE__, "DetachHTTPDownload", -1, "Error",
                                 message.c_str());
}

std::string FileFailure(std::string const& pathFile, int error) {
    return error == 0 ? std::string() : "\"" + pathFile + "\" can't be written: " + FileErrorReason(error);
}

std::string DownloadTo(std::string const& url, std::string const& pathFile, int timeout) {
    HVAtomicFile file(pathFile);
    // The umask takes away from this what the user does not want.
    std::string failure = FileFailure(pathFile, file.Open(0666));
    if (failure.empty())
        failure = PerformHTTPRequest(
            {url, timeout, [&](std::string_view bytes) { return FileFailure(pathFile, file.Write(bytes)); }});
    return failure.empty() ? FileFailure(pathFile, file.Commit(true)) : failure;
}

void Download(std::string const& url, std::string const& pathFile, int timeout,
              IHVHTTPDownload::Done const& done) {
    std::string failure;
    try {
        failure = DownloadTo(url, pathFile, timeout);
    } catch (std::exception const& error) {
        failure = error.what();
    }
    done(failure.empty() ? IHVError::MallocSucceed("HVHTTPDownload", __LINE__, "DetachHTTPDownload")
                         : Failure(url, failure));
}

} // namespace

std::shared_ptr<IHVError const> IHVHTTPDownload::DetachHTTPDownload(std::string const& url,
                                                                    std::string const& pathFile, Done done,
                                                                    int timeout) {
    if (!done)
        return Failure(url, "no function is given to report to");
    auto work = [url, pathFile, timeout, done = std::move(done)] { Download(url, pathFile, timeout, done); };
    if (!RunHTTPThread(std::move(work)))
        return Failure(url, "there was no thread for it");
    return IHVError::MallocSucceed("HVHTTPDownload", __LINE__, "DetachHTTPDownload");
}

} // namespace Halvorn
