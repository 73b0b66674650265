#include "HVQueueFile.h"

#include "HVExplainedError.h"
#include "HVFields.h"

#include <algorithm>
#include <utility>

namespace Halvorn {

namespace {

constexpr std::int32_t kMark = 0x52685175; // "RhQu"

/// Steps that were published once stay as they are.
std::vector<std::string> Schema() {
    return {"CREATE TABLE options (id INTEGER PRIMARY KEY, record TEXT NOT NULL UNIQUE);"
            "CREATE TABLE rows (number INTEGER PRIMARY KEY AUTOINCREMENT, position INTEGER, state INTEGER,"
            " checked INTEGER, name TEXT, naming TEXT, folder TEXT, item TEXT, options INTEGER REFERENCES "
            "options (id),"
            " needs INTEGER, file TEXT, error TEXT, whole TEXT);",
            "ALTER TABLE rows ADD COLUMN settings TEXT; ALTER TABLE rows ADD COLUMN bytes INTEGER;"};
}

constexpr char kUpdate[] = "UPDATE rows SET position = coalesce(?, position), state = coalesce(?, state),"
                           " checked = coalesce(?, checked), name = coalesce(?, name),"
                           " naming = coalesce(?, naming),"
                           " folder = coalesce(?, folder), item = coalesce(?, item),"
                           " options = coalesce((SELECT id FROM options WHERE record = ?), options),"
                           " needs = coalesce(?, needs), file = coalesce(?, file),"
                           " error = coalesce(?, error), whole = coalesce(?, whole),"
                           " settings = coalesce(?, settings), bytes = coalesce(?, bytes) WHERE number = ?";

constexpr char kSelect[] =
    "SELECT number, position, state, checked, name, folder, item, record, needs, file,"
    " error, whole, naming, %s FROM rows LEFT JOIN options ON options.id = rows.options"
    " ORDER BY position, number";

/// Stands in kSelect for the columns of the latest version.
constexpr char kSettings[] = "%s";

/// More than any row that was put somewhere has, and far from what can't be added to.
constexpr std::int64_t kFarthest = std::int64_t{1} << 62;

/// The value of the enumeration; `otherwise` where a damaged file holds what is none.
template <typename Value>
Value Among(std::int64_t stored, Value last, Value otherwise) {
    return stored >= 0 && stored <= last ? static_cast<Value>(stored) : otherwise;
}

std::string ErrorRecord(IHVError const* error) {
    HVFields fields;
    if (error == nullptr)
        return {};
    fields.SetText("title", error->GetErrorTitle());
    fields.SetInteger("code", error->GetErrorCode());
    fields.SetText("message", error->GetErrorMessage());
    fields.SetText("plain", error->GetPlainMessage());
    fields.SetInteger("kind", error->GetKind());
    fields.SetInteger("may pass", error->CanRetry() ? 1 : 0);
    fields.SetInteger("delay", error->GetRetryDelay());
    return fields.Text();
}

std::shared_ptr<IHVError const> ErrorOfRecord(std::string const& record) {
    if (record.empty())
        return nullptr;
    HVFields const fields(record);
    auto const kind = Among(fields.Integer("kind"), HVErrorKindNameImpossible, HVErrorKindOther);
    HVFault const fault{kind, fields.Flag("may pass"), fields.Int("delay")};
    return KeptError(fields.Int("code"), fields.Get("title"), fields.Get("message"), fields.Get("plain"),
                     fault);
}

template <typename Value, typename Member>
std::optional<Member> Part(std::optional<Value> const& whole, Member Value::*part) {
    return whole.has_value() ? std::optional<Member>((*whole).*part) : std::nullopt;
}

std::optional<std::int64_t> Bytes(HVRowChange const& change) {
    auto const bytes = Part(change.state, &HVRowState::bytes);
    return bytes.has_value() ? std::optional(static_cast<std::int64_t>(*bytes)) : std::nullopt;
}

} // namespace

void HVRowChange::Add(HVRowChange later) {
    if (later.removed) {
        // A row that was never stored is gone without a trace, and so it is with what was stored of it.
        *this = std::move(later);
        return;
    }
    isNew = isNew || later.isNew;
    removed = removed && !later.isNew;
    auto const take = [](auto& value, auto& next) {
        if (next.has_value())
            value = std::move(next);
    };
    take(checked, later.checked);
    take(position, later.position);
    take(state, later.state);
    take(item, later.item);
    take(name, later.name);
    take(naming, later.naming);
    take(folder, later.folder);
    take(options, later.options);
    take(settings, later.settings);
    take(whole, later.whole);
}

std::unique_ptr<HVQueueFile> HVQueueFile::Open(std::string const& path, bool readOnly,
                                               std::shared_ptr<IHVError const>& error) {
    auto database = HVDatabase::Open(path, {"queue", kMark, Schema(), readOnly}, error);
    if (database == nullptr)
        return nullptr;
    return std::unique_ptr<HVQueueFile>(new HVQueueFile(std::move(database))); // NOLINT: private
}

std::shared_ptr<IHVError const> HVQueueFile::Read(std::vector<HVStoredRow>& rows, std::int64_t& highest) {
    return database_->Transaction([&] {
        // A process that was killed while it made the file has left it empty.
        if (database_->Version() == 0)
            return;
        database_->Check("rows");
        std::string sql = kSelect;
        // A file of an earlier version that is only read has no such columns.
        sql.replace(sql.find(kSettings), sizeof kSettings - 1,
                    database_->Version() < 2 ? "'', 0" : "settings, bytes");
        HVStatement select(*database_, sql);
        while (select.Next()) {
            HVStoredRow row;
            row.number = select.Integer(0);
            row.position = std::clamp(select.Integer(1), -kFarthest, kFarthest);
            row.state.state = Among(select.Integer(2), HVDownloadStateCancelled, HVDownloadStateIdle);
            row.checked = select.Integer(3) != 0;
            row.name = select.Text(4);
            row.folder = select.Text(5);
            row.item = select.Text(6);
            row.options = select.Text(7);
            row.needs = static_cast<int>(select.Integer(8));
            row.state.file = select.Text(9);
            row.state.error = ErrorOfRecord(select.Text(10));
            row.whole = select.Text(11);
            row.naming = select.Text(12);
            row.settings = select.Text(13);
            row.state.bytes = static_cast<std::uint64_t>(std::max(std::int64_t{0}, select.Integer(14)));
            rows.push_back(std::move(row));
        }
        HVStatement sequence(*database_, "SELECT max(seq) FROM sqlite_sequence");
        highest = sequence.Next() ? std::clamp(sequence.Integer(0), std::int64_t{0}, kFarthest) : 0;
    });
}

std::shared_ptr<IHVError const> HVQueueFile::Write(std::map<std::int64_t, HVRowChange> const& changes) {
    return database_->Transaction([&] {
        HVStatement remove(*database_, "DELETE FROM rows WHERE number = ?");
        HVStatement insert(*database_, "INSERT OR IGNORE INTO rows (number) VALUES (?)");
        HVStatement keep(*database_, "INSERT OR IGNORE INTO options (record) VALUES (?)");
        HVStatement update(*database_, kUpdate);
        bool forgets = false;
        for (auto const& [number, change] : changes) {
            forgets = forgets || change.removed;
            if (change.removed) {
                remove.Run(number);
                continue;
            }
            if (change.isNew)
                insert.Run(number);
            if (change.options.has_value())
                keep.Run(change.options->record);
            auto const state = Part(change.state, &HVRowState::state);
            auto const error = change.state.has_value()
                                   ? std::optional<std::string>(ErrorRecord(change.state->error.get()))
                                   : std::nullopt;
            update.Run(change.position, state, change.checked, change.name, change.naming, change.folder,
                       change.item, Part(change.options, &HVRowOptions::record),
                       Part(change.options, &HVRowOptions::needs), Part(change.state, &HVRowState::file),
                       error, change.whole, change.settings, Bytes(change), number);
        }
        if (forgets)
            database_->Run("DELETE FROM options WHERE id NOT IN (SELECT options FROM rows)");
    });
}

} // namespace Halvorn
