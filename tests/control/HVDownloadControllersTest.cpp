#include "DownloadFixture.h"
#include "Scale.h"

#include "HVDownloadControllers.h"
#include "IHVDownloadController.h"
#include "IHVDownloadOptions.h"
#include "IHVGeneralOptions.h"

#include <limits>
#include <random>
#include <stdexcept>

using namespace Halvorn;
using Rows = std::vector<int>;

class Queue : public Downloads {
protected:
    std::shared_ptr<IHVDownloadController> Add(std::string const& script, std::string const& title = "A") {
        auto controller =
            IHVDownloadController::MallocDownloadController(Item("scripted:" + script, title), out_);
        queue_->AddController(controller);
        return controller;
    }
    /// Rows 0 to count - 1, each of which ends when the file "go<row>" is put.
    void AddGated(int count) {
        for (int row = 0; row < count; ++row)
            Add("wait go" + std::to_string(row));
    }
    Rows States() const {
        Rows states;
        for (int row = 0; row < queue_->GetControllerCount(); ++row)
            states.push_back(queue_->State(row));
        return states;
    }
    void Becomes(Rows const& states) {
        Eventually([&] { return States() == states; });
        EXPECT_EQ(States(), states);
    }
    bool Quiet() {
        return Eventually([this] { return !queue_->AnyControllerIsDownloading(); }) && NothingLeft();
    }

    std::shared_ptr<IHVDownloadControllers> queue_ = IHVDownloadControllers::MallocDownloadControllers();
};

TEST_F(Queue, SchedulesByRowAndLimit) {
    AddGated(6);
    queue_->SetChecked(false, 5);
    for (int const limit : {0, std::numeric_limits<int>::min()}) {
        queue_->SetConcurrentDownload(limit);
        EXPECT_TRUE(queue_->StartDownload({}).empty());
        EXPECT_EQ(States(), (Rows{2, 2, 2, 2, 2, 1}));
    }
    queue_->SetConcurrentDownload(2);
    EXPECT_EQ(States(), (Rows{2, 2, 2, 2, 2, 1})); // a limit starts nothing
    queue_->StopDownload({});
    EXPECT_EQ(queue_->State(queue_->AllControllers()), HVDownloadStateIdle);

    // The order of the indices decides over the free places, that of the rows over those that get free.
    EXPECT_EQ(queue_->StartDownload({4, 4, 3, 1, 0, 5}).size(), 2U);
    EXPECT_EQ(States(), (Rows{2, 2, 1, 3, 3, 1}));
    queue_->SetChecked(false, 0); // too late for the next free place, but not for an explicit start
    EXPECT_TRUE(queue_->StartDownload({0, 2}).empty());
    EXPECT_EQ(queue_->State(Rows{3, 4}), HVDownloadStateDownloading);
    EXPECT_EQ(queue_->State(Rows{2, 3}), HVDownloadStateMixed);
    queue_->PauseDownload({});
    Put("go4");
    Becomes({3, 2, 2, 3, 5, 1});
    EXPECT_TRUE(queue_->StartDownload({4}).empty()); // done is done
    queue_->SetConcurrentDownload(1);
    Put("go3");
    EXPECT_TRUE(Eventually([&] { return queue_->State(3) == HVDownloadStateDone; }));
    EXPECT_EQ(States(), (Rows{3, 2, 2, 5, 5, 1}));
    queue_->SetConcurrentDownload(3);
    Put("go0");
    Becomes({5, 3, 3, 5, 5, 1}); // all that there is room for
    queue_->StopDownload({});
    EXPECT_EQ(States(), (Rows{5, 3, 3, 5, 5, 1})); // asked to
    Becomes({5, 6, 6, 5, 5, 1});
    Quiet();
}

TEST_F(Queue, StartsTheNextOneBeforeItTellsOfAnEnd) {
    auto const first = Add("wait go");
    auto const refused = Add("exit 1");
    auto const last = Add("exit 1");
    queue_->SetConcurrentDownload(1);
    // Reset in the moment in which it gets the place: the place goes to the next one at once.
    std::atomic<bool> once = false;
    refused->SetStateWillChangeFunc([&](HVDownloadState, HVDownloadState to) {
        if (to == HVDownloadStateDownloading && !once.exchange(true))
            refused->ResetDownload();
    });
    std::atomic<bool> ended = false;
    first->SetDownloadCompleteFunc([&](auto const&) {
        EXPECT_GE(last->State(), HVDownloadStateDownloading);
        ended = true;
    });
    queue_->StartDownload({});
    Put("go");
    EXPECT_TRUE(Eventually([&] { return ended && last->State() == HVDownloadStateDone; }));
    EXPECT_EQ(refused->State(), HVDownloadStateIdle);
    EXPECT_TRUE(Quiet());
}

TEST_F(Queue, PausesBetweenStartsUntilAStop) {
    queue_->SetPauseBetweenStarts(3'600'000);
    for (int row = 0; row < 3; ++row)
        Add("write . 1", std::to_string(row));
    queue_->StartRows({0});
    EXPECT_TRUE(Eventually([this] { return queue_->State(0) == HVDownloadStateDone; }));
    queue_->StartRows({1, 2});
    EXPECT_TRUE(Eventually([this] {
        return queue_->GetController(1)->GetProgress().phase == HVDownloadPhaseWaiting &&
               queue_->GetController(2)->GetProgress().phase == HVDownloadPhaseWaiting;
    }));
    queue_->StopRows({1});
    EXPECT_TRUE(Eventually([this] { return queue_->State(1) != HVDownloadStateDownloading; }));
    EXPECT_EQ(Starts().size(), 1U);
    queue_->SetPauseBetweenStarts(0); // for the one that waits as well
    EXPECT_EQ(queue_->WaitFinish(60'000), HVErrSuccess);
    EXPECT_EQ(Starts().size(), 2U);
}

TEST_F(Queue, LimitsTheRateOfAllRunsTogether) {
    // The scripted tool can't hear of it: each run gets a share, or its own limit where that is lower.
    queue_->SetConcurrentDownload(3);
    queue_->SetRateLimit(3000);
    for (int const own : {500, 2000}) {
        auto const options = IHVDownloadOptions::MallocDownloadOptions();
        auto const general = IHVGeneralOptions::MallocGeneralOptions();
        general->SetLimitDownloadRate(own);
        general->SetThrottledDownloadRate(400);
        options->SetGeneralOptions(general);
        Add("write . 1")->SetOptions(options);
        queue_->StartAll();
        EXPECT_EQ(queue_->WaitFinish(60'000), HVErrSuccess);
        EXPECT_THAT(Starts().back(),
                    testing::HasSubstr("--limit-rate " + std::to_string(std::min(own, 1000))));
        EXPECT_THAT(Starts().back(), testing::Not(testing::HasSubstr("--throttled-rate")));
    }
    HVTotalRate rate;
    rate.SetRate(5);
    std::string const heard = rate.Share(IHVFileProvider::GetTmpPath() + "/.tool-extension");
    EXPECT_EQ(ContentOf(heard + ".rate"), "5\n");
    rate.SetRate(-1); // while it runs
    EXPECT_EQ(ContentOf(heard + ".rate"), "0\n");
}

TEST_F(Queue, KeepsAListOfRows) {
    AddGated(5);
    auto const second = queue_->GetController(1);
    auto const fourth = queue_->GetController(3);
    auto const last = queue_->GetController(4);
    EXPECT_FALSE(queue_->RemoveController(-1) || queue_->RemoveController(5));
    EXPECT_TRUE(queue_->RemoveController(Rows{1, 2})); // each removal shifts the rows behind it
    EXPECT_FALSE(queue_->RemoveController(fourth));
    queue_->InsertController(fourth, 2);
    queue_->InsertController(std::vector{second}, -7);
    EXPECT_EQ(queue_->IndexOfController(second), 0);
    EXPECT_EQ(queue_->IndexOfController(last), 4);
    queue_->SetSelected(true, Rows{3, 1, 99});
    EXPECT_EQ(queue_->GetSelected(), (Rows{1, 3}));
    queue_->ClearChecked();
    EXPECT_TRUE(queue_->StartDownload({}).empty());
}

TEST_F(Queue, RunsEachOfManyOnceAndNeverMoreThanTheLimit) {
    int const count = Scaled(10'000);
    for (int const limit : {1, 6, 64}) {
        queue_ = IHVDownloadControllers::MallocDownloadControllers();
        queue_->SetConcurrentDownload(limit);
        std::atomic<int> completed = 0;
        std::vector<std::string> expected;
        for (int row = 0; row < count; ++row) {
            std::string const title = std::to_string(limit) + "-" + std::to_string(row);
            expected.push_back("scripted:write . 1;#" + title);
            auto const controller = Add(expected.back().substr(9), title);
            controller->SetDownloadCompleteFunc([&](auto const& error) {
                EXPECT_TRUE(error->Succeed());
                ++completed;
            });
        }
        EXPECT_EQ(queue_->StartDownload({}).size(), static_cast<std::size_t>(std::min(limit, count)));
        EXPECT_TRUE(Eventually([&] { return completed == count; }, std::chrono::minutes(20)));
        EXPECT_LE(Running().second, limit);
        auto starts = Starts();
        for (auto& start : starts)
            start = start.substr(start.find("scripted:"));
        if (limit > 1) {
            std::sort(starts.begin(), starts.end());
            std::sort(expected.begin(), expected.end());
        }
        EXPECT_TRUE(starts == expected) << starts.size() << " starts with limit " << limit;
        EXPECT_EQ(FilesIn(out_).size(), static_cast<std::size_t>(count));
        EXPECT_TRUE(Quiet());
        std::filesystem::remove(Path("starts"));
        std::filesystem::remove(Path("running"));
        std::filesystem::remove_all(out_);
        std::filesystem::create_directory(out_);
    }
}

Rows Following(int row) {
    return {row, row + 1, row + 2};
}

TEST_F(Queue, StandsManyHandsAtOnce) {
    int const count = std::max(40, Scaled(1000));
    queue_->SetConcurrentDownload(4);
    char const* const scripts[] = {"exit 1", "write . 1", "progress 50;sleep 5", "write +.part +9;hang"};
    for (int row = 0; row < count; ++row)
        Add(scripts[row % 4], "t" + std::to_string(row));
    std::atomic<bool> over = false;
    auto const hand = [&](unsigned int seed) {
        std::mt19937 random(seed);
        int row = 0;
        std::shared_ptr<IHVDownloadController> controller;
        std::function<void()> const doings[] = {
            [&] { queue_->StartDownload({}); },
            [&] { queue_->StartDownload(Following(row)); },
            [&] { queue_->StopDownload(Following(row)); },
            [&] { queue_->SetConcurrentDownload(2 + row % 4); },
            [&] { controller->ResetDownload(); },
            [&] { controller->StopDownload(); },
            [&] {
                if (queue_->RemoveController(controller))
                    queue_->InsertController(controller, row);
            },
            [&] {
                controller->SetDownloadCompleteFunc([again = std::weak_ptr(controller)](auto const& error) {
                    auto const self = again.lock();
                    if (self != nullptr && error->UserCancel())
                        self->PendingDownload();
                });
            },
            [&] {
                EXPECT_TRUE(controller->LastError() == nullptr || !controller->LastError()->UserCancel());
            },
        };
        while (!over) {
            row = static_cast<int>(random() % static_cast<unsigned int>(count + 4));
            controller = queue_->GetController(row);
            doings[random() % (controller == nullptr ? 4 : std::size(doings))]();
            EXPECT_NE(queue_->State(row), HVDownloadStateMixed);
        }
    };
    std::vector<std::thread> hands;
    for (unsigned int seed = 0; seed < 8; ++seed)
        hands.emplace_back(hand, seed);
    std::this_thread::sleep_for(std::chrono::seconds(std::max(3, Scaled(60))));
    over = true;
    for (auto& thread : hands)
        thread.join();

    // Whatever they did, no row and no place is lost: all can still be stopped, and then all run to their
    // end.
    for (int const row : queue_->AllControllers())
        queue_->GetController(row)->SetDownloadCompleteFunc(nullptr);
    std::chrono::minutes const patience(2); // they have made hundreds of processes
    EXPECT_TRUE(Eventually(
        [&] {
            queue_->StopDownload({});
            return !queue_->AnyControllerIsDownloading() && queue_->CountOfPendingControllers() == 0;
        },
        patience));
    EXPECT_TRUE(NothingLeft());
    EXPECT_EQ(queue_->GetControllerCount(), count);
    queue_->SetConcurrentDownload(32);
    for (int const row : queue_->AllControllers()) {
        auto const controller = queue_->GetController(row);
        controller->SetChecked(controller->DownloadItem()->DownloadURL().find("hang") == std::string::npos);
        controller->ResetDownload();
    }
    queue_->StartDownload({});
    EXPECT_TRUE(Eventually(
        [&] {
            auto const states = States();
            return std::count(states.begin(), states.end(), HVDownloadStateDone) == count - count / 4;
        },
        patience));
}

/// Set on the thread that told of the first row's end; a later worker may get the thread id of an earlier
/// one.
thread_local bool tFirstWorker = false;

TEST_F(Queue, LooksAgainForARunThatEndsWhileItIsBeingStarted) {
    auto const first = Add("exit 1");
    auto const second = Add("exit 1");
    auto const third = Add("exit 1");
    queue_->SetConcurrentDownload(1);
    std::atomic<bool> ended = false;
    first->SetStateDidChangedFunc(
        [&](HVDownloadState state) { tFirstWorker = state == HVDownloadStateDone; });
    second->SetDownloadCompleteFunc([&](auto const&) { ended = true; });
    // The first one's worker still holds the place when the second one looks for who comes next.
    second->SetDownloadStartFunc(
        [&] { EXPECT_TRUE(!tFirstWorker || Eventually([&] { return ended.load(); })); });
    queue_->StartDownload({});
    EXPECT_TRUE(Eventually([&] { return third->State() == HVDownloadStateDone; }));
}

TEST_F(Queue, KeepsThePlaceOfARemovedRowUntilItsRunHasEnded) {
    auto const other = IHVDownloadControllers::MallocDownloadControllers();
    // What is done to the first of three rows while it runs, and whether it ends by itself then.
    std::pair<std::function<void()>, bool> const rows[] = {
        {[&] { queue_->RemoveController(0); }, false},
        {[&] { queue_->StopRows({0}), queue_->RemoveController(0); }, true},
        {[&] { EXPECT_FALSE(other->RemoveController(queue_->GetController(0))); }, false},
        {[&] { other->AddController(queue_->GetController(0)); }, false},
        {[&] { queue_->InsertController(queue_->GetController(0), 2), queue_->RemoveController(0); }, false},
        {[&] {
             auto const row = queue_->GetController(0);
             queue_->RemoveController(row);
             queue_->InsertController(row, 2);
         },
         false},
    };
    for (auto const& [doing, ends] : rows) {
        queue_ = IHVDownloadControllers::MallocDownloadControllers();
        queue_->SetConcurrentDownload(1);
        Add("touch up;wait go");
        auto const second = Add("touch up;wait go");
        auto const third = Add("exit 1");
        queue_->StartAll();
        EXPECT_TRUE(AwaitFile("up"));
        std::filesystem::remove(Path("up"));
        doing();
        queue_->StartRows({queue_->IndexOfController(third)});
        if (!ends) {
            EXPECT_EQ(second->State(), HVDownloadStatePending);
            EXPECT_EQ(third->State(), HVDownloadStatePending);
        }
        Put("go");
        EXPECT_EQ(queue_->WaitFinish(60'000), HVErrSuccess);
        EXPECT_TRUE(second->DownloadWasDone() && third->DownloadWasDone());
        EXPECT_EQ(Running().second, 1);
        std::filesystem::remove(Path("go"));
    }
}

TEST_F(Queue, LosesNoPlaceToARowThatGoesWhileItIsBeingStarted) {
    queue_->SetConcurrentDownload(1);
    auto const goes = Add("wait go");
    auto const last = Add("exit 1");
    for (bool const reset : {false, true}) {
        goes->SetStateDidChangedFunc([&](HVDownloadState state) {
            if (state == HVDownloadStateDownloading)
                reset ? goes->ResetDownload() : static_cast<void>(queue_->RemoveController(goes));
        });
        queue_->StartAll();
        EXPECT_EQ(last->State(), reset ? HVDownloadStateDownloading : HVDownloadStatePending);
        Put("go");
        EXPECT_EQ(queue_->WaitFinish(60'000), HVErrSuccess);
        EXPECT_TRUE(last->DownloadWasDone());
        goes->ResetDownload();
        last->ResetDownload();
        queue_->InsertController(goes, 0);
    }
    goes->SetStateDidChangedFunc(nullptr);
}

TEST_F(Queue, TakesOnePlaceForAControllerInTwoRows) {
    auto const first = Add("wait go");
    queue_->AddController({first, first});
    EXPECT_TRUE(queue_->RemoveController(first)); // one row of three
    Add("wait go1");
    auto const last = Add("exit 1");
    queue_->SetConcurrentDownload(2);
    EXPECT_EQ(queue_->StartAll().size(), 2U);
    EXPECT_EQ(States(), (Rows{3, 3, 3, 2}));
    Put("go");
    EXPECT_TRUE(Eventually([&] { return last->DownloadWasDone(); }));
    Put("go1");
    EXPECT_EQ(queue_->WaitFinish(60'000), HVErrSuccess);
}

TEST_F(Queue, TakesExactlyTheGivenRows) {
    AddGated(5);
    queue_->SetConcurrentDownload(2);
    EXPECT_TRUE(queue_->StartRows(queue_->GetSelected()).empty());
    EXPECT_EQ(queue_->StartRows({1, 2, 3}).size(), 2U);
    queue_->StopRows({});
    queue_->AddController({});
    EXPECT_EQ(States(), (Rows{1, 3, 3, 2, 1}));
    EXPECT_TRUE(queue_->RemoveController({4, 0}));
    queue_->StopAll();
    EXPECT_EQ(States(), (Rows{3, 3, 1}));
    EXPECT_EQ(queue_->WaitFinish(60'000), HVErrSuccess);
    EXPECT_EQ(States(), (Rows{6, 6, 1})); // no place that got free has started one
    Put("go1");
    EXPECT_EQ(queue_->StartRows({0}).size(), 1U); // a cancelled one starts again
    Becomes({5, 6, 1});
}

TEST_F(Queue, HearsOfTheEndOfARowWhoseFunctionsThrow) {
    queue_->SetConcurrentDownload(1);
    std::atomic<int> calls = 0;
    auto const odd = [&calls](auto...) {
        ++calls;
        throw std::runtime_error("odd");
    };
    for (int i = 0; i < 3; ++i) {
        auto const row = Add("progress 50;exit 1");
        row->SetStateWillChangeFunc(odd);
        row->SetStateDidChangedFunc(odd);
        row->SetDownloadStartFunc(odd);
        row->SetDownloadProgressFunc(odd);
        row->SetDownloadCompleteFunc(odd);
    }
    queue_->StartAll();
    EXPECT_EQ(queue_->WaitFinish(60'000), HVErrSuccess);
    EXPECT_EQ(States(), (Rows{5, 5, 5}));
    // The rows behind the first one are told of a wait, too.
    EXPECT_EQ(calls, 3 * 8 + 2 * 2);
}
