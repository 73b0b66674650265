#pragma once
// What a test of endurance looks at, and how much of it is run.

#include <cstddef>

/// A share of the full size: REELHAUL_TEST_SCALE, a tenth without it.
int Scaled(int full);

/// Children are counted without the guardian; memory is in KiB.
enum class Counted { Descriptors, Threads, Children, Memory };
std::size_t CountOf(Counted what);
