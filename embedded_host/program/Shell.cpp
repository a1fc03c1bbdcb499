#include "embedded_host/program/Shell.hpp"

#include "embedded_host/diagnosis/StatusTable.hpp"
#include "embedded_host/program/platform/Platform.hpp"
#include "embedded_host/shell/LineInput.hpp"
#include "embedded_host/shell/Shell.hpp"
#include "embedded_host/timers/ScriptRunner.hpp"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iostream>

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
    std::atomic<bool> isEnding { false };
    const auto onSignal = [&](int status) {
        if (status == controlCStatus && !isEnding) {
            shell.controlC();
            return;
        }
        if (runner.isInterrupted()) {
            std::cerr << "tovrin: interrupted again, leaving at once\n";
            input->giveBack();
            std::_Exit(status);
        }
        runner.interrupt(status);
    };
    const auto onQuestion = [&runner] { std::cerr << statusTable(runner.diagnosis()); };
    const platform::SignalWatcher watcher(onSignal, onQuestion);
    return runner.serve([&](Interpreter& interpreter) {
        std::cout << "tovrin: help() for help, Ctrl-D ends\n" << std::flush;
        bool goesOn = true;
        for (const std::string& file : filesToRun(options)) {
            goesOn = goesOn && shell.runFile(interpreter, file);
        }
        if (goesOn && !shell.serve(interpreter)) {
            runner.interrupt(hangUpStatus);
        }
        isEnding = true;
    });
}

} // namespace tovrinhost
