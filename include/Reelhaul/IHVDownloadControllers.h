#pragma once
/// \class Halvorn::IHVDownloadControllers
/// The queue: an ordered list of controllers, of which at most so many download at the same time. Rows are
/// indices into the list; the next Pending row, lowest first, starts when one ends.
///
/// Thread-safety: every operation may be called from any thread, also out of a controller's callback; no lock
/// is held while the application's code runs. Indices are those of the moment of the call. Ownership: shared
/// pointers; the queue holds its controllers. When the last pointer to a queue goes, its running downloads go
/// on and no row is started any more. A controller belongs to one queue at a time. Indices out of range are
/// passed over.

#include "IHVDownloadController.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

namespace Halvorn {

class HV_EXPORT IHVDownloadControllers {
public:
    /// An empty queue with a limit of 6.
    static std::shared_ptr<IHVDownloadControllers> MallocDownloadControllers();

    ///@{
    /// How many may download at once. Starts nothing and stops nothing; 0 or less lets none start.
    virtual void SetConcurrentDownload(int count) = 0;
    virtual int GetConcurrentDownload() const = 0;
    ///@}
    ///@{
    /// Appends, and starts nothing. Empty pointers are left out. A controller that is added twice stands in
    /// two rows and takes one place.
    virtual void AddController(std::shared_ptr<IHVDownloadController> controller) = 0;
    virtual void AddController(std::vector<std::shared_ptr<IHVDownloadController>> controllers) = 0;
    void AddController(std::initializer_list<std::shared_ptr<IHVDownloadController>> controllers);
    ///@}
    ///@{
    /// Inserts in front of the row `index`, and starts nothing; an index outside the list means its nearer
    /// end.
    virtual void InsertController(std::shared_ptr<IHVDownloadController> controller, int index) = 0;
    virtual void InsertController(std::vector<std::shared_ptr<IHVDownloadController>> controllers,
                                  int index) = 0;
    void InsertController(std::initializer_list<std::shared_ptr<IHVDownloadController>> controllers,
                          int index);
    ///@}
    ///@{
    /// Takes rows out of the list. A running download goes on and keeps its place until it ends; then the
    /// next Pending row starts. False, and nothing else, when the one row is not in the list.
    virtual bool RemoveController(std::shared_ptr<IHVDownloadController> controller) = 0;
    virtual bool RemoveController(int index) = 0;
    virtual bool RemoveController(std::vector<std::shared_ptr<IHVDownloadController>> controllers) = 0;
    ///@}
    ///@{
    /// Removes one after the other: each removal shifts the rows behind it. Pass indices from high to low.
    virtual bool RemoveController(std::vector<int> indices) = 0;
    bool RemoveController(std::initializer_list<int> indices);
    ///@}
    /// Number of rows.
    virtual int GetControllerCount() const = 0;
    ///@{
    /// Empty when the index is out of range.
    virtual std::shared_ptr<IHVDownloadController> GetController(int index) = 0;
    virtual std::shared_ptr<IHVDownloadController const> GetController(int index) const = 0;
    ///@}
    /// Row of the controller, or -1.
    virtual int IndexOfController(std::shared_ptr<IHVDownloadController> controller) = 0;

    /// State of the row, HVDownloadStateNone when the index is out of range.
    HVDownloadState State(int index) const;
    /// The rows' common state, HVDownloadStateMixed when they differ, HVDownloadStateNone for no rows.
    HVDownloadState State(std::vector<int> const& indices) const;
    ///@{
    /// How many rows are in this state at the moment.
    int CountOfPendingControllers() const;
    int CountOfDownloadingControllers() const;
    bool AnyControllerIsDownloading() const;
    ///@}
    /// True also for an empty list.
    bool AllControllerIsDownloading() const;
    /// All rows, ascending.
    std::vector<int> AllControllers() const;

    ///@{
    /// Starts rows, in the order given, as places are free, and makes the others Pending. Rows that are Done,
    /// not checked, or downloading are passed over. One result for each row really started. StartRows takes
    /// exactly the given rows. \warning For StartDownload an empty vector means all rows:
    /// `StartDownload(GetSelected())` starts every row when none is selected.
    std::vector<std::shared_ptr<IHVError const>> StartDownload(std::vector<int> indices);
    std::vector<std::shared_ptr<IHVError const>> StartAll();
    std::vector<std::shared_ptr<IHVError const>> StartRows(std::vector<int> const& indices);
    ///@}
    /// IHVDownloadController::PauseDownload of the downloading ones of the rows; StartDownload resumes.
    void PauseDownload(std::vector<int> indices);
    ///@{
    /// Makes the Pending ones of the rows Idle, then asks the downloading ones to end. StopRows takes exactly
    /// the given rows. \warning For StopDownload an empty vector means all rows:
    /// `StopDownload(GetSelected())` stops every row when none is selected.
    void StopDownload(std::vector<int> indices);
    void StopAll();
    void StopRows(std::vector<int> const& indices);
    ///@}
    /// Blocks for at most so many milliseconds until nothing is under way: IHVDownloadController::WaitFinish
    /// of all rows, and of runs whose row was removed. So it waits for rows that are Pending, too.
    /// HVErrSuccess then, HVErrTimeout when the time ran out, HVErrFailure inside a function of the
    /// application. At the end of a program call StopAll first.
    int WaitFinish(unsigned int milliseconds) const;

    /// IHVDownloadController::SetResumable of all rows, and of those that are added later.
    void SetResumable(HVResumeSettings const& settings);
    /// IHVDownloadController::SetNameTemplate of all rows, and of those that are added later.
    std::shared_ptr<IHVError const> SetNameTemplate(std::string const& text);
    /// IHVDownloadController::SetArchive of all rows, and of those that are added later.
    void SetArchive(std::shared_ptr<IHVDownloadArchive> archive);
    /// IHVDownloadController::SetMetadataFiles of all rows, and of those that are added later.
    void SetMetadataFiles(HVMetadataFiles const& files);
    /// The least time between the starts of two rows of the queue, in milliseconds; 0, as until it is set,
    /// for none. A row that waits for its turn counts as downloading and has the phase
    /// HVDownloadPhaseWaiting; a stop ends the wait. Tries again of one row are not counted. It counts at
    /// once, within a second for those that wait already.
    void SetPauseBetweenStarts(int milliseconds);
    /// The most bytes a second over all downloads of the queue together, with those whose row was removed; 0
    /// or less, as until it is set, for as many as come. They take turns, so what a slow one or one with a
    /// lower limit of its own leaves is the others'. It counts at once, also for running ones; meanwhile
    /// IHVGeneralOptions::SetThrottledDownloadRate has no effect. What ffmpeg fetches itself (recordings,
    /// sections) is not limited. Where the tool can't load our extension, because it is no program for
    /// Python, each download gets an equal share for as many as may run at once, from its start to its end.
    void SetRateLimit(std::int64_t bytesPerSecond);
    /// Removes partial data in which nothing has changed for so many days: that in `folder`, a target folder
    /// or one that was named as the folder of partial data. What is in use stays. How many downloads' data
    /// there was. Blocks as long as the removal takes.
    static int SweepPartial(std::string const& folder, int days);
    /// The sum over all rows, and how many rows are in which state. Walks the list; rows go on meanwhile.
    HVQueueProgress GetProgress() const;
    /// The same of these rows alone, such as those that were started together in a queue that holds the done
    /// ones of former days as well. An index outside the list is passed over.
    HVQueueProgress GetProgress(std::vector<int> const& indices) const;

    /// Whether the controller is in the list.
    bool ExistController(std::shared_ptr<IHVDownloadController const> controller) const;
    /// Rows of the selected controllers, ascending.
    std::vector<int> GetSelected() const;
    ///@{
    /// IHVDownloadController::SetSelected of the rows; of all by ClearSelected. False for an index out of
    /// range.
    bool GetSelected(int index) const;
    void SetSelected(bool selected, int index);
    void SetSelected(bool selected, std::vector<int> const& indices);
    void ClearSelected();
    ///@}
    ///@{
    /// IHVDownloadController::SetChecked of the rows; of all by ClearChecked. False for an index out of
    /// range.
    bool GetChecked(int index) const;
    void SetChecked(bool checked, int index);
    void SetChecked(bool checked, std::vector<int> const& indices);
    void ClearChecked();
    ///@}

protected:
    ~IHVDownloadControllers() = default;
};

} // namespace Halvorn
