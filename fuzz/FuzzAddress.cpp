// Addresses: their extension, and the argument lists that they end up in.

#include "HVArgsBuilder.h"
#include "HVFuzz.h"
#include "IHVFileProvider.h"

using namespace Halvorn;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const url = FuzzText(data, size);
    HV_FUZZ_CHECK(IHVFileProvider::URLExtension(url).find_first_of("/?#.") == std::string::npos);
    HVArgsBuilder const builder;
    for (auto const& args :
         {builder.BuildParsePlayItemArgs(url, true), builder.BuildSearchItemsArgs(url, false),
          builder.BuildDownloadThumbArgs(url, "out")}) {
        if (args.empty())
            continue;
        HV_FUZZ_CHECK(args.back() == url);
        // What looks like an option is not to be taken for one.
        HV_FUZZ_CHECK(url.empty() || (url.front() == '-') == (args[args.size() - 2] == "--"));
    }
    return 0;
}
