#pragma once

#include <string>
#include <vector>

namespace tovrinhost {

/// Values are called by what they are, "FILE" or "N"; "bash|zsh|fish" where these are all that there is; and have
/// no name where none is taken.
struct OfferedOption {
    std::vector<std::string> names; ///< "-o" and "--output"
    std::string value;
    std::string description;
};

/// A command, or the program itself.
struct OfferedCommand {
    std::string name;
    std::string description;
    std::vector<OfferedOption> options;
    std::string operand; ///< what stands without an option's name: a value, or several of this one
};

/// The command line as shells complete it. Without a command's name, the first command is meant.
struct OfferedCommandLine {
    OfferedCommand program;
    std::vector<OfferedCommand> commands;
};

// What a shell has to read to complete the words of the program.

std::string bashCompletion(const OfferedCommandLine& line);
std::string zshCompletion(const OfferedCommandLine& line);
std::string fishCompletion(const OfferedCommandLine& line);

} // namespace tovrinhost
