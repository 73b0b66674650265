#include "RunCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::HasSubstr;

void PutProgram(std::string const& path, std::string const& content, bool executable = true) {
    fs::remove(path);
    std::ofstream(path) << content << "\n";
    fs::permissions(path, executable ? fs::perms(0755) : fs::perms(0644));
}

TEST(ToolsCommand, TheTableTellsWhyACopyDoesNotRun) {
    CommandRun const run;
    PutProgram(run.Path("tools/ffmpeg"), "#!/bin/sh\necho ffmpeg version 7.1 Copyright");
    struct Row {
        std::string content, row;
        int status;
        bool executable = true;
    };
    for (auto const& row : std::vector<Row>{
             {"#!/bin/sh\necho 2025.01.01", "2025.01.01 +.*yt-dlp *\n", 0},
             {"#!/bin/sh\nsleep 25 & echo 2025.01.01", "2025.01.01 ", 0},
             {"#!/bin/sh\necho 2025.01.01", "yt-dlp can't be run\n", 1, false},
             {"no program", "is no program\n", 1},
             {"#!/no/interpreter", "the program that it is to be run with is missing\n", 1},
             {"#!/bin/sh\necho broken >&2; exit 1", "does not run: broken\n", 1},
             {"#!/bin/sh\nexec >&- 2>&-; sleep 0.2", "does not run: it prints nothing\n", 1},
         }) {
        SCOPED_TRACE(row.content);
        PutProgram(run.Path("tools/yt-dlp"), row.content, row.executable);
        auto const begin = std::chrono::steady_clock::now();
        auto const result = run.Run({"tools"});
        EXPECT_EQ(result.status, row.status) << result.err;
        EXPECT_THAT(result.out, ContainsRegex("yt-dlp +local +yes [^\n]*" + row.row));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20)) << "it was waited for";
    }
}

TEST(ToolsCommand, AFolderWithoutAToolCannotServe) {
    CommandRun const run;
    fs::remove(run.Path("tools/yt-dlp"));
    auto const result = run.Run({"tools", "use", "local"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("\"reelhaul tools update\" makes a local copy"));
}

} // namespace
