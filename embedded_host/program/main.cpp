#include "embedded_host/diagnosis/StatusTable.hpp"
#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/program/CommandLine.hpp"
#include "embedded_host/program/Explain.hpp"
#include "embedded_host/program/Watching.hpp"
#include "embedded_host/program/platform/Platform.hpp"
#include "embedded_host/report/Report.hpp"
#include "embedded_host/services/Features.hpp"
#include "embedded_host/status/StatusProtocol.hpp"
#include "embedded_host/status/StatusServer.hpp"
#include "embedded_host/status/Top.hpp"
#include "embedded_host/timers/ScriptRunner.hpp"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string_view>
#include <system_error>

namespace tovrinhost {

namespace {

void configure(const RunCommand& command)
{
    for (const auto& [feature, on] : command.features) {
        setFeature(feature, on);
    }
    for (const auto& [channel, mask] : command.logMasks) {
        setLogMask(channel, mask);
    }
    if (command.logFile) {
        logToFile(*command.logFile);
    } else if (!command.logMasks.empty()) {
        logToStandardError();
    }
}

int run(const RunCommand& command)
{
    const platform::SignalsLeftToWatcher left; // by the threads of the runner, too
    ScriptRunner runner(command.maxBacklog);
    const auto onSignal = [&runner, first = 0](int status) mutable {
        if (first != 0) {
            // What could not be stopped the first time, a StopFcn perhaps, is not waited for.
            std::cerr << "tovrin: interrupted again, leaving at once\n";
            std::_Exit(first);
        }
        first = status;
        runner.interrupt(status);
    };
    const auto onQuestion = [&runner] { std::cerr << statusTable(runner.diagnosis()); };
    const platform::SignalWatcher watcher(onSignal, onQuestion);
    Watching watching(command, runner.diagnosis());
    std::optional<StatusServer> server;
    if (command.servesStatus) {
        server.emplace([&diagnosis = runner.diagnosis(), &command](std::string_view request) {
            return protocol::answer(request, diagnosis, ownProcess(), command.file);
        });
    }
    const int status = runner.run(command.file, command.arguments);
    const bool isComplete = watching.end();
    return status == EXIT_SUCCESS && !isComplete ? EXIT_FAILURE : status;
}

/// \returns whether all output has been written
bool endOutput()
{
    const int error = platform::flushStandardOutput();
    if (error != 0) {
        std::cerr << "tovrin: standard output cannot be written: " + std::generic_category().message(error) + '\n';
    }
    stopLogging();
    return error == 0 && !hasLostRecords();
}

int runProgram(int argc, const char* const* argv)
{
    const auto command = parseCommandLine(argc, argv);
    if (const auto* leave = std::get_if<Leave>(&command)) {
        return leave->status;
    }
    platform::setUpStandardOutput();
    int status = EXIT_SUCCESS;
    if (const auto* explain = std::get_if<ExplainCommand>(&command)) {
        explainTrace(explain->question);
    } else if (const auto* report = std::get_if<ReportCommand>(&command)) {
        writeReport(report->trace, report->window, report->page);
    } else if (const auto* timers = std::get_if<TimersCommand>(&command)) {
        printTimers(*timers);
    } else if (const auto* top = std::get_if<TopCommand>(&command)) {
        showTop(top->process);
    } else {
        configure(std::get<RunCommand>(command));
        status = run(std::get<RunCommand>(command));
    }
    const bool isComplete = endOutput();
    return status == EXIT_SUCCESS && !isComplete ? EXIT_FAILURE : status;
}

void complain(const char* error) noexcept
{
    try {
        std::cerr << "tovrin: " << escape(error) << '\n';
    } catch (...) {
        // There is no memory even for that; the status tells.
    }
}

} // namespace

} // namespace tovrinhost

int main(int argc, char** argv)
{
    try {
        return tovrinhost::runProgram(argc, argv);
    } catch (const std::exception& error) {
        tovrinhost::complain(error.what());
    } catch (...) {
        tovrinhost::complain("an error that has no text");
    }
    return EXIT_FAILURE;
}
