#include "HVHostRegistration.h"

#include "HVAtomicFile.h"
#include "HVBrowserHosts.h"
#include "HVBrowserState.h"
#include "HVCookieStockState.h"
#include "IHVFileProvider.h"
#include "IHVJsonValue.h"
#include "IHVRunningBrowsers.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <filesystem>

namespace Halvorn {

namespace {

using Result = std::shared_ptr<IHVError const>;

constexpr char const* kModuleName = "Reelhaul.framework";
/// As browser/extension/background.js calls it.
constexpr char const* kHostName = "reelhaul.browser_host";
/// Follows from the key in browser/extension/manifest.json.
constexpr char const* kChromiumExtension = "chrome-extension://hkpegjcnhgedmhdmbmaegjidikonnpla/";
/// As browser/extension/manifest.json says.
constexpr char const* kFirefoxExtension = "cookies@reelhaul";
constexpr std::size_t kLongestFile = 64UL * 1024;

Result Failure(int line, char const* operation, std::string const& text) {
    return IHVError::MallocError("HVHostRegistration", line, operation, -1, "Error", text.c_str());
}

std::string FileIn(std::string const& folder) {
    return folder + "/" + kHostName + ".json";
}

std::string FileText(HVDownloadBrowser browser) {
    bool const firefox = browser == HVDownloadBrowserFirefox;
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    auto const put = [&writer](char const* name, std::string const& value) {
        writer.Key(name);
        writer.String(value.c_str());
    };
    writer.StartObject();
    put("name", kHostName);
    put("description", "Hands cookies of this browser to Reelhaul, when its user allows it");
    put("path", HostPathFile());
    put("type", "stdio");
    writer.Key(firefox ? "allowed_extensions" : "allowed_origins");
    writer.StartArray();
    writer.String(firefox ? kFirefoxExtension : kChromiumExtension);
    writer.EndArray();
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

bool Exists(std::string const& path) {
    return IHVFileProvider::PathFileExist(path);
}

/// 0, or the error's number.
int WriteFile(std::string const& folder, HVDownloadBrowser browser) {
    if (int const error = MakeFolders(folder); error != 0)
        return error;
    HVAtomicFile file(FileIn(folder));
    int error = file.Open(0600);
    if (error == 0)
        error = file.Write(FileText(browser));
    return error != 0 ? error : file.Commit(true);
}

bool NamesAHost(std::string const& folder) {
    std::string text;
    if (!ReadRegularFile(FileIn(folder), kLongestFile, text))
        return false;
    auto const file = IHVJsonReader::ReadJsonString(text, nullptr);
    return file != nullptr && Exists(file->GetValueString("path"));
}

} // namespace

std::string HostPathFile() {
    return IHVFileProvider::AppendPathComponent(IHVFileProvider::GetModulePath(kModuleName),
                                                "reelhaul-browser-host");
}

std::string ExtensionFolder() {
    return IHVFileProvider::AppendPathComponent(IHVFileProvider::GetModulePath(kModuleName),
                                                "browser-extension");
}

bool HostIsInstalled(HVDownloadBrowser browser) {
    auto const folders = BrowserFolders();
    return std::any_of(folders.begin(), folders.end(), [browser](HVBrowserFolder const& folder) {
        return folder.browser == browser && std::all_of(folder.hosts.begin(), folder.hosts.end(), NamesAHost);
    });
}

std::shared_ptr<IHVError const> IHVRunningBrowsers::InstallHost(HVDownloadBrowser browser) {
    constexpr char const* kOperation = "InstallHost";
    if (!Exists(HostPathFile()))
        return Failure(__LINE__, kOperation, "There is no host program at \"" + HostPathFile() + "\".");
    bool written = false;
    for (auto const& folder : BrowserFolders()) {
        if (browser == HVDownloadBrowserUnknown ? !Exists(folder.profiles) : folder.browser != browser)
            continue;
        for (auto const& hosts : folder.hosts)
            if (int const error = WriteFile(hosts, folder.browser); error != 0)
                return Failure(__LINE__, kOperation,
                               "Can't write \"" + FileIn(hosts) + "\": " + FileErrorReason(error) + ".");
        written = true;
    }
    if (written)
        return IHVError::MallocSucceed("HVHostRegistration", __LINE__, kOperation);
    return Failure(__LINE__, kOperation,
                   browser == HVDownloadBrowserUnknown
                       ? "No browser that can have the extension has run yet."
                       : IHVBrowserState::BrowserName(browser) + " can't have the extension.");
}

std::shared_ptr<IHVError const> IHVRunningBrowsers::UninstallHost(HVDownloadBrowser browser) {
    for (auto const& folder : BrowserFolders()) {
        if (browser != HVDownloadBrowserUnknown && folder.browser != browser)
            continue;
        for (auto const& hosts : folder.hosts) {
            std::error_code fault;
            std::filesystem::remove(FileIn(hosts), fault);
            if (fault)
                return Failure(__LINE__, "UninstallHost",
                               "Can't remove \"" + FileIn(hosts) + "\": " + fault.message() + ".");
        }
    }
    return IHVError::MallocSucceed("HVHostRegistration", __LINE__, "UninstallHost");
}

std::vector<IHVRunningBrowsers::Status> IHVRunningBrowsers::GetStatus() {
    std::string fault;
    auto const hosts = ConnectToBrowserHosts(fault);
    std::vector<Status> all;
    for (auto const& folder : BrowserFolders()) {
        Status status;
        status.browser = folder.browser;
        status.hasRun = Exists(folder.profiles);
        status.hostInstalled = HostIsInstalled(folder.browser);
        status.text = AbsentState(folder.browser, fault).text;
        for (auto const& host : hosts) {
            if (host.browser != folder.browser)
                continue;
            auto const state = GreetedState(host);
            if (!status.ready)
                status.text = state.text;
            status.ready = status.ready || !state.blocked;
            status.profiles.push_back(host.hello.profile);
        }
        all.push_back(std::move(status));
    }
    return all;
}

std::string IHVRunningBrowsers::ExtensionFolder() {
    return Halvorn::ExtensionFolder();
}

} // namespace Halvorn
