// The part of HVDownloadFormat that reads the tool's plain format table. Its columns stand where the keys of
// the head line stand, in three sections with a bar between them.
#include "HVDownloadFormat.h"

#include "HVNumberText.h"
#include "HVUtf8.h"
#include "IHVStringHelper.h"

#include <limits>
#include <string_view>

namespace Halvorn {

char const HVFormatIDKey[] = "ID";
char const HVFormatExtKey[] = "EXT";
char const HVFormatResolutionKey[] = "RESOLUTION";
char const HVFormatFPSKey[] = "FPS";
char const HVFormatHDRKey[] = "HDR";
char const HVFormatCHKey[] = "CH";
char const HVFormatFileSizeKey[] = "FILESIZE";
char const HVFormatTBRKey[] = "TBR";
char const HVFormatProtoKey[] = "PROTO";
char const HVFormatVCodecKey[] = "VCODEC";
char const HVFormatVBRKey[] = "VBR";
char const HVFormatACodecKey[] = "ACODEC";
char const HVFormatABRKey[] = "ABR";
char const HVFormatASRKey[] = "ASR";
char const HVFormatMoreInfoKey[] = "MORE INFO";

namespace {

bool Contains(std::string const& text, char const* part) {
    return text.find(part) != std::string::npos;
}

/// Where the key's column begins in the head line, or npos when either line does not reach it.
std::size_t ColumnOf(std::string const& key, std::string const& row, std::string const& head) {
    std::size_t const column = head.find(key);
    return column < head.size() && Utf8Offset(row, column) < row.size() ? column : std::string::npos;
}

/// What the site tells as about is as good as what the tool guesses.
std::string WithTilde(std::string text) {
    constexpr std::string_view kAbout = "\u2248";
    for (auto at = text.find(kAbout); at != std::string::npos; at = text.find(kAbout, at))
        text.replace(at, kAbout.size(), "~");
    return text;
}

struct SizeUnit {
    char letter;
    float bytes;
};

} // namespace

bool HVDownloadFormat::IsFormatAuxiliary(std::string const& text) {
    return Contains(text, HVFormatIDKey) && Contains(text, HVFormatExtKey) &&
           Contains(text, HVFormatResolutionKey);
}

bool HVDownloadFormat::LoadFormPainText(std::string const& row, std::string const& head) {
    if (!IsFormatAuxiliary(head) || row.empty())
        return false;
    std::vector<std::string> const rows = IHVStringHelper::Split(row, '|');
    std::vector<std::string> const heads = IHVStringHelper::Split(head, '|');
    return LoadSections(rows, heads);
}

bool HVDownloadFormat::LoadFromTable(std::string const& row, std::string const& head) {
    std::vector<std::string> const heads = IHVStringHelper::Split(head, '|');
    if (!IsFormatAuxiliary(head) || heads.size() != 3)
        return false;
    std::size_t const first = Utf8Offset(row, heads[0].size());
    std::size_t const second = Utf8Offset(row, heads[0].size() + 1 + heads[1].size());
    if (second >= row.size() || row[first] != '|' || row[second] != '|' ||
        !LoadSections(
            {row.substr(0, first), row.substr(first + 1, second - first - 1), row.substr(second + 1)}, heads))
        return false;
    constexpr std::uint64_t kGiBOfTiB = 1024;
    if (auto const unit = sizeFormat_.rfind("TiB"); unit != std::string::npos && IsSizeString(sizeFormat_)) {
        ParseSizeFormat(sizeFormat_.substr(0, unit) + "GiB");
        size_ = size_ <= std::numeric_limits<std::uint64_t>::max() / kGiBOfTiB ? size_ * kGiBOfTiB : 0;
    }
    return true;
}

bool HVDownloadFormat::LoadSections(std::vector<std::string> const& rows,
                                    std::vector<std::string> const& heads) {
    if (rows.size() != 3 || heads.size() != 3)
        return false;
    // In turn: a section is not even looked at once one before it has failed.
    auto filled = [&](std::size_t part) { return !rows[part].empty() && !heads[part].empty(); };
    if (!filled(0) || !ParseFormatFirstPart(rows[0], heads[0]) || !filled(1) ||
        !ParseFormatSecondPart(rows[1], heads[1]) || !filled(2) || !ParseFormatThirdPart(rows[2], heads[2]))
        return false;
    if (extension_ == "mhtml" || Contains(videoCodecName_, "images"))
        return false;
    audioOnly_ = videoCodecName_.empty() || Contains(videoCodecName_, "audio only") ||
                 Contains(resolution_, "audio only");
    videoOnly_ = audioCodecName_.empty() || Contains(audioCodecName_, "video only");
    return true;
}

bool HVDownloadFormat::ParseFormatFirstPart(std::string const& row, std::string const& head) {
    formatCode_ = ReadLeftAlignValueForKey(HVFormatIDKey, row, head);
    if (formatCode_.empty())
        return false;
    extension_ = ReadLeftAlignValueForKey(HVFormatExtKey, row, head);
    if (extension_.empty())
        return false;
    resolution_ = ReadLeftAlignValueForKey(HVFormatResolutionKey, row, head);
    if (!resolution_.empty())
        ParseResolution(resolution_);
    std::string const rate = ReadRightAlignValueForKey(HVFormatFPSKey, row, head);
    if (IHVStringHelper::IsNumberString(rate))
        framePerSecond_ = TextToFloat(rate);
    hdr_ = ReadLeftAlignValueForKey(HVFormatHDRKey, row, head);
    std::string const channels = ReadRightAlignValueForKey(HVFormatCHKey, row, head);
    if (IHVStringHelper::IsNumberString(channels))
        channelCount_ = std::stoi(channels);
    return true;
}

bool HVDownloadFormat::ParseFormatSecondPart(std::string const& row, std::string const& head) {
    sizeFormat_ = ReadRightAlignValueForKey(HVFormatFileSizeKey, row, head);
    if (IsSizeString(sizeFormat_))
        ParseSizeFormat(sizeFormat_);
    tbr_ = ReadRightAlignValueForKey(HVFormatTBRKey, row, head);
    proto_ = ReadLeftAlignValueForKey(HVFormatProtoKey, row, head);
    return true;
}

bool HVDownloadFormat::ParseFormatThirdPart(std::string const& row, std::string const& head) {
    videoCodecName_ = ReadLeftAlignValueForKey(HVFormatVCodecKey, row, head);
    vbr_ = ReadRightAlignValueForKey(HVFormatVBRKey, row, head);
    audioCodecName_ = ReadLeftAlignValueForKey(HVFormatACodecKey, row, head);
    abr_ = ReadRightAlignValueForKey(HVFormatABRKey, row, head);
    asr_ = ReadRightAlignValueForKey(HVFormatASRKey, row, head);
    moreInfo_ = ReadLeftAlignValueForKey(HVFormatMoreInfoKey, row, head);
    return true;
}

/// A left-aligned value begins where its key does. It ends before the next key, or, where a right-aligned
/// neighbour has grown to the left of its own key, at the blank in front of that neighbour.
std::string HVDownloadFormat::ReadLeftAlignValueForKey(std::string const& key, std::string const& row,
                                                       std::string const& head) const {
    std::size_t const column = ColumnOf(key, row, head);
    if (column == std::string::npos)
        return {};
    std::size_t const begin = Utf8Offset(row, column);
    int const nextKey = IndexOfNextKeyFromPos(static_cast<int>(column + key.size()), head);
    std::size_t const next = nextKey < 0 ? row.size() : Utf8Offset(row, static_cast<std::size_t>(nextKey));
    if (next >= row.size())
        return IHVStringHelper::Trimmed(row.substr(begin));
    std::size_t const blank =
        static_cast<std::size_t>(IndexOfNearestWhitespaceReverse(static_cast<int>(next), row));
    std::size_t const end = blank > begin ? blank : next;
    return IHVStringHelper::Trimmed(row.substr(begin, end - begin));
}

/// A right-aligned value ends where its key does and reaches back to the nearest blank, which may stand far
/// to the left of the key.
std::string HVDownloadFormat::ReadRightAlignValueForKey(std::string const& key, std::string const& row,
                                                        std::string const& head) const {
    std::size_t const column = ColumnOf(key, row, head);
    if (column == std::string::npos)
        return {};
    std::size_t const last = Utf8Offset(row, column + key.size() - 1);
    std::size_t const blank =
        static_cast<std::size_t>(IndexOfNearestWhitespaceReverse(static_cast<int>(last), row));
    if (blank > last || blank >= row.size())
        return {};
    // One character more than the column reaches: read on purpose.
    std::size_t const end = Utf8Offset(row, column + key.size() + 1);
    return IHVStringHelper::Trimmed(row.substr(blank, end - blank));
}

int HVDownloadFormat::IndexOfNextKeyFromPos(int pos, std::string const& text) const {
    std::size_t const found = text.find_first_not_of(' ', static_cast<std::size_t>(pos));
    return found == std::string::npos ? -1 : static_cast<int>(found);
}

int HVDownloadFormat::IndexOfNearestWhitespaceReverse(int pos, std::string const& text) const {
    if (static_cast<std::size_t>(pos) >= text.size())
        return pos;
    std::size_t const found = text.rfind(' ', static_cast<std::size_t>(pos));
    return found == std::string::npos ? 0 : static_cast<int>(found);
}

void HVDownloadFormat::ParseResolution(std::string const& text) {
    std::vector<std::string> const parts = IHVStringHelper::Split(text, 'x');
    if (parts.size() != 2)
        return;
    if (IHVStringHelper::IsNumberString(parts[0]))
        width_ = std::stoi(parts[0]);
    if (IHVStringHelper::IsNumberString(parts[1]))
        height_ = std::stoi(parts[1]);
}

bool HVDownloadFormat::IsSizeString(std::string const& text) const {
    std::string const size = IHVStringHelper::Trimmed(WithTilde(text));
    std::size_t const unit = size.find_first_not_of("~ 0123456789.");
    if (unit == std::string::npos || size.find_first_of("0123456789.") >= unit)
        return false;
    std::string const name = IHVStringHelper::ToLower(size.substr(unit));
    for (char const* const known : {"mib", "mb", "gib", "gb", "kib", "kb", "bytes", "b", "tib", "tb"}) {
        if (name == known)
            return true;
    }
    return false;
}

void HVDownloadFormat::ParseSizeFormat(std::string const& text) {
    std::string const size = WithTilde(text);
    std::size_t const tilde = size.find('~');
    std::size_t const start = tilde == std::string::npos ? 0 : tilde + 1;
    constexpr SizeUnit kUnits[] = {{'K', 1024.0F}, {'M', 1048576.0F}, {'G', 1073741824.0F}};
    // Capital letters only, and none for "TiB" here: such a size counts as its bare number.
    std::size_t end = std::string::npos;
    float multiplier = 1.0F;
    for (SizeUnit const& unit : kUnits) {
        end = size.rfind(unit.letter);
        if (end != std::string::npos) {
            multiplier = unit.bytes;
            break;
        }
    }
    bool const behindStart = end != std::string::npos && end > start;
    std::string const number = behindStart ? size.substr(start, end - start) : size.substr(start);
    float const bytes = TextToFloat(IHVStringHelper::Trimmed(number)) * multiplier;
    constexpr float kLimit = 18446744073709551616.0F;
    size_ = bytes >= 0.0F && bytes < kLimit ? static_cast<std::uint64_t>(bytes) : 0;
}

} // namespace Halvorn
