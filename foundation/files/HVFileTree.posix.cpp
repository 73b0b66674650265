#include "HVFileTree.h"

#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace Halvorn {

namespace {

/// Deeper than anything that the tools make; each level holds a descriptor open.
constexpr int kMaxDepth = 64;

void RemoveTreeBelow(int folder, std::string const& name, int depth) {
    if (unlinkat(folder, name.c_str(), 0) == 0 || depth > kMaxDepth)
        return;
    {
        HVDescriptor const inner = OpenFolder(folder, name);
        if (!inner.Valid())
            return;
        for (auto const& entry : EntriesOf(inner.Get()))
            RemoveTreeBelow(inner.Get(), entry, depth + 1);
    }
    unlinkat(folder, name.c_str(), AT_REMOVEDIR);
}

} // namespace

HVDescriptor OpenFolder(int parent, std::string const& name) {
    return HVDescriptor(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::vector<std::string> EntriesOf(int folder) {
    std::vector<std::string> names;
    // A descriptor of its own: the stream closes it, and the position in the folder is the stream's alone.
    HVDescriptor again = OpenFolder(folder, ".");
    DIR* const stream = again.Valid() ? fdopendir(again.Get()) : nullptr;
    if (stream == nullptr)
        return names;
    again.Release();
    while (dirent const* const entry = readdir(stream)) {
        std::string_view const name(entry->d_name);
        if (name != "." && name != "..")
            names.emplace_back(name);
    }
    closedir(stream);
    return names;
}

void RemoveTree(int folder, std::string const& name) {
    RemoveTreeBelow(folder, name, 0);
}

} // namespace Halvorn
