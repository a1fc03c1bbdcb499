#pragma once

/// \file
/// Marks a declaration as belonging to the host: defined in whatever library implements `host/`.
///
/// A host defines `TOVRINHOST_BUILD` while it compiles its own sources. Nobody else does.
///
/// On Windows such a library is linked before the one that calls it, which is linked for it: it is a DLL that
/// calls nothing of the timer library (`tovrintimer_link_for_host` of the CMake package).

/// \def TOVRINHOST_API
/// Stands before each class and operation that the host defines.

#if defined(_WIN32) && defined(TOVRINHOST_BUILD)
#define TOVRINHOST_API __declspec(dllexport)
#elif defined(_WIN32)
#define TOVRINHOST_API
#else
#define TOVRINHOST_API __attribute__((visibility("default")))
#endif
