#pragma once
// What the tests over the scripted tool share: its folder, and a record of what a delegate heard.

#include "HVDownloadPlugin.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadTask.h"
#include "IHVDownloadTaskDelegate.h"
#include "IHVPlayList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

inline bool Eventually(std::function<bool()> const& condition) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
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

/// Keeps what it hears as one line each.
class Recorder final : public Halvorn::IHVDownloadTaskDelegate {
public:
    /// Called with each line, on the reporting thread, after it was kept.
    std::function<void(std::string const&)> onEvent;

    std::vector<std::string> Events() const {
        std::lock_guard const lock(mutex_);
        return events_;
    }
    void DownloadTaskStarted(std::string message, Halvorn::IHVDownloadTask const*) override {
        Keep("started: " + message);
    }
    void DownloadTaskProgress(std::string message, float percent, Halvorn::IHVDownloadTask const*) override {
        char number[32];
        std::snprintf(number, sizeof number, "%g", static_cast<double>(percent));
        Keep(std::string(number) + "%: " + message);
    }
    void DownloadTaskGetPlayList(std::shared_ptr<Halvorn::IHVPlayList> list,
                                 Halvorn::IHVDownloadTask const*) override {
        Keep("playlist " + list->GetTitle() + " of " + std::to_string(list->GetDownloadItemCount()));
    }
    void DownloadTaskGetPlayItem(std::shared_ptr<Halvorn::IHVDownloadItem> item,
                                 Halvorn::IHVDownloadTask const*) override {
        {
            std::lock_guard const lock(mutex_);
            items.push_back(item);
        }
        Keep("item " + item->GetFileName());
    }
    void DownloadTaskCompleted(std::shared_ptr<Halvorn::IHVError const> error,
                               Halvorn::IHVDownloadTask const*) override {
        Keep(error->GetErrorTitle() + ": " + error->GetErrorMessage());
    }

    std::vector<std::shared_ptr<Halvorn::IHVDownloadItem>> items;

private:
    void Keep(std::string line) {
        {
            std::lock_guard const lock(mutex_);
            events_.push_back(line);
        }
        if (onEvent)
            onEvent(line);
    }

    mutable std::mutex mutex_;
    std::vector<std::string> events_;
};
