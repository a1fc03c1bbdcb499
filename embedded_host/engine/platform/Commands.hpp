#pragma once

#include <cstdio>
#include <functional>

namespace tovrinhost::platform {

// Commands of the system's shell, which differ between operating systems; one source file for each of them.

/// Runs a command, and waits for it.
/// \param isInterrupted asked now and then. Once it holds, the command has a second to end by itself; then it is
///                      told to, where the system can
/// \returns what std::system would; -1, with errno set, if the command cannot be run
int runCommand(const char* command, const std::function<bool()>& isInterrupted);

/// Runs a command with a pipe to its input or from its output.
/// \param mode the caller has tested it with isPipeMode
/// \returns null, with errno set, if it cannot be run
std::FILE* openPipe(const char* command, const char* mode);
bool isPipeMode(const char* mode) noexcept;

/// Waits for the command. \returns what std::system would
int closePipe(std::FILE* pipe);

/// Whether the result of a command tells that Ctrl-C (or Ctrl-\) has ended it.
bool isEndedByControlC(int result) noexcept;

} // namespace tovrinhost::platform
