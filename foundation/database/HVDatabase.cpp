#include "HVDatabase.h"

#include "HVExplainedError.h"
#include "HVFileSystem.h"

#include <cerrno>
#include <utility>

#include <sqlite3.h>

namespace Halvorn {

namespace {

HVErrorKind KindOf(int result, int systemError) {
    switch (result & 0xff) {
    case SQLITE_FULL:
        return HVErrorKindDiskFull;
    case SQLITE_IOERR:
        return systemError == ENOSPC ? HVErrorKindDiskFull : HVErrorKindOther;
    case SQLITE_CANTOPEN:
        return systemError == ENOSPC ? HVErrorKindDiskFull : HVErrorKindNoPermission;
    case SQLITE_PERM:
    case SQLITE_READONLY:
        return HVErrorKindNoPermission;
    default:
        return HVErrorKindOther;
    }
}

bool IsDamage(int result) {
    return (result & 0xff) == SQLITE_CORRUPT || (result & 0xff) == SQLITE_NOTADB;
}

} // namespace

HVStatement::HVStatement(HVDatabase& database, std::string_view sql) : database_(database) {
    database_.Good(sqlite3_prepare_v2(database_.connection_, sql.data(), static_cast<int>(sql.size()),
                                      &statement_, nullptr));
}

HVStatement::~HVStatement() {
    sqlite3_finalize(statement_);
}

void HVStatement::Begin() {
    sqlite3_reset(statement_); // gives the failure of the last use again
}

void HVStatement::Bind(int place, std::int64_t value) {
    database_.Good(sqlite3_bind_int64(statement_, place, value));
}

void HVStatement::Bind(int place, double value) {
    database_.Good(sqlite3_bind_double(statement_, place, value));
}

void HVStatement::Bind(int place, std::string_view value) {
    // A null pointer would be a null.
    char const* const text = value.data() == nullptr ? "" : value.data();
    database_.Good(sqlite3_bind_text64(statement_, place, text, value.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

void HVStatement::BindNull(int place) {
    database_.Good(sqlite3_bind_null(statement_, place));
}

bool HVStatement::Next() {
    if (database_.Failed())
        return false;
    int const result = sqlite3_step(statement_);
    if (result == SQLITE_ROW)
        return true;
    // Without a reset a read that is over would keep the transaction from its end.
    sqlite3_reset(statement_);
    database_.Good(result);
    return false;
}

std::int64_t HVStatement::Integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

double HVStatement::Real(int column) const {
    return sqlite3_column_double(statement_, column);
}

std::string HVStatement::Text(int column) const {
    auto const* const text = static_cast<char const*>(sqlite3_column_blob(statement_, column));
    auto const length = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return text == nullptr ? std::string() : std::string(text, length);
}

std::unique_ptr<HVDatabase> HVDatabase::Open(std::string const& path, Terms terms,
                                             std::shared_ptr<IHVError const>& error) {
    std::unique_ptr<HVDatabase> database(new HVDatabase(path, std::move(terms))); // NOLINT: private
    if (database->Connect()) {
        error = database->Transaction([&] { database->BringUp(); });
    } else {
        error = database->failure_;
    }
    if (error != nullptr)
        return nullptr;
    // With a log beside the file readers and a writer don't wait for each other. Where the file system can't
    // do that, SQLite keeps to its journal.
    if (!database->terms_.readOnly)
        sqlite3_exec(database->connection_, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    return database;
}

HVDatabase::~HVDatabase() {
    sqlite3_close_v2(connection_);
}

bool HVDatabase::Connect() {
    if (!terms_.readOnly) {
        // SQLite would make it as the umask allows; its other files get the permissions of this one.
        MakeFolders(FolderOfPath(path_));
        int const made = MakePrivateFile(path_);
        if (made != 0 && made != EEXIST) {
            Fail("can't be made", FileErrorReason(made),
                 made == ENOSPC ? HVErrorKindDiskFull : HVErrorKindNoPermission);
            return false;
        }
    }
    // Also to read: who opens a file with a log for reading alone makes the log, and can't remove it. One
    // that may not be written is opened for reading by SQLite itself.
    if (!Good(sqlite3_open_v2(path_.c_str(), &connection_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                              nullptr)))
        return false;
    sqlite3_extended_result_codes(connection_, 1);
    sqlite3_busy_timeout(connection_, terms_.busyMilliseconds);
    Run("PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
    if (terms_.readOnly)
        Run("PRAGMA query_only = ON");
    return !Failed();
}

void HVDatabase::BringUp() {
    auto const mark = Number("PRAGMA application_id");
    auto const version = Number("PRAGMA user_version");
    auto const latest = static_cast<std::int64_t>(terms_.schema.size());
    // A process that was killed while it made the file leaves an empty one.
    bool const fresh = mark == 0 && version == 0 && Number("SELECT count(*) FROM sqlite_master") == 0;
    if (Failed())
        return;
    if (!fresh && mark != terms_.applicationId)
        return Fail("can't be used", "the file belongs to another program; use another file",
                    HVErrorKindOther);
    if (version > latest)
        return Fail("can't be used",
                    "a newer version of this program has written it; update this one, or use another file",
                    HVErrorKindOther);
    version_ = terms_.readOnly ? version : latest;
    if (version == version_)
        return;
    for (auto step = version; step < latest; ++step)
        Run(terms_.schema[static_cast<std::size_t>(step)]);
    Run("PRAGMA application_id = " + std::to_string(terms_.applicationId));
    Run("PRAGMA user_version = " + std::to_string(latest));
}

std::shared_ptr<IHVError const> HVDatabase::Transaction(std::function<void()> const& work) {
    failure_ = nullptr;
    Run(terms_.readOnly ? "BEGIN" : "BEGIN IMMEDIATE");
    if (!Failed())
        work();
    if (!Failed())
        Run("COMMIT");
    // A failure of some kinds, such as a full disk, has rolled back by itself.
    if (Failed() && sqlite3_get_autocommit(connection_) == 0)
        sqlite3_exec(connection_, "ROLLBACK", nullptr, nullptr, nullptr);
    return std::exchange(failure_, nullptr);
}

void HVDatabase::Run(std::string const& sql) {
    if (!Failed())
        Good(sqlite3_exec(connection_, sql.c_str(), nullptr, nullptr, nullptr));
}

void HVDatabase::Check(std::string const& table) {
    HVStatement check(*this, "PRAGMA quick_check('" + table + "')");
    if (check.Next() && check.Text(0) != "ok")
        Damaged(check.Text(0));
}

std::int64_t HVDatabase::Number(std::string const& sql) {
    HVStatement query(*this, sql);
    return query.Next() ? query.Integer(0) : 0;
}

bool HVDatabase::Good(int result) {
    if (result == SQLITE_OK || result == SQLITE_DONE || result == SQLITE_ROW)
        return true;
    int const systemError = connection_ == nullptr ? 0 : sqlite3_system_errno(connection_);
    std::string const reason = connection_ == nullptr ? sqlite3_errstr(result) : sqlite3_errmsg(connection_);
    if (IsDamage(result))
        Damaged(reason);
    else
        Fail(terms_.readOnly ? "can't be read" : "can't be written", reason, KindOf(result, systemError));
    return false;
}

void HVDatabase::Damaged(std::string const& reason) {
    Fail("is damaged", reason + "; move it away, or use another file", HVErrorKindOther);
}

void HVDatabase::Fail(std::string const& doing, std::string const& reason, HVErrorKind kind) {
    if (!Failed())
        failure_ = FaultError("HVDatabase", __LINE__, "Transaction",
                              "The " + terms_.what + " \"" + path_ + "\" " + doing + ": " + reason,
                              FaultOfKind(kind));
}

} // namespace Halvorn
