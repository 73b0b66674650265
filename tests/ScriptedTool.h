#pragma once
// What the tests over the scripted tool share: its folder.

#include "HVDownloadPlugin.h"
#include "Recorder.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

inline std::string ContentOf(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class ScriptedTool : public testing::Test {
protected:
    ScriptedTool() {
        std::filesystem::create_directory(folder_);
        setenv("REELHAUL_TOOL_SCRIPTS", folder_.c_str(), 1);
        UseToolOf(REELHAUL_BINARY_DIR "/tests/tool");
    }
    ~ScriptedTool() override { std::filesystem::remove_all(folder_); }

    static void UseToolOf(std::string const& folder) {
        Halvorn::HVDownloadPlugin::SharedPlugin()->SetLocalPluginInstallPath(folder);
    }
    /// Has this shell script run in the tool's place.
    void ShellTool(std::string const& script) const {
        Put("yt-dlp", "#!/bin/sh\n" + script);
        std::filesystem::permissions(Path("yt-dlp"), std::filesystem::perms::owner_all);
        UseToolOf(folder_);
    }
    std::string Path(std::string const& name) const { return folder_ / name; }
    /// A script or a document for `script:NAME` and `file NAME`; also what a `wait NAME` waits for.
    void Put(std::string const& name, std::string const& text = {}) const {
        std::ofstream(Path(name) + "~") << text;
        std::filesystem::rename(Path(name) + "~", Path(name));
    }
    bool AwaitFile(std::string const& name) const {
        return Eventually([&] { return std::filesystem::exists(Path(name)); });
    }
    /// The arguments of each run so far, joined by blanks.
    std::vector<std::string> Starts() const {
        std::ifstream file(Path("starts"));
        std::vector<std::string> starts;
        for (std::string line; std::getline(file, line); starts.push_back(line))
            std::replace(line.begin(), line.end(), '\x1f', ' ');
        return starts;
    }
    /// How many run now, and the most that ever ran at the same moment.
    std::pair<int, int> Running() const {
        std::int32_t counters[2] = {};
        std::ifstream(Path("running"), std::ios::binary)
            .read(reinterpret_cast<char*>(counters), sizeof counters);
        return {counters[0], counters[1]};
    }

private:
    std::filesystem::path const folder_ =
        std::filesystem::temp_directory_path() / ("scripted-tool" + std::to_string(getpid()));
};
