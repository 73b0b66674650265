#include "HVConstants.h"

namespace Halvorn {

// What takes their addresses makes the compiler emit the constants here, so that the library exports them.
extern std::int32_t const* const kExportedNumbers[];
std::int32_t const* const kExportedNumbers[] = {&HVErrSuccess,       &HVErrFailure,         &HVErrTimeout,
                                                &HVErrorCodeSucceed, &HVErrorCodeCancelled, &HVErrorCodeIO};
extern std::uint32_t const* const kExportedTimes[];
std::uint32_t const* const kExportedTimes[] = {&HVInfiniteTimeOut};

} // namespace Halvorn
