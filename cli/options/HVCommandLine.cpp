#include "HVCommandLine.h"

#include "HVChoice.h"
#include "HVCookiesCommand.h"
#include "HVGenerateCommand.h"
#include "HVGetCommand.h"
#include "HVHelpFormatter.h"
#include "HVInfoCommand.h"
#include "HVOptionChecks.h"
#include "HVOptionDocument.h"
#include "HVOptionTable.h"
#include "HVParserFaults.h"
#include "HVProvidersCommand.h"
#include "HVQueueCommand.h"
#include "HVRunningCookies.h"
#include "HVToolsCommand.h"

#include <Reelhaul/Reelhaul.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace Halvorn {

namespace {

/// Runs at the same time.
constexpr int kMostRuns = 256;
/// Columns; the parser repeats what it was given, however long.
constexpr std::size_t kLongestFault = 300;

constexpr char const* kExamples = R"(Examples:
  reelhaul info https://example.org/watch/1
  reelhaul get https://example.org/watch/1 -o ~/Videos
  reelhaul get https://example.org/list/7 --items 1,3-5 --format audio --jobs 2
  reelhaul get https://example.org/watch/1 --subtitle en.vtt --name "My title"

Exit status: 0 all done, 1 something failed, 2 wrong usage, 130 interrupted.)";

/// Reads how many runs `option` asks for. Returns the fault.
std::string TakeRuns(char const* option, std::string const& text, int& runs) {
    auto const number = WholeNumber(text);
    if (!text.empty() && (!number || *number < 1 || *number > kMostRuns))
        return std::string(option) + " must be a number from 1 to " + std::to_string(kMostRuns) + ", not \"" +
               text + "\"";
    runs = text.empty() ? runs : *number;
    return {};
}

} // namespace

HVCommandLine::HVCommandLine()
    : app_(std::make_unique<CLI::App>("Analyse and download online media.", "reelhaul")) {
    app_->require_subcommand(1);
    app_->set_help_flag("-h,--help", "Print this help");
    app_->set_version_flag("--version", std::string(reinterpret_cast<char const*>(ReelhaulVersionString)),
                           "Print the library's version");
    app_->footer(kExamples);
    app_->formatter(std::make_shared<HVHelpFormatter>());
    AddInfo();
    AddGet();
    AddLesser();
}

HVCommandLine::~HVCommandLine() = default;

CLI::App& HVCommandLine::Add(char const* name, char const* help, Command command) {
    CLI::App& app = *app_->add_subcommand(name, help);
    app.footer("");
    app.parse_complete_callback([this, command] { run_ = command; });
    return app;
}

CLI::Option& HVCommandLine::AddSwitch(CLI::App& app, char const* name, bool& wanted, char const* help) {
    return *app.add_flag(name, wanted, help)->disable_flag_override();
}

void HVCommandLine::AddInfo() {
    CLI::App& app = Add("info", "Show what an address holds: title, duration, formats, subtitles", RunInfo);
    AddAddresses(app);
    AddSwitch(app, "--json", request_.json, "Print one JSON document instead of text");
    AddSwitch(app, "--text", request_.text, "Read the tool's printed tables instead of its JSON");
    AddSwitch(app, "--flat", request_.flat, "Print the entries of a list at once, without loading them");
    AddSwitch(app, "--all-formats", request_.allFormats, "Print every format that the tool lists as well");
    AddItems(app);
    AddToolPaths(app);
    AddRuns(app);
    AddRunningBrowser(app);
    AddRecords(app, false);
}

void HVCommandLine::AddGet() {
    CLI::App& app = Add("get", "Download what addresses hold", RunGet);
    AddToGet(app);
    AddDownloading(app);
    AddGoingOn(app);
    AddSwitch(
        app, "--keep", request_.keep,
        "Put them into the queue that is kept, and download all that waits there: see \"reelhaul queue\"");
    AddQueueFile(app);
}

/// What is to be got, and how.
void HVCommandLine::AddToGet(CLI::App& app) {
    AddAddresses(app);
    app.add_option("-o,--output", request_.folder,
                   "Folder for the files, made where it is missing; the current folder unless given")
        ->type_name("DIR")
        ->check(PathLike, "");
    AddFormatChoice(app);
    AddItems(app);
    AddSwitch(app, "--flat", request_.flat, "Leave out lists inside a list, such as the tabs of a channel");
    AddNames(app);
    AddSwitch(app, "--quiet", request_.quiet, "Print nothing but faults and the paths of finished files");
    AddSwitch(app, "--json", request_.json, "Print one line of JSON for each event");
    AddToolPaths(app);
    AddRuns(app);
    AddRunningBrowser(app);
    AddRecords(app, true);
}

void HVCommandLine::AddDownloading(CLI::App& app) {
    app.add_option("--jobs", jobs_, "Number of downloads at the same time; 6 unless given")
        ->type_name("N")
        ->check(NotEmpty, "");
    AddPause(app);
    app.add_option("--duration", duration_, "Finish a live recording after so long, such as 90 or 1:30:00")
        ->type_name("TIME")
        ->check(NotEmpty, "");
    AddSwitch(app, "--analyse-once", request_.analyseOnce,
              "Download by what the analysis found, without having the tool read the page again")
        .group("Tools");
}

void HVCommandLine::AddGoingOn(CLI::App& app) {
    app.add_flag_callback(
           "--no-continue", [this] { request_.goOn = false; },
           "Begin anew and keep nothing; else an interrupt or a failure leaves what was fetched, and the "
           "same command goes on with it")
        ->disable_flag_override();
    auto& discard = AddSwitch(app, "--discard", request_.discard,
                              "Remove what the same command has left, and download nothing");
    // What is done without it: for scripts from before.
    app.add_flag("--continue")
        ->disable_flag_override()
        ->group("")
        ->excludes("--no-continue")
        ->excludes(&discard);
}

void HVCommandLine::AddFormatChoice(CLI::App& app) {
    app.add_option("--format", request_.format,
                   "best (unless given), worst, audio, 720p or 1080p60 as the most, an index or a code")
        ->type_name("F")
        ->check(NotEmpty, "");
    app.add_option("--language", request_.language,
                   "Language of the sound, such as en; the original's unless given")
        ->type_name("LANG")
        ->check(NotEmpty, "");
    app.add_option("--prefer", request_.prefer,
                   "Container or codec to take before others, such as mp4 or vp9")
        ->type_name("KIND")
        ->check(NotEmpty, "");
    app.add_option("--subtitle", request_.subtitle, "Subtitles beside the file, such as en.vtt or en,de")
        ->type_name("LANG[.EXT]")
        ->check(NotEmpty, "");
    app.add_option("--subtitle-kind", request_.subtitleKind,
                   "Who made the subtitles: people, machine or any; any unless given")
        ->type_name("WHO")
        ->check(NotEmpty, "");
}

void HVCommandLine::AddToolPaths(CLI::App& app) {
    app.add_option("--tool", request_.toolFolder, "Folder with the copies of yt-dlp and ffmpeg to use")
        ->type_name("DIR")
        ->check(PathLike, "")
        ->group("Tools");
    app.add_option("--js-runtime", request_.jsRuntime, "JS runtime (deno) for the tool; none for none")
        ->type_name("PATH")
        ->check(PathLike, "")
        ->group("Tools");
}

void HVCommandLine::AddRuns(CLI::App& app) {
    app.add_option("--analyses", analyses_,
                   "Addresses and list entries analysed at once, at most 4 of one site; 4 unless given")
        ->type_name("N")
        ->check(NotEmpty, "");
    AddSwitch(app, "--cold", request_.cold,
              "Start the tool anew for each of its runs, as is done for one alone")
        .group("Tools");
}

void HVCommandLine::AddRecords(CLI::App& app, bool downloads) {
    for (HVOptionRow const& row : OptionTable()) {
        if (row.downloadOnly && !downloads)
            continue;
        std::string const name = row.name;
        if (row.kind == HVOptionKind::Flag)
            app.add_flag_callback(
                   name, [this, name] { given_[name] = ""; }, row.help)
                ->disable_flag_override()
                ->group(row.group);
        else
            app.add_option_function<std::string>(
                   name, [this, name](std::string const& value) { given_[name] = value; }, row.help)
                ->type_name(row.value)
                ->group(row.group);
    }
}

void HVCommandLine::AddRunningBrowser(CLI::App& app) {
    app.add_option(
           "--cookies-from-running", request_.runningBrowser,
           "Ask this browser, which runs, for the cookies of the addresses' sites; :PROFILE may follow")
        ->type_name("NAME")
        ->check(NotEmpty, "")
        ->group("Cookies");
}

void HVCommandLine::AddCookies() {
    CLI::App& cookies =
        Add("cookies", "Write a cookies file from a browser, or set browsers up to be asked", RunCookies);
    cookies.add_option("BROWSER", request_.browser, "The browser, such as firefox")->type_name("");
    cookies.add_option("-o,--output", request_.folder, "Folder for the file")
        ->type_name("DIR")
        ->check(PathLike, "");
    auto& install = AddSwitch(cookies, "--install-host", request_.installHost,
                              "Let BROWSER be asked while it runs; every browser there is unless named");
    auto& uninstall = AddSwitch(cookies, "--uninstall-host", request_.uninstallHost, "Take that back");
    auto& status = AddSwitch(cookies, "--status", request_.status, "Tell how it is with each browser");
    install.excludes(&uninstall)->excludes(&status);
    uninstall.excludes(&status);
    AddToolPaths(cookies);
}

void HVCommandLine::AddLesser() {
    CLI::App& providers = Add("providers", "List the TV providers for --ap-mso, id and name", RunProviders);
    providers.add_option("TEXT", request_.search, "Only those whose id or name holds this text")
        ->type_name("");

    AddCookies();
    AddQueue();

    CLI::App& tools = Add("tools", "Show the copies of the tools, and which are in force", RunTools);
    tools.require_subcommand(0, 1);
    tools.footer("");
    AddToolPaths(tools);
    CLI::App& update = *tools.add_subcommand("update", "Bring the local copies up to date");
    update.add_option("--tool", request_.toolFolder, "Folder of the local copies")
        ->type_name("DIR")
        ->check(PathLike, "");
    CLI::App& use = *tools.add_subcommand("use", "Choose the copies that serve from now on");
    use.add_option("COPIES", request_.copies, "local or built-in")->required()->type_name("");
    // A callback of the inner command runs before the outer one's and would be overruled by it.
    tools.parse_complete_callback([this, &update, &use] {
        run_ = update.parsed() ? RunToolsUpdate : use.parsed() ? RunToolsUse : RunTools;
    });

    CLI::App& document = Add("option-table", "Print docs/options.md", RunOptionTable);
    document.group("");
    CLI::App& generate = Add("generate", "Print the manual page or a shell's completions", RunGenerate);
    generate.group("");
    generate.add_option("WHAT", request_.document, "man, bash, zsh or fish")->required()->type_name("");
}

HVCommandDescription HVCommandLine::Description() const {
    return DescribeCommand(*app_);
}

std::string HVCommandLine::Footer() const {
    return app_->get_footer();
}

bool HVCommandLine::Quiet() const {
    bool const tellsEvents = run_ == RunGet || run_ == RunQueueAdd || run_ == RunQueueStart;
    return request_.quiet || (tellsEvents && request_.json);
}

std::string HVCommandLine::Parse(int count, char const* const* arguments, int& status) {
    std::string fault = Read(count, arguments, status);
    if (fault.empty() || status == HVExitDone)
        return fault;
    std::string help = "reelhaul";
    for (auto command = app_->get_subcommands(); !command.empty();
         command = command.front()->get_subcommands())
        help += " " + command.front()->get_name();
    return CutToWidth(fault, kLongestFault) + " (see " + help + " --help)";
}

std::string HVCommandLine::Read(int count, char const* const* arguments, int& status) {
    try {
        app_->parse(count, arguments);
        status = HVExitUsage;
        std::string fault = EmptyValueFault(*app_, count, arguments);
        return fault.empty() ? Complete() : fault;
    } catch (CLI::ParseError const& event) {
        status = event.get_exit_code() == 0 ? HVExitDone : HVExitUsage;
        if (event.get_name() == "CallForVersion")
            return event.what();
        if (status == HVExitDone)
            return app_->help();
        if (count > 1 && arguments[1][0] != '-' && app_->get_subcommands().empty())
            return "there is no command \"" + std::string(arguments[1]) + "\"";
        return ParserFault(event, *app_, count, arguments);
    }
}

std::string HVCommandLine::CookiesFault() const {
    bool const setsUp = request_.installHost || request_.uninstallHost || request_.status;
    if (run_ == RunCookies && !setsUp && request_.browser.empty())
        return "BROWSER is required";
    if (run_ == RunCookies && !setsUp && app_->get_subcommand("cookies")->count("--output") == 0)
        return "--output is required";
    if (!request_.runningBrowser.empty() &&
        (given_.contains("--cookies") || given_.contains("--cookies-from-browser")))
        return "--cookies-from-running can't be given together with other cookies";
    if (HVBrowserQuestion question; !request_.runningBrowser.empty())
        if (std::string const fault = ReadRunningBrowser(request_.runningBrowser, question); !fault.empty())
            return "--cookies-from-running: " + fault;
    return {};
}

std::string HVCommandLine::Complete() {
    if (std::string fault = TakeAddresses(); !fault.empty())
        return fault;
    if (request_.subtitleKind != "people" && request_.subtitleKind != "machine" &&
        request_.subtitleKind != "any")
        return "--subtitle-kind must be people, machine or any, not \"" + request_.subtitleKind + "\"";
    if (std::string fault = CookiesFault(); !fault.empty())
        return fault;
    if (std::string fault = TakeItems(); !fault.empty())
        return fault;
    if (std::string fault = NameFault(); !fault.empty())
        return fault;
    if (std::string fault = TakeRows(); !fault.empty())
        return fault;
    for (std::string fault :
         {TakeRuns("--jobs", jobs_, request_.jobs), TakeRuns("--analyses", analyses_, request_.analyses)})
        if (!fault.empty())
            return fault;
    if (auto const duration = SecondsOf(duration_); !duration_.empty()) {
        if (!duration || *duration == 0)
            return "--duration must be seconds or a time such as 1:30:00, not \"" + duration_ + "\"";
        request_.duration = *duration;
    }
    for (auto const& [name, path] :
         {std::pair("--tool", &request_.toolFolder), std::pair("--js-runtime", &request_.jsRuntime)})
        if (!path->empty() && (*path != "none" || path != &request_.jsRuntime))
            if (std::string fault = PathFault(name, *path); !fault.empty())
                return fault;
    for (char const* const option : {"--embed-subs", "--convert-subs"})
        if (given_.contains(option) && request_.subtitle.empty())
            return std::string(option) + " counts only together with --subtitle";
    return ReadOptions(given_, request_.options);
}

} // namespace Halvorn
