// A settings file of anything: it reads, and what is saved is read again.

#include "HVAppSettings.h"
#include "HVFuzz.h"

#include <fstream>
#include <unistd.h>

using namespace Halvorn;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static std::string const kFile = "/dev/shm/reelhaul-fuzz-settings-" + std::to_string(getpid());
    std::ofstream(kFile, std::ios::binary) << FuzzText(data, size);
    bool const before = MallocAppSettings(kFile)->GetBool("enableLocalPlugin");
    auto const settings = MallocAppSettings(kFile);
    settings->SetBool(!before, "enableLocalPlugin");
    settings->Save();
    HV_FUZZ_CHECK(MallocAppSettings(kFile)->GetBool("enableLocalPlugin") == !before);
    unlink(kFile.c_str());
    return 0;
}
