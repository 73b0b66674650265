#pragma once
// Names that one process at a time claims, of those that use the same file. A claim goes with the object and
// with the process, however that ends; a forked copy has none. Thread-safe. Two objects of one process with
// one file don't know of each other.

#include "HVDescriptor.h"

#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace Halvorn {

class HVFileClaims {
public:
    /// The file is made at the first claim, for the user alone. It stays, and stays empty.
    explicit HVFileClaims(std::string path) : path_(std::move(path)) {}

    /// False where another process has the claim, or this one. Where that can't be told, as on a file system
    /// without locks, nobody is kept from anything.
    bool Take(std::string const& name);
    void Leave(std::string const& name);

private:
    bool Lock(std::string const& name, bool take);

    std::string const path_;
    std::mutex mutex_; // guards what follows
    HVDescriptor file_;
    std::set<std::string> own_;
};

} // namespace Halvorn
