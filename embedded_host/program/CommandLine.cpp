#include "embedded_host/program/CommandLine.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/services/Features.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <iostream>
#include <limits>
#include <utility>

namespace tovrinhost {

namespace {

constexpr int wrongUsage = 2;

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

[[noreturn]] void fail(const std::string& option, const std::string& value, const std::string& allowed)
{
    throw CLI::ValidationError(option, "\"" + value + "\" is not allowed: " + allowed);
}

/// Splits "NAME=VALUE".
std::pair<std::string, std::string> split(const std::string& option, const std::string& text, const char* form)
{
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
        fail(option, text, std::string("it must have the form ") + form);
    }
    return { text.substr(0, sign), text.substr(sign + 1) };
}

void addFeature(RunCommand& command, const std::string& text)
{
    const auto [name, value] = split("--feature", text, "NAME=on or NAME=off");
    const auto known = featureNames();
    if (std::find(known.begin(), known.end(), name) == known.end()) {
        fail("--feature", text, "the features are " + commaSeparated(known));
    }
    if (value != "on" && value != "off") {
        fail("--feature", text, "a feature is on or off");
    }
    command.features[name] = value == "on";
}

std::uint32_t toMask(const std::string& text, const std::string& digits)
{
    const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
    const char* const first = digits.data() + (isHex ? 2 : 0);
    const char* const last = digits.data() + digits.size();
    std::uint32_t mask = 0;
    const auto [end, error] = std::from_chars(first, last, mask, isHex ? 16 : 10);
    if (error != std::errc() || end != last) {
        fail(
            "--log", text, "a mask is a number from 0 to 4294967295 (0xffffffff), decimal or hexadecimal with 0x");
    }
    return mask;
}

/// A whole number, at least 1.
std::size_t toCount(
    const char* option, const std::string& text, std::size_t most = std::numeric_limits<std::size_t>::max())
{
    std::size_t number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || end != last || number == 0 || number > most) {
        fail(option, text, "it must be a whole number from 1 to " + std::to_string(most));
    }
    return number;
}

double toSeconds(const char* option, const std::string& text)
{
    constexpr double most = 9e9;
    double seconds = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, seconds);
    if (error != std::errc() || end != last || !(seconds >= 0 && seconds <= most)) {
        fail(option, text, "it must be a number of seconds from 0 to 9000000000");
    }
    return seconds;
}

CLI::App* addExplain(CLI::App& app, ExplainCommand& command)
{
    constexpr std::size_t mostExplanations = 1000;
    CLI::App* explain = app.add_subcommand(
        "explain", "Tell from a trace of run --trace why callbacks were late, the latest first");
    TraceQuestion& question = command.question;
    explain->add_option("FILE", question.file, "The trace")->required();
    explain->add_option("--timer", question.timer, "Callbacks of the timers of this name only")->type_name("NAME");
    explain
        ->add_option_function<std::string>(
            "--run", [&](const std::string& text) { question.run = toCount("--run", text); },
            "This run of a timer only: the how-manieth since it was started")
        ->type_name("K");
    explain
        ->add_option_function<std::string>(
            "--worst",
            [&](const std::string& text) { question.worst = toCount("--worst", text, mostExplanations); },
            "How many callbacks, at most 1000")
        ->default_str(std::to_string(question.worst))
        ->type_name("N");
    return explain;
}

CLI::App* addReport(CLI::App& app, ReportCommand& command)
{
    constexpr double nanosecondsPerSecond = 1e9;
    CLI::App* report = app.add_subcommand(
        "report", "Make a page of a trace of run --trace: what fired when, and why it was late");
    report->add_option("FILE", command.trace, "The trace")->required();
    report->add_option("-o,--output", command.page, "The page, in HTML; it needs no other file")
        ->required()
        ->type_name("FILE.html");
    report
        ->add_option_function<std::string>(
            "--from",
            [&](const std::string& text) {
                command.window.from = static_cast<Nanoseconds>(toSeconds("--from", text) * nanosecondsPerSecond);
            },
            "What happened from here on, in seconds since the program began")
        ->type_name("SECONDS");
    report
        ->add_option_function<std::string>(
            "--to",
            [&](const std::string& text) {
                command.window.to = static_cast<Nanoseconds>(toSeconds("--to", text) * nanosecondsPerSecond);
            },
            "What happened until then")
        ->type_name("SECONDS");
    return report;
}

void addProcess(CLI::App& app, std::optional<std::int64_t>& process)
{
    constexpr std::size_t most = std::numeric_limits<std::int32_t>::max();
    app.add_option_function<std::string>(
           "PID",
           [&process](
               const std::string& text) { process = static_cast<std::int64_t>(toCount("PID", text, most)); },
           "The program's process; it may be left out where only one serves its status")
        ->type_name("");
}

CLI::App* addTimers(CLI::App& app, TimersCommand& command)
{
    CLI::App* timers = app.add_subcommand("timers",
        "Print how the timers of a program are doing that was started with run --status; not on Windows");
    addProcess(*timers, command.process);
    timers->add_flag("--json", command.asJson, "Print a JSON document, with all times in seconds");
    return timers;
}

CLI::App* addTop(CLI::App& app, TopCommand& command)
{
    CLI::App* top = app.add_subcommand("top",
        "Show how the timers of a program are doing that was started with run --status, anew each second, until q "
        "is "
        "pressed; not on Windows");
    addProcess(*top, command.process);
    return top;
}

void addLogMask(RunCommand& command, const std::string& text)
{
    const auto [channel, digits] = split("--log", text, "CHANNEL=MASK");
    if (std::find(channels.begin(), channels.end(), channel) == channels.end()) {
        fail("--log", text, "the channels are " + commaSeparated(channels));
    }
    command.logMasks[channel] = toMask(text, digits);
}

} // namespace

std::variant<RunCommand, ExplainCommand, ReportCommand, TimersCommand, TopCommand, Leave> parseCommandLine(
    int argc, const char* const* argv)
{
    RunCommand command;
    ExplainCommand explainCommand;
    ReportCommand reportCommand;
    TimersCommand timersCommand;
    TopCommand topCommand;
    std::string logFile;

    CLI::App app("Runs scripts whose timers are driven by the timer engine.", "tovrin");
    app.require_subcommand(1);
    CLI::App* run = app.add_subcommand("run", "Run a script, and serve its timers until none runs any more");
    run->add_option("FILE", command.file, "The script, in Lua")->required();
    run->add_option(
        "ARG", command.arguments, "What the script finds in 'arg'; put -- before the first if it begins with -");
    run->add_option_function<std::vector<std::string>>(
           "--feature",
           [&](const std::vector<std::string>& texts) {
               for (const auto& text : texts) {
                   addFeature(command, text);
               }
           },
           "Switch a feature of the host: TIMER_PPE=on (default) or TIMER_PPE=off")
        ->allow_extra_args(false)
        ->type_name("NAME=on|off");
    run->add_option_function<std::vector<std::string>>(
           "--log",
           [&](const std::vector<std::string>& texts) {
               for (const auto& text : texts) {
                   addLogMask(command, text);
               }
           },
           "Write the diagnostic records of a channel whose severity bit is in the mask: 4 trace, 16 detail, 32 "
           "and 64 "
           "scopes. The channels are "
               + commaSeparated(channels))
        ->allow_extra_args(false)
        ->type_name("CHANNEL=MASK");
    run->add_option("--log-file", logFile, "Where diagnostic records go, instead of standard error")
        ->type_name("FILE");
    run->add_option("--trace", command.traceFile,
           "Write what becomes of each callback, as Chrome trace events: for tovrin explain, Perfetto and "
           "chrome://tracing")
        ->type_name("FILE");
    run->add_option_function<std::string>(
           "--late-above", [&](const std::string& text) { command.lateAbove = toSeconds("--late-above", text); },
           "Tell on standard error why a callback began later than this after it was due; at most one in a second")
        ->type_name("SECONDS");
    run->add_flag("--status", command.servesStatus,
        "Tell tovrin timers and tovrin top of the same user how the timers are doing; not on Windows");
    run->add_option_function<std::string>(
           "--max-backlog", [&](const std::string& text) { command.maxBacklog = toCount("--max-backlog", text); },
           "How many callbacks of one timer may wait to be run; one more is an error of the timer")
        ->default_str(std::to_string(command.maxBacklog))
        ->type_name("N");
    CLI::App* const explain = addExplain(app, explainCommand);
    CLI::App* const report = addReport(app, reportCommand);
    CLI::App* const timers = addTimers(app, timersCommand);
    CLI::App* const top = addTop(app, topCommand);
    run->footer(
        "SIGUSR1, or Ctrl-Break on Windows, has a table of all timers and the ten latest callbacks written to "
        "standard error.\n\n"
        "Exit status: 130, 143 or 129 after Ctrl-C, SIGTERM or SIGHUP; else the code that the script gave to "
        "os.exit last; else 0 if all went well, 1 if the script or a callback failed or output was lost; 2 wrong "
        "usage.");

    try {
        const auto isNamed = [&](const CLI::App* known) { return known->get_name() == argv[1]; };
        if (argc > 1 && *argv[1] != '-' && app.get_subcommands(isNamed).empty()) {
            const std::string word = escape(argv[1]);
            throw CLI::ParseError("there is no command \"" + word + "\"; did you mean tovrin run " + word + "?",
                CLI::ExitCodes::ExtrasError);
        }
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return Leave { app.exit(help) };
    } catch (const CLI::ParseError& error) {
        const auto parsed = app.get_subcommands();
        const std::string tried = parsed.empty() ? run->get_name() : parsed.front()->get_name();
        std::cerr << "tovrin: " << error.what() << "\nTry 'tovrin " << tried << " --help'.\n";
        return Leave { wrongUsage };
    }
    if (explain->parsed()) {
        return explainCommand;
    }
    if (report->parsed()) {
        return reportCommand;
    }
    if (timers->parsed()) {
        return timersCommand;
    }
    if (top->parsed()) {
        return topCommand;
    }
    if (!logFile.empty()) {
        command.logFile = logFile;
    }
    return command;
}

} // namespace tovrinhost
