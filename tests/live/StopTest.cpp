// Stops in the middle of each kind of download: at once, reported once, and nothing is left.

#include "Live.h"

#include "IHVFileProvider.h"

#include <gtest/gtest.h>

using namespace Halvorn;
using namespace Live;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

/// Stops the page's download when a file with such a name holds so much.
void StopInTheMiddle(std::string const& page, std::string const& file, std::uintmax_t bytes) {
    auto const item = ItemOf(page);
    ASSERT_NE(item, nullptr);
    std::string const folder = NewFolder();
    Downloads downloads;
    auto& run = downloads.Add(item, folder);
    downloads.Start();
    ASSERT_TRUE(Eventually([&] {
        for (auto const& entry : fs::directory_iterator(IHVFileProvider::GetTmpPath()))
            if (std::error_code gone; entry.path().filename().string().find(file) != std::string::npos &&
                                      entry.file_size(gone) >= bytes && !gone)
                return true;
        return false;
    })) << Leftovers()
        << run.Message();
    run.controller->StopDownload();
    ASSERT_EQ(run.end.wait_for(2500ms), std::future_status::ready);
    // A program that ignores the request is killed after a short grace.
    EXPECT_TRUE(Eventually([] { return Leftovers().empty(); }, 4s)) << Leftovers();
    ASSERT_EQ(run.ends.size(), 1U);
    EXPECT_TRUE(run.ends[0]->UserCancel()) << run.Message();
    EXPECT_EQ(run.controller->State(), HVDownloadStateCancelled);
    EXPECT_EQ(NamesIn(folder), "");
}

TEST(LiveStop, LeavesNothingOfAFile) {
    StopInTheMiddle("watch/slow", ".part", 1);
}
TEST(LiveStop, LeavesNothingOfFragments) {
    StopInTheMiddle("watch/slow-fragments", "Frag", 1);
}
TEST(LiveStop, LeavesNothingOfAMerge) {
    StopInTheMiddle("watch/slow-merge", ".temp.", 0);
}
TEST(LiveStop, LeavesNothingOfALiveStream) {
    StopInTheMiddle("watch/live", ".part", 1);
}

} // namespace
