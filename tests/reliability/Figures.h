#pragma once
// What a test of endurance looks at.

#include <cstddef>

/// Children are counted without the guardian; memory is in KiB.
enum class Counted { Descriptors, Threads, Children, Memory };
std::size_t CountOf(Counted what);
