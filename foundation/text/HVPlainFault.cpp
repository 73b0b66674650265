#include "HVDisplayText.h"
#include "HVFaultText.h"

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

/// The part of the tool that speaks, as in "[generic] Unable to ...".
void DropSpeaker(std::string_view& line) {
    auto const end = line.find("] ");
    if (line.starts_with('[') && line.find_first_of(" \t") == end + 1)
        line = Trimmed(line.substr(end + 2));
}

/// The tool's appeal to its users, and the same fault once more in the words of its programs.
void DropTail(std::string_view& line) {
    for (std::string_view const tail : {"; please report this issue on ", " (caused by "})
        if (auto const at = line.find(tail); at != std::string_view::npos && at != 0)
            line = Trimmed(line.substr(0, at));
}

} // namespace

std::vector<std::string_view> TextLines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        auto const end = text.find('\n');
        if (auto const line = Trimmed(text.substr(0, end)); !line.empty())
            lines.push_back(line);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

namespace {

/// The lines that tell the fault, without their marks; all lines where none is marked as one.
std::vector<std::string_view> FaultLines(std::string_view text) {
    std::vector<std::string_view> faults;
    std::vector<std::string_view> others;
    for (std::string_view line : TextLines(text)) {
        if (auto const usage = line.find(": error: "); usage != std::string_view::npos)
            line.remove_prefix(usage + 2);
        bool const fault = TakeFront(line, "ERROR:") || TakeFront(line, "error:");
        if (fault) {
            DropSpeaker(line);
            DropTail(line);
        }
        auto& lines = fault ? faults : others;
        if (!line.empty() && (lines.empty() || lines.back() != line))
            lines.push_back(line);
    }
    if (faults.empty() && !others.empty() && others.front().starts_with("Traceback (most recent call last)"))
        others.erase(others.begin(), others.end() - 1); // a traceback's last line is the reason
    return faults.empty() ? others : faults;
}

} // namespace

std::string PlainFault(std::string_view message) {
    std::string_view rest = Trimmed(message);
    TakeFront(rest, "err:");
    TakeFront(rest, "Download error:");
    std::string result;
    for (std::string_view const line : FaultLines(rest)) {
        if (result.size() > kLongest)
            break;
        result.append(result.empty() ? "" : "; ").append(line);
    }
    if (result.empty())
        return "no reason was given";
    return PlainLine(CutToWidth(WithoutPasswords(result), kLongest));
}

} // namespace Halvorn
