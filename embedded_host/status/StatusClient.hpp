#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// Asks a program that serves its status, and waits for at most 3 s.
/// \throws std::runtime_error with a text for people if there is no such program, or no whole answer
std::string askProgram(std::int64_t process, const std::string& request);

/// The programs of this user that serve their status, by number. Sockets of programs that have died are removed.
/// \throws std::runtime_error if the folder of the sockets is somebody else's
std::vector<std::int64_t> servingPrograms();

/// \param process the one that the user has named, if any
/// \returns that one, or the only one there is
/// \throws std::runtime_error if there is none, or if there are several; it names them
std::int64_t chooseProgram(std::optional<std::int64_t> process);

} // namespace tovrinhost
