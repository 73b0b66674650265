#pragma once
// A folder of a test's own, which goes with it.

#include "IHVFileProvider.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Halvorn {

class Folder {
public:
    explicit Folder(std::filesystem::path const& parent = std::filesystem::temp_directory_path())
        : path_(parent / IHVFileProvider::CreateRandomFileName("test", 12)) {
        std::filesystem::create_directories(path_);
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(Folder const&) = delete;
    Folder& operator=(Folder const&) = delete;

    std::string Path() const { return path_; }
    std::string operator/(std::string const& name) const { return path_ / name; }
    /// Writes a file in it, and tells its path.
    std::string Put(std::string const& name, std::string const& text) const {
        std::ofstream(path_ / name, std::ios::binary) << text;
        return path_ / name;
    }
    std::string Get(std::string const& name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    auto Count() const {
        return std::distance(std::filesystem::directory_iterator(path_),
                             std::filesystem::directory_iterator());
    }

private:
    std::filesystem::path path_;
};

} // namespace Halvorn
