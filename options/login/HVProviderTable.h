#pragma once
// The TV providers that the tool can log in through. The table is made by the build from
// data/providers.tsv, in that file's order.

namespace Halvorn {

struct HVProvider {
    char const* id;   ///< what the tool is given
    char const* name; ///< what the user is shown
};

inline constexpr int HVProviderCount = 434;

/// Closed by a row of two null pointers.
extern HVProvider const HVProviderTable[HVProviderCount + 1];

} // namespace Halvorn
