#include "Faults.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include <curl/curl.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<Fault> gKind = Fault::None;
std::atomic<int> gLeft = 0;
std::atomic<bool> gHappened = false;
/// Looks at the system's processes are alike, and hundreds: the first ones stand for all.
constexpr int kProcessLooks = 8;
std::atomic<int> gProcessLooksLeft = kProcessLooks;

bool Fails(Fault kind) {
    if (gKind != kind || gLeft.fetch_sub(1) != 1)
        return false;
    gHappened = true;
    return true;
}

bool OpenFails(char const* path) {
    std::string_view const name(path);
    bool const isLook = name.size() > 5 && name.substr(name.size() - 5) == "/stat";
    bool const counts = !isLook || gProcessLooksLeft.fetch_sub(1) > 0;
    return counts && Fails(Fault::Open);
}

int Refuse(int error) {
    errno = error;
    return -1;
}

/// The system's own function behind ours.
template <class Function>
Function* Behind(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

mode_t ModeOf(int flags, va_list list) {
    return (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(list, int)) : 0;
}

} // namespace

void FailNth(Fault kind, int nth) {
    gKind = Fault::None;
    gLeft = nth;
    gHappened = false;
    gProcessLooksLeft = kProcessLooks;
    gKind = kind;
}

bool FaultHappened() {
    return gHappened;
}

extern "C" {

int posix_spawn(pid_t* pid, char const* path, posix_spawn_file_actions_t const* actions,
                posix_spawnattr_t const* attributes, char* const* arguments, char* const* environment) {
    if (Fails(Fault::Spawn))
        return EAGAIN;
    static auto* const behind = Behind<decltype(posix_spawn)>("posix_spawn");
    return behind(pid, path, actions, attributes, arguments, environment);
}

int open(char const* path, int flags, ...) {
    if (OpenFails(path))
        return Refuse(EMFILE);
    va_list list;
    va_start(list, flags);
    mode_t const mode = ModeOf(flags, list);
    va_end(list);
    static auto* const behind = Behind<decltype(open)>("open");
    return behind(path, flags, mode);
}

int openat(int folder, char const* path, int flags, ...) {
    if (OpenFails(path))
        return Refuse(EMFILE);
    va_list list;
    va_start(list, flags);
    mode_t const mode = ModeOf(flags, list);
    va_end(list);
    static auto* const behind = Behind<decltype(openat)>("openat");
    return behind(folder, path, flags, mode);
}

ssize_t write(int fd, void const* bytes, size_t size) {
    static auto* const behind = Behind<decltype(write)>("write");
    // An event descriptor has no type of file and can't be full.
    struct stat info {};
    if (gKind == Fault::Write && fstat(fd, &info) == 0 && (info.st_mode & S_IFMT) != 0 && Fails(Fault::Write))
        return Refuse(ENOSPC);
    return behind(fd, bytes, size);
}

int rename(char const* from, char const* to) noexcept {
    static auto* const behind = Behind<decltype(rename)>("rename");
    return Fails(Fault::Rename) ? Refuse(EIO) : behind(from, to);
}

int renameat2(int fromFolder, char const* from, int toFolder, char const* to, unsigned int flags) noexcept {
    static auto* const behind = Behind<decltype(renameat2)>("renameat2");
    return Fails(Fault::Rename) ? Refuse(EIO) : behind(fromFolder, from, toFolder, to, flags);
}

int link(char const* from, char const* to) noexcept {
    static auto* const behind = Behind<decltype(link)>("link");
    return Fails(Fault::Rename) ? Refuse(EIO) : behind(from, to);
}

int mkdir(char const* path, mode_t mode) noexcept {
    static auto* const behind = Behind<decltype(mkdir)>("mkdir");
    return Fails(Fault::Folder) ? Refuse(ENOSPC) : behind(path, mode);
}

int pthread_create(pthread_t* thread, pthread_attr_t const* attributes, void* (*function)(void*),
                   void* argument) noexcept {
    static auto* const behind = Behind<decltype(pthread_create)>("pthread_create");
    return Fails(Fault::Thread) ? EAGAIN : behind(thread, attributes, function, argument);
}

CURLMcode curl_multi_perform(CURLM* multi, int* running) {
    static auto* const behind = Behind<decltype(curl_multi_perform)>("curl_multi_perform");
    return Fails(Fault::Request) ? CURLM_OUT_OF_MEMORY : behind(multi, running);
}

} // extern "C"
