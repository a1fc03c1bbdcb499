#pragma once

/// \file
/// Marks what the library exports; everything else stays hidden inside it.
///
/// The library defines `TOVRINTIMER_BUILD` while it is compiled. Nobody else does.

/// \def TOVRINTIMER_API
/// Stands before each class that the library exports.

#if defined(_WIN32) && defined(TOVRINTIMER_BUILD)
#define TOVRINTIMER_API __declspec(dllexport)
#elif defined(_WIN32)
#define TOVRINTIMER_API
#else
#define TOVRINTIMER_API __attribute__((visibility("default")))
#endif
