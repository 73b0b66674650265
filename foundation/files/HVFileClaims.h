#pragma once
// Names that one owner at a time claims, of all processes that use the same file. A claim goes with the
// object and with the process, however that ends; a forked copy has none. Thread-safe.

#include "HVDescriptor.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace Halvorn {

class HVFileClaims {
public:
    /// The one of this process for the file of this path, which is absolute. The file is made at the first
    /// claim, for the user alone. It stays, and stays empty.
    static std::shared_ptr<HVFileClaims> Of(std::string const& path);
    explicit HVFileClaims(std::string path) : path_(std::move(path)) {}

    /// False where another process has the claim, or another owner of this one. Where that can't be told, as
    /// on a file system without locks, no other process is kept from anything.
    bool Take(std::string const& name, void const* owner);
    /// Where the owner has it.
    void Leave(std::string const& name, void const* owner);

private:
    bool Lock(std::string const& name, bool take);

    std::string const path_;
    std::mutex mutex_; // guards what follows
    HVDescriptor file_;
    std::map<std::string, void const*> owners_;
};

} // namespace Halvorn
