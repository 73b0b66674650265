#pragma once
// A file with state that is kept over restarts: a thin layer over SQLite. A file is opened for one use of
// ours, brought up to the version of the tables that this library knows, and never touched when it is
// damaged, newer or of another program. Files are for the user alone (0600). One thread at a time uses a
// database and its statements; several databases, also of other processes, may have the same file open.

#include "IHVError.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace Halvorn {

class HVDatabase;

/// One prepared statement. It ends before its database does.
class HVStatement {
public:
    HVStatement(HVDatabase& database, std::string_view sql);
    HVStatement(HVStatement const&) = delete;
    HVStatement& operator=(HVStatement const&) = delete;
    ~HVStatement();

    /// Begins anew with these values in place of the question marks: integers, doubles, texts, or such in
    /// a std::optional.
    template <typename... Values>
    HVStatement& With(Values const&... values) {
        Begin();
        int place = 0;
        (Bind(++place, values), ...);
        return *this;
    }
    /// Begins anew with these values, and carries out a statement that has no rows.
    template <typename... Values>
    void Run(Values const&... values) {
        With(values...).Next();
    }
    /// Goes on to the next row. False after the last one, and after a failure, of which the database knows.
    bool Next();

    ///@{
    /// Of the current row, columns from 0; zero and empty for a null.
    std::int64_t Integer(int column) const;
    double Real(int column) const;
    std::string Text(int column) const;
    ///@}

private:
    void Begin();
    void Bind(int place, std::int64_t value);
    void Bind(int place, int value) { Bind(place, static_cast<std::int64_t>(value)); }
    void Bind(int place, bool value) { Bind(place, static_cast<std::int64_t>(value)); }
    void Bind(int place, double value);
    void Bind(int place, std::string_view value);
    /// Nothing is a null.
    template <typename Value>
    void Bind(int place, std::optional<Value> const& value) {
        if (value.has_value())
            Bind(place, *value);
        else
            BindNull(place);
    }
    void BindNull(int place);

    HVDatabase& database_;
    sqlite3_stmt* statement_ = nullptr;
};

class HVDatabase {
public:
    struct Terms {
        std::string what;               ///< what the user calls the file, such as "queue"
        std::int32_t applicationId = 0; ///< the mark of this use in the file; not 0
        std::vector<std::string>
            schema;                   ///< step i brings tables of version i to i + 1; steps are never changed
        bool readOnly = false;        ///< of a file that is there
        int busyMilliseconds = 10000; ///< how long to wait for another one that writes
    };

    /// Opens the file, makes it and its folder where they are missing. Empty on a failure, which `error`
    /// tells.
    static std::unique_ptr<HVDatabase> Open(std::string const& path, Terms terms,
                                            std::shared_ptr<IHVError const>& error);
    HVDatabase(HVDatabase const&) = delete;
    HVDatabase& operator=(HVDatabase const&) = delete;
    ~HVDatabase();

    /// What `work` changes is stored as a whole, on the disk by then, or not at all, and what it reads is of
    /// one moment. After a failure in it nothing is stored; the first one is the result, empty where there is
    /// none.
    std::shared_ptr<IHVError const> Transaction(std::function<void()> const& work);
    /// One or several statements without values and rows, within a transaction.
    void Run(std::string const& sql);
    /// Looks for damage in a table: reads all of it. Within a transaction.
    void Check(std::string const& table);
    /// Whether the transaction has failed: what it does from here on is lost.
    bool Failed() const { return failure_ != nullptr; }
    /// Makes the transaction fail by something that the caller has found in the file.
    void Damaged(std::string const& reason);
    std::string const& Path() const { return path_; }
    /// Of the tables: less than the latest one in a file that is only read.
    std::int64_t Version() const { return version_; }

private:
    friend class HVStatement;
    HVDatabase(std::string path, Terms terms) : path_(std::move(path)), terms_(std::move(terms)) {}
    bool Connect();
    void BringUp();
    std::int64_t Number(std::string const& sql);
    /// Keeps the failure that the result of a call into SQLite tells; true where it is none.
    bool Good(int result);
    void Fail(std::string const& doing, std::string const& reason, HVErrorKind kind);

    std::string const path_;
    Terms const terms_;
    sqlite3* connection_ = nullptr;
    std::int64_t version_ = 0;
    std::shared_ptr<IHVError const> failure_; ///< the first one of this transaction
};

} // namespace Halvorn
