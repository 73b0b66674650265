#include "DownloadFixture.h"

#include "HVDownloadController.h"
#include "HVDownloadControllers.h"

#include <map>
#include <sstream>

using namespace Halvorn;
using Lines = std::vector<std::string>;

class Controller : public Downloads {
protected:
    std::shared_ptr<HVDownloadController> New(std::string const& script) {
        auto controller = std::make_shared<HVDownloadController>(Item("scripted:" + script, "A"), out_);
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
            if (onComplete)
                onComplete(*raw);
            ++ends_;
        });
        return controller;
    }
    void Keep(std::string const& event) {
        std::lock_guard const lock(mutex_);
        events_.push_back(event);
    }
    std::string TakeEvents() {
        std::lock_guard const lock(mutex_);
        std::string text;
        for (auto const& event : std::exchange(events_, {}))
            text += (text.empty() ? "" : " ") + event;
        return text;
    }
    void Do(HVDownloadController& controller, std::string const& operation) {
        std::map<std::string, std::function<bool()>> const operations = {
            {"start", [&] { return controller.StartDownload()->Succeed(); }},
            {"pending", [&] { return controller.PendingDownload(), true; }},
            {"stop", [&] { return controller.StopDownload(), true; }},
            {"reset", [&] { return controller.ResetDownload(), true; }},
            {"pause", [&] { return controller.PauseDownload(), controller.ResumeDownload(), true; }},
            {"up", [&] { return AwaitFile("up") && std::filesystem::remove(Path("up")); }},
            {"go", [&] { return Put("go"), true; }},
            {"end", [&] { return Eventually([this] { return ends_ > awaited_; }) && ++awaited_ > 0; }},
            // The run that nobody hears of any more has ended.
            {"quiet", [&] { return Eventually([this] { return Running().first == 0; }) && NothingLeft(); }},
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
    Lines events_;
};

TEST_F(Controller, GoesThroughItsStates) {
    struct Row {
        char const* script;
        char const* operations;
        char const* events;
        HVDownloadState state;
        char const* lastError; // its title, empty for none
    };
    Row const rows[] = {
        {"write . 1", "start end", "1>3 3>5 Succeed", HVDownloadStateDone, "Succeed"},
        {"exit 1", "start end", "1>3 3>5 Error", HVDownloadStateDone, "Error"},
        {"progress 50;progress 60", "start end", "1>3 50% 60% 3>5 Error", HVDownloadStateDone, "Error"},
        {"exit 1", "start end start end", "1>3 3>5 Error 5>3 3>5 Error", HVDownloadStateDone, "Error"},
        {"exit 1", "start end reset", "1>3 3>5 Error 5>1", HVDownloadStateIdle, ""},
        {"exit 1", "stop pause", "", HVDownloadStateIdle, ""},
        {"exit 1", "pending pending stop", "1>2", HVDownloadStatePending, ""},
        {"exit 1", "pending start end", "1>2 2>3 3>5 Error", HVDownloadStateDone, "Error"},
        {"touch up;hang", "start up stop", "1>3", HVDownloadStateDownloading, ""},
        {"touch up;hang", "start up stop end", "1>3 3>6 Cancel", HVDownloadStateCancelled, ""},
        {"touch up;hang", "start up stop end reset", "1>3 3>6 Cancel 6>1", HVDownloadStateIdle, ""},
        {"touch up;wait go;progress 10", "start up pause go end", "1>3 10% 3>5 Error", HVDownloadStateDone,
         "Error"},
        {"touch up;hang", "start up reset", "1>3 3>1", HVDownloadStateIdle, ""},
        {"touch up;hang", "start up reset end", "1>3 3>1 1>6 Cancel", HVDownloadStateCancelled, ""},
        {"touch up;hang", "start up reset pending quiet", "1>3 3>1 1>2", HVDownloadStatePending, ""},
        {"touch up;hang", "start up pending reset end quiet", "1>3 3>2 2>1 1>6 Cancel",
         HVDownloadStateCancelled, ""},
        {"touch up;hang", "start up start up stop end quiet", "1>3 3>6 Cancel", HVDownloadStateCancelled, ""},
        {"touch up;hang", "start up reset start up stop end quiet", "1>3 3>1 1>3 3>6 Cancel",
         HVDownloadStateCancelled, ""},
    };
    for (auto const& row : rows) {
        auto const controller = New(row.script);
        std::istringstream operations(row.operations);
        for (std::string operation; operations >> operation;)
            Do(*controller, operation);
        EXPECT_EQ(TakeEvents(), row.events) << row.script << ": " << row.operations;
        EXPECT_EQ(controller->State(), row.state) << row.operations;
        auto const error = controller->LastError();
        EXPECT_EQ(error == nullptr ? "" : error->GetErrorTitle(), row.lastError) << row.operations;
        EXPECT_EQ(controller->DownloadSucceed(), error != nullptr && error->Succeed());
        EXPECT_FALSE(controller->DownloadCancelled());
        // What still runs ends before the next row.
        int const before = ends_;
        bool const runs = controller->State() == HVDownloadStateDownloading ||
                          std::string(row.operations) == "start up reset";
        controller->StopDownload();
        EXPECT_TRUE(Eventually([&] { return !runs || ends_ > before; }));
        awaited_ = ends_;
        EXPECT_TRUE(NothingLeft());
        TakeEvents();
        std::filesystem::remove(Path("go"));
    }
}

TEST_F(Controller, KeepsWhatAStopMustNotTouch) {
    auto const controller = New("write . 1");
    EXPECT_TRUE(controller->GetChecked() && !controller->GetSelected() && controller->LastError() == nullptr);
    Do(*controller, "start");
    Do(*controller, "end");
    EXPECT_EQ(starts_, 2);
    controller->ResetDownload();
    EXPECT_EQ(controller->DownloadOutputPathFile(), out_ + "/A.mp4");
    controller->SetLastError(IHVError::MallocError("f", 1, "g", -1, "Earlier", "m"));
    onState = [](HVDownloadController& self, HVDownloadState state) {
        if (state == HVDownloadStateDownloading)
            self.StopDownload();
    };
    auto const stopped = New("hang");
    stopped->SetLastError(controller->LastError());
    Do(*stopped, "start");
    Do(*stopped, "end");
    EXPECT_EQ(stopped->State(), HVDownloadStateCancelled);
    EXPECT_EQ(stopped->LastError()->GetErrorTitle(), "Earlier");
    controller->SetDownloadOutputName("B");
    EXPECT_EQ(controller->DownloadItem()->GetFileName(), "B");
}

TEST_F(Controller, ObeysOutOfItsOwnFunctions) {
    // Stopped or reset in the very moment in which the queue starts it.
    for (bool const reset : {false, true}) {
        bool once = false;
        onState = [&](HVDownloadController& self, HVDownloadState state) {
            if (state == HVDownloadStateDownloading && !std::exchange(once, true))
                reset ? self.ResetDownload() : self.StopDownload();
        };
        auto const controller = New("hang");
        controller->PendingDownload();
        EXPECT_NE(controller->StartPending(), nullptr);
        Do(*controller, "end");
        EXPECT_EQ(controller->State(), HVDownloadStateCancelled);
        EXPECT_EQ(controller->StartPending(), nullptr);
    }
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
    EXPECT_TRUE(Eventually([&] { return ends_ == 5; }));
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
