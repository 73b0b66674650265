#pragma once
// The queue's list, and who gets a free place.
//
// A place is taken by each controller of the list that downloads, by each row that is about to be started,
// and by each run whose row was removed while it ran. A controller that stands in several rows takes one.
//
// Thread-safety: the list and the places are guarded by one lock, which is never held while a controller
// starts or the application's code runs. Between the decision to start a row and its state Downloading the
// lock has to be let go; so the place is taken under the lock before the start and given back after it, when
// the state speaks for itself. That is why downloads that end in the same instant never start one row twice
// nor more rows than there are places. A run that ends while others hold places may find none free: it is
// counted, and who gives a place back looks again when the count has changed. Locks are taken in the order
// queue, controller, run.

#include "HVDownloadController.h"
#include "HVStartPacer.h"
#include "HVTotalRate.h"
#include "IHVDownloadControllers.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>

namespace Halvorn {

class HVQueueKeeper;

class HVDownloadControllers final : public IHVDownloadControllers,
                                    public std::enable_shared_from_this<HVDownloadControllers> {
public:
    using IHVDownloadControllers::AddController;
    using IHVDownloadControllers::InsertController;
    using IHVDownloadControllers::RemoveController;

    HVDownloadControllers();
    ~HVDownloadControllers();
    void SetConcurrentDownload(int count) override;
    int GetConcurrentDownload() const override;
    void AddController(std::shared_ptr<IHVDownloadController> controller) override;
    void AddController(std::vector<std::shared_ptr<IHVDownloadController>> controllers) override;
    void InsertController(std::shared_ptr<IHVDownloadController> controller, int index) override;
    void InsertController(std::vector<std::shared_ptr<IHVDownloadController>> controllers,
                          int index) override;
    bool RemoveController(std::shared_ptr<IHVDownloadController> controller) override;
    bool RemoveController(int index) override;
    bool RemoveController(std::vector<std::shared_ptr<IHVDownloadController>> controllers) override;
    bool RemoveController(std::vector<int> indices) override;
    int GetControllerCount() const override;
    std::shared_ptr<IHVDownloadController> GetController(int index) override;
    std::shared_ptr<IHVDownloadController const> GetController(int index) const override;
    int IndexOfController(std::shared_ptr<IHVDownloadController> controller) override;

    /// Called when a run has ended, by its controller or, with null, by the run itself: starts the Pending
    /// rows, lowest first, that there is room for.
    void DownloadCompleted(HVDownloadController* controller);

    enum class Place { Taken, NoneFree, NotWanted, NoRow };
    /// Takes a place for an explicit start of this row, if the row may start and a place is free.
    Place TakePlace(IHVDownloadController& controller);
    /// Gives a taken place back, since from the start on the row's state counts. The queue may be null.
    class HeldPlace {
    public:
        HeldPlace(HVDownloadControllers* queue, IHVDownloadController& controller)
            : queue_(queue), controller_(controller) {}
        ~HeldPlace() {
            if (queue_ != nullptr)
                queue_->GiveBackPlace(controller_);
        }
        HeldPlace(HeldPlace const&) = delete;
        HeldPlace& operator=(HeldPlace const&) = delete;

    private:
        HVDownloadControllers* const queue_;
        IHVDownloadController& controller_;
    };
    int CountFreePlaces() const;
    /// How many runs have ended so far.
    std::uint64_t Completions() const;
    void FillFreePlaces();
    /// See IHVDownloadControllers::SetResumable.
    void SetResumeOfRows(HVResumeSettings const& settings);
    void SetNameOfRows(std::string const& text);
    void SetMetadataOfRows(HVMetadataFiles const& files);
    HVStartPacer& Pacer() { return *pacer_; }
    HVTotalRate& TotalRate() { return *totalRate_; }
    void SetArchiveOfRows(std::shared_ptr<IHVDownloadArchive> const& archive);
    /// Has rows that are added from here on, and what becomes of them, stored.
    void SetKeeper(std::unique_ptr<HVQueueKeeper> keeper);
    /// See IHVKeptQueue::Move.
    bool MoveRow(IHVDownloadController const* controller, int index);
    /// See IHVDownloadControllers::WaitFinish; inside a function of the application, too.
    int WaitUntilIdle(unsigned int milliseconds) const;

private:
    using Controllers = std::vector<std::shared_ptr<IHVDownloadController>>;
    struct Row {
        std::shared_ptr<IHVDownloadController> controller;
        HVDownloadController* own; ///< the same, null for an implementation that is not the library's
        HVDownloadState State() const;
    };
    struct HeldStart {
        bool removed = false; ///< the row was removed while it was being started
    };
    bool HasRow(IHVDownloadController const* controller) const;
    void RemoveRow(std::vector<Row>::iterator row);
    void KeepRows(std::ptrdiff_t first, std::ptrdiff_t count);
    void SpreadRows();
    /// Of the nearest stored row above (-1) or below (1) this one.
    std::shared_ptr<HVRowKeeper> NextKeeper(std::ptrdiff_t row, int step) const;
    void KeepRun(std::shared_ptr<HVDownloadRun> run);
    std::set<IHVDownloadController const*> TakenPlaces() const;
    int FreePlaces(std::size_t taken) const;
    void GiveBackPlace(IHVDownloadController& controller);
    bool StartChosen(IHVDownloadController& controller);
    Controllers TakePlacesForPending(std::uint64_t& completions);

    mutable std::mutex mutex_; // guards what follows
    int concurrentDownload_ = 6;
    std::vector<Row> rows_;
    std::map<IHVDownloadController const*, HeldStart> starts_; // rows that hold a place to be started
    std::vector<std::shared_ptr<HVDownloadRun>> removedRuns_;  // runs whose row was removed while they ran
    std::uint64_t completions_ = 0;
    std::optional<HVResumeSettings> resume_;  // of rows that are added
    std::optional<std::string> nameTemplate_; // the same
    std::optional<HVMetadataFiles> metadata_;
    std::optional<std::shared_ptr<IHVDownloadArchive>> archive_;
    std::unique_ptr<HVQueueKeeper> keeper_; // of a kept queue
    std::shared_ptr<HVStartPacer> const pacer_ = std::make_shared<HVStartPacer>();
    std::shared_ptr<HVTotalRate> const totalRate_ = std::make_shared<HVTotalRate>();
};

} // namespace Halvorn
