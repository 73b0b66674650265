// The tool at its worst, in an analysis from JSON, in one from tables, and in a download: each ends with one
// completion, by itself or when it is stopped, and leaves neither a process nor a file.

#include "Scale.h"
#include "control/DownloadFixture.h"
#include "reliability/Figures.h"

#include <ostream>

using namespace Halvorn;

namespace {

struct Manner {
    char const* name;
    std::string script;
    bool ends; ///< without being stopped
};

std::ostream& operator<<(std::ostream& stream, Manner const& manner) {
    return stream << manner.name;
}

// Sizes are those of the full run.
Manner const kManners[] = {
    {"floods", "flood " + std::to_string(Scaled(500)), true},
    {"floods the error stream", "errflood " + std::to_string(Scaled(500)), true},
    {"prints one long line", "longline " + std::to_string(Scaled(100)), true},
    {"prints a byte a second", "drip 1000 " + std::string(100, 'x'), false},
    {"never ends", "hang", false},
    {"ends at once", "", true},
    {"dies", "out {\"formats\":[;die 11", true},
    {"closes its output and lives on", "close-out;hang", false},
    {"leaves a grandchild with the pipes", "grandchild hang;exit 1", false},
    {"ignores the request to end", "ignore-term;grandchild hang;hang", false},
    {"prints no UTF-8",
     R"(line {"title":"\xff\xfe\xc0\x80","formats":[{"ext":"\xed\xa0\x80"}]};err \xff;exit 1)", true},
    {"prints escape sequences", R"(line \x1b[2J\x1b]0;title\x07;err ERROR: \x1b[31mred\x1b[0m;exit 1)", true},
    {"prints NUL bytes", R"(line {"title":"a\x00b","formats":[]}\x00;err \x00ERROR\x00;exit 1)", true},
};

} // namespace

class WorstTool : public Downloads, public testing::WithParamInterface<Manner> {
protected:
    static int CountEnds(Recorder const& recorder) {
        int ends = 0;
        for (auto const& event : recorder.Events())
            ends += event.rfind("started: ", 0) != 0 && event.find('%') == std::string::npos ? 1 : 0;
        return ends;
    }
    void Run(std::shared_ptr<IHVDownloadTask> const& task, bool stop) {
        Recorder recorder;
        task->SetDelegate(&recorder);
        EXPECT_TRUE(task->StartTask()->Succeed());
        if (stop) {
            EXPECT_TRUE(Eventually([this] { return Running().second > 0; }));
            task->StopTask();
            // Whoever ignores the request is not waited for.
            EXPECT_EQ(task->WaitFinish(60'000), HVErrSuccess);
        } else {
            EXPECT_EQ(task->WaitFinish(240'000), HVErrSuccess);
        }
        EXPECT_EQ(CountEnds(recorder), 1);
        EXPECT_TRUE(Eventually([] { return CountOf(Counted::Children) == 0; }));
        EXPECT_TRUE(NothingLeft());
        std::filesystem::remove(Path("running"));
    }
};

TEST_P(WorstTool, EndsOnceAndLeavesNothing) {
    std::string const url = "scripted:" + GetParam().script;
    for (bool const stop : {true, false}) {
        if (!stop && !GetParam().ends)
            continue;
        Run(IHVDownloadTask::MallocDownloadTask(url), stop);
        Run(IHVDownloadTask::MallocTextDownloadTask(url), stop);
        Run(IHVDownloadTask::MallocDownloadTask(Item(url, "A"), out_), stop);
    }
    EXPECT_TRUE(FilesIn(out_).empty());
}

INSTANTIATE_TEST_SUITE_P(Manners, WorstTool, testing::ValuesIn(kManners), [](auto const& manner) {
    std::string name = manner.param.name;
    std::erase_if(name, [](char letter) { return letter == '-'; });
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});
