#pragma once
/// \file
/// The mark of the interface.

/// What the shared library exports; everything else of it is hidden.
#define HV_EXPORT __attribute__((visibility("default")))
