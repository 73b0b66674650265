#pragma once
// A sort for rules that are no strict weak order, such as the ranking of formats, where the standard's sorts
// may run out of bounds or differ from one library to the next.

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace Halvorn {

/// Sorts so that `better(a, b)` puts a before b, by a merge sort from the bottom up: stable, n log n
/// comparisons, in bounds and with one definite result for any rule. The rule gets references that are not
/// const.
template <typename T, typename Better>
void HVStableSort(std::vector<T>& values, Better better) {
    std::size_t const count = values.size();
    std::vector<T> merged;
    for (std::size_t width = 1; width < count; width *= 2) {
        merged.clear();
        merged.reserve(count);
        for (std::size_t start = 0; start < count; start += 2 * width) {
            std::size_t const middle = std::min(start + width, count);
            std::size_t const end = std::min(start + 2 * width, count);
            std::size_t left = start;
            std::size_t right = middle;
            while (left < middle || right < end) {
                bool const takeRight =
                    right < end && (left >= middle || static_cast<bool>(better(values[right], values[left])));
                merged.push_back(std::move(values[takeRight ? right++ : left++]));
            }
        }
        values.swap(merged);
    }
}

} // namespace Halvorn
