#include "HVOwnProcess.h"

#include <cstdlib>
#include <fstream>

namespace Halvorn {

int CurrentUmask() {
    // proc(5), "/proc/pid/status"
    constexpr char kName[] = "Umask:";
    constexpr int kOctal = 8;
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);)
        if (line.compare(0, sizeof kName - 1, kName) == 0)
            return static_cast<int>(std::strtol(line.c_str() + sizeof kName - 1, nullptr, kOctal));
    return -1;
}

} // namespace Halvorn
