#include "HVHelpFormatter.h"

#include <Reelhaul/HVDisplayText.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace Halvorn {

namespace {

constexpr std::size_t kNameColumns = 36;
constexpr std::size_t kColumns = 120;

constexpr std::string_view kMostUsed = "Most used";
constexpr std::string_view kFetch = "What to fetch";
constexpr std::string_view kNames = "Names and folders";
constexpr std::string_view kConversion = "Conversion";
constexpr std::string_view kSpeed = "Speed and order";
constexpr std::string_view kSites = "Sites and login";
constexpr std::string_view kTool = "The tool";
constexpr std::string_view kOutput = "Output";
constexpr std::array kGroups{kMostUsed, kFetch, kNames, kConversion, kSpeed, kSites, kTool, kOutput};

/// In this order; those of a group that are not named follow in the order of the command line's own.
constexpr std::array kMostUsedOptions{"--output",  "--batch-file", "--format", "--audio",
                                      "--items",   "--subtitle",   "--name",   "--cookies-from-browser",
                                      "--archive", "--limit-rate", "--quiet"};
constexpr std::size_t kMostUsedCount = 10;

/// Where options go by their name, or by how it begins; and by the group that the command line gives them.
constexpr std::array kByName{std::pair{"--help", kOutput},         std::pair{"--json", kOutput},
                             std::pair{"--text", kOutput},         std::pair{"--quiet", kOutput},
                             std::pair{"--all-formats", kOutput},  std::pair{"--name", kNames},
                             std::pair{"--folder", kNames},        std::pair{"--write-", kNames},
                             std::pair{"--archive", kNames},       std::pair{"--skip-existing", kNames},
                             std::pair{"--audio", kConversion},    std::pair{"--remux", kConversion},
                             std::pair{"--embed-", kConversion},   std::pair{"--convert-", kConversion},
                             std::pair{"--sections", kConversion}, std::pair{"--split-", kConversion},
                             std::pair{"--sponsor", kConversion},  std::pair{"--keep-video", kConversion},
                             std::pair{"--jobs", kSpeed},          std::pair{"--analyses", kSpeed},
                             std::pair{"--sleep-", kSpeed},        std::pair{"--limit-rate", kSpeed},
                             std::pair{"--no-continue", kSpeed},   std::pair{"--discard", kSpeed},
                             std::pair{"--analyse-once", kSpeed},  std::pair{"--cold", kSpeed}};
constexpr std::array kByGroup{
    std::pair{"Cookies", kSites}, std::pair{"Network", kSites}, std::pair{"Geo restriction", kSites},
    std::pair{"Login", kSites},   std::pair{"Tools", kTool},    std::pair{"Download", kSpeed},
    std::pair{"Options", kFetch}};

using Options = std::vector<CLI::Option const*>;

std::string NameOf(CLI::Option const& option) {
    return option.get_lnames().empty() ? option.get_name() : "--" + option.get_lnames().front();
}

std::string GroupOf(CLI::Option const& option) {
    std::string const name = NameOf(option);
    for (auto const& [front, group] : kByName)
        if (name.starts_with(front))
            return std::string(group);
    for (auto const& [own, group] : kByGroup)
        if (option.get_group() == own)
            return std::string(group);
    return option.get_group();
}

/// Takes those out of `options` that are used most.
Options TakeMostUsed(Options& options) {
    Options most;
    for (char const* const name : kMostUsedOptions) {
        auto const found = std::find_if(options.begin(), options.end(),
                                        [name](auto const* option) { return NameOf(*option) == name; });
        if (found == options.end() || most.size() == kMostUsedCount)
            continue;
        most.push_back(*found);
        options.erase(found);
    }
    return most;
}

/// As much of the description as fits: the whole, or up to the end of a clause. The manual has the rest.
std::string ShortDescription(std::string const& text, std::size_t columns) {
    if (DisplayWidth(text) <= columns)
        return text;
    std::size_t end = 0;
    for (std::string_view const mark : {"; ", ": ", ", "})
        if (auto const place = text.rfind(mark, columns); place != std::string::npos)
            end = std::max(end, place);
    return end > 0 ? text.substr(0, end) : CutToWidth(text, columns);
}

std::string Line(CLI::Option const& option) {
    std::string text = "  ";
    for (std::string const& name : option.get_snames())
        text += "-" + name + ", ";
    text += NameOf(option);
    if (option.get_items_expected_max() > 0)
        text += " " + option.get_type_name();
    text += "  ";
    if (text.size() < kNameColumns)
        text.resize(kNameColumns, ' ');
    return text + ShortDescription(option.get_description(), kColumns - text.size()) + "\n";
}

} // namespace

HVHelpFormatter::HVHelpFormatter() {
    column_width(kNameColumns);
}

std::string HVHelpFormatter::make_help(CLI::App const* app, std::string name, CLI::AppFormatMode mode) const {
    if (mode != CLI::AppFormatMode::Normal || app->get_option_no_throw("--items") == nullptr)
        return Formatter::make_help(app, std::move(name), mode);
    Options options = app->get_options(
        [](CLI::Option const* option) { return option->nonpositional() && !option->get_group().empty(); });
    std::vector<std::pair<std::string, Options>> groups;
    groups.reserve(kGroups.size());
    for (std::string_view const group : kGroups)
        groups.emplace_back(group, Options());
    groups.front().second = TakeMostUsed(options);
    for (CLI::Option const* const option : options) {
        std::string const group = GroupOf(*option);
        auto found = std::find_if(groups.begin(), groups.end(),
                                  [&group](auto const& it) { return it.first == group; });
        if (found == groups.end())
            found = groups.insert(groups.end(), {group, {}});
        found->second.push_back(option);
    }
    std::string text = make_description(app) + make_usage(app, name) + make_positionals(app);
    for (auto const& [group, members] : groups) {
        if (!members.empty())
            text += "\n" + group + ":\n";
        for (CLI::Option const* const option : members)
            text += Line(*option);
    }
    return text + "\n\"man reelhaul\" tells more of each.\n" + make_footer(app);
}

} // namespace Halvorn
