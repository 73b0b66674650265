#include "HVDatabase.h"

#include "Child.h"
#include "Folder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <limits>

#include <sys/stat.h>

namespace Halvorn {
namespace {

using testing::HasSubstr;

std::string const kFirst = "CREATE TABLE notes (id INTEGER PRIMARY KEY, number, share, text)";
std::string const kSecond = "ALTER TABLE notes ADD COLUMN later DEFAULT 7";
constexpr std::int32_t kOurs = 77;

class HVDatabaseFile : public testing::Test {
protected:
    std::unique_ptr<HVDatabase> Open(std::vector<std::string> schema = {kFirst}, bool readOnly = false,
                                     std::int32_t mark = kOurs) {
        error_.reset();
        return HVDatabase::Open(path_, {"list", mark, std::move(schema), readOnly, 0}, error_);
    }
    static std::shared_ptr<IHVError const> Insert(HVDatabase& database, std::string const& text) {
        return database.Transaction([&] {
            HVStatement(database, "INSERT INTO notes (number, share, text) VALUES (?, ?, ?)")
                .Run(std::numeric_limits<std::int64_t>::min(), 0.1, text);
        });
    }
    static std::vector<std::string> Texts(HVDatabase& database) {
        std::vector<std::string> texts;
        auto const error = database.Transaction([&] {
            HVStatement rows(database, "SELECT number, share, text FROM notes ORDER BY id");
            while (rows.Next()) {
                EXPECT_EQ(rows.Integer(0), std::numeric_limits<std::int64_t>::min());
                EXPECT_EQ(rows.Real(1), 0.1);
                texts.push_back(rows.Text(2));
            }
        });
        EXPECT_EQ(error, nullptr);
        return texts;
    }

    Folder folder_;
    std::string const path_ = folder_ / "new/folders/list";
    std::shared_ptr<IHVError const> error_;
};

TEST_F(HVDatabaseFile, ATransactionIsKeptAsAWholeOrNotAtAll) {
    std::vector<std::string> const kept{std::string("a\0'\xC3\xA9", 5), "", "next"};
    mode_t const before = umask(0);
    auto database = Open();
    umask(before);
    ASSERT_NE(database, nullptr) << error_->GetErrorMessage();
    for (auto const& text : kept)
        EXPECT_EQ(Insert(*database, text), nullptr);
    for (char const* const end : {"", "-wal", "-shm"}) {
        struct stat info {};
        EXPECT_EQ(stat((path_ + end).c_str(), &info), 0) << end;
        EXPECT_EQ(info.st_mode & 0777, 0600U) << end;
    }
    error_ = database->Transaction([&] {
        database->Run("INSERT INTO notes (text) VALUES ('lost'); INSERT INTO missing VALUES (1)");
        database->Run("DELETE FROM notes");
    });
    ASSERT_NE(error_, nullptr);
    EXPECT_THAT(error_->GetErrorMessage(), HasSubstr("no such table: missing"));
    EXPECT_EQ(Texts(*database), kept);

    database->Transaction([&] { database->Run("PRAGMA max_page_count = 3"); });
    error_ = Insert(*database, std::string(100'000, 'x'));
    ASSERT_NE(error_, nullptr);
    EXPECT_EQ(error_->GetKind(), HVErrorKindDiskFull);
    EXPECT_EQ(Texts(*database), kept);

    auto const other = Open({kFirst}, true);
    ASSERT_NE(other, nullptr) << error_->GetErrorMessage();
    database->Transaction([&] {
        database->Run("DELETE FROM notes");
        EXPECT_EQ(Texts(*other), kept) << "a reader waits for the writer, or sees half of its work";
    });
    EXPECT_TRUE(Texts(*other).empty());
    EXPECT_NE(Insert(*other, "x"), nullptr);
    database.reset();

    InChild([&] {
        auto const theirs = Open();
        Insert(*theirs, "stored");
        theirs->Transaction([&] {
            theirs->Run("INSERT INTO notes (text) VALUES ('lost')");
            raise(SIGKILL);
        });
    });
    database = Open({kFirst, kSecond});
    ASSERT_NE(database, nullptr) << error_->GetErrorMessage();
    EXPECT_EQ(Texts(*database), std::vector<std::string>{"stored"});
    EXPECT_EQ(database->Transaction([&] { database->Run("SELECT later FROM notes"); }), nullptr);
}

TEST_F(HVDatabaseFile, WhatIsNotOursToReadIsLeftAsItIs) {
    auto database = Open({kFirst, kSecond});
    ASSERT_NE(database, nullptr);
    Insert(*database, std::string(50'000, 'x'));
    database.reset();
    std::string const whole = folder_.Get("new/folders/list");
    std::string torn = whole;
    torn.replace(4096, 3000, 3000, 'y');
    struct {
        std::string content;
        std::vector<std::string> schema;
        std::int32_t mark;
        char const* said;
    } const cases[] = {{whole, {kFirst}, kOurs, "newer version"},
                       {whole, {kFirst, kSecond}, kOurs + 1, "belongs to another program"},
                       {"# a text of the user's\n" + whole, {kFirst}, kOurs, "is damaged"},
                       {torn, {kFirst, kSecond}, kOurs, "is damaged"}};
    for (auto const& one : cases) {
        folder_.Put("new/folders/list", one.content);
        database = Open(one.schema, false, one.mark);
        if (database != nullptr)
            error_ = database->Transaction([&] { database->Check("notes"); });
        database.reset();
        ASSERT_NE(error_, nullptr) << one.said;
        EXPECT_THAT(error_->GetErrorMessage(), testing::AllOf(HasSubstr(one.said), HasSubstr(path_)));
        EXPECT_EQ(folder_.Get("new/folders/list"), one.content) << one.said;
    }
}

} // namespace
} // namespace Halvorn
