#include "HVCommandDescription.h"

#include <Reelhaul/IHVAdobePassAuthentication.h>
#include <Reelhaul/IHVBrowserState.h>

#include <CLI/App.hpp>

#include <map>
#include <set>
#include <stdexcept>

namespace Halvorn {

namespace {

using Words = std::vector<std::string>;

Words Browsers() {
    Words words;
    for (int i = HVDownloadBrowserChrome; i <= HVDownloadBrowserWhale; ++i)
        if (i != HVDownloadBrowserUnknown)
            words.push_back(IHVBrowserState::BrowserParamName(static_cast<HVDownloadBrowser>(i)));
    return words;
}

Words Providers() {
    Words words;
    for (int i = 0; i < IHVAdobePassAuthentication::GetSupportedMSOCount(); ++i)
        words.push_back(IHVAdobePassAuthentication::GetSupprotedMSOID(i));
    return words;
}

class Describer {
public:
    HVCommandDescription Describe(CLI::App const& app, std::string const& path) {
        HVCommandDescription command{path, app.get_name(), app.get_description(), {}, {}};
        // What has no group is not shown to people, though it is understood.
        for (CLI::Option const* const option : app.get_options())
            if (!option->get_group().empty())
                command.options.push_back(Describe(*option));
        for (CLI::App const* const inner : app.get_subcommands({}))
            if (!inner->get_group().empty())
                command.commands.push_back(
                    Describe(*inner, path + (path.empty() ? "" : " ") + inner->get_name()));
        return command;
    }
    /// Else the known values of an option that was removed would stay here unnoticed.
    void CheckAllUsed() const {
        for (auto const& [name, words] : words_)
            if (!used_.contains(name))
                throw std::logic_error("no option is called " + name);
    }

private:
    HVOptionDescription Describe(CLI::Option const& option) {
        HVOptionDescription result;
        result.positional = option.get_positional();
        if (result.positional)
            result.names = {option.get_name()};
        for (std::string const& name : option.get_snames())
            result.names.push_back("-" + name);
        for (std::string const& name : option.get_lnames())
            result.names.push_back("--" + name);
        result.help = option.get_description();
        result.group = option.get_group();
        result.required = option.get_required();
        result.repeats = option.get_items_expected_max() > 1;
        if (option.get_items_expected_max() > 0)
            DescribeValue(option, result);
        return result;
    }
    void DescribeValue(CLI::Option const& option, HVOptionDescription& result) {
        result.value = option.get_type_name();
        bool const file = result.value == "FILE" || result.value == "PATH";
        result.kind = file ? HVValueKind::File : HVValueKind::Text;
        if (result.value == "DIR")
            result.kind = HVValueKind::Folder;
        if (auto const known = words_.find(result.names.back()); known != words_.end()) {
            result.words = known->second;
            used_.insert(known->first);
        }
    }

    std::map<std::string, Words> const words_{
        {"--format", {"best", "worst", "audio", "2160p", "1080p", "720p", "480p"}},
        {"--subtitle-kind", {"people", "machine", "any"}},
        {"--prefer", {"mp4", "mkv", "webm", "h264", "vp9", "av1"}},
        {"--js-runtime", {"none"}},
        {"--xff", {"default", "never"}},
        {"--cookies-from-browser", Browsers()},
        {"--cookies-from-running", Browsers()},
        {"--ap-mso", Providers()},
        {"BROWSER", Browsers()},
        {"COPIES", {"local", "built-in"}}};
    std::set<std::string> used_;
};

} // namespace

std::vector<HVCommandDescription const*> HVCommandDescription::All() const {
    std::vector<HVCommandDescription const*> all{this};
    for (HVCommandDescription const& command : commands)
        for (HVCommandDescription const* const below : command.All())
            all.push_back(below);
    return all;
}

HVCommandDescription DescribeCommand(CLI::App const& app) {
    Describer describer;
    HVCommandDescription description = describer.Describe(app, "");
    describer.CheckAllUsed();
    return description;
}

} // namespace Halvorn
