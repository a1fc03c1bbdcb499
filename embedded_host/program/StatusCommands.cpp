#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/OptionValues.hpp"
#include "embedded_host/status/StatusClient.hpp"
#include "embedded_host/status/StatusProtocol.hpp"
#include "embedded_host/status/TimersTable.hpp"
#include "embedded_host/status/Top.hpp"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

namespace tovrinhost {

namespace {

/// Which program is asked, and how it is told.
struct StatusOptions {
    std::optional<std::int64_t> process; ///< none: the only one that serves its status
    bool asJson = false;
};

void addProcess(CLI::App& command, const std::shared_ptr<StatusOptions>& options)
{
    constexpr std::size_t most = std::numeric_limits<std::int32_t>::max();
    command
        .add_option_function<std::string>(
            "PID",
            [options](const std::string& text) {
                options->process = static_cast<std::int64_t>(toCount("PID", text, most));
            },
            "The program's process; it may be left out where only one serves its status")
        ->type_name("");
}

int printTimers(const StatusOptions& options)
{
    const std::int64_t process = chooseProgram(options.process);
    const ProgramStatus status = protocol::readStatus(askProgram(process, protocol::timersRequest()));
    std::fputs((options.asJson ? protocol::toJson(status) : timersTable(status)).c_str(), stdout);
    return EXIT_SUCCESS;
}

void addTimersOptions(CLI::App& timers, Request& request)
{
    const auto options = std::make_shared<StatusOptions>();
    addProcess(timers, options);
    timers.add_flag("--json", options->asJson, "Print a JSON document, with all times in seconds");
    timers.callback([options, &request] { request.action = [options] { return printTimers(*options); }; });
}

void addTopOptions(CLI::App& top, Request& request)
{
    const auto options = std::make_shared<StatusOptions>();
    addProcess(top, options);
    top.callback([options, &request] {
        request.action = [options] {
            showTop(options->process);
            return EXIT_SUCCESS;
        };
    });
}

} // namespace

constinit const Command timersCommand { "timers",
    "Print how the timers of a program are doing that was started with run --status; not on Windows",
    addTimersOptions };

constinit const Command topCommand { "top",
    "Show how the timers of a program are doing that was started with run --status, anew each second, until q "
    "is pressed; not on Windows",
    addTopOptions };

} // namespace tovrinhost
