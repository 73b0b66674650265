#pragma once
/// \file
/// Results of waits and codes of error objects. Compare with the names: the numbers may change. They are
/// constant expressions (`case HVErrorCodeSucceed:`), and the library exports them for programs that look
/// them up.

#include "HVExport.h"

#include <cstdint>

namespace Halvorn {

/// A wait ended because what was waited for has ended.
HV_EXPORT inline constexpr std::int32_t HVErrSuccess = 0;
/// A wait was not possible, for example for something that was never started.
HV_EXPORT inline constexpr std::int32_t HVErrFailure = 1;
/// A wait's time ran out, and what was waited for still runs.
HV_EXPORT inline constexpr std::int32_t HVErrTimeout = 2;
/// As the milliseconds of a wait: no limit.
HV_EXPORT inline constexpr std::uint32_t HVInfiniteTimeOut = 0xFFFFFFFFU;

/// Code of an error object that reports success.
HV_EXPORT inline constexpr std::int32_t HVErrorCodeSucceed = 0;
/// Code of an error object that reports that the user stopped the operation.
HV_EXPORT inline constexpr std::int32_t HVErrorCodeCancelled = 1;
/// Code of an error object that reports a failed access to a file or a busy worker.
HV_EXPORT inline constexpr std::int32_t HVErrorCodeIO = 5;

} // namespace Halvorn
