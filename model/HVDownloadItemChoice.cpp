// The operations of an item that choose among all formats of the tool, and among all subtitles.

#include "HVDownloadItem.h"
#include "HVFormatChoice.h"
#include "HVModelList.h"

#include <algorithm>

namespace Halvorn {

namespace {

using Format = std::shared_ptr<IHVDownloadFormat>;
using Formats = std::vector<Format>;

/// All that there is to choose from, the best last; the list itself for an item that no analysis has filled.
Formats Choices(IHVDownloadItem const& item) {
    auto formats = item.AllFormats();
    if (formats.empty())
        for (int i = item.GetDownloadFormatCount() - 1; i >= 0; --i)
            formats.push_back(item.GetDownloadFormatAtIndex(i));
    return formats;
}

Format WithCode(Formats const& formats, std::string const& code) {
    auto const found = std::find_if(formats.begin(), formats.end(),
                                    [&code](Format const& format) { return format->FormatCode() == code; });
    return found == formats.end() ? nullptr : *found;
}

bool IsSame(IHVDownloadFormat const& left, IHVDownloadFormat const& right) {
    return left.FormatCode() == right.FormatCode() && left.Extension() == right.Extension() &&
           left.GetFormatName() == right.GetFormatName();
}

} // namespace

Formats IHVDownloadItem::AllFormats() const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(this);
    return item == nullptr ? Formats() : item->EveryFormat();
}

Format IHVDownloadItem::BestFormat(HVFormatWish const& wish) const {
    return HVFormatChoice(Choices(*this), wish, IsLiveStream()).Best();
}

Format IHVDownloadItem::FormatWithCode(std::string const& code) const {
    for (int i = 0; i < GetDownloadFormatCount(); ++i)
        if (auto format = GetDownloadFormatAtIndex(i); format->FormatCode() == code)
            return format;
    auto const formats = AllFormats();
    if (auto format = WithCode(formats, code))
        return format;
    // A code may hold a plus itself.
    for (auto plus = code.find('+'); plus != std::string::npos; plus = code.find('+', plus + 1)) {
        auto const picture = WithCode(formats, code.substr(0, plus));
        auto const sound = WithCode(formats, code.substr(plus + 1));
        if (picture != nullptr && sound != nullptr && picture->VideoOnly() && sound->AudioOnly())
            return HVFormatChoice::Pair(picture, sound, IsLiveStream());
    }
    return nullptr;
}

void IHVDownloadItem::ChooseFormat(Format const& format) {
    if (format == nullptr)
        return;
    for (int i = 0; i < GetDownloadFormatCount(); ++i)
        if (IsSame(*GetDownloadFormatAtIndex(i), *format)) {
            SetCurrentFormatIndex(i);
            return;
        }
    if (auto* const item = dynamic_cast<HVDownloadItem*>(this))
        item->AppendFormat(format);
    else
        AddDownloadFormat(format);
    SetCurrentFormatIndex(GetDownloadFormatCount() - 1);
}

int IHVDownloadItem::GetAuthoredSubtitlesCount() const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(this);
    return item == nullptr ? 0 : static_cast<int>(item->Authored().size());
}

std::shared_ptr<IHVDownloadSubtitle> IHVDownloadItem::GetAuthoredSubtitleAtIndex(int index) const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(this);
    return item == nullptr ? nullptr : ElementAt(item->Authored(), index);
}

void IHVDownloadItem::SetChosenSubtitles(std::vector<std::shared_ptr<IHVDownloadSubtitle>> subtitles) {
    std::erase(subtitles, nullptr);
    if (auto* const item = dynamic_cast<HVDownloadItem*>(this))
        item->TakeChosen(std::move(subtitles));
}

std::vector<std::string> IHVDownloadItem::DownloadedSubtitles() const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(this);
    return item == nullptr ? std::vector<std::string>() : item->SideFiles();
}

std::vector<std::string> IHVDownloadItem::DownloadedMetadata() const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(this);
    return item == nullptr ? std::vector<std::string>() : item->MetadataPaths();
}

std::vector<std::string> IHVDownloadItem::DownloadedFiles() const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(this);
    return item == nullptr ? std::vector<std::string>() : item->Files();
}

std::vector<std::shared_ptr<IHVDownloadSubtitle>> IHVDownloadItem::ChosenSubtitles() const {
    auto const* const item = dynamic_cast<HVDownloadItem const*>(this);
    return item == nullptr ? std::vector<std::shared_ptr<IHVDownloadSubtitle>>() : item->Chosen();
}

} // namespace Halvorn
