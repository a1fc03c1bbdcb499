#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/OptionValues.hpp"
#include "embedded_host/services/Features.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <utility>

namespace tovrinhost {

namespace {

constexpr std::array<const char*, 3> channels {
    "tovrintimer::TimerScheduler",
    "tovrintimer::WorkItem",
    "tovrintimer::workHandler",
};

template <typename Names> std::string commaSeparated(const Names& names)
{
    std::string text;
    for (const auto& name : names) {
        text += (text.empty() ? "" : ", ") + std::string(name);
    }
    return text;
}

/// Splits "NAME=VALUE".
std::pair<std::string, std::string> split(const std::string& option, const std::string& text, const char* form)
{
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
        failOption(option, text, std::string("it must have the form ") + form);
    }
    return { text.substr(0, sign), text.substr(sign + 1) };
}

void addFeature(RunOptions& options, const std::string& text)
{
    const auto [name, value] = split("--feature", text, "NAME=on or NAME=off");
    const auto known = featureNames();
    if (std::find(known.begin(), known.end(), name) == known.end()) {
        failOption("--feature", text, "the features are " + commaSeparated(known));
    }
    if (value != "on" && value != "off") {
        failOption("--feature", text, "a feature is on or off");
    }
    options.features[name] = value == "on";
}

std::uint32_t toMask(const std::string& text, const std::string& digits)
{
    const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
    const char* const first = digits.data() + (isHex ? 2 : 0);
    const char* const last = digits.data() + digits.size();
    std::uint32_t mask = 0;
    const auto [end, error] = std::from_chars(first, last, mask, isHex ? 16 : 10);
    if (error != std::errc() || end != last) {
        failOption(
            "--log", text, "a mask is a number from 0 to 4294967295 (0xffffffff), decimal or hexadecimal with 0x");
    }
    return mask;
}

void addLogMask(RunOptions& options, const std::string& text)
{
    const auto [channel, digits] = split("--log", text, "CHANNEL=MASK");
    if (std::find(channels.begin(), channels.end(), channel) == channels.end()) {
        failOption("--log", text, "the channels are " + commaSeparated(channels));
    }
    options.logMasks[channel] = toMask(text, digits);
}

/// An option that may stand several times, each time with one value.
template <typename Take>
CLI::Option* addEach(CLI::App& run, const char* name, const char* form, const std::string& description, Take take)
{
    return run
        .add_option_function<std::vector<std::string>>(
            name,
            [take](const std::vector<std::string>& texts) {
                for (const auto& text : texts) {
                    take(text);
                }
            },
            description)
        ->allow_extra_args(false)
        ->type_name(form);
}

void addHostOptions(CLI::App& run, const std::shared_ptr<RunOptions>& options)
{
    addEach(run, "--feature", "NAME=on|off",
        "Switch a feature of the host: TIMER_PPE=on (default) or TIMER_PPE=off",
        [options](const std::string& text) { addFeature(*options, text); });
    addEach(run, "--log", "CHANNEL=MASK",
        "Write the diagnostic records of a channel whose severity bit is in the mask: 4 trace, 16 detail, 32 and "
        "64 "
        "scopes. The channels are "
            + commaSeparated(channels),
        [options](const std::string& text) { addLogMask(*options, text); });
    run.add_option("--log-file", options->logFile, "Where diagnostic records go, instead of standard error")
        ->type_name("FILE");
    run.add_option("--trace", options->traceFile,
           "Write what becomes of each callback, as Chrome trace events: for tovrin explain, Perfetto and "
           "chrome://tracing")
        ->type_name("FILE");
    run.add_option_function<std::string>(
           "--late-above",
           [options](const std::string& text) { options->lateAbove = toSeconds("--late-above", text); },
           "Tell on standard error why a callback began later than this after it was due; at most one in a second")
        ->type_name("SECONDS");
    run.add_flag("--status", options->servesStatus,
        "Tell tovrin timers and tovrin top of the same user how the timers are doing; not on Windows");
    run.add_option_function<std::string>(
           "--clock", [options](const std::string& text) { options->pace = toPace("--clock", text); },
           "What time goes by: real; virtual, in which a wait takes no time; or real:N, N times faster than the "
           "real "
           "one")
        ->default_str("real")
        ->type_name("CLOCK");
    run.add_option_function<std::string>(
           "--max-backlog",
           [options](const std::string& text) { options->maxBacklog = toCount("--max-backlog", text); },
           "How many callbacks of one timer may wait to be run; one more is an error of the timer")
        ->default_str(std::to_string(options->maxBacklog))
        ->type_name("N");
}

void addRunOptions(CLI::App& run, Request& request)
{
    const auto options = std::make_shared<RunOptions>();
    const auto code = std::make_shared<std::optional<std::string>>();
    Script& script = options->script;
    run.add_option("FILE", script.name, "The script, in Lua; - for standard input");
    run.add_option("ARG", script.arguments, "What the script finds in 'arg': all words behind FILE");
    run.add_option("-e", *code, "The script itself, in place of FILE")->type_name("CODE");
    addHostOptions(run, options);
    run.footer([] {
        return "SIGUSR1, or Ctrl-Break on Windows, has a table of all timers and the ten latest callbacks written "
               "to "
               "standard error.\n\n"
            + exitStatuses();
    });
    run.callback([options, code, &request] {
        if (options->script.name.empty() && !*code) {
            throw CLI::RequiredError("FILE");
        }
        if (options->servesStatus && options->pace) {
            throw CLI::ValidationError(
                "--status", "it is for the real clock: in virtual time nobody else looks on");
        }
        if (*code) {
            options->script.name = "-e";
            options->script.text = { **code, "=(command line)" };
        }
        options->script.arguments = request.scriptArguments;
        request.action = [options] { return runByItsClock(*options); };
    });
}

} // namespace

constinit const Command runCommand { "run", "Run a script, and serve its timers until none runs any more",
    addRunOptions };

} // namespace tovrinhost
