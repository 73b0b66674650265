#include "DownloadFixture.h"

#include "HVProgressTracker.h"
#include "IHVDownloadControllers.h"
#include "IHVJsonValue.h"

#include <gmock/gmock.h>

#include <mutex>
#include <string>
#include <vector>

using namespace Halvorn;

namespace {

/// Feeds records and lines; the fractions that came of them, which never fall.
std::vector<double> Fractions(int parts, std::vector<std::string> const& steps, HVDownloadProgress& last) {
    HVProgressTracker tracker;
    tracker.Begin(parts);
    std::vector<double> fractions;
    for (auto const& step : steps) {
        if (step.front() == '{')
            tracker.TakeRecord(*IHVJsonReader::ReadJsonString(step, nullptr));
        else
            tracker.TakeLines(step);
        fractions.push_back(tracker.Now().fraction);
    }
    last = tracker.Now();
    return fractions;
}

TEST(HVProgressTracker, WeighsThePartsByTheirSizesAndNeverFalls) {
    HVDownloadProgress last;
    auto const fractions = Fractions(
        2,
        {R"({"record":"plan","parts":[{"kind":"video","total":9000},{"kind":"audio","total":1000}]})",
         R"({"record":"bytes","part":0,"bytes":4500,"total":9000,"speed":100})",
         R"({"record":"bytes","part":0,"bytes":100,"total":9000})", // the server has taken it from the start
         R"({"record":"bytes","part":0,"bytes":9000,"total":9000,"over":true})",
         R"({"record":"bytes","part":1,"bytes":500,"total":1000,"speed":250})"},
        last);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_NEAR(fractions[1], 0.01 + 0.91 * 0.45, 1e-6);
    EXPECT_NEAR(fractions[4], 0.01 + 0.91 * 0.95, 1e-6);
    EXPECT_EQ(last.phase, HVDownloadPhaseAudio);
    EXPECT_EQ(last.bytes, 9500U);
    EXPECT_EQ(last.total, 10000U);
    EXPECT_EQ(last.partBytes, 500U);
    EXPECT_DOUBLE_EQ(last.secondsLeft, 2);
    // Odd numbers of a broken tool harm nothing.
    Fractions(1,
              {R"({"record":"bytes","part":-7,"bytes":1e300,"total":-3})",
               R"({"record":"bytes","part":2000000000})", R"({"record":"step","fraction":1e300})",
               "[download] ..% of ...MiB at . ETA 1", "[download] 1% of ~ at ETA"},
              last);
    EXPECT_LT(last.fraction, 1);
}

TEST(HVProgressTracker, ReadsTheLinesOfAToolThatReportsNothing) {
    HVDownloadProgress last;
    auto const fractions =
        Fractions(2,
                  {"[download] Destination: a\n", "\r[download]  50.0% of    8.00MiB at 1.00MiB/s ETA 00:04",
                   "[download] Destination: b\n", "\r[download]  25.0% of ~ 1.00KiB at 512.00B/s ETA 00:01"},
                  last);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_EQ(last.part, 2);
    EXPECT_EQ(last.partBytes, 256U);
    EXPECT_EQ(last.total, (8U << 20U) + 1024);
    EXPECT_DOUBLE_EQ(last.bytesPerSecond, 512);
    Fractions(2, {"[Merger] Merging formats into \"x\"\n"}, last);
    EXPECT_EQ(last.phase, HVDownloadPhaseMerging);
}

class Progress : public Downloads {};

TEST_F(Progress, EachPhaseIsToldToItsEndAndNotMoreOftenThanWanted) {
    std::string script = "scripted:line [download] Destination: x;";
    for (int i = 1; i <= 99; ++i)
        script += "progress " + std::to_string(i) + ";";
    auto const controller =
        IHVDownloadController::MallocDownloadController(Item(script + "write . 10", "A"), out_);
    std::mutex mutex;
    std::vector<HVDownloadProgress> records;
    controller->SetProgressFunc(
        [&](HVDownloadProgress const& record) {
            std::lock_guard const lock(mutex);
            records.push_back(record);
        },
        1);
    auto const queue = IHVDownloadControllers::MallocDownloadControllers();
    queue->AddController(controller);
    EXPECT_EQ(queue->GetProgress().idle, 1);
    queue->StartAll();
    ASSERT_EQ(controller->WaitFinish(60'000), HVErrSuccess);
    std::lock_guard const lock(mutex);
    std::vector<int> phases;
    for (auto const& record : records)
        phases.push_back(record.phase);
    // Asked; the first and the last record of the bytes, and no other unless the machine took a second.
    EXPECT_EQ(phases.front(), HVDownloadPhaseAsking);
    EXPECT_EQ(phases[phases.size() - 2], HVDownloadPhaseMoving);
    EXPECT_EQ(phases.back(), HVDownloadPhaseDone);
    EXPECT_LT(records.size(), 50U);
    EXPECT_GT(records[records.size() - 3].fraction, 0.9) << "the last record before the move was held back";
    EXPECT_EQ(records.back().fraction, 1);
    EXPECT_EQ(queue->GetProgress().succeeded, 1);
    EXPECT_EQ(queue->GetProgress().fraction, 1);
}

} // namespace
