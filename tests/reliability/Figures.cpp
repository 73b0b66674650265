#include "Figures.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <malloc.h>

namespace {

namespace fs = std::filesystem;

std::size_t EntriesOf(char const* folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

std::size_t Children() {
    std::size_t count = 0;
    for (auto const& task : fs::directory_iterator("/proc/self/task")) {
        std::ifstream children(task.path() / "children");
        for (std::string child; children >> child;) {
            std::ifstream line("/proc/" + child + "/cmdline");
            std::string program;
            std::getline(line, program, '\0');
            count += program == "/bin/sh" ? 0U : 1U;
        }
    }
    return count;
}

std::size_t Memory() {
    malloc_trim(0);
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word && word != "VmRSS:") {
    }
    std::size_t kibibytes = 0;
    status >> kibibytes;
    return kibibytes;
}

} // namespace

std::size_t CountOf(Counted what) {
    switch (what) {
    case Counted::Descriptors:
        return EntriesOf("/proc/self/fd");
    case Counted::Threads:
        return EntriesOf("/proc/self/task");
    case Counted::Children:
        return Children();
    default:
        return Memory();
    }
}
