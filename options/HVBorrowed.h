#pragma once
// A record that copies itself hands itself to a constructor that takes a shared pointer.

#include <memory>

namespace Halvorn {

/// A shared pointer to `object` that owns nothing: `object` has to outlive it.
template <typename T>
std::shared_ptr<T const> Borrowed(T const& object) {
    return {std::shared_ptr<void>(), &object};
}

} // namespace Halvorn
