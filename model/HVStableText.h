#pragma once
// A text that one thread may replace while others read it, and that is handed out by reference: every value
// that it ever had stays where it is as long as the object lives. For texts that change seldom.

#include <atomic>
#include <mutex>
#include <set>
#include <string>

namespace Halvorn {

class HVStableText {
public:
    explicit HVStableText(std::string const& text = {}) { Set(text); }

    void Set(std::string const& text) {
        std::lock_guard const lock(mutex_);
        current_ = &*values_.insert(text).first;
    }
    std::string const& Get() const { return *current_; }

private:
    std::mutex mutex_;
    std::set<std::string> values_;
    std::atomic<std::string const*> current_ = nullptr;
};

} // namespace Halvorn
