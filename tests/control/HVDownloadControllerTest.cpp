#include "DownloadFixture.h"

#include "HVDownloadController.h"
#include "HVDownloadControllers.h"
#include "IHVCallbackDispatcher.h"
#include "IHVDownloadOptions.h"
#include "IHVGeneralOptions.h"
#include "IHVNetworkOptions.h"
#include "Text.h"

#include <array>
#include <map>
#include <sstream>

using namespace Halvorn;

class Controller : public Downloads {
protected:
    std::shared_ptr<HVDownloadController> New(std::string const& script) {
        auto controller = std::make_shared<HVDownloadController>(Item("scripted:" + script, "A"), out_);
        starts_ = 0;
        auto* const raw = controller.get();
        controller->SetStateWillChangeFunc([this, raw](HVDownloadState from, HVDownloadState to) {
            EXPECT_EQ(raw->State(), from);
            Keep(std::to_string(from) + ">" + std::to_string(to));
        });
        controller->SetStateDidChangedFunc([this, raw](HVDownloadState state) {
            EXPECT_EQ(raw->State(), state);
            if (onState)
                onState(*raw, state);
        });
        controller->SetDownloadStartFunc([this] { ++starts_; });
        controller->SetDownloadProgressFunc(
            [this](float percent) { Keep(std::to_string(static_cast<int>(percent)) + "%"); });
        controller->SetDownloadCompleteFunc([this, raw](std::shared_ptr<IHVError const> error) {
            Keep(error->GetErrorTitle());
            EXPECT_EQ(raw->WaitFinish(HVInfiniteTimeOut), HVErrFailure);
            if (onComplete)
                onComplete(*raw);
            ++ends_;
        });
        return controller;
    }
    void Keep(std::string const& event) {
        std::lock_guard const lock(mutex_);
        events_ += (events_.empty() ? "" : " ") + event;
    }
    std::string TakeEvents() {
        std::lock_guard const lock(mutex_);
        return std::exchange(events_, {});
    }
    void Do(HVDownloadController& controller, std::string const& operation) {
        std::map<std::string, std::function<bool()>> const operations = {
            {"start", [&] { return controller.StartDownload()->Succeed(); }},
            {"pending", [&] { return controller.PendingDownload(), true; }},
            {"stop", [&] { return controller.StopDownload(), true; }},
            {"cancel", [&] { return controller.CancelDownload(), true; }},
            {"wait", [&] { return controller.WaitFinish(1) == HVErrTimeout; }},
            {"reset", [&] { return controller.ResetDownload(), true; }},
            {"pause", [&] { return controller.PauseDownload(), controller.ResumeDownload(), true; }},
            {"keep", [&] { return controller.SetResumable({}), true; }},
            {"halt", [&] { return controller.PauseDownload(), true; }},
            {"paused",
             [&] { return Eventually([&] { return controller.State() == HVDownloadStatePaused; }); }},
            {"resume", [&] { return controller.ResumeDownload(), true; }},
            {"up", [&] { return AwaitFile("up") && std::filesystem::remove(Path("up")); }},
            {"go", [&] { return Put("go"), true; }},
            {"end", [&] { return Eventually([this] { return ends_ > awaited_; }) && ++awaited_ > 0; }},
            // The run that nobody hears of any more has ended.
            {"quiet",
             [&] {
                 Put("over");
                 bool const ended = Eventually([this] { return Running().first == 0; });
                 return std::filesystem::remove(Path("over")) && ended && NothingLeft();
             }},
        };
        EXPECT_TRUE(operations.at(operation)()) << operation;
    }

    std::function<void(HVDownloadController&, HVDownloadState)> onState;
    std::function<void(HVDownloadController&)> onComplete;
    std::atomic<int> starts_ = 0;
    std::atomic<int> ends_ = 0;
    int awaited_ = 0;

private:
    std::mutex mutex_;
    std::string events_;
};

TEST_F(Controller, GoesThroughItsStates) {
    std::string const hang = "touch up;hang";
    std::string const slow = "ignore-term;touch up;wait over"; // longer than until the next operation
    // A script, what is done, and what is told, with the state and the last error's title at the end.
    for (auto const& [script, operations, expected] : std::vector<std::array<std::string, 3>>{
             {"write . 1", "start end", "1>3 3>5 Succeed|5|Succeed"},
             {"progress 50;progress 60", "start end", "1>3 50% 60% 3>5 Error|5|Error"},
             {"exit 1", "start end start end", "1>3 3>5 Error 5>3 3>5 Error|5|Error"},
             {"exit 1", "start end reset", "1>3 3>5 Error 5>1|1|"},
             {"exit 1", "stop pause", "|1|"},
             {"exit 1", "pending pending stop wait", "1>2|2|"},
             {"exit 1", "pending start end", "1>2 2>3 3>5 Error|5|Error"},
             {"exit 1", "cancel pending cancel start end cancel", "1>2 2>1 1>3 3>5 Error|5|Error"},
             {hang, "start up wait cancel end", "1>3 3>6 Cancel|6|"},
             {hang, "start up stop end", "1>3 3>6 Cancel|6|"},
             {hang, "start up stop end reset", "1>3 3>6 Cancel 6>1|1|"},
             {"touch up;wait go;progress 10", "start up pause go end", "1>3 10% 3>5 Error|5|Error"},
             {hang, "start up reset end", "1>3 3>1 1>6 Cancel|6|"},
             {slow, "start up reset pending quiet", "1>3 3>1 1>2|2|"},
             {hang, "start up pending reset end quiet", "1>3 3>2 2>1 1>6 Cancel|6|"},
             {hang, "start up start up stop end quiet", "1>3 3>6 Cancel|6|"},
             {slow, "start up reset start up stop end quiet", "1>3 3>1 1>3 3>6 Cancel|6|"},
             {hang, "keep start up halt paused resume up stop end", "1>3 3>4 4>3 3>6 Cancel|6|"},
             {hang, "keep start up pause up stop end", "1>3 3>4 4>3 3>6 Cancel|6|"},
             {hang, "keep start up halt stop end", "1>3 3>6 Cancel|6|"},
             {hang, "keep start up halt paused stop", "1>3 3>4 4>6|6|"},
             {hang, "keep pending halt resume up stop end", "1>2 2>4 4>3 3>6 Cancel|6|"},
             {"write . 1", "keep start end", "1>3 3>5 Succeed|5|Succeed"},
         }) {
        auto const controller = New(script);
        std::istringstream words(operations);
        for (std::string word; words >> word;)
            Do(*controller, word);
        auto const error = controller->LastError();
        EXPECT_EQ(Text(TakeEvents(), controller->State(), error == nullptr ? "" : error->GetErrorTitle()),
                  expected)
            << script << ": " << operations;
        EXPECT_EQ(controller->DownloadSucceed(), error != nullptr && error->Succeed());
        EXPECT_TRUE(starts_ == 2 || operations != "start end");
        EXPECT_TRUE(NothingLeft());
    }
}

TEST_F(Controller, ObeysOutOfItsOwnFunctions) {
    // Stopped or reset in the very moment in which the queue starts it: a stop is an end, a reset takes the
    // start back.
    for (auto const& [reset, events] : {std::pair(false, "1>2 2>3 3>6 Cancel"), {true, "1>2 2>3 3>1"}}) {
        onState = [&undo = reset](HVDownloadController& self, HVDownloadState state) {
            if (state == HVDownloadStateDownloading)
                undo ? self.ResetDownload() : self.StopDownload();
        };
        auto const controller = New("hang");
        controller->SetLastError(IHVError::MallocError("f", 1, "g", -1, "Earlier", "m"));
        controller->PendingDownload();
        EXPECT_EQ(controller->StartPending() == nullptr, reset);
        EXPECT_EQ(controller->WaitFinish(30'000), HVErrSuccess);
        EXPECT_EQ(TakeEvents(), events);
        EXPECT_EQ(controller->LastError() == nullptr, reset) << "a stop at the start lost the last error";
        EXPECT_EQ(controller->StartPending(), nullptr);
    }
    awaited_ = ends_;
    onState = nullptr;
    // Restarted out of the complete function until it is let through.
    int restarts = 0;
    onComplete = [&](HVDownloadController& self) {
        if (self.State() != HVDownloadStateCancelled)
            return;
        if (++restarts == 2)
            Put("go");
        EXPECT_TRUE(self.StartDownload()->Succeed());
        if (restarts < 2)
            self.StopDownload();
    };
    auto const controller = New("touch up;wait go;write . 3");
    Do(*controller, "start");
    Do(*controller, "up");
    Do(*controller, "stop");
    EXPECT_TRUE(Eventually([&] { return controller->State() == HVDownloadStateDone; }));
    EXPECT_EQ(restarts, 2);
    EXPECT_TRUE(controller->DownloadSucceed());
    EXPECT_TRUE(Eventually([&] { return ends_ == awaited_ + 3; }));
}

TEST_F(Controller, TellsTheChangesThatAreMadeAndNoOthers) {
    // Over before its start function has returned.
    auto controller = New("exit 1");
    auto* const raw = controller.get();
    controller->SetDownloadStartFunc([raw, caller = std::this_thread::get_id()] {
        EXPECT_TRUE(std::this_thread::get_id() != caller ||
                    Eventually([raw] { return raw->DownloadWasDone(); }));
    });
    controller->StartDownload();
    EXPECT_EQ(controller->WaitFinish(30'000), HVErrSuccess);
    EXPECT_EQ(TakeEvents(), "1>3 3>5 Error");
    // Changed in the middle of being told: the function sees its own change, and hears of it afterwards.
    std::string told;
    controller->SetStateWillChangeFunc([&](HVDownloadState from, HVDownloadState to) {
        told += Text(from, to, raw->State()) + " ";
        if (to == HVDownloadStatePending) {
            raw->ResetDownload();
            EXPECT_EQ(raw->State(), HVDownloadStateIdle);
        }
    });
    controller->SetStateDidChangedFunc(
        [&](HVDownloadState state) { told += Text(state, raw->State()) + " "; });
    controller->PendingDownload();
    EXPECT_EQ(told, "5|2|5 2|2 2|1|2 1|1 ");
}

TEST_F(Controller, TakesTheChoiceWhenItIsAskedToStart) {
    auto const item = Item("scripted:write . 1", "A");
    auto const other = std::make_shared<HVDownloadFormat>();
    EXPECT_TRUE(other->LoadFromJsonObject(std::make_shared<HVJsonObjectFormat>(IHVJsonReader::ReadJsonString(
        R"({"format_id":"22","ext":"webm","vcodec":"h264","acodec":"aac"})", nullptr))));
    item->AddDownloadFormat(other);
    item->AddDownloadSubtitle(std::make_shared<HVDownloadSubtitle>());
    item->SetCurrentSubtitleIndex(0);
    auto const queue = IHVDownloadControllers::MallocDownloadControllers();
    queue->SetConcurrentDownload(1);
    for (int row = 0; row < 2; ++row) {
        queue->AddController(IHVDownloadController::MallocDownloadController(item, out_));
        item->SetCurrentFormatIndex(row);
        item->CurrentDownloadSubtitle()->SetCurrentSubtitleFormat(row == 0 ? "vtt" : "srt");
        item->SetFileName("name " + std::to_string(row));
        queue->StartRows({row});
    }
    item->SetCurrentFormatIndex(0);
    item->CurrentDownloadSubtitle()->SetCurrentSubtitleFormat("ttml");
    queue->GetController(1)->SetDownloadOutputName("given");
    EXPECT_EQ(queue->WaitFinish(60'000), HVErrSuccess);
    EXPECT_EQ(FilesIn(out_), (std::set<std::string>{"given.webm", "name 0.mp4"}));
    EXPECT_EQ(queue->GetController(0)->DownloadOutputPathFile(), out_ + "/name 0.mp4");
    EXPECT_EQ(queue->GetController(1)->DownloadOutputPathFile(), out_ + "/given.webm");
    EXPECT_EQ(queue->GetController(1)->DownloadItem(), item);
    EXPECT_THAT(Starts(), testing::ElementsAre(testing::ContainsRegex(" vtt .* 18 "),
                                               testing::ContainsRegex(" srt .* 22 ")));
}

TEST_F(Controller, TakesTheOptionsOfTheItemsSite) {
    Put("a", "write . 1");
    for (char const* const host : {"testkit.invalid", "other.invalid"}) {
        auto const controller = IHVDownloadController::MallocDownloadController(
            Item(std::string("https://") + host + "/a", "A"), out_);
        controller->SetOptionsForSite([](std::string const& asked) {
            auto const network = IHVNetworkOptions::MallocNetworkOptions();
            network->SetReferer("from:" + asked);
            auto const options = IHVDownloadOptions::MallocDownloadOptions();
            options->SetNetworkOptions(network);
            return options;
        });
        EXPECT_TRUE(controller->StartDownload()->Succeed());
        EXPECT_EQ(controller->WaitFinish(60'000), HVErrSuccess);
        EXPECT_THAT(Starts().back(), testing::HasSubstr(std::string("--add-headers Referer:from:") + host));
    }
}

TEST_F(Controller, FinishesARecording) {
    struct Row {
        std::string script;
        std::string events;
        std::uintmax_t size;
        bool live = true;
        bool noPart = false;
    };
    std::string const up = "hold-int;write +.part +9;err ERROR: x time=00:01:07.20 bitrate=1\\r;touch up;";
    for (auto const& [script, events, size, live, noPart] : std::vector<Row>{
             {up + "take-int;write . 12", "1>3 3>5 Succeed", 12},
             // The tool leaves what it has as a part; it has nothing; it has written without a part.
             {up + "take-int;exit 1", "1>3 3>5 Succeed", 9},
             {"hold-int;touch up;take-int;exit 1", "1>3 3>6 Cancel", 0},
             {"hold-int;write . 5;touch up;take-int;exit 1", "1>3 3>5 Succeed", 5, true, true},
             {"hold-int;touch up;wait go;write . 3", "1>3 3>5 Succeed", 3, false}}) {
        auto const controller = New(script);
        controller->DownloadItem()->SetLiveStream(live);
        auto const options = IHVDownloadOptions::MallocDownloadOptions();
        auto const general = IHVGeneralOptions::MallocGeneralOptions();
        general->SetUsePartFile(!noPart);
        options->SetGeneralOptions(general);
        controller->SetOptions(options);
        EXPECT_FALSE(controller->FinishDownload());
        Do(*controller, "start");
        Do(*controller, "up");
        if (size > 5) {
            EXPECT_TRUE(Eventually([&] { return controller->RecordedSoFar().seconds == 67; }));
            EXPECT_EQ(controller->RecordedSoFar().bytes, 9);
        }
        EXPECT_EQ(controller->FinishDownload(), live);
        EXPECT_EQ(controller->FinishDownload(), live);
        Put("go");
        EXPECT_EQ(controller->WaitFinish(60'000), HVErrSuccess);
        EXPECT_EQ(TakeEvents(), events) << script;
        EXPECT_EQ(controller->RecordedSoFar().bytes, 0);
        if (size > 0) {
            EXPECT_EQ(std::filesystem::file_size(out_ + "/A.mp4"), size) << script;
        }
        std::filesystem::remove(out_ + "/A.mp4");
        std::filesystem::remove(Path("go"));
        EXPECT_TRUE(NothingLeft());
    }
}

TEST_F(Controller, ReportsByWayOfTheDispatcher) {
    std::mutex mutex;
    std::vector<std::function<void()>> works;
    IHVCallbackDispatcher::SetDispatcher([&](std::function<void()> work) {
        std::lock_guard const lock(mutex);
        works.push_back(std::move(work));
    });
    auto controller = New("progress 50;exit 1");
    controller->StartDownload();
    EXPECT_EQ(controller->WaitFinish(30'000), HVErrSuccess);
    controller->StartDownload();
    EXPECT_EQ(controller->WaitFinish(30'000), HVErrSuccess);
    EXPECT_EQ(TakeEvents(), "");
    IHVCallbackDispatcher::SetDispatcher({});
    EXPECT_TRUE(Eventually([&] { return controller.use_count() == 1; })); // the worker has let go of it
    // The first run's two starts, progress, end and changes come in their order; what is left when the
    // controller goes is dropped.
    onComplete = [&](HVDownloadController&) { controller = nullptr; };
    for (auto const& work : works)
        work();
    EXPECT_EQ(TakeEvents(), "1>3 50% 3>5 Error");
    EXPECT_TRUE(starts_ == 1 || starts_ == 2); // the caller may be slower than the whole run
}

TEST_F(Controller, MayBeDroppedWhileItRuns) {
    auto controller = New("touch up;wait go;write . 3");
    std::weak_ptr<HVDownloadController> const observer = controller;
    Do(*controller, "start");
    Do(*controller, "up");
    controller = nullptr;
    EXPECT_TRUE(observer.expired());
    TakeEvents();
    Put("go");
    // The download goes on and nobody is told.
    EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(out_ + "/A.mp4"); }));
    EXPECT_TRUE(NothingLeft());
    // Out of its own complete function.
    std::shared_ptr<HVDownloadController> last = New("write . 4");
    onComplete = [&](HVDownloadController&) { last = nullptr; };
    auto* const raw = last.get();
    Do(*raw, "start");
    EXPECT_TRUE(Eventually([&] { return ends_ == 1; }));
    EXPECT_EQ(TakeEvents(), "1>3 3>5 Succeed");
}
