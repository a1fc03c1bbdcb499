#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tovrinhost {

/// `tovrin run`: what it is to do.
struct RunCommand {
    std::string file;
    std::vector<std::string> arguments;
    std::map<std::string, bool> features;
    std::map<std::string, std::uint32_t> logMasks; ///< by channel
    std::optional<std::string> logFile;
    std::size_t maxBacklog = 10'000; ///< how many callbacks of one timer may wait
};

/// The program ends here, with this status: help was shown, or the usage was wrong.
struct Leave {
    int status;
};

/// Reads the command line. Tells the user what is wrong with it, or the help that was asked for.
std::variant<RunCommand, Leave> parseCommandLine(int argc, const char* const* argv);

} // namespace tovrinhost
