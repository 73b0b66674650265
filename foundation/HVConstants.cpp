#include "HVConstants.h"

namespace Halvorn {

const std::int32_t HVErrSuccess = 0;
const std::int32_t HVErrFailure = 1;
const std::int32_t HVErrTimeout = 2;
const std::uint32_t HVInfiniteTimeOut = 0xFFFFFFFFU;

const std::int32_t HVErrorCodeSucceed = 0;
const std::int32_t HVErrorCodeCancelled = 1;
const std::int32_t HVErrorCodeIO = 5;

} // namespace Halvorn
