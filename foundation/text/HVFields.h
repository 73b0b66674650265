#pragma once
// Named values as one text, a line for each: what is kept of an object in a file. A reader passes over names
// that it does not know, and takes those that are missing as empty or 0; so records grow without a new
// version. One thread at a time while it is written; any thread may read.

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Halvorn {

class HVFields {
public:
    HVFields() = default;
    /// Reads a text that Text() has given. Lines that are no value are passed over.
    explicit HVFields(std::string_view text);

    ///@{
    /// A name is set once, and holds neither "=" nor a line's end. What is empty or 0 is left out.
    void SetText(std::string_view name, std::string_view value);
    void SetInteger(std::string_view name, std::int64_t value);
    void SetReal(std::string_view name, double value); ///< with six digits behind the point
    ///@}
    std::string const& Text() const { return text_; }

    std::string Get(std::string_view name) const;
    std::int64_t Integer(std::string_view name) const;
    int Int(std::string_view name) const { return static_cast<int>(Integer(name)); }
    bool Flag(std::string_view name) const { return Integer(name) != 0; }
    float Real(std::string_view name) const;

private:
    std::string text_;                                        ///< as it is written
    std::vector<std::pair<std::string, std::string>> values_; ///< as they were read
};

} // namespace Halvorn
