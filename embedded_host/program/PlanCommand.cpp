#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/StandardInput.hpp"
#include "embedded_host/program/TimeValues.hpp"

#include <CLI/CLI.hpp>

#include <memory>

namespace tovrinhost {

namespace {

void addPlanOptions(CLI::App& plan, Request& request)
{
    const auto options = std::make_shared<PlanOptions>();
    plan.add_option("FILE", options->script.name, "The script, in Lua; - for standard input")->required();
    plan.add_option("ARG", options->script.arguments,
        "What the script finds in 'arg'; what begins with a hyphen, behind a word --");
    plan.add_option_function<std::string>(
            "--for", [options](const std::string& text) { options->span = toSpan("--for", text); },
            "How much time is planned: 90, 90s, 15m, 1h, 2d, 1h30m; what falls due later is not run")
        ->default_str("1h")
        ->type_name("DURATION");
    plan.add_option_function<std::string>(
            "--from", [options](const std::string& text) { options->from = toLocalMoment("--from", text); },
            "What the calendar shows at the beginning, in local time: \"2026-12-24 08:00\"")
        ->default_str("now")
        ->type_name("TIME");
    plan.add_flag("--json", options->isJson, "Write one JSON document instead of the table");
    plan.add_flag("--output", options->showsOutput,
        "Have what the script prints written to standard error; without it, it is left out");
    plan.footer(exitStatuses);
    plan.callback([options, &request] {
        request.action = [options] {
            if (options->script.name == "-") {
                options->script.text = { readStandardInput(), "=stdin" };
            }
            return planInVirtualTime(*options);
        };
    });
}

} // namespace

constinit const Command planCommand { "plan", "Tell what would fire when, without waiting for it",
    addPlanOptions };

} // namespace tovrinhost
