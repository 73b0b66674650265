#pragma once
// How an archive keeps its identities. One thread at a time; all block on the disk. Results are empty where
// all went well.

#include "IHVError.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Halvorn {

class HVArchiveStore {
public:
    using Result = std::shared_ptr<IHVError const>;

    virtual ~HVArchiveStore() = default;
    HVArchiveStore(HVArchiveStore const&) = delete;
    HVArchiveStore& operator=(HVArchiveStore const&) = delete;

    virtual Result Open() = 0;
    virtual Result Find(std::vector<std::string> const& identities, bool& found) = 0;
    virtual Result Add(std::vector<std::string> const& identities) = 0;
    virtual Result Count(std::int64_t& count) = 0;

protected:
    HVArchiveStore() = default;
};

std::unique_ptr<HVArchiveStore> MakeTextArchive(std::string const& path);
std::unique_ptr<HVArchiveStore> MakeDatabaseArchive(std::string const& path);

} // namespace Halvorn
