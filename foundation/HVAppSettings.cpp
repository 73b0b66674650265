#include "HVAppSettings.h"

#include "HVAtomicFile.h"
#include "HVFileSystem.h"
#include "HVLateLog.h"
#include "IHVFileProvider.h"
#include "IHVLogConfig.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <utility>

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace Halvorn {

namespace {

constexpr std::size_t kMaxFileBytes = 1U << 20;
/// Writing a document out is recursive.
constexpr std::ptrdiff_t kMaxBrackets = 10000;

/// The document of the file: an object, empty where the file is missing or damaged.
void ReadDocument(std::string const& path, rapidjson::Document& document) {
    std::string text;
    if (!ReadRegularFile(path, kMaxFileBytes, text))
        text.clear();
    bool const flat =
        std::count_if(text.begin(), text.end(), [](char c) { return c == '[' || c == '{'; }) < kMaxBrackets;
    if (flat)
        document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    if (flat && !document.HasParseError() && document.IsObject())
        return;
    if (!path.empty() && AnyEntryExists(path))
        IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "The settings in \"%s\" can't be read",
                             path.c_str());
    document.SetObject();
}

void SetMember(rapidjson::Document& document, std::string const& key, bool value) {
    rapidjson::Value name(key.data(), static_cast<rapidjson::SizeType>(key.size()), document.GetAllocator());
    // Not by comparing iterators: C++20 finds those of a changeable document ambiguous.
    if (document.HasMember(name))
        document[name].SetBool(value);
    else
        document.AddMember(name, value, document.GetAllocator());
}

std::string ToText(rapidjson::Document const& document) {
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

/// Replaces the file. A link stays one: users who keep such files in a folder of their own link to them.
int WriteWholeFile(std::string const& path, std::string const& text) {
    if (int const error = MakeFolders(FolderOfPath(path)); error != 0)
        return error;
    std::error_code ignored;
    auto const real = std::filesystem::canonical(path, ignored);
    // A device such as /dev/null, named as the settings to have none, must not be replaced by a file.
    if (!ignored && !std::filesystem::is_regular_file(real))
        return EINVAL;
    HVAtomicFile file(ignored ? path : real.string());
    int error = file.Open();
    if (error == 0)
        error = file.Write(text);
    return error == 0 ? file.Commit(true) : error;
}

class HVAppSettings final : public IHVAppSettings {
public:
    explicit HVAppSettings(std::string path) : path_(std::move(path)) {
        rapidjson::Document document;
        ReadDocument(path_, document);
        for (auto const& member : std::as_const(document).GetObject())
            if (member.value.IsBool())
                values_[member.name.GetString()] = member.value.GetBool();
    }

    void SetBool(bool value, std::string const& key) override {
        std::lock_guard const lock(mutex_);
        values_[key] = value;
        changed_[key] = value;
    }

    bool GetBool(std::string const& key) const override {
        std::lock_guard const lock(mutex_);
        auto const found = values_.find(key);
        return found != values_.end() && found->second;
    }

    void Save() override {
        if (path_.empty()) {
            IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning,
                                 "There is no home folder: the settings are kept for this run only");
            return;
        }
        // One writer at a time; readers don't wait for it.
        HVLoggingLock const saving(saveMutex_);
        // Read anew: another process may have written keys of its own since.
        rapidjson::Document document;
        ReadDocument(path_, document);
        for (auto const& [key, value] : Changed())
            SetMember(document, key, value);
        if (int const error = WriteWholeFile(path_, ToText(document)); error != 0)
            IHVLogConfig::Printf(IHVLogConfig::LogLevelError, "Can't write the settings to \"%s\": %s",
                                 path_.c_str(), FileErrorReason(error).c_str());
    }

private:
    std::map<std::string, bool> Changed() const {
        std::lock_guard const lock(mutex_);
        return changed_;
    }

    std::string const path_;
    mutable std::mutex mutex_;
    std::map<std::string, bool> values_;
    std::map<std::string, bool> changed_; ///< what this process set, and so what it writes
    std::mutex saveMutex_;
};

} // namespace

std::string SettingsPathFile() {
    char const* const chosen = std::getenv("REELHAUL_SETTINGS");
    if (chosen != nullptr && *chosen != '\0')
        return chosen;
    std::string const folder = SettingsFolder();
    return folder.empty() ? folder : IHVFileProvider::AppendPathComponent(folder, "settings.json");
}

std::shared_ptr<IHVAppSettings> MallocAppSettings(std::string const& pathFile) {
    return std::make_shared<HVAppSettings>(pathFile);
}

std::shared_ptr<IHVAppSettings> IHVAppSettings::Shared() {
    // Never destroyed: a thread may ask at the very end of the process.
    static auto* settings = new std::shared_ptr<IHVAppSettings>(MallocAppSettings(SettingsPathFile()));
    return *settings;
}

} // namespace Halvorn
