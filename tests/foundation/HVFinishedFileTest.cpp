#include "HVFinishedFile.h"

#include "Child.h"
#include "Folder.h"
#include "HVAtomicFile.h"
#include "HVFileMove.h"
#include "HVTmpFolder.h"

#include <gmock/gmock.h>

#include <chrono>
#include <ctime>
#include <functional>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;

/// Another file system than that of the temporary folder; the same one where there is no other.
fs::path OtherDisk() {
    return fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
}

std::string Names(Folder const& folder) {
    std::set<std::string> names;
    for (auto const& entry : fs::directory_iterator(folder.Path()))
        names.insert(entry.path().filename());
    std::string text;
    for (auto const& name : names)
        text += name + "|";
    return text;
}

/// A download of the process that is on its way to a folder.
HVFinishedFile Finished(std::string const& folder, std::string const& text = "film") {
    HVFinishedFile file;
    file.path = IHVFileProvider::GetTmpPath() + "/" + IHVFileProvider::CreateRandomFileName("mp4", 10);
    std::ofstream(file.path) << text;
    file.folder = folder;
    file.name = "Film";
    file.extension = "mp4";
    return file;
}

HVFinishedFile WithSide(HVFinishedFile file) {
    for (std::string const extension : {"en.srt", "fr.vtt"}) {
        file.sides.push_back({IHVFileProvider::RemovePathExtension(file.path) + "." + extension, extension});
        std::ofstream(file.sides.back().path) << "words";
    }
    return file;
}

TEST(HVFinishedFile, GetsANameThatIsFreeForAllThatGoesWithIt) {
    for (auto const& parent : {fs::temp_directory_path(), OtherDisk()}) {
        Folder const folder(parent);
        folder.Put("Film.en.srt", "the user's own");
        EXPECT_EQ(PlaceFinishedFile(WithSide(Finished(folder.Path()))).target, folder / "Film (1).mp4");
        EXPECT_EQ(PlaceFinishedFile(Finished(folder.Path())).target, folder / "Film.mp4");
        folder.Put("Film (2).mp4", "the user's own");
        EXPECT_EQ(PlaceFinishedFile(WithSide(Finished(folder.Path()))).sides.at(1),
                  folder / "Film (3).fr.vtt");
        EXPECT_EQ(Names(folder), "Film (1).en.srt|Film (1).fr.vtt|Film (1).mp4|Film (2).mp4|Film "
                                 "(3).en.srt|Film (3).fr.vtt|Film (3).mp4|"
                                 "Film.en.srt|Film.mp4|");
        EXPECT_EQ(folder.Get("Film.en.srt") + folder.Get("Film (2).mp4"), "the user's ownthe user's own");
        EXPECT_EQ(folder.Get("Film (1).mp4") + folder.Get("Film (3).en.srt"), "filmwords");
    }
}

TEST(HVFinishedFile, TwoProcessesNeverShareAName) {
    Folder const folder(OtherDisk());
    Folder const links;
    fs::create_directory_symlink(folder.Path(), links / "way");
    constexpr int kFiles = 60;
    auto const place = [&](std::string const& to) {
        for (int i = 0; i < kFiles; ++i)
            EXPECT_TRUE(PlaceFinishedFile(Finished(to)).failure.empty());
    };
    auto const begin = folder / "begin";
    std::vector<pid_t> children;
    for (auto const& to : {folder.Path(), links / "way"}) {
        children.push_back(Fork());
        if (children.back() == 0) {
            while (!fs::exists(begin))
                std::this_thread::yield();
            place(to);
            std::exit(0);
        }
    }
    folder.Put("begin", "");
    for (pid_t const child : children)
        waitpid(child, nullptr, 0);
    EXPECT_EQ(folder.Count(), 2 * kFiles + 1) << "a file has replaced another one";
}

/// What becomes of a file whose process ends in the middle of its copy to another file system.
class FileOnItsWay : public testing::Test {
protected:
    FileOnItsWay() { setenv("TMPDIR", from_.Path().c_str(), 1); }
    ~FileOnItsWay() override { unsetenv("TMPDIR"); }

    HVFinishedFile Large(std::uintmax_t size) const {
        auto file = WithSide(Finished(to_.Path()));
        fs::resize_file(file.path, size);
        return file;
    }

    Folder const from_;
    Folder const to_{OtherDisk()};
};

TEST_F(FileOnItsWay, IsTakenHomeByALaterStartAfterAKill) {
    constexpr std::uintmax_t kSize = 4 << 20;
    InChild([&] {
        auto const file = Large(kSize);
        // The system kills the process when it writes beyond this.
        rlimit const limits[] = {{0, 0}, {kSize / 2, kSize / 2}};
        setrlimit(RLIMIT_CORE, &limits[0]);
        setrlimit(RLIMIT_FSIZE, &limits[1]);
        PlaceFinishedFile(file);
    });
    std::string part = Names(to_);
    ASSERT_THAT(part, testing::MatchesRegex("\\.reelhaul-............\\.part\\|"));
    part.pop_back();

    RemoveDeadTmpFolders(from_.Path());
    EXPECT_EQ(Names(to_), part + "|Film.en.srt|Film.fr.vtt|Film.mp4|");
    EXPECT_EQ(fs::file_size(to_ / "Film.mp4"), kSize);
    EXPECT_EQ(from_.Count(), 0);

    // The next use of the folder removes the half copy, but none that may be in use, and nothing else.
    to_.Put(".reelhaul-mine.part", "");
    to_.Put(".reelhaul-0123456789ab.part", "");
    fs::permissions(to_.Put(".reelhaul-ba9876543210.part", ""), fs::perms::owner_all);
    for (auto const& name :
         {part, std::string(".reelhaul-ba9876543210.part"), std::string(".reelhaul-mine.part")})
        fs::last_write_time(to_ / name, fs::file_time_type::clock::now() - std::chrono::hours(1));
    HVAtomicFile used(to_ / "used");
    EXPECT_EQ(used.Open(), 0);
    timespec const hourAgo[2] = {{0, UTIME_OMIT}, {std::time(nullptr) - 3600, 0}};
    EXPECT_EQ(futimens(used.Descriptor(), hourAgo), 0);
    EXPECT_TRUE(PutIntoFolder(Finished(to_.Path())).failure.empty());
    EXPECT_EQ(used.Commit(true), 0) << "it was removed while it was written";
    EXPECT_EQ(Names(to_), ".reelhaul-0123456789ab.part|.reelhaul-ba9876543210.part|.reelhaul-mine.part|"
                          "Film (1).mp4|Film.en.srt|Film.fr.vtt|Film.mp4|used|");
}

TEST_F(FileOnItsWay, IsWaitedForByANormalEnd) {
    constexpr std::uintmax_t kSize = 48 << 20;
    InChild([&] {
        std::thread([file = Large(kSize)] { PlaceFinishedFile(file); }).detach();
        while (Names(to_).empty())
            std::this_thread::yield();
    });
    EXPECT_EQ(Names(to_), "Film.en.srt|Film.fr.vtt|Film.mp4|");
    EXPECT_EQ(fs::file_size(to_ / "Film.mp4"), kSize);
    EXPECT_EQ(from_.Count(), 0);
}

TEST_F(FileOnItsWay, IsSparedWhenTheEndCanWaitNoLonger) {
    InChild([&] {
        EndFileMoves(std::chrono::milliseconds(0));
        PlaceFinishedFile(Large(4 << 20));
    });
    EXPECT_EQ(Names(to_), "") << "half a copy is left";
    ASSERT_EQ(from_.Count(), 1);
    RemoveDeadTmpFolders(from_.Path());
    EXPECT_EQ(Names(to_), "Film.en.srt|Film.fr.vtt|Film.mp4|");
    EXPECT_EQ(from_.Count(), 0);
}

TEST_F(FileOnItsWay, StaysWhereAnErrorSaysThatItIs) {
    std::string const gone = to_ / "gone";
    InChild([&] {
        auto const file = WithSide(Finished(gone));
        to_.Put("error", PlaceFinishedFile(file).failure);
    });
    std::string const error = to_.Get("error");
    std::string const path =
        error.substr(error.find("stays at \"") + 10, error.rfind('"') - error.find("stays at \"") - 10);
    fs::create_directory(gone);
    for (int start = 0; start < 2; ++start) {
        EXPECT_TRUE(fs::exists(path)) << error;
        RemoveDeadTmpFolders(from_.Path());
    }
    EXPECT_TRUE(fs::is_empty(gone));
    fs::remove(path);
    RemoveDeadTmpFolders(from_.Path());
    EXPECT_EQ(from_.Count(), 0) << "the folder is kept for a file that the user has taken";
}

} // namespace
} // namespace Halvorn
