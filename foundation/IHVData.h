#pragma once
// Bytes of a chunk of a child's output or of an HTTP answer. Immutable; shared between threads.

#include <memory>
#include <string>

namespace Halvorn {

class IHVData {
public:
    static std::shared_ptr<IHVData const> MallocData(std::string bytes);

    /// The bytes, as they came.
    virtual std::string const& ToText() const = 0;

protected:
    ~IHVData() = default;
};

} // namespace Halvorn
