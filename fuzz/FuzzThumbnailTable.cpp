// A head line and a row of the thumbnail table.

#include "HVFuzz.h"
#include "IHVDownloadThumbnail.h"

using namespace Halvorn;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    auto const parts = FuzzParts(data, size, 2);
    if (auto const thumbnail = IHVDownloadThumbnail::MallocDownloadThumbnail(parts[1], parts[0])) {
        HV_FUZZ_CHECK(!thumbnail->GetDownloadURL().empty());
        HV_FUZZ_CHECK(!thumbnail->BetterThan(thumbnail.get()));
    }
    return 0;
}
