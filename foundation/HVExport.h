#pragma once
/// \file
/// Marks what the shared library exports; everything else of it is hidden.
#define HV_EXPORT __attribute__((visibility("default")))
