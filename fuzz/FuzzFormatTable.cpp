// A head line and a row of the format table, and whole printed outputs.

#include "HVDownloadTaskParser.h"
#include "HVFuzz.h"
#include "IHVDownloadFormat.h"
#include "IHVDownloadItem.h"

#include <stdexcept>

using namespace Halvorn;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    auto const parts = FuzzParts(data, size, 2);
    try {
        if (auto const format = IHVDownloadFormat::MallocDownloadFormat(parts[1], parts[0])) {
            HV_FUZZ_CHECK(!format->FormatCode().empty() && !format->Extension().empty());
            HV_FUZZ_CHECK(*format == format->Clone().get());
            HV_FUZZ_CHECK(!format->Description().empty());
        }
        auto task = std::make_shared<HVDownloadTaskParser>("x");
        task->ParseDownloadItemInfo(parts[0] + "\n" + parts[1], IHVDownloadItem::MallocDownloadItem("x"));
        HVDownloadTaskParser::ParseSearchResult(parts[1]);
    } catch (std::logic_error const&) { // NOLINT(bugprone-empty-catch): a bad number, which the task reports
    }
    return 0;
}
