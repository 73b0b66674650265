// The scripted tool: see README.md beside this file.

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct Counter {
    std::atomic<std::int32_t> now;
    std::atomic<std::int32_t> most;
};

Counter* gCounter = nullptr;
std::vector<std::string> gArguments;
std::string gFolder; // of the user's scripts; empty for none
std::string gSites;  // of the scripts that come with the tool

[[noreturn]] void End(int status) {
    if (gCounter != nullptr)
        --gCounter->now;
    _exit(status);
}

void EndBy(int signal) {
    if (gCounter != nullptr)
        --gCounter->now;
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void Print(int fd, std::string_view text) {
    while (!text.empty()) {
        ssize_t const size = write(fd, text.data(), text.size());
        if (size < 0 && errno != EINTR)
            return;
        text.remove_prefix(size < 0 ? 0 : static_cast<std::size_t>(size));
    }
}

void Sleep(long milliseconds) {
    timespec left{milliseconds / 1000, milliseconds % 1000 * 1'000'000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

void CountStart() {
    if (gFolder.empty())
        return;
    std::string line;
    for (auto const& argument : gArguments)
        line += (line.empty() ? "" : "\x1f") + argument;
    line += '\n';
    if (int const fd = open((gFolder + "/starts").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        fd >= 0) {
        Print(fd, line);
        close(fd);
    }
    int const fd = open((gFolder + "/running").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    struct stat status {};
    if (fd < 0 || fstat(fd, &status) != 0)
        return;
    // Growing it to the same size twice does no harm.
    if (status.st_size < static_cast<off_t>(sizeof(Counter)) && ftruncate(fd, sizeof(Counter)) != 0)
        return;
    void* const memory = mmap(nullptr, sizeof(Counter), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (memory == MAP_FAILED)
        return;
    gCounter = static_cast<Counter*>(memory);
    std::int32_t const now = ++gCounter->now;
    for (std::int32_t most = gCounter->most;
         now > most && !gCounter->most.compare_exchange_weak(most, now);) {
    }
}

std::string ReadFile(std::string const& name) {
    int fd = gFolder.empty() ? -1 : open((gFolder + "/" + name).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        fd = open((gSites + "/" + name).c_str(), O_RDONLY | O_CLOEXEC);
    std::string text;
    if (fd < 0) {
        Print(2, "scripted tool: no file " + name + " in " + (gFolder.empty() ? gSites : gFolder) + "\n");
        End(99);
    }
    char buffer[65536];
    for (ssize_t size = 0; (size = read(fd, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(size));
    close(fd);
    return text;
}

std::string Unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        char const letter = text[++i];
        if (letter == 'x') {
            result += static_cast<char>(std::strtol(std::string(text.substr(i + 1, 2)).c_str(), nullptr, 16));
            i += 2;
            continue;
        }
        auto const named = std::string_view("nrts").find(letter);
        result += named == std::string_view::npos ? letter : "\n\r\t;"[named];
    }
    return result;
}

std::string TakeWord(std::string_view& text) {
    auto const end = text.find(' ');
    std::string word(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return word;
}

long Number(std::string_view text) {
    return std::strtol(std::string(text).c_str(), nullptr, 10);
}

std::string PathAt(std::string const& place) {
    std::string path;
    for (std::size_t i = 0; i + 1 < gArguments.size(); ++i)
        if (gArguments[i] == "--output" || gArguments[i] == "-o")
            path = gArguments[i + 1];
    if (place.front() == '+')
        return path + place.substr(1);
    return place == "." ? path : path.substr(0, path.rfind('.')) + place;
}

void WriteFile(std::string const& path, long bytes) {
    int const fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        Print(2, "ERROR: unable to open for writing: " + path + "\n");
        End(1);
    }
    std::string const block(65536, 'x');
    for (; bytes > 0; bytes -= static_cast<long>(block.size()))
        Print(fd, std::string_view(block).substr(0, static_cast<std::size_t>(bytes)));
    close(fd);
}

void Flood(int fd, long mebibytes, char end = '\n') {
    std::string block;
    while (block.size() < 65536)
        block += std::string(63, 'f') + end;
    for (long i = 0; i < mebibytes * 16; ++i)
        Print(fd, block);
}

void PrintProgress(std::string_view rest) {
    std::string const percent = TakeWord(rest);
    char line[128];
    std::snprintf(line, sizeof line, "\r[download] %5.1f%% of   10.00MiB at    1.00MiB/s ETA 00:06",
                  std::strtod(percent.c_str(), nullptr));
    Print(1, line + (rest.empty() ? std::string() : " " + std::string(rest)));
}

void Drip(std::string_view rest) {
    long const milliseconds = Number(TakeWord(rest));
    for (char const letter : Unescaped(rest)) {
        Print(1, {&letter, 1});
        Sleep(milliseconds);
    }
}

std::string InFolder(std::string_view name) {
    return gFolder + "/" + std::string(name);
}

void Run(std::string_view line);
void RunScript(std::string_view script, char separator);

void PrintArguments(std::string_view) {
    for (auto const& argument : gArguments)
        Print(1, argument + "\n");
}

void StartGrandchild(std::string_view line) {
    if (fork() != 0)
        return;
    gCounter = nullptr;
    Run(line);
    _exit(0);
}

sigset_t BlockInterrupt() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    return set;
}

using Text = std::string_view;
std::map<std::string, void (*)(Text)> const kCommands = {
    {"out", [](Text text) { Print(1, Unescaped(text)); }},
    {"line", [](Text text) { Print(1, Unescaped(text) + "\n"); }},
    {"err", [](Text text) { Print(2, Unescaped(text)); }},
    {"errline", [](Text text) { Print(2, Unescaped(text) + "\n"); }},
    {"file", [](Text name) { Print(1, ReadFile(std::string(name))); }},
    {"run", [](Text name) { RunScript(ReadFile(std::string(name)), '\n'); }},
    {"progress", PrintProgress},
    {"flood", [](Text size) { Flood(1, Number(size)); }},
    {"errflood", [](Text size) { Flood(2, Number(size)); }},
    {"longline", [](Text size) { Flood(1, Number(size), 'l'); }},
    {"args", PrintArguments},
    {"drip", Drip},
    {"write",
     [](Text rest) {
         auto const place = TakeWord(rest);
         WriteFile(PathAt(place), Number(rest));
     }},
    {"touch", [](Text name) { WriteFile(InFolder(name), 0); }},
    {"sleep", [](Text milliseconds) { Sleep(Number(milliseconds)); }},
    {"hang",
     [](Text) {
         while (pause() != 0) {
         }
     }},
    {"wait",
     [](Text name) {
         while (access(InFolder(name).c_str(), F_OK) != 0)
             Sleep(1);
     }},
    {"ignore-term", [](Text) { std::signal(SIGTERM, SIG_IGN); }},
    {"hold-int", [](Text) { BlockInterrupt(); }},
    {"take-int",
     [](Text) {
         int signal = 0;
         sigset_t const set = BlockInterrupt();
         sigwait(&set, &signal);
     }},
    {"close-out", [](Text) { close(1); }},
    {"grandchild", StartGrandchild},
    {"exit", [](Text status) { End(static_cast<int>(Number(status))); }},
    {"die", [](Text signal) { EndBy(static_cast<int>(Number(signal))); }},
};

void Run(std::string_view line) {
    std::string const name = TakeWord(line);
    if (auto const command = kCommands.find(name); command != kCommands.end())
        return command->second(line);
    Print(2, "scripted tool: no command \"" + name + "\"\n");
    End(99);
}

void RunScript(std::string_view script, char separator) {
    // Whole arguments: a folder's random name may hold any few letters. Without the address, which holds the
    // script and with it every text that the script asks for.
    std::string joined = " ";
    for (std::size_t i = 0; i + 1 < gArguments.size(); ++i)
        joined += gArguments[i] + " ";
    bool active = true;
    while (!script.empty()) {
        auto const end = script.find(separator);
        std::string_view line = script.substr(0, end);
        script.remove_prefix(end == std::string_view::npos ? script.size() : end + 1);
        if (line.empty() || line.front() == '#')
            continue;
        std::string_view rest = line;
        std::string const command = TakeWord(rest);
        if (command == "when" || command == "unless")
            active = (joined.find(" " + std::string(rest) + " ") != std::string::npos) == (command == "when");
        else if (command == "always")
            active = true;
        else if (active)
            Run(line);
    }
}

/// The name of the script that the address asks for; empty when it asks for none.
std::string ScriptName(std::string const& address) {
    for (std::string_view const front : {"script:", "https://testkit.invalid/", "http://testkit.invalid/"})
        if (address.rfind(front, 0) == 0 && address.find("..") == std::string::npos)
            return address.substr(front.size());
    return {};
}

} // namespace

int main(int count, char** arguments) {
    gArguments.assign(arguments + 1, arguments + count);
    if (char const* const folder = std::getenv("REELHAUL_TOOL_SCRIPTS"))
        gFolder = folder;
    std::string const self(arguments[0]);
    gSites = self.substr(0, self.rfind('/') + 1) + "sites";
    std::signal(SIGTERM, EndBy);
    CountStart();
    std::string const address = gArguments.empty() ? std::string() : gArguments.back();
    if (address.rfind("scripted:", 0) == 0) {
        RunScript(std::string_view(address).substr(9), ';');
    } else if (std::string const name = ScriptName(address); !name.empty()) {
        RunScript(ReadFile(name), '\n');
    } else if (address == "--version") {
        Print(1, "2026.01.01\n");
    } else {
        Print(2, "ERROR: [generic] Unsupported URL: " + address + "\n");
        End(1);
    }
    End(0);
}
