#include "DownloadFixture.h"

#include "HVDownloadController.h"
#include "HVDownloadControllers.h"
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
    std::string events_;
};

TEST_F(Controller, GoesThroughItsStates) {
    std::string const hang = "touch up;hang";
    // A script, what is done, and what is told, with the state and the last error's title at the end.
    for (auto const& [script, operations, expected] : std::vector<std::array<std::string, 3>>{
             {"write . 1", "start end", "1>3 3>5 Succeed|5|Succeed"},
             {"progress 50;progress 60", "start end", "1>3 50% 60% 3>5 Error|5|Error"},
             {"exit 1", "start end start end", "1>3 3>5 Error 5>3 3>5 Error|5|Error"},
             {"exit 1", "start end reset", "1>3 3>5 Error 5>1|1|"},
             {"exit 1", "stop pause", "|1|"},
             {"exit 1", "pending pending stop", "1>2|2|"},
             {"exit 1", "pending start end", "1>2 2>3 3>5 Error|5|Error"},
             {hang, "start up stop end", "1>3 3>6 Cancel|6|"},
             {hang, "start up stop end reset", "1>3 3>6 Cancel 6>1|1|"},
             {"touch up;wait go;progress 10", "start up pause go end", "1>3 10% 3>5 Error|5|Error"},
             {hang, "start up reset end", "1>3 3>1 1>6 Cancel|6|"},
             {hang, "start up reset pending quiet", "1>3 3>1 1>2|2|"},
             {hang, "start up pending reset end quiet", "1>3 3>2 2>1 1>6 Cancel|6|"},
             {hang, "start up start up stop end quiet", "1>3 3>6 Cancel|6|"},
             {hang, "start up reset start up stop end quiet", "1>3 3>1 1>3 3>6 Cancel|6|"},
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

TEST_F(Controller, KeepsTheLastErrorWhenItIsStoppedAtItsStart) {
    onState = [](HVDownloadController& self, HVDownloadState state) {
        if (state == HVDownloadStateDownloading)
            self.StopDownload();
    };
    auto const stopped = New("hang");
    stopped->SetLastError(IHVError::MallocError("f", 1, "g", -1, "Earlier", "m"));
    Do(*stopped, "start");
    Do(*stopped, "end");
    EXPECT_EQ(stopped->State(), HVDownloadStateCancelled);
    EXPECT_EQ(stopped->LastError()->GetErrorTitle(), "Earlier");
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
