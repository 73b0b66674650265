// The tool's own form: a line for each identity, in no order.

#include "HVArchiveStore.h"
#include "HVFileSystem.h"
#include "HVLineFile.h"

#include <unordered_set>
#include <utility>

namespace Halvorn {

namespace {

class HVTextArchive final : public HVArchiveStore {
public:
    explicit HVTextArchive(std::string path) : path_(std::move(path)), file_(path_) {}

    Result Open() override {
        MakeFolders(FolderOfPath(path_));
        return Outcome("used", file_.Append(reader_, [] { return std::vector<std::string>(); }));
    }
    Result Find(std::vector<std::string> const& identities, bool& found) override {
        if (auto failure = Read())
            return failure;
        for (auto const& identity : identities)
            found = found || identities_.contains(identity);
        return nullptr;
    }
    Result Add(std::vector<std::string> const& identities) override {
        return Outcome("written", file_.Append(reader_, [&] {
            std::vector<std::string> missing;
            for (auto const& identity : identities)
                if (!identities_.contains(identity))
                    missing.push_back(identity);
            return missing;
        }));
    }
    Result Count(std::int64_t& count) override {
        if (auto failure = Read())
            return failure;
        count = static_cast<std::int64_t>(identities_.size());
        return nullptr;
    }

private:
    Result Read() { return Outcome("read", file_.ReadNew(reader_)); }
    Result Outcome(std::string const& what, std::string const& reason) const {
        if (reason.empty())
            return nullptr;
        std::string const text = "The archive \"" + path_ + "\" can't be " + what + ": " + reason + ".";
        return IHVError::MallocError("HVTextArchive", __LINE__, "Outcome", HVErrorCodeIO, "IO Error",
                                     text.c_str());
    }

    std::string const path_;
    HVLineFile file_;
    std::unordered_set<std::string> identities_;
    HVLineFile::Reader const reader_{[this] { identities_.clear(); },
                                     [this](std::string_view line) { identities_.emplace(line); }};
};

} // namespace

std::unique_ptr<HVArchiveStore> MakeTextArchive(std::string const& path) {
    return std::make_unique<HVTextArchive>(path);
}

} // namespace Halvorn
