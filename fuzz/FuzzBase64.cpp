// Base64: never longer than what it was made of.

#include "HVFuzz.h"
#include "IHVBase64Codec.h"

using namespace Halvorn;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    HV_FUZZ_CHECK(IHVBase64Codec::Decode(FuzzText(data, size)).size() <= size);
    return 0;
}
