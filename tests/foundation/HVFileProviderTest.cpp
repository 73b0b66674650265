#include "Child.h"
#include "Folder.h"
#include "HVFileMove.h"
#include "HVFileSystem.h"
#include "HVRename.h"
#include "HVTmpFolder.h"
#include "HVUtf8.h"
#include "Text.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <csignal>
#include <future>
#include <set>
#include <thread>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

void Put(std::string const& path) {
    std::ofstream(path) << "x";
}

TEST(HVFileProvider, PathsAreTakenApartAndPutTogether) {
    for (auto const& [path, expected] :
         Rows{{"/a/b.mp4", "/a/b|mp4"},
              {"/a.b/c", "/a.b/c|"},
              {"/a/.hidden", "/a/.hidden|"},
              {"/a/..", "/a/..|"},
              {"a.tar.gz", "a.tar|gz"},
              {"", "|"},
              {"https://h.x/i.webp?w=1.5/2.png#a.b", "https://h.x/i.webp?w=1.5/2.png#a|webp"},
              {"https://x.example", "https://x|"},
              {"https://h.x/i.jpg;v=1.2", "https://h.x/i.jpg;v=1|jpg"},
              {"https://h.x/i.jpg:large", "https://h.x/i|"}})
        EXPECT_EQ(Text(IHVFileProvider::RemovePathExtension(path), IHVFileProvider::URLExtension(path)),
                  expected);
    EXPECT_EQ(IHVFileProvider::AppendPathComponent("/a/", "/b"), "/a/b");
}

TEST(HVFileProvider, NamesBecomeLegalOnEverySystem) {
    for (auto const& [input, expected] : Rows{
             {"a/b\\c:d*e?f\"g<h>i|j", "a_b_c_d_e_f_g_h_i_j"},
             {"  .. hidden . ", "hidden"},
             {"\xE3\x80\x80wide\xC2\xA0", "wide"},
             {"two\r\nlines\xE2\x80\xA8three", "two  lines three"},
             {std::string("nul\0bell\a\x7F\xC2\x9F.", 12), "nulbell"},
             {"txt.\xE2\x80\xAE"
              "exe",
              "txt.exe"},
             {"bad \xFF\xC3( \xED\xA0\x80 \xC0\xAF", "bad \uFFFD\uFFFD( \uFFFD\uFFFD\uFFFD \uFFFD\uFFFD"},
             {" ... ", "download"},
             {"com1.tar.gz", "_com1.tar.gz"},
             {"Lpt\xC2\xB2", "_Lpt\xC2\xB2"},
             {"nul .txt", "_nul .txt"},
             {"COM12", "COM12"},
         })
        EXPECT_EQ(IHVFileProvider::MakeValidFilenameAtPath(input, "mp4", "/tmp"), expected);
    for (auto const& [input, expected] : Rows{
             {"zh-Hant-TW.vtt", "zh-Hant-TW.vtt"},
             {"a/b.vtt", "a_b.vtt"},
             {"../..s.v/t*t", "_..s.vtt"},
             {"\x1B[2J\xE2\x80\xAE"
              "fr.srt",
              "[2Jfr.srt"},
             {std::string(300, 'l') + ".vtt", std::string(24, 'l') + ".vtt"},
             {".vtt", "vtt"},
         })
        EXPECT_EQ(LegalSideExtension(input), expected);
}

TEST(HVFileProvider, LongNamesAreCutBetweenCodePoints) {
    Folder const folder;
    for (char const* const unit : {"x", "\u00E9", "\u65E5", "\U0001F3AC", "a ", ".b"}) {
        std::string title = "t";
        for (int i = 0; i < 300; ++i)
            title += unit;
        std::string const name = IHVFileProvider::MakeValidFilenameAtPath(title, "webm", folder.Path());
        EXPECT_GT(name.size(), 200U);
        EXPECT_EQ(DecodeUtf8(name).find(U'\uFFFD'), std::u32string::npos);
        EXPECT_TRUE(fs::exists(folder.Put(name + " (999999).zh-Hant-TW.webm.vtt", "x")));
    }
}

TEST(HVFileProvider, UniqueNamesAreReservedUntilTheirMove) {
    Folder const folder;
    auto const unique = [&](std::string const& name) {
        return IHVFileProvider::CreateUniquePathFile(name, "mp4", folder.Path());
    };
    EXPECT_EQ(unique("a"), folder / "a.mp4");
    EXPECT_EQ(unique("A"), folder / "A (1).mp4") << "one file where case is ignored";
    folder.Put("source", "new");
    EXPECT_TRUE(IHVFileProvider::MvFile(folder / "source", folder / "a.mp4", true)->Succeed());
    EXPECT_EQ(unique("a"), folder / "a (2).mp4") << "on the disk now";
    EXPECT_FALSE(IHVFileProvider::MvFile(folder / "missing", folder / "a (2).mp4", true)->Succeed());
    EXPECT_EQ(unique("a"), folder / "a (2).mp4") << "free again after the failure";
    fs::create_symlink("nowhere", folder / "link.mp4");
    EXPECT_EQ(unique("link"), folder / "link (1).mp4");
    Folder const other;
    fs::create_directory_symlink(folder.Path(), other / "way");
    EXPECT_EQ(IHVFileProvider::CreateUniquePathFile("a", "mp4", other / "way"), other / "way/a (3).mp4")
        << "one folder by two paths";
}

TEST(HVFileProvider, ManyThreadsNeverShareAName) {
    Folder const folder;
    std::array<std::future<void>, 8> workers;
    for (std::size_t worker = 0; worker < workers.size(); ++worker)
        workers[worker] = std::async(std::launch::async, [&, worker] {
            for (int i = 0; i < 25; ++i) {
                std::string const source = folder.Put(std::to_string(worker) + "_" + std::to_string(i), "x");
                std::string const target =
                    IHVFileProvider::CreateUniquePathFile("same", "mp4", folder.Path());
                EXPECT_TRUE(IHVFileProvider::MvFile(source, target, true)->Succeed());
            }
        });
    for (auto& worker : workers)
        worker.get();
    EXPECT_EQ(folder.Count(), 200) << "a move has overwritten another one's file";
}

TEST(HVFileProvider, MovesAndCopiesInsideAndAcrossFileSystems) {
    for (fs::path const& parent : {fs::temp_directory_path(), fs::path("/dev/shm")}) {
        if (!fs::exists(parent))
            continue;
        Folder const here;
        Folder const there(parent);
        std::string const text(3'000'000, 'm');
        here.Put("a", text);
        fs::permissions(here / "a", fs::perms(0750));
        auto const time = fs::last_write_time(here / "a") - std::chrono::hours(100);
        fs::last_write_time(here / "a", time);
        fs::create_symlink("a", here / "link");
        EXPECT_TRUE(IHVFileProvider::CpFile(here / "link", there / "copy", false)->Succeed());
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(there / "copy"))) << "links are followed";
        EXPECT_EQ(fs::status(there / "copy").permissions(), fs::perms(0750));
        EXPECT_TRUE(IHVFileProvider::MvFile(here / "a", there / "moved", false)->Succeed());
        EXPECT_FALSE(fs::exists(here / "a"));
        EXPECT_EQ(there.Get("moved"), text);
        EXPECT_TRUE(fs::last_write_time(there / "moved") - time < std::chrono::seconds(1));

        here.Put("b", "b");
        for (auto* const operation : {&IHVFileProvider::MvFile, &IHVFileProvider::CpFile})
            EXPECT_THAT(operation(here / "b", there / "moved", false)->GetErrorMessage(),
                        HasSubstr("the name is taken"));
        EXPECT_EQ(there.Get("moved"), text);
        EXPECT_TRUE(IHVFileProvider::CpFile(here / "b", there / "copy", true)->Succeed());
        EXPECT_TRUE(IHVFileProvider::MvFile(here / "b", there / "moved", true)->Succeed());
        EXPECT_EQ(there.Get("moved") + there.Get("copy"), "bb");
        EXPECT_EQ(there.Count(), 2) << "a temporary file was left";
    }
}

TEST(HVFileProvider, ARenameReplacesNothingUnlessItIsTo) {
    Folder const folder;
    for (auto* const rename : {&RenameExclusive, &RenameByLink, &RenameOntoPlaceholder}) {
        folder.Put("new", "new");
        folder.Put("old", "old");
        fs::create_symlink("nowhere", folder / "link");
        for (auto const* taken : {"old", "link"})
            EXPECT_EQ(rename(folder / "new", folder / taken), EEXIST);
        EXPECT_EQ(rename(folder / "missing", folder / "free"), ENOENT);
        EXPECT_EQ(rename(folder / "new", folder / "free"), 0);
        EXPECT_EQ(folder.Get("free") + folder.Get("old"), "newold");
        EXPECT_EQ(folder.Count(), 3) << "the first name or a placeholder is left";
        fs::remove(folder / "free");
        fs::remove(folder / "link");
    }
    fs::create_hard_link(folder / "old", folder / "twin");
    EXPECT_TRUE(IHVFileProvider::MvFile(folder / "old", folder / "old", true)->Succeed());
    EXPECT_TRUE(IHVFileProvider::MvFile(folder / "old", folder / "twin", true)->Succeed());
    EXPECT_EQ(folder.Get("twin"), "old");
    EXPECT_EQ(folder.Count(), 1) << "a move onto another name of the same file leaves the first one";
}

TEST(HVFileProvider, FailedMovesSayWhyAndLoseNothing) {
    Folder const folder;
    folder.Put("file", "content");
    fs::create_directory(folder / "folder");
    for (auto const& [target, reason] : Rows{
             {folder / "gone/x", "the folder does not exist."},
             {folder / "folder", "a folder is in the place of the file."},
             {"/dev/null", "a device is in the place of the file."},
             {folder / std::string(300, 'n'), "the name is too long."},
             {"/proc/x", ""},
         }) {
        for (auto* const operation : {&IHVFileProvider::MvFile, &IHVFileProvider::CpFile}) {
            auto const error = operation(folder / "file", target, true);
            EXPECT_EQ(Text(error->GetErrorCode(), error->GetErrorTitle()), Text(HVErrorCodeIO, "IO Error"));
            EXPECT_THAT(error->GetErrorMessage(),
                        AllOf(HasSubstr("/file\" to \"" + target + "\": "), HasSubstr(reason)));
            EXPECT_EQ(error->GetErrorMessage().find("The file stays at") != std::string::npos,
                      operation == &IHVFileProvider::MvFile);
        }
    }
    EXPECT_EQ(folder.Get("file"), "content");
    EXPECT_EQ(folder.Count(), 2);
}

/// What the function returns in a process of its own, which ends normally or is killed after it.
std::string FromChild(bool kill, std::function<std::string()> const& function) {
    Folder const folder;
    InChild([&] {
        folder.Put("answer", function());
        if (kill)
            raise(SIGKILL);
    });
    return folder.Get("answer");
}

TEST(HVFileProvider, TheTemporaryFolderIsPrivateAndEndsWithTheProcess) {
    std::string const mine = IHVFileProvider::GetTmpPath();
    EXPECT_EQ(fs::status(mine).permissions(), fs::perms::owner_all);
    Put(mine + "/stay");

    // A forked process has a folder of its own and leaves its parent's alone.
    std::string const kept = FromChild(false, [] {
        std::string path = IHVFileProvider::GetTmpPath();
        Put(path + "/finished");
        Put(path + "/part");
        IHVFileProvider::KeepTmpFile(path + "/finished");
        return path;
    });
    EXPECT_NE(kept, mine);
    EXPECT_TRUE(fs::exists(mine + "/stay"));
    EXPECT_TRUE(fs::exists(kept + "/finished"));
    EXPECT_FALSE(fs::exists(kept + "/part"));
    RemoveDeadTmpFolders(fs::path(kept).parent_path());
    EXPECT_TRUE(fs::exists(kept + "/finished")) << "a later start has removed a finished file";
    fs::remove_all(kept);

    fs::remove_all(mine);
    EXPECT_TRUE(fs::is_directory(IHVFileProvider::GetTmpPath())) << "a folder that vanished is replaced";
}

TEST(HVFileProvider, RemovingATemporaryStemLeavesTheRest) {
    std::string const folder = IHVFileProvider::GetTmpPath();
    for (auto const* name : {"stem.f140.m4a.part", "stem.done", "steady.mp4", "other"})
        Put(folder + "/" + name);
    fs::create_directories(folder + "/stem-frags/deep");
    fs::create_symlink(folder + "/other", folder + "/stem-link");
    IHVFileProvider::KeepTmpFile(folder + "/stem.done");
    IHVFileProvider::RemoveTmpFiles("");
    IHVFileProvider::RemoveTmpFiles("stem");
    std::set<std::string> left;
    for (auto const& entry : fs::directory_iterator(folder))
        if (std::string const name = entry.path().filename(); name[0] != '.')
            left.insert(name);
    EXPECT_THAT(left, testing::ElementsAre("other", "steady.mp4", "stem.done"));
    fs::remove(folder + "/stem.done");
}

TEST(HVFileProvider, ALaterStartRemovesOnlyWhatAKilledOneLeft) {
    Folder const parent;
    auto const killed = [&](char const* keep) {
        return FromChild(true, [&] {
            HVTmpFolder folder;
            EXPECT_TRUE(folder.Make(parent.Path()));
            Put(folder.Path() + "/file");
            folder.Keep(keep);
            return folder.Path();
        });
    };
    std::string const dead = killed("");
    std::string const kept = killed("file");
    std::string const opened = killed("");
    fs::permissions(opened, fs::perms(0755));
    HVTmpFolder alive;
    ASSERT_TRUE(alive.Make(parent.Path()));
    // What others made to look like ours: no lock, a link as the lock, a link as the folder.
    for (auto const* name : {"reelhaul-nolock", "reelhaul-linkedlock", "precious"}) {
        fs::create_directory(parent / name);
        fs::permissions(parent / name, fs::perms(0700));
    }
    fs::create_symlink("/etc/hostname", parent / "reelhaul-linkedlock/.reelhaul-lock");
    Put(parent / "precious/.reelhaul-lock");
    fs::create_symlink(parent / "precious", parent / "reelhaul-link");
    fs::create_symlink(parent / "precious", dead + "/link");

    // A forked copy that lives longer holds nothing of the folder.
    setenv("TMPDIR", parent.Path().c_str(), 1);
    std::string const forked = FromChild(true, [&] {
        std::string path = IHVFileProvider::GetTmpPath();
        if (Fork() == 0) {
            Put(parent / "copy");
            while (fs::exists(path))
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            _exit(0);
        }
        EXPECT_TRUE(Eventually([&] { return fs::exists(parent / "copy"); }));
        return path;
    });
    unsetenv("TMPDIR");

    RemoveDeadTmpFolders(parent.Path());
    EXPECT_FALSE(fs::exists(dead));
    EXPECT_FALSE(fs::exists(forked));
    for (auto const& path : {kept + "/file", opened + "/file", alive.Path(), parent / "reelhaul-nolock",
                             parent / "reelhaul-linkedlock", parent / "precious/.reelhaul-lock"})
        EXPECT_TRUE(fs::exists(path)) << path;
}

} // namespace
} // namespace Halvorn
