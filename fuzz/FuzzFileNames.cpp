// File names made of anything: legal, within the limit, the same when made again, and unique.

#include "HVFuzz.h"
#include "IHVFileProvider.h"

#include <algorithm>

using namespace Halvorn;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static std::string const kFolder = "/nowhere/at/all";
    auto const parts = FuzzParts(data, size, 2);
    std::string const extension = parts[1].substr(0, 8);
    std::string const name = IHVFileProvider::MakeValidFilenameAtPath(parts[0], extension, kFolder);
    HV_FUZZ_CHECK(!name.empty() && name.size() + extension.size() + 1 <= 255);
    HV_FUZZ_CHECK(name.front() != '.' && name.front() != ' ' && name.back() != '.' && name.back() != ' ');
    HV_FUZZ_CHECK(std::none_of(name.begin(), name.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < 0x20 ||
               std::string("<>:\"/\\|?*\x7f").find(letter) != std::string::npos;
    }));
    HV_FUZZ_CHECK(IHVFileProvider::MakeValidFilenameAtPath(name, extension, kFolder) == name);
    std::string const first = IHVFileProvider::CreateUniquePathFile(name, extension, kFolder);
    std::string const second = IHVFileProvider::CreateUniquePathFile(name, extension, kFolder);
    HV_FUZZ_CHECK(!first.empty() && first != second);
    // A move gives the reservation back, whether it succeeds or not.
    IHVFileProvider::MvFile("/nowhere/source", first, true);
    IHVFileProvider::MvFile("/nowhere/source", second, true);
    return 0;
}
