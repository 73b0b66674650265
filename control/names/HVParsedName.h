#pragma once
// A name template, read, and what it comes to for an item. Values; any thread may use them.

#include <string>
#include <vector>

namespace Halvorn {

class IHVDownloadItem;

/// The folders below the target folder, and the file's name without its extension: each legal, none empty.
struct HVItemPath {
    std::vector<std::string> folders;
    std::string name;
};

class HVParsedName {
public:
    /// Reads `text`; Fault() tells where that can't be done.
    explicit HVParsedName(std::string const& text);

    /// Empty for a template that can be used.
    std::string const& Fault() const { return fault_; }
    /// For the item as it is chosen now. `folder` is the target folder.
    HVItemPath PathOf(IHVDownloadItem const& item, std::string const& extension,
                      std::string const& folder) const;

private:
    struct Token {
        int field; ///< its number, or -1 for plain text
        std::string text;
    };
    using Part = std::vector<Token>;

    void Read(std::string const& text);
    std::size_t ReadField(std::string const& text, std::size_t at);
    void Check();
    static std::string Expand(Part const& part, std::vector<std::string> const& values, std::size_t budget);

    std::vector<Part> parts_{1};
    std::string fault_;
};

} // namespace Halvorn
