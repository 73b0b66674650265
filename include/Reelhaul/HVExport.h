#pragma once
/// \file
/// The marks of the interface for the compiler.

/// What the shared library exports; everything else of it is hidden.
#define HV_EXPORT __attribute__((visibility("default")))

/// Has the compiler check a format and its arguments as those of printf. `text` is the place of the format
/// among the parameters, from 1; `first` that of its first argument, or 0 where they come as a va_list.
#define HV_PRINTF(text, first) __attribute__((format(printf, text, first)))
