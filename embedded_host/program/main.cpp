#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/CommandLine.hpp"
#include "embedded_host/program/platform/Platform.hpp"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <system_error>

namespace tovrinhost {

namespace {

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
    rememberWords(argc, argv);
    const auto asked = readCommandLine(argc, argv);
    if (const auto* leave = std::get_if<Leave>(&asked)) {
        return leave->status;
    }
    platform::setUpStandardOutput();
    const int status = std::get<Action>(asked)();
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
