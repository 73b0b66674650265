#include "HVErrorText.h"

#include "HVTerminalText.h"

#include <string_view>
#include <vector>

namespace Halvorn {

namespace {

constexpr std::size_t kLongest = 2000;

std::string_view Trimmed(std::string_view text) {
    auto const first = text.find_first_not_of(" \t\r");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

bool TakeFront(std::string_view& text, std::string_view front) {
    if (!text.starts_with(front))
        return false;
    text = Trimmed(text.substr(front.size()));
    return true;
}

std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        auto const end = text.find('\n');
        if (auto const line = Trimmed(text.substr(0, end)); !line.empty())
            lines.push_back(line);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

} // namespace

std::string OneLineFault(std::string const& message) {
    std::string_view rest = Trimmed(message);
    TakeFront(rest, "err:");
    TakeFront(rest, "Download error:");
    std::vector<std::string_view> faults;
    std::vector<std::string_view> others;
    for (std::string_view line : Lines(rest)) {
        if (auto const usage = line.find(": error: "); usage != std::string_view::npos)
            line.remove_prefix(usage + 2);
        if (TakeFront(line, "ERROR:") || TakeFront(line, "error:"))
            faults.push_back(line);
        else
            others.push_back(line);
    }
    std::string result;
    for (std::string_view const line : faults.empty() ? others : faults)
        if (!line.empty())
            result.append(result.empty() ? "" : "; ").append(line);
    if (result.empty())
        result = "the tool gave no reason";
    return PlainLine(CutToWidth(result, kLongest));
}

} // namespace Halvorn
