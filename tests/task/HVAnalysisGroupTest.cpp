#include "IHVAnalysisGroup.h"

#include "ScriptedTool.h"
#include "Text.h"

#include <atomic>
#include <deque>

using namespace Halvorn;
using testing::ElementsAre;
using testing::IsEmpty;

class AnalysisGroup : public ScriptedTool {
protected:
    AnalysisGroup() {
        for (std::string const name : {"One", "Two", "Three", "Four", "Five"})
            Put(name, "wait go-" + name + "\nline " + Document(name));
    }
    static std::string Document(std::string const& name) {
        return R"({"title":")" + name +
               R"(","url":"f","format_id":"1","formats":[{"format_id":"1","ext":"mp4"}]})";
    }
    /// Adds the analysis of an address; its items and its end are noted, among those of the others.
    std::shared_ptr<IHVDownloadTask> Add(std::string const& url) {
        auto task = IHVDownloadTask::MallocDownloadTask(url);
        Recorder& recorder = recorders_.emplace_back();
        recorder.onEvent = [this, url](std::string const& event) {
            EXPECT_EQ(++inside_, 1) << "two reports at the same moment";
            if (event.starts_with("item "))
                Note(event.substr(5));
            else if (!event.starts_with("started") && event.find('%') == std::string::npos)
                Note(url.substr(url.find(':') + 1) + "=" + event.substr(0, event.find(':')));
            --inside_;
        };
        task->SetDelegate(&recorder);
        task->SetFullAnalysis(true);
        task->SetListFunc([this](auto const& list, auto const&) { Note("list " + list->GetTitle()); });
        tasks_.push_back(task);
        EXPECT_TRUE(group_->AddTask(task)->Succeed());
        return task;
    }
    void Note(std::string const& word) {
        std::lock_guard const lock(mutex_);
        story_ += (story_.empty() ? "" : "|") + word;
    }
    std::string Story() {
        std::lock_guard const lock(mutex_);
        return story_;
    }
    bool Runs(std::string const& address) const {
        return Eventually([&] {
            auto const starts = Starts();
            return std::any_of(starts.begin(), starts.end(),
                               [&](auto& line) { return line.ends_with(address); });
        });
    }

    std::mutex mutex_;
    std::string story_;
    std::atomic<int> inside_ = 0;
    std::deque<Recorder> recorders_;
    std::vector<std::shared_ptr<IHVDownloadTask>> tasks_;
    std::shared_ptr<IHVAnalysisGroup> group_ = IHVAnalysisGroup::MallocAnalysisGroup();
};

TEST_F(AnalysisGroup, LimitsCountOverAddressesAndEntriesAndReportsComeInOrder) {
    Put("list", R"(line {"_type":"playlist","title":"L","entries":[{"_type":"url","url":"script:One"},)"
                R"({"_type":"url","url":"script:Two"},{"_type":"url","url":"script:Three"}]})");
    group_->SetAnalysesAtOnce(2);
    for (char const* const address :
         {"script:list", "script:Four", "scripted:err ERROR: gone", "script:Five"})
        Add(address);
    // The entries of the first address go before those behind it, which have begun already.
    Put("go-Four");
    ASSERT_TRUE(Runs("script:One"));
    Put("go-Five");
    ASSERT_TRUE(Runs("script:Two"));
    EXPECT_EQ(Story(), "list L");
    for (char const* const name : {"go-Two", "go-Three"})
        Put(name);
    ASSERT_TRUE(Runs("script:Five"));
    EXPECT_EQ(Story(), "list L"); // done early, they wait for the first
    Put("go-One");
    std::string const all = "list L|One|Two|Three|list=playlist L of 3|list=Succeed|Four|Four=Succeed|"
                            "err ERROR: gone=Error|Five|Five=Succeed";
    EXPECT_TRUE(Eventually([&] { return Story() == all; })) << Story();
    EXPECT_EQ(Running().second, 2);
    EXPECT_TRUE(Eventually([&] { return group_->UnfinishedCount() == 0; }));
}

TEST_F(AnalysisGroup, ASiteHasItsOwnLimit) {
    Put("a", "wait go-a\nline " + Document("A"));
    group_->SetAnalysesPerSite(1);
    Add("https://testkit.invalid/a");
    Add("https://testkit.invalid/a");
    Add("https://other.invalid/x"); // fails at once, before the second
    ASSERT_TRUE(Runs("testkit.invalid/a") && Runs("other.invalid/x"));
    EXPECT_EQ(Starts().size(), 2U);
    Put("go-a");
    EXPECT_TRUE(Eventually([&] { return Story().ends_with("//other.invalid/x=Error"); })) << Story();
}

TEST_F(AnalysisGroup, AStopEndsWhatRunsAndTakesOutWhatWaits) {
    group_->SetAnalysesAtOnce(1);
    Add("scripted:hang");
    auto const second = Add("script:Two");
    Add("script:Three");
    ASSERT_TRUE(Runs("scripted:hang"));
    group_->StopTask(second);
    EXPECT_EQ(Story(), "");
    group_->StopAll();
    EXPECT_TRUE(Eventually([&] { return Story() == "hang=Cancel|Two=Cancel|Three=Cancel"; })) << Story();
    // It goes on with what is added later, but with no task twice.
    EXPECT_FALSE(group_->AddTask(second)->Succeed());
    EXPECT_FALSE(group_->AddTask(tasks_.front())->Succeed());
    EXPECT_FALSE(group_->AddTask(nullptr)->Succeed());
    Put("go-Four");
    Add("script:Four");
    EXPECT_TRUE(Eventually([&] { return Story().ends_with("|Four|Four=Succeed"); })) << Story();
    // Without the group what has begun goes on, and the rest is dropped.
    Add("script:Five");
    Add("script:One");
    ASSERT_TRUE(Runs("script:Five"));
    group_.reset();
    Put("go-Five");
    EXPECT_TRUE(Eventually([&] { return Story().ends_with("|Five|Five=Succeed"); })) << Story();
    EXPECT_EQ(tasks_.back()->WaitFinish(0), HVErrFailure);
}
