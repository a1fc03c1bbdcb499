#pragma once

#include "host/Export.hpp"

#include <cstdio>
#include <functional>

namespace tovrinhost::platform {

// What differs from operating system to operating system; one source for each of them.

/// Shortens the name to what the system can hold. Where the thread cannot be named, nothing happens.
void nameCurrentThread(const char* name) noexcept;

/// Runs a command of the system's shell, and waits for it.
///
/// \param isInterrupted asked now and then. Once it holds, the command has a second to end by itself, then it is
/// told
///                      to, where the system can
/// \returns what std::system would; -1, with errno set, if the command cannot be run
TOVRINHOST_API int runCommand(const char* command, const std::function<bool()>& isInterrupted);

/// Runs a command of the system's shell with a pipe to its input or from its output.
/// \param mode the caller has tested it with isPipeMode
/// \returns null, with errno set, if it cannot be run
TOVRINHOST_API std::FILE* openPipe(const char* command, const char* mode);
TOVRINHOST_API bool isPipeMode(const char* mode) noexcept;

/// Waits for the command. \returns what std::system would
TOVRINHOST_API int closePipe(std::FILE* pipe);

/// Whether the result of a command tells that Ctrl-C (or Ctrl-\) has ended it.
TOVRINHOST_API bool isEndedByControlC(int result) noexcept;

} // namespace tovrinhost::platform
