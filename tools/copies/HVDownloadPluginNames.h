#pragma once
// What the sources of the plugin share.

#include <string>

namespace Halvorn {

/// The version when nothing better is known.
inline constexpr char const* kFallbackVersion = "2024.01.01";
inline constexpr char const* kVersionArgument = "--version";
inline constexpr char const* kUpdateArgument = "--update";

/// True for digits with dots between them, as all versions of the tool are written.
bool IsVersion(std::string const& text);

} // namespace Halvorn
