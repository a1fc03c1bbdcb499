#pragma once

#include "embedded_host/program/Commands.hpp"

#include <variant>

namespace tovrinhost {

/// The program ends here, with this status: help was shown, or the usage was wrong.
struct Leave {
    int status;
};

/// Reads the command line. Tells the user what is wrong with it, or the help that was asked for.
std::variant<Action, Leave> readCommandLine(int argc, const char* const* argv);

} // namespace tovrinhost
