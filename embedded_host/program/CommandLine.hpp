#pragma once

#include "embedded_host/diagnosis/TraceReader.hpp"
#include "embedded_host/program/Timers.hpp"
#include "embedded_host/report/TraceContents.hpp"

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
    std::optional<std::string> traceFile;
    std::optional<double> lateAbove; ///< seconds
    bool servesStatus = false; ///< to `tovrin timers` and `tovrin top`
    std::size_t maxBacklog = 10'000; ///< how many callbacks of one timer may wait
};

/// `tovrin explain`: what it is to tell.
struct ExplainCommand {
    TraceQuestion question;
};

/// `tovrin report`: what it is to write.
struct ReportCommand {
    std::string trace;
    std::string page;
    TraceWindow window;
};

/// `tovrin top`: what it is to show.
struct TopCommand {
    std::optional<std::int64_t> process; ///< none: the only one that serves its status
};

/// The program ends here, with this status: help was shown, or the usage was wrong.
struct Leave {
    int status;
};

/// Reads the command line. Tells the user what is wrong with it, or the help that was asked for.
std::variant<RunCommand, ExplainCommand, ReportCommand, TimersCommand, TopCommand, Leave> parseCommandLine(
    int argc, const char* const* argv);

} // namespace tovrinhost
