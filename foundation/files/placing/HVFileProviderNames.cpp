#include "HVFileReservation.h"
#include "HVFileSystem.h"
#include "HVLegalName.h"
#include "HVUtf8.h"
#include "IHVFileProvider.h"
#include "IHVStringHelper.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Halvorn {

namespace {

constexpr std::size_t kMaxNameBytes = 255;
/// Kept free for a number such as " (12)" and for a subtitle's language and format.
constexpr std::size_t kRoomBytes = 40;
/// What of that the language and the format may take.
constexpr std::size_t kMaxSideBytes = 28;
/// A name is never cut below this, however long its extension is.
constexpr std::size_t kMinNameBytes = 16;

bool IsBlank(char32_t c) {
    return c == ' ' || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200B) || c == 0x202F ||
           c == 0x205F || c == 0x3000 || c == 0xFEFF;
}
bool IsLineBreak(char32_t c) {
    return (c >= '\t' && c <= '\r') || c == 0x85 || c == 0x2028 || c == 0x2029;
}
/// Characters that show nothing themselves, or turn around how the rest is shown.
bool IsInvisible(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x061C || c == 0x200E || c == 0x200F ||
           (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

std::u32string LegalCharacters(std::string const& name) {
    std::u32string result;
    for (char32_t const c : DecodeUtf8(name)) {
        if (IsLineBreak(c))
            result += U' ';
        else if (IsInvisible(c))
            continue;
        else
            result += std::u32string_view(U"<>:\"/\\|?*").find(c) == std::u32string_view::npos ? c : U'_';
    }
    return result;
}

void TrimEnd(std::u32string& name) {
    while (!name.empty() && (IsBlank(name.back()) || name.back() == '.'))
        name.pop_back();
}

void Trim(std::u32string& name) {
    TrimEnd(name);
    auto const first =
        std::find_if(name.begin(), name.end(), [](char32_t c) { return !IsBlank(c) && c != '.'; });
    name.erase(name.begin(), first);
}

void CutToBytes(std::u32string& name, std::size_t bytes) {
    std::size_t used = 0;
    for (std::size_t i = 0; i < name.size(); ++i) {
        used += Utf8Length(name[i]);
        if (used > bytes) {
            name.resize(i);
            break;
        }
    }
    TrimEnd(name);
}

/// Names that stand for a device on some systems, with any extension and in any case.
bool IsReservedDevice(std::u32string const& name) {
    std::u32string stem = name.substr(0, name.find(U'.'));
    TrimEnd(stem);
    std::string const device = IHVStringHelper::ToLower(EncodeUtf8(stem));
    static constexpr std::array<std::string_view, 6> plain = {"con", "prn",    "aux",
                                                              "nul", "conin$", "conout$"};
    if (std::find(plain.begin(), plain.end(), device) != plain.end())
        return true;
    std::string_view const kind = std::string_view(device).substr(0, 3);
    if (stem.size() != 4 || (kind != "com" && kind != "lpt"))
        return false;
    return std::u32string_view(U"0123456789\u00B9\u00B2\u00B3").find(stem[3]) != std::u32string_view::npos;
}

} // namespace

std::size_t NameBudget(std::string const& extension, std::string const& directory) {
    std::size_t const taken = kRoomBytes + (extension.empty() ? 0 : extension.size() + 1);
    std::size_t const limit = std::min(kMaxNameBytes, LongestFileName(directory));
    return limit > taken + kMinNameBytes ? limit - taken : kMinNameBytes;
}

std::string LegalSideExtension(std::string const& side) {
    std::size_t const point = side.rfind('.');
    std::string extension = LegalExtension(point == std::string::npos ? side : side.substr(point + 1));
    std::u32string language = LegalCharacters(side.substr(0, point == std::string::npos ? 0 : point));
    Trim(language);
    CutToBytes(language, kMaxSideBytes - extension.size() - 1);
    if (language.empty())
        return extension;
    return EncodeUtf8(language) + (extension.empty() ? "" : "." + extension);
}

std::string LegalName(std::string const& name, std::string const& extension, std::string const& directory) {
    std::size_t const budget = NameBudget(extension, directory);
    std::u32string result = LegalCharacters(name);
    Trim(result);
    CutToBytes(result, budget);
    if (IsReservedDevice(result)) {
        result.insert(result.begin(), U'_');
        CutToBytes(result, budget);
    }
    return EncodeUtf8(result);
}

std::string LegalNameText(std::string const& text) {
    return EncodeUtf8(LegalCharacters(text));
}

std::string CutName(std::string const& text, std::size_t bytes) {
    std::u32string result = DecodeUtf8(text);
    CutToBytes(result, bytes);
    return EncodeUtf8(result);
}

std::string IHVFileProvider::MakeValidFilenameAtPath(std::string const& name, std::string const& extension,
                                                     std::string const& directory) {
    std::string legal = LegalName(name, extension, directory);
    return legal.empty() ? "download" : legal;
}

std::string IHVFileProvider::CreateUniquePathFile(std::string const& name, std::string const& extension,
                                                  std::string const& directory) {
    if (name.empty() || directory.empty())
        return {};
    std::string const stem = AppendPathComponent(directory, name);
    std::string const legal = LegalExtension(extension);
    for (int number = 0; number < 1000000; ++number) {
        std::string path = number == 0 ? stem : stem + " (" + std::to_string(number) + ")";
        if (!legal.empty())
            path = AppendPathExtension(path, legal);
        if (ReserveFreePath(path))
            return path;
    }
    return {};
}

} // namespace Halvorn
