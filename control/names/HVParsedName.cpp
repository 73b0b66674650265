#include "HVParsedName.h"

#include "HVDownloadItem.h"
#include "HVLegalName.h"
#include "HVNameTemplate.h"
#include "IHVFileProvider.h"
#include "IHVPlayList.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace Halvorn {

namespace {

constexpr int kPlainText = -1;

std::string Number(int number) {
    return number > 0 ? std::to_string(number) : std::string();
}

std::string Date(HVItemDetails const& details) {
    std::string const& date = details.uploadDate;
    constexpr std::size_t kDigits = 8;
    bool const whole = date.size() == kDigits &&
                       std::all_of(date.begin(), date.end(), [](char c) { return c >= '0' && c <= '9'; });
    return whole ? date.substr(0, 4) + "-" + date.substr(4, 2) + "-" + date.substr(6) : std::string();
}

/// Of the list that the item was loaded from, as far as anybody knows.
int ListLength(IHVDownloadItem const& item) {
    auto const* const own = dynamic_cast<HVDownloadItem const*>(&item);
    auto const list = item.GetPlayList();
    int const living = list == nullptr ? 0 : std::max(list->EntryCount(), list->GetDownloadItemCount());
    return std::max(own == nullptr ? 0 : own->ListLength(), living);
}

std::string Index(IHVDownloadItem const& item, HVItemDetails const& details) {
    std::string number = Number(details.playlistPosition);
    std::size_t const digits = Number(ListLength(item)).size();
    if (!number.empty() && number.size() < digits)
        number.insert(0, digits - number.size(), '0');
    return number;
}

struct Field {
    char const* name;
    std::string (*value)(IHVDownloadItem const&, HVItemDetails const&);
};

constexpr std::array kFields{
    Field{"title", [](auto const& item, auto const&) { return item.GetFileName(); }},
    Field{"uploader", [](auto const&, auto const& details) { return details.uploader; }},
    Field{"date", [](auto const&, auto const& details) { return Date(details); }},
    Field{"id", [](auto const&, auto const& details) { return details.id; }},
    Field{"playlist", [](auto const&, auto const& details) { return details.playlistTitle; }},
    Field{"index", [](auto const& item, auto const& details) { return Index(item, details); }},
    Field{"height",
          [](auto const& item, auto const&) {
              auto const format = item.GetCurrentDownloadFormat();
              return format == nullptr ? std::string() : Number(format->Height());
          }},
    Field{"language",
          [](auto const& item, auto const&) {
              auto const format = item.GetCurrentDownloadFormat();
              return format == nullptr ? std::string() : format->GetAudioLanguage();
          }},
};

std::string FieldList() {
    std::string list;
    for (Field const& field : kFields)
        list += (list.empty() ? "{" : ", {") + std::string(field.name) + "}";
    return list;
}

bool Separates(char c) {
    return std::string_view(" -_,.;:|+~#").find(c) != std::string_view::npos;
}

/// Puts a name together, and takes away what stands around a value that is not known.
class Joiner {
public:
    void Add(std::string const& value) {
        if (value.empty()) {
            missing_ = true;
            return;
        }
        text_ += value;
        kept_ = text_.size();
        missing_ = false;
    }
    void AddPlain(std::string_view text) {
        if (missing_) {
            text = WithoutBracket(text);
            // One separator of two stays.
            if (text_.empty() || Separates(text_.back()))
                while (!text.empty() && Separates(text.front()))
                    text.remove_prefix(1);
        }
        text_ += text;
        bool const words = std::any_of(text.begin(), text.end(), [](char c) { return !Separates(c); });
        missing_ = missing_ && !words;
    }
    std::string Take() {
        if (missing_)
            while (text_.size() > kept_ && Separates(text_.back()))
                text_.pop_back();
        return std::move(text_);
    }

private:
    std::string_view WithoutBracket(std::string_view text) {
        constexpr std::string_view kOpening = "([{";
        constexpr std::string_view kClosing = ")]}";
        if (text.empty() || text_.size() <= kept_)
            return text;
        auto const kind = kOpening.find(text_.back());
        if (kind == std::string_view::npos || text.front() != kClosing[kind])
            return text;
        text_.pop_back();
        return text.substr(1);
    }

    std::string text_;
    std::size_t kept_ = 0; ///< up to the end of the last value nothing is taken away
    bool missing_ = false; ///< nothing but separators since a value that is not known
};

} // namespace

HVParsedName::HVParsedName(std::string const& text) {
    Read(text);
    if (fault_.empty())
        Check();
}

void HVParsedName::Read(std::string const& text) {
    for (std::size_t i = 0; i < text.size() && fault_.empty(); ++i) {
        char const c = text[i];
        bool const doubled = i + 1 < text.size() && text[i + 1] == c;
        if (c == '/') {
            parts_.emplace_back();
        } else if (c == '{' && !doubled) {
            i = ReadField(text, i);
        } else if (c == '}' && !doubled) {
            fault_ = "there is a \"}\" without its \"{\"; \"}}\" stands for the brace itself";
        } else {
            Part& part = parts_.back();
            if (part.empty() || part.back().field != kPlainText)
                part.push_back({kPlainText, {}});
            part.back().text += c;
            i += c == '{' || c == '}' ? 1 : 0;
        }
    }
}

/// Returns where the field ends.
std::size_t HVParsedName::ReadField(std::string const& text, std::size_t at) {
    std::size_t const end = text.find('}', at);
    std::string const name = text.substr(at + 1, end == std::string::npos ? end : end - at - 1);
    auto const* const found = std::find_if(kFields.begin(), kFields.end(),
                                           [&name](Field const& field) { return name == field.name; });
    if (end == std::string::npos)
        fault_ = "there is a \"{\" without its \"}\"; \"{{\" stands for the brace itself";
    else if (found == kFields.end())
        fault_ = "there is no field {" + name + "}; the fields are " + FieldList();
    else
        parts_.back().push_back({static_cast<int>(found - kFields.begin()), {}});
    return end;
}

void HVParsedName::Check() {
    if (parts_.back().empty())
        fault_ = "the name of the file is missing";
    else if (parts_.front().empty())
        fault_ = "it begins with \"/\"; folders are made below the target folder";
    for (Part const& part : parts_)
        if (part.size() == 1 && (part.front().text == ".." || part.front().text == "."))
            fault_ = "\"" + part.front().text + "\" is no name of a folder or file";
}

std::string HVParsedName::Expand(Part const& part, std::vector<std::string> const& values,
                                 std::size_t budget) {
    auto cut = values;
    for (;;) {
        Joiner joiner;
        std::string* longest = nullptr;
        for (Token const& token : part) {
            if (token.field == kPlainText) {
                joiner.AddPlain(token.text);
                continue;
            }
            std::string& value = cut[static_cast<std::size_t>(token.field)];
            joiner.Add(value);
            if (longest == nullptr || value.size() > longest->size())
                longest = &value;
        }
        std::string text = joiner.Take();
        if (text.size() <= budget || longest == nullptr || longest->empty())
            return text;
        // What tells two names apart, such as the identifier, often stands at the end.
        std::size_t const excess = text.size() - budget;
        *longest = CutName(*longest, longest->size() > excess ? longest->size() - excess : 0);
    }
}

HVItemPath HVParsedName::PathOf(IHVDownloadItem const& item, std::string const& extension,
                                std::string const& folder) const {
    auto const details = item.Details();
    std::vector<std::string> values;
    values.reserve(kFields.size());
    for (Field const& field : kFields)
        values.push_back(LegalNameText(field.value(item, *details)));
    HVItemPath path;
    for (std::size_t i = 0; i + 1 < parts_.size(); ++i)
        if (std::string name = LegalName(Expand(parts_[i], values, NameBudget({}, folder)), {}, folder);
            !name.empty())
            path.folders.push_back(std::move(name));
    path.name = LegalName(Expand(parts_.back(), values, NameBudget(extension, folder)), extension, folder);
    if (path.name.empty())
        path.name = IHVFileProvider::MakeValidFilenameAtPath(item.GetFileName(), extension, folder);
    return path;
}

std::vector<std::string> HVNameTemplate::Fields() {
    std::vector<std::string> names;
    names.reserve(kFields.size());
    for (Field const& field : kFields)
        names.emplace_back(field.name);
    return names;
}

std::shared_ptr<IHVError const> HVNameTemplate::Check(std::string const& text) {
    std::string const fault = HVParsedName(text).Fault();
    return fault.empty()
               ? IHVError::MallocSucceed("HVNameTemplate", __LINE__, "Check")
               : IHVError::MallocError("HVNameTemplate", __LINE__, "Check", -1, "Error", fault.c_str());
}

std::string HVNameTemplate::PathOf(std::string const& text, IHVDownloadItem const& item,
                                   std::string const& folder) {
    HVParsedName const parsed(text);
    if (!parsed.Fault().empty())
        return {};
    HVItemPath const path = parsed.PathOf(item, item.CurrentExtension(), folder);
    std::string whole;
    for (auto const& part : path.folders)
        whole += part + "/";
    return whole + path.name;
}

} // namespace Halvorn
