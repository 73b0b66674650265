#include "HVSubfolder.h"

#include "IHVFileProvider.h"

#include <filesystem>
#include <system_error>

namespace Halvorn {

namespace {

namespace fs = std::filesystem;

constexpr int kMaxNumber = 1000;

enum class Entry { Missing, Usable, Taken };

bool LeadsBelow(std::string const& root, std::string const& path) {
    std::error_code fault;
    std::string const outer = fs::canonical(root, fault).string();
    if (fault)
        return false;
    std::string const inner = fs::canonical(path, fault).string();
    return !fault && (outer == "/" || inner == outer || inner.starts_with(outer + "/"));
}

Entry Look(std::string const& root, std::string const& path) {
    std::error_code fault;
    auto const own = fs::symlink_status(path, fault);
    if (own.type() == fs::file_type::not_found)
        return Entry::Missing;
    if (own.type() == fs::file_type::symlink)
        return fs::is_directory(path, fault) && LeadsBelow(root, path) ? Entry::Usable : Entry::Taken;
    // What can't be looked at is tried, and the attempt tells the reason.
    return own.type() == fs::file_type::directory || fault ? Entry::Usable : Entry::Taken;
}

/// The first name that is no other's, and whether the folder is there.
Entry Choose(std::string const& root, std::string const& name, std::string& path) {
    std::string const plain = IHVFileProvider::AppendPathComponent(path, name);
    for (int number = 0; number < kMaxNumber; ++number) {
        path = number == 0 ? plain : plain + " (" + std::to_string(number) + ")";
        if (Entry const entry = Look(root, path); entry != Entry::Taken)
            return entry;
    }
    return Entry::Taken;
}

} // namespace

HVSubfolder MakeSubfolder(std::string const& root, std::vector<std::string> const& names) {
    std::string path = root;
    for (auto const& name : names) {
        Entry const entry = Choose(root, name, path);
        std::error_code fault =
            entry == Entry::Taken ? std::make_error_code(std::errc::file_exists) : std::error_code();
        // Another download may make it at the same time, which is no fault.
        if (entry == Entry::Missing)
            fs::create_directory(path, fault);
        if (fault)
            return {{}, "Can't make the folder \"" + path + "\": " + fault.message() + "."};
    }
    return {path, {}};
}

std::string FindSubfolder(std::string const& root, std::vector<std::string> const& names) {
    std::string path = root;
    for (auto const& name : names)
        if (Choose(root, name, path) != Entry::Usable)
            return {};
    return path;
}

} // namespace Halvorn
