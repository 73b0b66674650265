#include "HVToolBytecode.h"
#include "HVToolAside.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class HVToolBytecodeTest : public testing::Test {
protected:
    HVToolBytecodeTest() { fs::create_directory(folder_); }
    ~HVToolBytecodeTest() override { fs::remove_all(folder_); }

    std::string File(std::string const& name) const { return folder_ / name; }
    std::string Content(std::string const& name) const {
        std::ifstream file(File(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void Put(std::string const& name, std::string const& content) const {
        std::ofstream(File(name), std::ios::binary) << content;
        fs::permissions(File(name), fs::perms(0755));
    }
    /// A tool of that form, which tells its version from a module of its own.
    void PutTool(std::string const& firstLine, std::string const& main = "import part") const {
        fs::create_directory(File("part"));
        Put("__main__.py", main);
        Put("part/__init__.py", "from . import version");
        Put("part/version.py", "print('2025.01.01')");
        ASSERT_EQ(std::system(("cd '" + folder_.string() +
                               "' && rm -f zip && python3 -m zipfile -c zip __main__.py part")
                                  .c_str()),
                  0);
        Put("yt-dlp", firstLine + "\n" + Content("zip"));
    }
    bool Add(unsigned int silence = 60'000) const {
        return AddToolBytecode(File("yt-dlp"), File("yt-dlp"), silence);
    }

    fs::path const folder_ = fs::temp_directory_path() / ("bytecode" + std::to_string(getpid()));
};

TEST_F(HVToolBytecodeTest, SourcesAloneGetTheirBytecodeOnce) {
    for (std::string const line : {"#!/usr/bin/env python3", "#!/usr/bin/env -S python3 -s"}) {
        PutTool(line);
        std::string const before = Content("yt-dlp");
        fs::rename(File("yt-dlp"), File("real"));
        fs::create_symlink("real", File("yt-dlp"));
        EXPECT_TRUE(Add());
        EXPECT_TRUE(fs::is_symlink(File("yt-dlp")));
        EXPECT_EQ(fs::status(File("real")).permissions(), fs::perms(0755));
        std::string const after = Content("real");
        EXPECT_THAT(after, HasSubstr("part/version.pyc"));
        // Up to its list of entries, which is read at the start alone.
        std::size_t const entries = before.find("PK\1\2");
        EXPECT_TRUE(after.substr(0, entries) == before.substr(0, entries)) << "sources were moved";
        EXPECT_FALSE(Add());
        EXPECT_TRUE(Content("real") == after);
        fs::remove(File("yt-dlp"));
    }
}

TEST_F(HVToolBytecodeTest, AFaultLeavesTheToolAsItWas) {
    struct Row {
        char const* name;
        std::string line, main;
        std::string interpreter; ///< of the folder; none when empty
    };
    std::string const own = "#!" + File("python");
    for (auto const& row : std::vector<Row>{
             {"no python", own, "import part", ""},
             {"a hung python", own, "import part", "echo .; exec sleep 1000"},
             {"a python that fails", own, "import part", "echo no room >&2; exit 1"},
             {"a python that says it is done and is not", own, "import part", "echo prepared"},
             {"another interpreter", "#!/bin/sh", "import part", ""},
             {"a tool that does not run", "#!/usr/bin/env python3", "import missing", ""},
             {"no room", own, "import part", "ulimit -f 1; exec python3 \"$@\""},
         }) {
        SCOPED_TRACE(row.name);
        fs::remove(File("python"));
        if (!row.interpreter.empty())
            Put("python", "#!/bin/sh\n" + row.interpreter + "\n");
        PutTool(row.line, row.main);
        std::string const before = Content("yt-dlp");
        EXPECT_FALSE(Add(row.interpreter.ends_with("1000") ? 200 : 60'000));
        EXPECT_TRUE(Content("yt-dlp") == before);
        for (auto const& entry : fs::directory_iterator(folder_))
            EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
    }
    Put("yt-dlp", "#!/usr/bin/env python3\nimport yt_dlp");
    EXPECT_FALSE(Add());
    Put("yt-dlp", "");
    EXPECT_FALSE(Add());
}

TEST_F(HVToolBytecodeTest, ACopyAsideTakesTheToolsPlaceUnlessThatHasChanged) {
    Put("yt-dlp", "old");
    Put(".reelhaul-crashed.part", "half");
    Put(".reelhaul-fresh.part", "another process's");
    fs::last_write_time(File(".reelhaul-crashed.part"),
                        fs::file_time_type::clock::now() - std::chrono::hours(24));
    HVToolAside::RemoveLeftovers(folder_);
    EXPECT_FALSE(fs::exists(File(".reelhaul-crashed.part")));
    EXPECT_TRUE(fs::exists(File(".reelhaul-fresh.part")));
    {
        HVToolAside const first(File("yt-dlp"));
        HVToolAside const second(File("yt-dlp"));
        EXPECT_EQ(first.Make() + second.Make(), "");
        std::ofstream(first.Path()) << "newer";
        std::ofstream(second.Path()) << "another";
        EXPECT_EQ(first.PutInPlace(), "");
        EXPECT_THAT(second.PutInPlace(), HasSubstr("someone else"));
        EXPECT_TRUE(fs::exists(second.Path()));
    }
    EXPECT_EQ(Content("yt-dlp"), "newer");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 2);
}

} // namespace
} // namespace Halvorn
