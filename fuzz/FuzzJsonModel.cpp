// From a JSON document to the whole model, read as a playlist and as an item.

#include "HVDownloadSubtitle.h"
#include "HVDownloadTaskParser.h"
#include "HVDownloadThumbnail.h"
#include "HVFuzz.h"
#include "HVJsonObjectPlayItem.h"
#include "HVJsonObjectPlayList.h"
#include "HVJsonObjectPlaylistEntry.h"
#include "HVJsonObjectSubtitle.h"
#include "HVJsonObjectThumbnail.h"
#include "IHVDownloadItem.h"
#include "IHVJsonValue.h"
#include "IHVPlayList.h"

#include <stdexcept>

using namespace Halvorn;

namespace {

void ReadItem(std::shared_ptr<HVJsonObjectPlayItem> json) {
    auto item = IHVDownloadItem::MallocDownloadItem("http://127.0.0.1/");
    item->SetFileName(json->GetFileName());
    item->SetDuration(json->GetDurationSeconds());
    item->SetDuration(json->GetDurationString());
    HVDownloadTaskParser::GetPlayItemFormats(item, json);
    HVDownloadTaskParser::GetPlayItemSubtitles(item, json);
    for (int i = 0; i < item->GetDownloadFormatCount(); ++i)
        HV_FUZZ_CHECK(!item->GetDownloadFormatAtIndex(i)->Clone()->FormatCode().empty());
    for (int i = 0; i < json->GetThumbnailCount(); ++i)
        HVDownloadThumbnail().LoadFromJson(json->GetThumbnailJsonObject(i));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    auto const root = IHVJsonReader::ReadJsonString(FuzzText(data, size), nullptr);
    if (root == nullptr)
        return 0;
    try {
        auto list = std::make_shared<HVJsonObjectPlayList>();
        if (list->LoadFromJsonValue(root)) {
            IHVPlayList::MallocPlayList("http://127.0.0.1/", list);
            for (int i = 0; i < list->GetEntriesCount(); ++i)
                if (auto const entry = list->GetEntriesJsonObject(i);
                    entry != nullptr && entry->GetURL().empty())
                    ReadItem(std::make_shared<HVJsonObjectPlayItem>(entry->GetJsonValue()));
        }
        auto json = std::make_shared<HVJsonObjectPlayItem>();
        if (json->LoadFromJsonValue(root))
            ReadItem(json);
    } catch (std::logic_error const&) { // NOLINT(bugprone-empty-catch): a bad number, which the task reports
    }
    return 0;
}
