#include "HVFileSystem.h"
#include "HVTmpFolder.h"
#include "HVUtf8.h"
#include "IHVFileProvider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <set>
#include <sstream>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

void Put(fs::path const& path, std::string const& text) {
    std::ofstream(path, std::ios::binary) << text;
}
std::string Get(fs::path const& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}
std::size_t Count(fs::path const& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

/// A folder of the test's own, in a given parent.
class Folder {
public:
    explicit Folder(fs::path const& parent = fs::temp_directory_path())
        : path_(parent / IHVFileProvider::CreateRandomFileName("test", 12)) {
        fs::create_directories(path_);
    }
    ~Folder() { fs::remove_all(path_); }
    std::string operator/(std::string const& name) const { return path_ / name; }
    std::string Path() const { return path_; }

private:
    fs::path path_;
};

TEST(HVFileProvider, PathsAreTakenApartAndPutTogether) {
    struct Row {
        std::string input, withoutExtension, urlExtension;
    };
    for (auto const& row : std::vector<Row>{
             {"/a/b.mp4", "/a/b", "mp4"},
             {"/a.b/c", "/a.b/c", ""},
             {"/a/.hidden", "/a/.hidden", ""},
             {"/a/.hidden.txt", "/a/.hidden", "txt"},
             {"/a/..", "/a/..", ""},
             {"a.tar.gz", "a.tar", "gz"},
             {"name.", "name", ""},
             {"", "", ""},
             {"https://x.example/i.webp?w=1.5/2.png#a.b", "https://x.example/i.webp?w=1.5/2.png#a", "webp"},
             {"https://x.example", "https://x", ""},
             {"https://x.example/i.jpg;v=1.2", "https://x.example/i.jpg;v=1", "jpg"},
             {"https://x.example/i.j%2Fpg", "https://x.example/i", ""},
             {"https://x.example/i.jpg:large", "https://x.example/i", ""},
         }) {
        EXPECT_EQ(IHVFileProvider::RemovePathExtension(row.input), row.withoutExtension) << row.input;
        EXPECT_EQ(IHVFileProvider::URLExtension(row.input), row.urlExtension) << row.input;
    }
    for (auto const& [path, component, expected] :
         std::vector<std::array<std::string, 3>>{{"/a", "b", "/a/b"},
                                                 {"/a/", "b", "/a/b"},
                                                 {"/a/", "/b", "/a/b"},
                                                 {"/", "b", "/b"},
                                                 {"", "b", "b"}})
        EXPECT_EQ(IHVFileProvider::AppendPathComponent(path, component), expected);
    EXPECT_THAT(IHVFileProvider::CreateRandomFileName("mp4", 10),
                testing::MatchesRegex("[0-9a-z]{10}\\.mp4"));
    EXPECT_THAT(IHVFileProvider::CreateRandomFileName("", 10), testing::MatchesRegex("[0-9a-z]{10}"));
    EXPECT_TRUE(fs::is_directory(IHVFileProvider::GetModulePath("Reelhaul.framework")));
}

TEST(HVFileProvider, NamesBecomeLegalOnEverySystem) {
    struct Row {
        std::string input, expected;
    };
    for (auto const& row : std::vector<Row>{
             {"plain", "plain"},
             {"a/b\\c:d*e?f\"g<h>i|j", "a_b_c_d_e_f_g_h_i_j"},
             {"  .. hidden . ", "hidden"},
             {"\xE3\x80\x80wide\xC2\xA0", "wide"},
             {"two\r\nlines\xE2\x80\xA8three", "two  lines three"},
             {std::string("nul\0bell\a\x7F\xC2\x9F.", 12), "nulbell"},
             {"txt.\xE2\x80\xAE"
              "exe",
              "txt.exe"},
             {"bad \xFF\xC3( \xED\xA0\x80 \xC0\xAF", "bad \uFFFD\uFFFD( \uFFFD\uFFFD\uFFFD \uFFFD\uFFFD"},
             {"", "download"},
             {" ... ", "download"},
             {"CON", "_CON"},
             {"com1.tar.gz", "_com1.tar.gz"},
             {"Lpt\xC2\xB2", "_Lpt\xC2\xB2"},
             {"nul .txt", "_nul .txt"},
             {"COM12", "COM12"},
             {"console", "console"},
             {"\u65E5\u672C\u8A9E/\u984C", "\u65E5\u672C\u8A9E_\u984C"},
         }) {
        std::string const name = IHVFileProvider::MakeValidFilenameAtPath(row.input, "mp4", "/tmp");
        EXPECT_EQ(name, row.expected);
        EXPECT_EQ(IHVFileProvider::MakeValidFilenameAtPath(name, "mp4", "/tmp"), name) << "not idempotent";
    }
}

TEST(HVFileProvider, LongNamesAreCutBetweenCodePoints) {
    Folder const folder;
    for (std::string const& unit : {std::string("x"), std::string("\u00E9"), std::string("\u65E5"),
                                    std::string("\U0001F3AC"), std::string("a "), std::string(".b")}) {
        std::string title = "t";
        for (int i = 0; i < 300; ++i)
            title += unit;
        std::string const name = IHVFileProvider::MakeValidFilenameAtPath(title, "webm", folder.Path());
        EXPECT_GT(name.size(), 200U);
        EXPECT_EQ(EncodeUtf8(DecodeUtf8(name)), name);
        EXPECT_EQ(DecodeUtf8(name).find(U'\uFFFD'), std::u32string::npos);
        EXPECT_EQ(IHVFileProvider::MakeValidFilenameAtPath(name, "webm", folder.Path()), name);
        std::string const full = folder / (name + " (999999).zh-Hant-TW.webm.vtt");
        Put(full, "x");
        EXPECT_TRUE(fs::exists(full));
    }
    EXPECT_FALSE(IHVFileProvider::MakeValidFilenameAtPath("x", std::string(300, 'e'), "/tmp").empty());
}

TEST(HVFileProvider, UniqueNamesAreReservedUntilTheirMove) {
    Folder const folder;
    auto const unique = [&](std::string const& name) {
        return IHVFileProvider::CreateUniquePathFile(name, "mp4", folder.Path());
    };
    EXPECT_EQ(unique("a"), folder / "a.mp4");
    EXPECT_EQ(unique("A"), folder / "A (1).mp4") << "one file where case is ignored";
    Put(folder / "source", "new");
    EXPECT_TRUE(IHVFileProvider::MvFile(folder / "source", folder / "a.mp4", true)->Succeed());
    EXPECT_EQ(unique("a"), folder / "a (2).mp4") << "on the disk now";
    EXPECT_FALSE(IHVFileProvider::MvFile(folder / "missing", folder / "a (2).mp4", true)->Succeed());
    EXPECT_EQ(unique("a"), folder / "a (2).mp4") << "free again after the failure";
    fs::create_symlink("nowhere", folder / "link.mp4");
    EXPECT_EQ(unique("link"), folder / "link (1).mp4");
    EXPECT_EQ(IHVFileProvider::CreateUniquePathFile("plain", "", folder.Path()), folder / "plain");
    EXPECT_EQ(IHVFileProvider::CreateUniquePathFile("", "mp4", folder.Path()), "");
    EXPECT_EQ(IHVFileProvider::CreateUniquePathFile("a", "mp4", ""), "");
}

TEST(HVFileProvider, ManyThreadsNeverShareAName) {
    Folder const folder;
    std::array<std::future<void>, 8> workers;
    for (std::size_t worker = 0; worker < workers.size(); ++worker)
        workers[worker] = std::async(std::launch::async, [&, worker] {
            for (int i = 0; i < 25; ++i) {
                std::string const source = folder / (std::to_string(worker) + "_" + std::to_string(i));
                Put(source, "x");
                std::string const target =
                    IHVFileProvider::CreateUniquePathFile("same", "mp4", folder.Path());
                EXPECT_TRUE(IHVFileProvider::MvFile(source, target, true)->Succeed());
            }
        });
    for (auto& worker : workers)
        worker.get();
    EXPECT_EQ(Count(folder.Path()), 200U) << "a move has overwritten another one's file";
}

TEST(HVFileProvider, MovesAndCopiesInsideAndAcrossFileSystems) {
    Folder const here;
    for (fs::path const& parent : {fs::temp_directory_path(), fs::path("/dev/shm")}) {
        if (!fs::exists(parent))
            continue;
        Folder const there(parent);
        std::string const text(3'000'000, 'm');
        Put(here / "a", text);
        fs::permissions(here / "a", fs::perms(0750));
        auto const time = fs::last_write_time(here / "a") - std::chrono::hours(100);
        fs::last_write_time(here / "a", time);
        fs::create_symlink("a", here / "link");
        EXPECT_TRUE(IHVFileProvider::CpFile(here / "link", there / "copy", false)->Succeed());
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(there / "copy"))) << "links are followed";
        EXPECT_EQ(fs::status(there / "copy").permissions(), fs::perms(0750));
        EXPECT_TRUE(IHVFileProvider::MvFile(here / "a", there / "moved", false)->Succeed());
        EXPECT_FALSE(fs::exists(here / "a"));
        EXPECT_EQ(Get(there / "moved"), text);
        EXPECT_LT(fs::last_write_time(there / "moved") - time, std::chrono::seconds(1));

        Put(here / "b", "b");
        for (auto* const operation : {&IHVFileProvider::MvFile, &IHVFileProvider::CpFile}) {
            auto const refused = operation(here / "b", there / "moved", false);
            EXPECT_THAT(refused->GetErrorMessage(), HasSubstr("the name is taken"));
        }
        EXPECT_EQ(Get(there / "moved"), text);
        EXPECT_TRUE(IHVFileProvider::CpFile(here / "b", there / "copy", true)->Succeed());
        EXPECT_TRUE(IHVFileProvider::MvFile(here / "b", there / "moved", true)->Succeed());
        EXPECT_EQ(Get(there / "moved") + Get(there / "copy"), "bb");
        EXPECT_EQ(Count(there.Path()), 2U) << "a temporary file was left";
        fs::remove(here / "link");
    }
}

TEST(HVFileProvider, FailedMovesSayWhyAndLoseNothing) {
    Folder const folder;
    Put(folder / "file", "content");
    fs::create_directory(folder / "folder");
    struct Row {
        std::string source, target, reason;
    };
    for (auto const& row : std::vector<Row>{
             {folder / "absent", folder / "x", "the file does not exist."},
             {folder / "file", folder / "gone/x", "the folder does not exist."},
             {folder / "file", folder / "file/x", "what should be a folder is a file."},
             {folder / "file", folder / "folder", "a folder is in the place of the file."},
             {folder / "file", "", "no target is named."},
             {folder / "file", "/dev/null", "a device is in the place of the file."},
             {folder / "file", folder / std::string(300, 'n'), "the name is too long."},
             {folder / "file", "/proc/x", ""},
         }) {
        for (auto* const operation : {&IHVFileProvider::MvFile, &IHVFileProvider::CpFile}) {
            auto const error = operation(row.source, row.target, true);
            EXPECT_EQ(error->GetErrorCode(), HVErrorCodeIO) << row.target;
            EXPECT_EQ(error->GetErrorTitle(), "IO Error");
            EXPECT_THAT(error->GetErrorMessage(),
                        HasSubstr("\"" + row.source + "\" to \"" + row.target + "\": "));
            EXPECT_THAT(error->GetErrorMessage(), HasSubstr(row.reason));
            EXPECT_EQ(error->GetErrorMessage().find("The file stays at") != std::string::npos,
                      fs::exists(row.source));
        }
    }
    EXPECT_EQ(Get(folder / "file"), "content");
    EXPECT_EQ(Count(folder.Path()), 2U);
}

/// Runs the function in a child process that ends normally, or is killed, after it; what it returns goes to
/// the parent.
std::string InChild(bool kill, std::function<std::string()> const& function) {
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    pid_t const child = fork();
    if (child == 0) {
        std::string const text = function();
        bool const written = write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        if (kill || !written)
            raise(SIGKILL);
        std::exit(0);
    }
    close(ends[1]);
    std::string text(4096, '\0');
    ssize_t const length = read(ends[0], text.data(), text.size());
    close(ends[0]);
    waitpid(child, nullptr, 0);
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}

TEST(HVFileProvider, TheTemporaryFolderIsPrivateAndEndsWithTheProcess) {
    std::string const mine = IHVFileProvider::GetTmpPath();
    struct stat info {};
    ASSERT_EQ(stat(mine.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0700U);
    EXPECT_EQ(IHVFileProvider::GetTmpPath(), mine);
    Put(mine + "/stay", "x");

    // A forked process has a folder of its own and leaves its parent's alone.
    std::string const forked = InChild(false, [] {
        std::string path = IHVFileProvider::GetTmpPath();
        Put(path + "/part", "x");
        return path;
    });
    EXPECT_NE(forked, mine);
    EXPECT_FALSE(fs::exists(forked));
    EXPECT_TRUE(fs::exists(mine + "/stay"));

    std::string const kept = InChild(false, [] {
        std::string path = IHVFileProvider::GetTmpPath();
        Put(path + "/finished", "x");
        Put(path + "/part", "x");
        IHVFileProvider::KeepTmpFile(path + "/finished");
        return path;
    });
    EXPECT_EQ(Get(kept + "/finished"), "x");
    EXPECT_FALSE(fs::exists(kept + "/part"));
    RemoveDeadTmpFolders(fs::path(kept).parent_path());
    EXPECT_TRUE(fs::exists(kept + "/finished")) << "a later start has removed a finished file";
    fs::remove_all(kept);

    fs::remove_all(mine);
    std::string const next = IHVFileProvider::GetTmpPath();
    EXPECT_NE(next, mine) << "a folder that vanished is replaced";
    EXPECT_TRUE(fs::is_directory(next));
}

TEST(HVFileProvider, RemovingATemporaryStemLeavesTheRest) {
    std::string const folder = IHVFileProvider::GetTmpPath();
    for (auto const* name : {"stem.mp4", "stem.f140.m4a.part", "stemkeep.mp4", "steady.mp4", "other"})
        Put(folder + "/" + name, "x");
    fs::create_directories(folder + "/stem-frags/deep");
    fs::create_symlink(folder + "/other", folder + "/stem-link");
    Put(folder + "/stem.done", "x");
    IHVFileProvider::KeepTmpFile(folder + "/stem.done");
    IHVFileProvider::RemoveTmpFiles("", "");
    IHVFileProvider::RemoveTmpFiles("stem", folder + "/stemkeep.mp4");
    std::set<std::string> left;
    for (auto const& entry : fs::directory_iterator(folder))
        if (std::string const name = entry.path().filename(); name[0] != '.')
            left.insert(name);
    EXPECT_THAT(left, testing::ElementsAre("other", "steady.mp4", "stem.done", "stemkeep.mp4"));
    fs::remove(folder + "/stem.done");
}

TEST(HVFileProvider, ALaterStartRemovesOnlyWhatAKilledOneLeft) {
    Folder const parent;
    auto const make = [&] {
        HVTmpFolder folder;
        EXPECT_TRUE(folder.Make(parent.Path()));
        Put(folder.Path() + "/part", "x");
        return folder.Path();
    };
    std::string const dead = InChild(true, make);
    std::string const kept = InChild(true, [&] {
        HVTmpFolder folder;
        folder.Make(parent.Path());
        Put(folder.Path() + "/finished", "x");
        folder.Keep("finished");
        return folder.Path();
    });
    std::string const opened = InChild(true, make);
    fs::permissions(opened, fs::perms(0755));
    HVTmpFolder alive;
    ASSERT_TRUE(alive.Make(parent.Path()));
    // What others made to look like ours: no lock, a link as the lock, a link as the folder.
    fs::create_directory(parent / "reelhaul-nolock");
    fs::permissions(parent / "reelhaul-nolock", fs::perms(0700));
    fs::create_directories(parent / "reelhaul-linkedlock");
    fs::permissions(parent / "reelhaul-linkedlock", fs::perms(0700));
    fs::create_symlink("/etc/hostname", parent / "reelhaul-linkedlock/.reelhaul-lock");
    fs::create_directory(parent / "precious");
    Put(parent / "precious/.reelhaul-lock", "");
    fs::permissions(parent / "precious", fs::perms(0700));
    fs::create_symlink(parent / "precious", parent / "reelhaul-link");
    fs::create_symlink(parent / "precious", dead + "/link");

    RemoveDeadTmpFolders(parent.Path());
    EXPECT_FALSE(fs::exists(dead));
    for (auto const& path : {kept + "/finished", opened + "/part", alive.Path(), parent / "reelhaul-nolock",
                             parent / "reelhaul-linkedlock", parent / "precious/.reelhaul-lock"})
        EXPECT_TRUE(fs::exists(path)) << path;
    std::string const ended = alive.Path();
    alive.End();
    EXPECT_FALSE(fs::exists(ended));
}

} // namespace
} // namespace Halvorn
