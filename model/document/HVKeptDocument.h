#pragma once
// The tool's document about an item, kept for its download: in a file of the private temporary folder that
// the user alone can read, since it may hold cookies and addresses that let anybody in. The file goes with
// the object. Read-only once made; any thread may read.

#include "HVJsonRead.h"
#include "HVPrivateFile.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace Halvorn {

class HVKeptDocument {
public:
    /// Keeps `document`. `address` is what the tool is to go back to where it can't download by the document;
    /// `terms` stands for all that decides what the tool finds there. Empty where there is no place for it.
    static std::shared_ptr<HVKeptDocument const> Keep(HVJsonNode const& document, std::string const& address,
                                                      std::size_t terms);

    /// Of the file.
    std::string const& Path() const { return path_; }
    /// Whether a download on these terms may be made from it: what a site names does not hold for ever.
    bool Serves(std::size_t terms) const;

    explicit HVKeptDocument(std::string const& path, std::size_t terms);

private:
    std::string const path_;
    std::size_t const terms_;
    std::chrono::steady_clock::time_point const made_ = std::chrono::steady_clock::now();
    std::unique_ptr<HVPrivateFile> const file_;
};

} // namespace Halvorn
