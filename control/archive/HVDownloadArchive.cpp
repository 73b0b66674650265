#include "HVDownloadArchive.h"

#include "HVDownloadItem.h"
#include "HVFileSystem.h"
#include "HVItemIdentity.h"
#include "IHVLogConfig.h"
#include "IHVStringHelper.h"

#include <array>
#include <fstream>
#include <string_view>

namespace Halvorn {

namespace {

constexpr char kFile[] = "HVDownloadArchive";
constexpr std::string_view kDatabaseHead("SQLite format 3\0", 16);

std::string HiddenBeside(std::string const& path, char const* what) {
    auto const slash = path.rfind('/') + 1; // 0 for none
    return path.substr(0, slash) + "." + path.substr(slash) + "." + what;
}

enum class Form { Text, Database, Neither };

Form FormOf(std::string const& path) {
    std::array<char, 4096> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), bytes.size());
    std::string_view const head(bytes.data(), static_cast<std::size_t>(file.gcount()));
    if (head.starts_with(kDatabaseHead))
        return Form::Database;
    if (!head.empty()) // a video that was named by mistake is no place for a line
        return head.find('\0') == std::string_view::npos ? Form::Text : Form::Neither;
    std::string const name = IHVStringHelper::ToLower(path);
    for (char const* const extension : {".db", ".sqlite", ".sqlite3"})
        if (name.ends_with(extension))
            return Form::Database;
    return Form::Text;
}

} // namespace

HVDownloadArchive::HVDownloadArchive(std::string path)
    : path_(std::move(path)), claims_(HVFileClaims::Of(HiddenBeside(AbsolutePath(path_), "claims"))) {}

HVDownloadArchive::Result HVDownloadArchive::OpenStore() {
    Form const form = FormOf(path_);
    if (form == Form::Neither)
        return IHVError::MallocError(kFile, __LINE__, "Open", -1, "Error",
                                     ("The file \"" + path_ + "\" is no archive.").c_str());
    auto store = form == Form::Database ? MakeDatabaseArchive(path_) : MakeTextArchive(path_);
    auto failure = store->Open();
    if (failure == nullptr)
        store_ = std::move(store);
    return failure;
}

HVDownloadArchive::Result HVDownloadArchive::With(char const* function,
                                                  std::function<Result(HVArchiveStore&)> const& work) {
    Result failure;
    {
        std::lock_guard const lock(mutex_);
        if (store_ == nullptr)
            failure = OpenStore();
        if (failure == nullptr)
            failure = work(*store_);
        last_ = failure != nullptr ? failure : IHVError::MallocSucceed(kFile, __LINE__, function);
        if (failure == nullptr)
            return last_;
    }
    IHVLogConfig::Printf(IHVLogConfig::LogLevelWarning, "%s", failure->GetErrorMessage().c_str());
    return failure;
}

std::shared_ptr<IHVError const> HVDownloadArchive::Open() {
    return With("Open", [](HVArchiveStore&) { return nullptr; });
}

bool HVDownloadArchive::ContainsAny(std::vector<std::string> const& identities) {
    bool found = false;
    if (identities.empty())
        return false;
    auto const result =
        With("ContainsAny", [&](HVArchiveStore& store) { return store.Find(identities, found); });
    return found && result->Succeed();
}

std::shared_ptr<IHVError const> HVDownloadArchive::AddAll(std::vector<std::string> const& identities) {
    if (identities.empty())
        return IHVError::MallocSucceed(kFile, __LINE__, "AddAll");
    return With("AddAll", [&](HVArchiveStore& store) { return store.Add(identities); });
}

std::int64_t HVDownloadArchive::Count() {
    std::int64_t count = 0;
    auto const result = With("Count", [&](HVArchiveStore& store) { return store.Count(count); });
    return result->Succeed() ? count : -1;
}

std::shared_ptr<IHVError const> HVDownloadArchive::LastError() const {
    std::lock_guard const lock(mutex_);
    return last_;
}

std::shared_ptr<IHVDownloadArchive> IHVDownloadArchive::MallocDownloadArchive(std::string const& path) {
    return std::make_shared<HVDownloadArchive>(path);
}

std::vector<std::string> IHVDownloadArchive::IdentitiesOf(IHVDownloadItem const& item) {
    auto const* const own = dynamic_cast<HVDownloadItem const*>(&item);
    if (own == nullptr)
        return {};
    auto identities = own->Identity().own;
    auto const& former = own->Identity().former;
    identities.insert(identities.end(), former.begin(), former.end());
    return identities;
}

std::vector<std::string> IHVDownloadArchive::IdentitiesOf(HVListEntry const& entry) {
    std::string identity = IdentityText(entry.extractor, entry.id);
    return identity.empty() ? std::vector<std::string>() : std::vector<std::string>{std::move(identity)};
}

bool IHVDownloadArchive::Contains(IHVDownloadItem const& item) {
    return ContainsAny(IdentitiesOf(item));
}

bool IHVDownloadArchive::Contains(HVListEntry const& entry) {
    return ContainsAny(IdentitiesOf(entry));
}

bool IHVDownloadArchive::Claim(IHVDownloadItem const& item) {
    auto* const own = dynamic_cast<HVDownloadArchive*>(this);
    auto const identities = IdentitiesOf(item);
    if (own != nullptr)
        own->Open(); // makes the folder
    return own == nullptr || identities.empty() || own->Claims().Take(identities.front(), &item);
}

void IHVDownloadArchive::Release(IHVDownloadItem const& item) {
    auto const identities = IdentitiesOf(item);
    if (auto* const own = dynamic_cast<HVDownloadArchive*>(this); own != nullptr && !identities.empty())
        own->Claims().Leave(identities.front(), &item);
}

std::shared_ptr<IHVError const> IHVDownloadArchive::Add(IHVDownloadItem const& item) {
    auto const* const own = dynamic_cast<HVDownloadItem const*>(&item);
    return AddAll(own == nullptr ? std::vector<std::string>() : own->Identity().own);
}

} // namespace Halvorn
