// Stops in the middle of each kind of download: at once, reported once, and nothing is left.

#include "Live.h"

#include "IHVFileProvider.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <ostream>

using namespace Halvorn;
using namespace Live;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

struct Kind {
    char const* page;
    /// Part of the name of a file that is there in the middle, and what it holds by then.
    char const* file;
    std::uintmax_t bytes;
};

std::ostream& operator<<(std::ostream& stream, Kind const& kind) {
    return stream << kind.page;
}

bool InTheMiddle(Kind const& kind) {
    for (auto const& entry : fs::directory_iterator(IHVFileProvider::GetTmpPath())) {
        std::error_code gone;
        if (entry.path().filename().string().find(kind.file) != std::string::npos &&
            entry.file_size(gone) >= kind.bytes && !gone)
            return true;
    }
    return false;
}

class LiveStop : public testing::TestWithParam<Kind> {};

TEST_P(LiveStop, LeavesNothing) {
    auto const item = ItemOf(GetParam().page);
    ASSERT_NE(item, nullptr);
    std::string const folder = NewFolder();
    Downloads downloads;
    auto& run = downloads.Add(item, folder);
    downloads.Start();
    ASSERT_TRUE(Within(30s, [] { return InTheMiddle(GetParam()); })) << Leftovers() << run.Message();
    auto const begin = Clock::now();
    run.controller->StopDownload();
    ASSERT_EQ(run.end.wait_for(2500ms), std::future_status::ready);
    std::chrono::duration<double> const reported = Clock::now() - begin;
    // A program that ignores the request is killed after a short grace.
    EXPECT_TRUE(Within(4s, [] { return Leftovers().empty(); })) << Leftovers();
    std::chrono::duration<double> const clean = Clock::now() - begin;
    EXPECT_EQ(run.ends.size(), 1U);
    EXPECT_TRUE(run.ends[0]->UserCancel()) << run.Message();
    EXPECT_EQ(run.controller->State(), HVDownloadStateCancelled);
    EXPECT_EQ(NamesIn(folder, "|"), "");
    std::cout << "reported after " << reported.count() << " s, all gone after " << clean.count() << " s\n";
}

INSTANTIATE_TEST_SUITE_P(Kinds, LiveStop,
                         testing::Values(Kind{"watch/slow", ".part", 1},
                                         Kind{"watch/slow-fragments", "Frag", 1},
                                         Kind{"watch/slow-merge", ".temp.", 0},
                                         Kind{"watch/live", ".part", 1}),
                         [](auto const& kind) {
                             std::string name = kind.param.page + sizeof "watch";
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace
