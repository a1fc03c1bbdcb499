#pragma once

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tovrinhost {

/// What the command line asks for. \returns the exit status \throws std::exception with a text for people
using Action = std::function<int()>;

// The commands of the program, a file each. Each of these adds one; once it stands on the command line, `action`
// is what is to be done.
/// \param arguments the words behind the script, which are not parsed
CLI::App* addRunCommand(CLI::App& program, const std::vector<std::string>& arguments, Action& action);
void addExplainCommand(CLI::App& program, Action& action);
void addReportCommand(CLI::App& program, Action& action);
void addShellCommand(CLI::App& program, Action& action);
void addTestCommand(CLI::App& program, Action& action);
void addTimersCommand(CLI::App& program, Action& action);
void addTopCommand(CLI::App& program, Action& action);

/// Those that this program has. \returns the one that runs a script
CLI::App* addCommands(CLI::App& program, const std::vector<std::string>& arguments, Action& action);

/// As CMake has it: "0.1.0".
const char* programVersion();

/// The table of exit statuses.
std::string exitStatuses();

} // namespace tovrinhost
