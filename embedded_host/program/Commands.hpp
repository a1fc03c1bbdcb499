#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tovrinhost {

/// What the command line asks for. \returns the exit status \throws std::exception with a text for people
using Action = std::function<int()>;

/// What has been read of the command line.
struct Request {
    Action action;
    std::vector<std::string> scriptArguments; ///< the words behind the script, which are not parsed
};

/// A command of the program. To make the options takes a while, so it is done for the one that was asked for.
struct Command {
    const char* name;
    const char* description;

    /// Adds the options. Once they have been parsed, the action of the request is what is to be done.
    void (*addOptions)(CLI::App& command, Request& request);
};

// Each in a file of its own, but for the two that look at another program.
extern const Command runCommand;
extern const Command planCommand;
extern const Command completionCommand;
extern const Command explainCommand;
extern const Command reportCommand;
extern const Command shellCommand;
extern const Command testCommand;
extern const Command timersCommand;
extern const Command topCommand;

/// Those that this program has.
std::span<const Command* const> commands();

/// As CMake has it: "0.1.0".
const char* programVersion();

/// The table of exit statuses.
std::string exitStatuses();

} // namespace tovrinhost
