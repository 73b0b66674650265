#include "HVToolWords.h"

#include "IHVDownloadFormat.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Halvorn {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsAlphanumeric(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Words that stand for several formats, and extensions, which stand for the best format that has them.
constexpr std::array<std::string_view, 19> kFormatWords = {
    "all",  "mergeall", "mhtml", "3gp", "avi", "flv", "mkv", "mov",  "mp4", "webm",
    "aiff", "alac",     "flac",  "m4a", "mka", "mp3", "ogg", "opus", "wav"};

/// Takes the first of the words that the text begins with; false where it begins with none.
template <std::size_t Count>
bool Take(std::string_view& text, std::array<std::string_view, Count> const& words) {
    for (auto const word : words) {
        if (text.substr(0, word.size()) == word) {
            text.remove_prefix(word.size());
            return true;
        }
    }
    return false;
}

/// "best", "wv", "bestaudio.2" and the like.
bool IsRank(std::string_view code) {
    if (!Take(code, std::array<std::string_view, 4>{"best", "worst", "b", "w"}))
        return false;
    Take(code, std::array<std::string_view, 4>{"video", "audio", "v", "a"});
    return code.empty() ||
           (code.size() > 1 && code[0] == '.' && std::all_of(code.begin() + 1, code.end(), IsDigit));
}

bool IsPlainFormat(std::string_view code) {
    bool const word = std::all_of(code.begin(), code.end(), [](char c) {
        return IsAlphanumeric(c) || c == '.' || c == '_' || c == '-';
    });
    return word && !IsRank(code) &&
           std::find(kFormatWords.begin(), kFormatWords.end(), code) == kFormatWords.end();
}

std::string ExactCode(std::string_view code) {
    if (IsPlainFormat(code))
        return std::string(code);
    // Quoted also because a number would be compared as one.
    std::string text = "b*[format_id=\"";
    for (char const c : code) {
        if (c == '"' || c == '\\')
            text += '\\';
        text += c;
    }
    return text + "\"]";
}

} // namespace

std::string ExactFormat(IHVDownloadFormat const& format) {
    std::string const code = format.FormatCode();
    // The tool leaves no "+" in the code of a single format.
    auto const plus = format.MergeFormat() ? code.find('+') : std::string::npos;
    if (plus == std::string::npos)
        return ExactCode(code);
    return ExactCode(std::string_view(code).substr(0, plus)) + "+" +
           ExactCode(std::string_view(code).substr(plus + 1));
}

std::string ExactSound(IHVDownloadFormat const& format) {
    std::string const code = format.FormatCode();
    return ExactCode(std::string_view(code).substr(code.find('+') + 1));
}

std::string ExactLanguage(std::string const& code) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (char const c : code) {
        auto const byte = static_cast<unsigned char>(c);
        // Nothing else has no meaning in a pattern or in a list of them; "-" in front takes a language away.
        bool const plain = IsAlphanumeric(c) || c == '_' || (c == '-' && !text.empty()) || byte >= 0x80;
        if (plain && code != "all") {
            text += c;
        } else {
            text += "\\x";
            text += digits[byte >> 4];
            text += digits[byte & 15];
        }
    }
    return text;
}

} // namespace Halvorn
