#include "RunCommand.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): not every system declares it

namespace {

std::string ReadFile(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

CommandRun::CommandRun() {
    // A "-" in front of the random part could make the tool's script see "-J" among the arguments.
    std::string pattern = (std::filesystem::temp_directory_path() / "reelhaul-test.XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    for (char const* name : {"tools", "scripts", "out"})
        std::filesystem::create_directory(folder_ / name);
    std::filesystem::path const tool = REELHAUL_BINARY_DIR "/tests/tool/yt-dlp";
    std::filesystem::create_symlink(tool, folder_ / "tools/yt-dlp");
    std::filesystem::create_symlink(tool, folder_ / "tools/ffmpeg");
    setenv("REELHAUL_TOOL_SCRIPTS", Path("scripts").c_str(), 1);
    setenv("REELHAUL_SETTINGS", Path("settings.json").c_str(), 1);
    setenv("REELHAUL_TOOL_DIR", Path("none").c_str(), 1);
}

CommandRun::~CommandRun() {
    std::filesystem::remove_all(folder_);
}

void CommandRun::Script(std::string const& name, std::string const& text) const {
    std::ofstream(folder_ / "scripts" / name, std::ios::binary) << text;
}

CommandResult CommandRun::Run(std::vector<std::string> arguments, bool tool, std::string const& input,
                              std::function<void(int)> const& meanwhile) const {
    if (tool)
        arguments.insert(arguments.begin() + 1, {"--tool", Path("tools")});
    arguments.insert(arguments.begin(), "reelhaul");
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    std::ofstream(Path("in"), std::ios::binary) << input;
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, Path("in").c_str(), O_RDONLY, 0);
    std::string const out = output.empty() ? Path("stdout") : output;
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, Path("stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t child = -1;
    int const fault =
        posix_spawn(&child, REELHAUL_BINARY_DIR "/bin/reelhaul", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (fault != 0)
        return {};
    if (meanwhile)
        meanwhile(child);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    int const result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {result, output.empty() ? ReadFile(out) : std::string(), ReadFile(Path("stderr"))};
}

std::vector<std::vector<std::string>> CommandRun::Starts() const {
    std::vector<std::vector<std::string>> starts;
    std::istringstream lines(ReadFile(folder_ / "scripts/starts"));
    for (std::string line; std::getline(lines, line);) {
        starts.emplace_back();
        std::istringstream words(line);
        for (std::string word; std::getline(words, word, '\x1F');)
            starts.back().push_back(word);
    }
    return starts;
}
