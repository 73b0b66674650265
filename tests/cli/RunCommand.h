#pragma once
// Runs the built command as a stranger would, with the scripted tool as its tool.

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

struct CommandResult {
    int status = -1; ///< 128 and more: ended by a signal
    std::string out;
    std::string err;
};

/// A folder of the test's own with the tools (folder "tools"), the tool's scripts (folder "scripts") and a
/// place for files ("out"), and the environment that makes the command use them.
class CommandRun {
public:
    CommandRun();
    ~CommandRun();
    CommandRun(CommandRun const&) = delete;
    CommandRun& operator=(CommandRun const&) = delete;

    std::string Path(std::string const& name) const { return (folder_ / name).string(); }
    /// A script of the tool, or a file that a script prints.
    void Script(std::string const& name, std::string const& text) const;
    /// The command with these arguments, after `--tool` has been added behind the command's name where
    /// `tool` says so. `input` is its standard input. `meanwhile` runs while it does, with its number.
    CommandResult Run(std::vector<std::string> arguments, bool tool = true, std::string const& input = {},
                      std::function<void(int)> const& meanwhile = {}) const;
    /// The argument lists that the tool was started with.
    std::vector<std::vector<std::string>> Starts() const;

    /// Where standard output goes instead of into the result.
    std::string output;

private:
    std::filesystem::path folder_;
};
