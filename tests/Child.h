#pragma once
// Processes of a test's own.

#include "Recorder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

/// Threads of this process; 0 where the system does not tell.
inline std::ptrdiff_t CountThreads() {
    std::error_code none;
    std::filesystem::directory_iterator const threads("/proc/self/task", none);
    return none ? 0 : std::distance(threads, std::filesystem::directory_iterator());
}

/// A sanitizer may have one of its own, which ThreadSanitizer starts with the first thread of the program.
inline std::ptrdiff_t const kThreadsAtStart = [] {
#ifdef __SANITIZE_THREAD__
    std::thread([] {}).join();
    Eventually([] { return CountThreads() == 2; });
#endif
    return CountThreads();
}();

/// fork(), once no thread of the library's runs: a lock of the allocator's that it held would stay locked in
/// the copy.
inline pid_t Fork() {
    EXPECT_TRUE(Eventually([] { return CountThreads() <= kThreadsAtStart; }));
    return fork();
}

/// Runs the function in a process of its own, which it may end in any way.
inline void InChild(std::function<void()> const& function) {
    pid_t const child = Fork();
    if (child == 0) {
        function();
        std::exit(0);
    }
    waitpid(child, nullptr, 0);
}
