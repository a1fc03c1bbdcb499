#include "embedded_host/program/Shell.hpp"

#include "embedded_host/diagnosis/StatusTable.hpp"
#include "embedded_host/program/platform/Platform.hpp"
#include "embedded_host/shell/LineInput.hpp"
#include "embedded_host/shell/Shell.hpp"
#include "embedded_host/timers/ScriptRunner.hpp"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <mutex>

namespace tovrinhost {

namespace {

constexpr int hangUpStatus = 129;
constexpr std::size_t maxBacklog = 10'000;

/// Where a user's settings of programs are, for this one: in $XDG_CONFIG_HOME, else in ~/.config; empty if that is
/// not known.
std::string startFile()
{
    // Nothing changes the environment. NOLINTBEGIN(concurrency-mt-unsafe)
    const char* const settings = std::getenv("XDG_CONFIG_HOME");
    const char* const home = std::getenv("HOME");
    // NOLINTEND(concurrency-mt-unsafe)
    if (settings != nullptr && *settings != 0) {
        return std::string(settings) + "/tovrin/init.lua";
    }
    return home != nullptr && *home != 0 ? std::string(home) + "/.config/tovrin/init.lua" : "";
}

std::vector<std::string> filesToRun(const ShellOptions& options)
{
    std::vector<std::string> files;
    std::error_code none;
    if (options.readsStartFile && std::filesystem::exists(startFile(), none)) {
        files.push_back(startFile());
    }
    files.insert(files.end(), options.files.begin(), options.files.end());
    return files;
}

} // namespace

int runShell(const ShellOptions& options)
{
    const auto input
        = platform::openLineInput(); // before any other thread: what it keeps from this one is kept from all
    const platform::SignalsLeftToWatcher left;
    ScriptRunner runner(maxBacklog);
    Shell shell(runner.timers(), *input, [&runner] { return runner.isInterrupted(); });
    std::mutex mutex; // guards the next two; a signal is for one side of an end or for the other
    bool isEnding = false;
    int first = 0;
    const auto onSignal = [&](int status) {
        const std::lock_guard lock(mutex);
        if (status == controlCStatus && !isEnding) {
            shell.controlC();
        } else if (first == 0) {
            first = status;
            runner.interrupt(status);
        } else if (status != hangUpStatus) { // a terminal that goes away may say so more than once
            std::cerr << "tovrin: interrupted again, leaving at once\n";
            input->giveBack();
            std::_Exit(first);
        }
    };
    const auto onQuestion = [&runner] { std::cerr << statusTable(runner.diagnosis()); };
    const platform::SignalWatcher watcher(onSignal, onQuestion);
    return runner.serve([&](Interpreter& interpreter) {
        std::cout << "tovrin: help() for help, Ctrl-D ends\n" << std::flush;
        bool goesOn = true;
        for (const std::string& file : filesToRun(options)) {
            goesOn = goesOn && shell.runFile(interpreter, file);
        }
        const bool isGone = goesOn && !shell.serve(interpreter);
        const std::lock_guard lock(mutex);
        isEnding = true;
        if (isGone && first == 0) {
            first = hangUpStatus; // the signal, if it is still to come, is not to interrupt a StopFcn
            runner.interrupt(hangUpStatus);
        }
    });
}

} // namespace tovrinhost
