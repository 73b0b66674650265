#pragma once
// Names that the sources of the plugin share.

namespace Halvorn {

/// The version when nothing better is known.
inline constexpr char const* kFallbackVersion = "2024.01.01";
inline constexpr char const* kVersionArgument = "--version";
inline constexpr char const* kUpdateArgument = "--update";

} // namespace Halvorn
