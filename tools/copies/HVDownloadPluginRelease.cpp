#include "HVDownloadPlugin.h"
#include "HVDownloadPluginNames.h"
#include "IHVFileProvider.h"
#include "IHVHTTPDownload.h"
#include "IHVHTTPFetch.h"
#include "IHVJsonValue.h"
#include "IHVLogConfig.h"

#include <condition_variable>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace Halvorn {

namespace {

constexpr char const* kApiHost = "https://api.github.com";
constexpr char const* kFileHost = "https://github.com";
constexpr char const* kLatestRelease = "/repos/yt-dlp/yt-dlp/releases/latest";
constexpr char const* kReleaseFiles = "/yt-dlp/yt-dlp/releases/download/";
// Of whatever system: it is what the release's address has always named here, and the update does not use it.
constexpr char const* kReleaseFile = "/yt-dlp.exe";
constexpr char const* kVersionKey = "tag_name";
constexpr char const* kUpdateFile = "yt-dlp-update";
constexpr int kSeconds = 60;

/// The mirror that the application named. Never destroyed: an update may run at the very end of the process.
struct Mirror {
    std::mutex mutex;
    std::string api;
    std::string files;

    static Mirror& Shared() {
        static auto* mirror = new Mirror;
        return *mirror;
    }
};

/// The application's word, else the environment's, else the tool's own host; without a slash at its end.
std::string Prefix(std::string Mirror::*chosen, char const* variable, char const* host) {
    auto& mirror = Mirror::Shared();
    std::string prefix;
    {
        std::lock_guard const lock(mirror.mutex);
        prefix = mirror.*chosen;
    }
    if (char const* const value = std::getenv(variable); prefix.empty() && value != nullptr)
        prefix = value;
    while (!prefix.empty() && prefix.back() == '/')
        prefix.pop_back();
    return prefix.empty() ? host : prefix;
}

std::string ReleaseFileUrl(std::string const& version) {
    return Prefix(&Mirror::files, "REELHAUL_RELEASE_FILES", kFileHost) + kReleaseFiles + version +
           kReleaseFile;
}

/// What a request came to, for the thread that waits for it. Shared with the request: its thread may still
/// hold the answer when the waiting thread has gone on.
template <typename Result>
class Answer {
public:
    void Give(Result result) {
        std::lock_guard const lock(mutex_);
        result_ = std::move(result);
        done_ = true;
        given_.notify_one();
    }
    Result Wait() {
        std::unique_lock lock(mutex_);
        given_.wait(lock, [this] { return done_; });
        return std::move(result_);
    }

private:
    std::mutex mutex_;
    std::condition_variable given_;
    bool done_ = false;
    Result result_{};
};

} // namespace

void IHVDownloadPlugin::SetReleaseMirror(std::string const& apiPrefix, std::string const& filePrefix) {
    auto& mirror = Mirror::Shared();
    std::lock_guard const lock(mirror.mutex);
    mirror.api = apiPrefix;
    mirror.files = filePrefix;
}

HVDownloadPlugin::Release HVDownloadPlugin::AskForRelease() const {
    auto const answer = std::make_shared<Answer<Release>>();
    auto const done = [answer](std::shared_ptr<IHVData const> const& data,
                               std::shared_ptr<IHVError const> const& error) {
        IHVLogConfig::Printf("DetachHTTPFetch return\n");
        Release release{kFallbackVersion, {}};
        if (data == nullptr) {
            release.failure = error->GetErrorMessage();
        } else if (!data->ToText().empty()) {
            auto const document = IHVJsonReader::ReadJsonString(data->ToText(), nullptr);
            // An answer that is no JSON names no version, as one without the key.
            release.version = document == nullptr ? std::string() : document->GetValueString(kVersionKey);
        }
        if (release.failure.empty() && (release.version.empty() || data->ToText().empty()))
            release.failure = "The release host's answer names no version.";
        IHVLogConfig::Printf("tag_name return\n");
        answer->Give(std::move(release));
    };
    IHVHTTPFetch::DetachHTTPFetch(Prefix(&Mirror::api, "REELHAUL_RELEASE_API", kApiHost) + kLatestRelease,
                                  done, HTTPFetchMethod::Get, kSeconds);
    return answer->Wait();
}

std::string HVDownloadPlugin::GetLatestYtDlpVersion() const {
    return AskForRelease().version;
}

std::string HVDownloadPlugin::GetLatestYtDlpVersionUrl() const {
    return ReleaseFileUrl(GetLatestYtDlpVersion());
}

bool HVDownloadPlugin::LocalPluginIsUpToDate() const {
    std::string const local = LocalPluginVersion();
    IHVLogConfig::Printf("Local version = %s", local.c_str());
    std::string const latest = GetLatestYtDlpVersion();
    IHVLogConfig::Printf("latest version = %s", latest.c_str());
    // The name says the opposite; callers rely on this sense.
    try {
        return IsUpdateAvailable(local, latest);
    } catch (std::logic_error const&) {
        // A build such as "nightly" can't be compared.
        return false;
    }
}

std::string HVDownloadPlugin::LocalPluginUpdatePathFile() const {
    return IHVFileProvider::AppendPathComponent(GetLocalPluginInstallPath(), kUpdateFile);
}

std::shared_ptr<IHVError const> HVDownloadPlugin::DownloadLatestYtDlp(std::string& version) {
    auto const answer = std::make_shared<Answer<std::shared_ptr<IHVError const>>>();
    IHVHTTPDownload::DetachHTTPDownload(
        ReleaseFileUrl(version), LocalPluginUpdatePathFile(),
        [answer](std::shared_ptr<IHVError const> error) { answer->Give(std::move(error)); }, kSeconds);
    auto error = answer->Wait();
    return error != nullptr ? error
                            : IHVError::MallocSucceed("HVDownloadPlugin", __LINE__, "DownloadLatestYtDlp");
}

} // namespace Halvorn
