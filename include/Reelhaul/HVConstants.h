#pragma once
/// \file
/// Results of waits and codes of error objects. Compare with the names: the numbers may change.

#include "HVExport.h"

#include <cstdint>

namespace Halvorn {

/// A wait ended because what was waited for has ended.
HV_EXPORT extern const std::int32_t HVErrSuccess;
/// A wait was not possible, for example for something that was never started.
HV_EXPORT extern const std::int32_t HVErrFailure;
/// A wait's time ran out, and what was waited for still runs.
HV_EXPORT extern const std::int32_t HVErrTimeout;
/// As the milliseconds of a wait: no limit.
HV_EXPORT extern const std::uint32_t HVInfiniteTimeOut;

/// Code of an error object that reports success.
HV_EXPORT extern const std::int32_t HVErrorCodeSucceed;
/// Code of an error object that reports that the user stopped the operation.
HV_EXPORT extern const std::int32_t HVErrorCodeCancelled;
/// Code of an error object that reports a failed access to a file or a busy worker.
HV_EXPORT extern const std::int32_t HVErrorCodeIO;

} // namespace Halvorn
