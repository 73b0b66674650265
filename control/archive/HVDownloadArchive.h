#pragma once
// See IHVDownloadArchive. The mutex is held over the disk; no code of the application runs under it.

#include "HVArchiveStore.h"
#include "HVFileClaims.h"
#include "IHVDownloadArchive.h"

#include <functional>
#include <mutex>
#include <utility>

namespace Halvorn {

class HVDownloadArchive final : public IHVDownloadArchive {
public:
    explicit HVDownloadArchive(std::string path);

    std::shared_ptr<IHVError const> Open() override;
    bool ContainsAny(std::vector<std::string> const& identities) override;
    std::shared_ptr<IHVError const> AddAll(std::vector<std::string> const& identities) override;
    std::int64_t Count() override;
    std::shared_ptr<IHVError const> LastError() const override;
    std::string const& Path() const { return path_; }
    HVFileClaims& Claims() { return *claims_; }

private:
    using Result = std::shared_ptr<IHVError const>;
    Result With(char const* function, std::function<Result(HVArchiveStore&)> const& work);
    Result OpenStore();

    std::string const path_;
    std::shared_ptr<HVFileClaims> const claims_;
    mutable std::mutex mutex_;
    std::unique_ptr<HVArchiveStore> store_; ///< once it is open
    Result last_;
};

} // namespace Halvorn
