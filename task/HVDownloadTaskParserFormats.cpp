// From the tool's formats to the list that a user chooses from.

#include "HVDownloadFormat.h"
#include "HVDownloadItem.h"
#include "HVDownloadTaskParser.h"
#include "HVFormatSet.h"
#include "HVJsonObjectFormat.h"
#include "HVJsonObjectPlayItem.h"
#include "HVStableSort.h"
#include "IHVDownloadItem.h"
#include "IHVLogConfig.h"

#include <cstdint>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace Halvorn {

namespace {

using Formats = std::vector<std::shared_ptr<IHVDownloadFormat>>;

void SortBestFirst(Formats& formats) {
    HVStableSort(formats, [](auto& left, auto& right) { return left->BetterThan(right.get()); });
}

/// The first format of each sort that merging tells apart, in their order: another of the same sort never
/// merges where the first does not, so that long lists need not be tried pair by pair.
Formats FirstOfEachSort(Formats const& formats) {
    std::set<std::tuple<IHVDownloadFormat::FormatType, bool, bool>> seen;
    Formats result;
    for (auto const& format : formats)
        if (seen.emplace(format->GetFormatType(), format->AudioOnly(), format->VideoOnly()).second)
            result.push_back(format);
    return result;
}

/// Bytes by the bitrate, which is in kilobits a second; 0 for what is no size.
std::uint64_t EstimatedSize(float kilobits, int seconds) {
    float const size = kilobits * static_cast<float>(seconds) * 1000.0F / 8.0F;
    constexpr float kTooLarge = 18446744073709551616.0F;
    return size > 0.0F && size < kTooLarge ? static_cast<std::uint64_t>(size) : 0;
}

} // namespace

void HVDownloadTaskParser::GetPlayItemFormats(std::shared_ptr<IHVDownloadItem>& item,
                                              std::shared_ptr<HVJsonObjectPlayItem>& json) {
    HVFormatSet videos;
    HVFormatSet others;
    Formats all;
    std::map<std::string, HVFormatSet> audiosByLanguage;
    int const count = json->GetFormatsCount();
    int const seconds = json->GetDurationSeconds();
    for (int i = 0; i < count; ++i) {
        auto const source = json->GetFormatJsonObject(i);
        auto format = std::make_shared<HVDownloadFormat>();
        if (!format->LoadFromJsonObject(source))
            continue;
        if (format->Size() == 0)
            format->SetEstSize(EstimatedSize(source->BestBitrate(), seconds));
        all.push_back(format);
        auto& list = format->AudioOnly()   ? audiosByLanguage[format->GetAudioLanguage()]
                     : format->VideoOnly() ? videos
                                           : others;
        list.Add(std::move(format));
    }
    TakeAllFormats(*item, std::move(all));
    bool const live = json->IsLiveStream();
    if (audiosByLanguage.empty())
        audiosByLanguage.emplace();
    // One sorted block for each language, one behind the other: videos and others stand anew in each.
    for (auto& [language, audios] : audiosByLanguage)
        item->AddDownloadFormat(
            MergeDownloadFormats(videos.Formats(), audios.Formats(), others.Formats(), live));
}

void HVDownloadTaskParser::TakeAllFormats(IHVDownloadItem& item, Formats formats) {
    if (auto* const own = dynamic_cast<HVDownloadItem*>(&item))
        own->TakeAllFormats(std::move(formats));
}

Formats HVDownloadTaskParser::MergeDownloadFormats(Formats& videos, Formats& audios, Formats& others,
                                                   bool liveStream) {
    SortBestFirst(audios);
    Formats const candidates = FirstOfEachSort(audios);
    Formats result;
    for (auto const& video : videos) {
        for (auto const& audio : candidates) {
            if (auto merged = IHVDownloadFormat::MergeDownloadFormat(video, audio, liveStream)) {
                result.push_back(std::move(merged));
                break;
            }
        }
    }
    if (result.empty() && !videos.empty()) {
        IHVLogConfig::Printf("Can't merge audio into video.");
        result = videos;
    }
    result.insert(result.end(), others.begin(), others.end());
    result.insert(result.end(), audios.begin(), audios.end());
    SortBestFirst(result);
    return result;
}

bool HVDownloadTaskParser::ContainDownloadFormat(IHVDownloadFormat const* format, Formats const& formats) {
    for (auto const& other : formats)
        if (*format == other.get())
            return true;
    return false;
}

} // namespace Halvorn
