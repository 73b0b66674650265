// The address of a proxy, as the command takes it: what is accepted comes out again as it was meant.

#include "HVFuzz.h"
#include "HVProxyText.h"

using namespace Halvorn;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string fault;
    auto const proxy = ReadProxy(FuzzText(data, size), fault);
    HV_FUZZ_CHECK((proxy == nullptr) == !fault.empty());
    if (proxy == nullptr)
        return 0;
    std::string const url = proxy->BuildProxyURL();
    HV_FUZZ_CHECK(!url.empty());
    auto const again = ReadProxy(url, fault);
    HV_FUZZ_CHECK(again != nullptr && again->BuildProxyURL() == url);
    return 0;
}
