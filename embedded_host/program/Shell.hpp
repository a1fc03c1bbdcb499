#pragma once

#include <string>
#include <vector>

namespace tovrinhost {

/// `tovrin shell`: what it is to do.
struct ShellOptions {
    std::vector<std::string> files; ///< scripts that are run first
    bool readsStartFile = true;
};

/// Serves a prompt until its end.
/// \returns the exit status
/// \throws std::runtime_error with a text for people if there is no terminal
int runShell(const ShellOptions& options);

} // namespace tovrinhost
