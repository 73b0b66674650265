#pragma once
// The queue's list, and who gets a free place.
//
// Thread-safety: the list and the places are guarded by one lock, which is never held while a controller
// starts or the application's code runs. A place is taken under the lock before the start and given back
// after it, so that downloads that end in the same instant never start one row twice nor more rows than there
// are places.

#include "HVDownloadController.h"
#include "IHVDownloadControllers.h"

#include <cstdint>
#include <mutex>
#include <set>

namespace Halvorn {

class HVDownloadControllers final : public IHVDownloadControllers,
                                    public std::enable_shared_from_this<HVDownloadControllers> {
public:
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

    /// Called by a controller when its run has ended: starts the Pending rows, lowest first, that there is
    /// room for.
    void DownloadCompleted(HVDownloadController* controller);

    enum class Place { Taken, NoneFree, NotWanted };
    /// Takes a place for an explicit start of this row, if the row may start and a place is free.
    Place TakePlace(IHVDownloadController& controller);
    /// Gives a taken place back, since from the start on the row's state counts; also when a function of the
    /// application throws out of the start. The queue may be null.
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
    /// How many runs have ended so far.
    std::uint64_t Completions() const;
    void FillFreePlaces();

private:
    using Controllers = std::vector<std::shared_ptr<IHVDownloadController>>;
    bool IsRunning(IHVDownloadController const& controller) const;
    int FreePlaces() const;
    void GiveBackPlace(IHVDownloadController& controller);
    bool StartChosen(IHVDownloadController& controller);
    Controllers TakePlacesForPending(std::uint64_t& completions);

    mutable std::mutex mutex_; // guards what follows
    int concurrentDownload_ = 6;
    Controllers controllers_;
    std::set<IHVDownloadController const*> places_; // taken for rows that are about to start
    std::uint64_t completions_ = 0;
};

} // namespace Halvorn
