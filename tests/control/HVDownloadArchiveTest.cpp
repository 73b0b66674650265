#include "IHVDownloadArchive.h"

#include "Folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

namespace Halvorn {
namespace {

TEST(DownloadArchive, LosesNothingThatSeveralAddAtOnce) {
    constexpr int kWriters = 4;
    constexpr int kAdded = 25;
    Folder const folder;
    for (char const* const name : {"a.txt", "a.db"}) {
        auto const reader = IHVDownloadArchive::MallocDownloadArchive(folder / name);
        std::vector<std::thread> threads;
        for (int writer = 0; writer < kWriters; ++writer)
            threads.emplace_back([&, writer] { // an object of its own, as another process has
                auto const archive = IHVDownloadArchive::MallocDownloadArchive(folder / name);
                for (int i = 0; i < kAdded; ++i) {
                    auto const own = "x " + std::to_string(writer) + "-" + std::to_string(i);
                    EXPECT_TRUE(archive->AddAll({own, "x shared" + std::to_string(i)})->Succeed());
                    EXPECT_TRUE(reader->ContainsAny({"y", own})) << name;
                }
            });
        for (auto& thread : threads)
            thread.join();
        EXPECT_EQ(reader->Count(), kWriters * kAdded + kAdded) << name;
    }
    std::string const text = folder.Get("a.txt");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), kWriters * kAdded + kAdded);
}

TEST(DownloadArchive, FollowsATextThatOthersWrite) {
    Folder const folder;
    std::string const path = folder.Put("a", "\r\n  x 1 \r\n\nx 2");
    auto const archive = IHVDownloadArchive::MallocDownloadArchive(path);
    auto const holds = [&archive] {
        std::string found;
        for (char const c : std::string("123456"))
            found += archive->ContainsAny({std::string("x ") + c}) ? c : '.';
        return found;
    };
    EXPECT_EQ(holds(), "12....");
    folder.Put("a", "\r\n  x 1 \r\n\nx 24\nx 3"); // "x 2" was half a line
    EXPECT_EQ(holds(), "123...");
    EXPECT_TRUE(archive->AddAll({"x 4", "x 3"})->Succeed());
    EXPECT_EQ(folder.Get("a"), "\r\n  x 1 \r\n\nx 24\nx 3\nx 4\n");
    folder.Put("b", "x 5\n");
    std::filesystem::rename(folder / "b", path);
    EXPECT_EQ(holds(), "....5.");
    std::filesystem::remove(path);
    EXPECT_EQ(holds(), "......");
    EXPECT_TRUE(archive->AddAll({"x 6"})->Succeed());
    EXPECT_EQ(folder.Get("a"), "x 6\n");
}

} // namespace
} // namespace Halvorn
