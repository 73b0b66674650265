#pragma once
/// \file
/// The version of these headers, for the preprocessor: `#if REELHAUL_VERSION >= 10200`. What is loaded at run
/// time may be newer; ::ReelhaulVersionNumber and ::ReelhaulVersionString tell that.

// The build reads the project's version from these three lines.
/// Programs built against another major version can't be run with this one.
#define REELHAUL_VERSION_MAJOR 1
/// Counts the additions to the interface.
#define REELHAUL_VERSION_MINOR 0
/// Counts the releases that add nothing to the interface.
#define REELHAUL_VERSION_PATCH 0

/// All three as one number that can be compared: 10203 is version 1.2.3.
#define REELHAUL_VERSION                                                                                     \
    (REELHAUL_VERSION_MAJOR * 10000 + REELHAUL_VERSION_MINOR * 100 + REELHAUL_VERSION_PATCH)
