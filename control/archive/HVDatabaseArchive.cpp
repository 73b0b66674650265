// A table with one column, which is its own index.

#include "HVArchiveStore.h"
#include "HVDatabase.h"

#include <utility>

namespace Halvorn {

namespace {

constexpr std::int32_t kMark = 0x52484152; // "RHAR"
constexpr char kTable[] = "CREATE TABLE downloaded (identity TEXT NOT NULL PRIMARY KEY) WITHOUT ROWID";

class HVDatabaseArchive final : public HVArchiveStore {
public:
    explicit HVDatabaseArchive(std::string path) : path_(std::move(path)) {}

    Result Open() override {
        Result failure;
        HVDatabase::Terms terms{"archive", kMark, {kTable}};
        writer_ = HVDatabase::Open(path_, terms, failure);
        // Its transactions wait for nobody.
        terms.readOnly = true;
        if (writer_ != nullptr)
            reader_ = HVDatabase::Open(path_, std::move(terms), failure);
        if (reader_ != nullptr)
            find_ = std::make_unique<HVStatement>(*reader_, "SELECT 1 FROM downloaded WHERE identity = ?");
        return failure;
    }
    Result Find(std::vector<std::string> const& identities, bool& found) override {
        return reader_->Transaction([&] {
            for (auto const& identity : identities) {
                find_->With(identity);
                while (find_->Next()) // to the end: a row left over keeps the reader at this moment for ever
                    found = true;
            }
        });
    }
    Result Add(std::vector<std::string> const& identities) override {
        return writer_->Transaction([&] {
            HVStatement add(*writer_, "INSERT OR IGNORE INTO downloaded (identity) VALUES (?)");
            for (auto const& identity : identities)
                add.Run(identity);
        });
    }
    Result Count(std::int64_t& count) override {
        return reader_->Transaction([&] {
            HVStatement rows(*reader_, "SELECT count(*) FROM downloaded");
            if (rows.Next())
                count = rows.Integer(0);
        });
    }

private:
    std::string const path_;
    std::unique_ptr<HVDatabase> writer_;
    std::unique_ptr<HVDatabase> reader_;
    std::unique_ptr<HVStatement> find_; ///< ends before its database
};

} // namespace

std::unique_ptr<HVArchiveStore> MakeDatabaseArchive(std::string const& path) {
    return std::make_unique<HVDatabaseArchive>(path);
}

} // namespace Halvorn
