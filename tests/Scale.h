#pragma once
// How much of a storm is run: REELHAUL_TEST_SCALE is the share of the full size, a tenth without it.

#include <algorithm>
#include <cstdlib>

inline int Scaled(int full) {
    char const* const scale = std::getenv("REELHAUL_TEST_SCALE");
    return std::max(1, static_cast<int>(full * (scale == nullptr ? 0.1 : std::atof(scale))));
}
