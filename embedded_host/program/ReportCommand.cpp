#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/OptionValues.hpp"
#include "embedded_host/report/Report.hpp"
#include "embedded_host/report/TraceContents.hpp"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <memory>

namespace tovrinhost {

namespace {

struct ReportOptions {
    std::string trace;
    std::string page;
    TraceWindow window;
};

Nanoseconds toMoment(const char* option, const std::string& text)
{
    constexpr double nanosecondsPerSecond = 1e9;
    return static_cast<Nanoseconds>(toSeconds(option, text) * nanosecondsPerSecond);
}

void addReportOptions(CLI::App& report, Request& request)
{
    const auto options = std::make_shared<ReportOptions>();
    report.add_option("FILE", options->trace, "The trace")->required();
    report.add_option("-o,--output", options->page, "The page, in HTML; it needs no other file")
        ->required()
        ->type_name("FILE.html");
    report
        .add_option_function<std::string>(
            "--from", [options](const std::string& text) { options->window.from = toMoment("--from", text); },
            "What happened from here on, in seconds since the program began")
        ->type_name("SECONDS");
    report
        .add_option_function<std::string>(
            "--to", [options](const std::string& text) { options->window.to = toMoment("--to", text); },
            "What happened until then")
        ->type_name("SECONDS");
    report.callback([options, &request] {
        request.action = [options] {
            writeReport(options->trace, options->window, options->page);
            return EXIT_SUCCESS;
        };
    });
}

} // namespace

constinit const Command reportCommand { "report",
    "Make a page of a trace of run --trace: what fired when, and why it was late", addReportOptions };

} // namespace tovrinhost
