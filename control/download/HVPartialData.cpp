#include "HVPartialData.h"

#include "HVConversion.h"
#include "IHVDownloadControllers.h"
#include "IHVDownloadItem.h"
#include "IHVFileProvider.h"
#include "IHVPlayList.h"

#include <filesystem>
#include <system_error>

namespace Halvorn {

namespace {

constexpr char kHiddenFolder[] = ".reelhaul-partial";
/// Stands in no name or address.
constexpr char kSeparator = '\n';

/// Who the item is: the site's identifier, which is the same under another address; else its address.
std::string Identity(IHVDownloadItem const& item) {
    if (auto const details = item.Details(); details != nullptr && !details->id.empty())
        return details->extractor + kSeparator + details->id;
    std::string const& url = item.DownloadURL();
    return url.empty() ? item.GetPlaylistURL() + kSeparator + std::to_string(item.GetEntryIndexOfPlayList())
                       : url;
}

} // namespace

std::string PartialParent(HVResumeSettings const& settings, std::string const& outputPath) {
    std::error_code failure;
    std::string const parent = settings.folder.empty()
                                   ? IHVFileProvider::AppendPathComponent(outputPath, kHiddenFolder)
                                   : settings.folder;
    // The tool reaches it by a link, which stands in another folder.
    auto const absolute = std::filesystem::absolute(parent, failure);
    return failure ? parent : absolute.string();
}

std::string PartialName(IHVDownloadItem& item, std::string const& outputPath,
                        IHVDownloadOptions const* options) {
    auto const format = item.GetCurrentDownloadFormat();
    std::error_code failure;
    auto const target = std::filesystem::weakly_canonical(outputPath, failure);
    std::string name = Identity(item) + kSeparator + (format == nullptr ? "" : format->FormatCode()) +
                       kSeparator + (failure ? outputPath : target.string());
    if (HVConversion const conversion = ConversionOf(options); !conversion.Empty())
        for (std::string const& argument : ConversionArguments(conversion, item, {}))
            name += kSeparator + argument;
    return StableName(name);
}

int IHVDownloadControllers::SweepPartial(std::string const& folder, int days) {
    return HVPartialFolder::Sweep(folder, days) +
           HVPartialFolder::Sweep(IHVFileProvider::AppendPathComponent(folder, kHiddenFolder), days);
}

} // namespace Halvorn
