#pragma once
// What the fuzz targets share.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

/// Ends the run with a finding. Not assert: the targets are built without it too.
#define HV_FUZZ_CHECK(condition)                                                                             \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                             \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)

inline std::string FuzzText(std::uint8_t const* data, std::size_t size) {
    return std::string(reinterpret_cast<char const*>(data), size);
}

/// The input cut at each 0xFF byte, at least `count` parts.
inline std::vector<std::string> FuzzParts(std::uint8_t const* data, std::size_t size, std::size_t count) {
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0xFF && parts.size() < count)
            parts.emplace_back();
        else
            parts.back() += static_cast<char>(data[i]);
    }
    parts.resize(parts.size() < count ? count : parts.size());
    return parts;
}
