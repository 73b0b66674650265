#pragma once
// A record of what a delegate heard, and a wait for anything.

#include "IHVDownloadItem.h"
#include "IHVDownloadTask.h"
#include "IHVDownloadTaskDelegate.h"
#include "IHVPlayList.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Looks until it is true, for at most so long.
inline bool Eventually(std::function<bool()> const& condition,
                       std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    auto const until = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// Keeps what it hears as one line each.
class Recorder final : public Halvorn::IHVDownloadTaskDelegate {
public:
    /// Called with each line, on the reporting thread, after it was kept.
    std::function<void(std::string const&)> onEvent;

    std::vector<std::string> Events() const {
        std::lock_guard const lock(mutex_);
        return events_;
    }
    /// All lines with a bar between them.
    std::string Story() const {
        std::string story;
        for (auto const& event : Events())
            story += (story.empty() ? "" : "|") + event;
        return story;
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
        playList = list;
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
        {
            std::lock_guard const lock(mutex_);
            ends.push_back(error);
        }
        Keep(error->GetErrorTitle() + ": " + error->GetErrorMessage());
    }

    std::vector<std::shared_ptr<Halvorn::IHVDownloadItem>> items;
    std::shared_ptr<Halvorn::IHVPlayList> playList;
    std::vector<std::shared_ptr<Halvorn::IHVError const>> ends;

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
