#pragma once
// The implementation of IHVKeptQueue. Thread-safe.

#include "HVDownloadControllers.h"
#include "HVQueueFile.h"
#include "HVQueueWriter.h"
#include "IHVKeptQueue.h"

#include <map>

namespace Halvorn {

class HVKeptQueue final : public IHVKeptQueue {
public:
    HVKeptQueue(std::shared_ptr<HVQueueWriter> writer, HVKeptQueueSettings settings);
    /// Makes the rows of the file.
    void Load(std::vector<HVStoredRow> const& rows, std::int64_t highestNumber);

    std::shared_ptr<IHVDownloadControllers> Controllers() const override { return controllers_; }
    void StartWaiting() override { controllers_->FillFreePlaces(); }
    void Store(std::shared_ptr<IHVDownloadController> const& controller) override;
    bool Move(std::shared_ptr<IHVDownloadController> const& controller, int index) override;
    std::int64_t Number(std::shared_ptr<IHVDownloadController> const& controller) const override;
    int Needs(std::shared_ptr<IHVDownloadController> const& controller) const override;
    int Flush(unsigned int milliseconds) override { return writer_->Flush(milliseconds); }
    std::shared_ptr<IHVError const> LastError() const override { return writer_->LastError(); }
    void KeepStates() override { writer_->KeepStates(); }
    int Close(unsigned int milliseconds) override;

private:
    using OptionsByRecord = std::map<std::string, std::pair<std::shared_ptr<IHVDownloadOptions>, int>>;
    /// What rows share.
    struct Shared {
        OptionsByRecord options;
        std::map<std::string, std::shared_ptr<IHVDownloadArchive>> archives; ///< by their paths
    };
    std::shared_ptr<HVDownloadController> MakeRow(HVStoredRow const& row, Shared& shared) const;

    std::shared_ptr<HVQueueWriter> const writer_;
    HVKeptQueueSettings const settings_;
    std::shared_ptr<HVDownloadControllers> const controllers_ = std::make_shared<HVDownloadControllers>();
};

} // namespace Halvorn
