#include "HVToolBytecode.h"
#include "Folder.h"
#include "HVDownloadPlugin.h"
#include "HVToolAside.h"
#include "LoopbackServer.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace Halvorn {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class HVToolBytecodeTest : public testing::Test {
protected:
    std::string File(std::string const& name) const { return folder_ / name; }
    void Put(std::string const& name, std::string const& content) const {
        fs::permissions(folder_.Put(name, content), fs::perms(0755));
    }
    /// A tool of that form, which tells its version from a module of its own.
    void PutTool(std::string const& firstLine, std::string const& main = "import part",
                 std::string const& version = "2025.01.01") const {
        fs::create_directory(File("part"));
        Put("__main__.py", main);
        Put("part/__init__.py", "from . import version");
        Put("part/version.py", "print('" + version + "')");
        std::string const zip = "rm -f zip && python3 -m zipfile -c zip __main__.py part";
        ASSERT_EQ(std::system(("cd '" + folder_.Path() + "' && " + zip).c_str()), 0);
        Put("yt-dlp", firstLine + "\n" + folder_.Get("zip"));
    }
    bool Add(unsigned int silence = 60'000) const {
        return AddToolBytecode(File("yt-dlp"), File("yt-dlp"), silence);
    }

    Folder const folder_;
};

TEST_F(HVToolBytecodeTest, SourcesAloneGetTheirBytecodeOnce) {
    for (std::string const line : {"#!/usr/bin/env python3", "#!/usr/bin/env -S python3 -s"}) {
        PutTool(line);
        std::string const before = folder_.Get("yt-dlp");
        fs::rename(File("yt-dlp"), File("real"));
        fs::create_symlink("real", File("yt-dlp"));
        EXPECT_TRUE(Add());
        EXPECT_TRUE(fs::is_symlink(File("yt-dlp")));
        EXPECT_EQ(fs::status(File("real")).permissions(), fs::perms(0755));
        std::string const after = folder_.Get("real");
        EXPECT_THAT(after, HasSubstr("part/version.pyc"));
        // Up to its list of entries, which is read at the start alone.
        std::size_t const entries = before.find("PK\1\2");
        EXPECT_TRUE(after.substr(0, entries) == before.substr(0, entries)) << "sources were moved";
        EXPECT_FALSE(Add());
        EXPECT_TRUE(folder_.Get("real") == after);
        fs::remove(File("yt-dlp"));
    }
}

TEST_F(HVToolBytecodeTest, AnUpdatedToolGetsItToo) {
    LoopbackServer const host([](int connection, std::string const&) {
        LoopbackServer::Reply(connection, "200 OK", R"({"tag_name": "2026.10.26"})");
    });
    PutTool("#!/usr/bin/env python3", "import part", "2026.10.26");
    fs::rename(File("yt-dlp"), File("next"));
    PutTool("#!/usr/bin/env python3", "import shutil, sys\nif sys.argv[1] == '--update': shutil.copyfile('" +
                                          File("next") + "', sys.argv[0])\nelse: import part");
    folder_.Put("ffmpeg", "in place");
    auto const plugin = std::make_shared<HVDownloadPlugin>();
    plugin->SetLocalPluginInstallPath(folder_.Path());
    IHVDownloadPlugin::SetReleaseMirror(host.Url(), "");
    plugin->UpdateLocalPlugin(nullptr);
    plugin->CancelUpdateLocalPlugin();
    IHVDownloadPlugin::SetReleaseMirror("", "");
    EXPECT_EQ(plugin->Outcome().newVersion, "2026.10.26") << plugin->Outcome().message;
    EXPECT_THAT(folder_.Get("yt-dlp"), HasSubstr("part/version.pyc"));
}

TEST_F(HVToolBytecodeTest, AFaultLeavesTheToolAsItWas) {
    // What the interpreter does: it hangs, fails, says that it is done and is not, has no room, is missing.
    for (std::string const interpreter : {"echo .; exec sleep 1000", "echo no room >&2; exit 1",
                                          "echo prepared", "ulimit -f 1; exec python3 \"$@\"", ""}) {
        SCOPED_TRACE(interpreter);
        fs::remove(File("python"));
        if (!interpreter.empty())
            Put("python", "#!/bin/sh\n" + interpreter + "\n");
        PutTool("#!" + File("python"));
        std::string const before = folder_.Get("yt-dlp");
        EXPECT_FALSE(Add(interpreter.ends_with("1000") ? 200 : 60'000));
        EXPECT_TRUE(folder_.Get("yt-dlp") == before);
        for (auto const& entry : fs::directory_iterator(folder_.Path()))
            EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
    }
    PutTool("#!/bin/sh");
    EXPECT_FALSE(Add());
    PutTool("#!/usr/bin/env python3", "import missing");
    EXPECT_FALSE(Add());
    for (char const* text : {"#!/usr/bin/env python3\nimport yt_dlp", ""}) {
        Put("yt-dlp", text);
        EXPECT_FALSE(Add());
    }
}

TEST_F(HVToolBytecodeTest, ACopyAsideTakesTheToolsPlaceUnlessThatHasChanged) {
    Put("yt-dlp", "old");
    Put(".reelhaul-copy.part", "another process's, of a tool from last year");
    fs::last_write_time(File(".reelhaul-copy.part"),
                        fs::file_time_type::clock::now() - std::chrono::hours(9000));
    HVToolAside::RemoveLeftovers(folder_.Path());
    EXPECT_TRUE(fs::exists(File(".reelhaul-copy.part")));
    HVToolAside::RemoveLeftovers(folder_.Path(), std::chrono::seconds(0));
    EXPECT_FALSE(fs::exists(File(".reelhaul-copy.part")));
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
    EXPECT_EQ(folder_.Get("yt-dlp"), "newer");
    EXPECT_EQ(folder_.Count(), 1);
}

} // namespace
} // namespace Halvorn
