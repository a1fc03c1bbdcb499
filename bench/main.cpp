#include "bench/driver/Report.hpp"
#include "bench/scenarios/Scenarios.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <optional>

namespace bench {

namespace {

constexpr int usualRounds = 10;
constexpr int quickRounds = 2;

struct Options {
    std::optional<int> rounds;
    std::vector<std::string> only;
    std::optional<std::filesystem::path> json;
    bool isQuick = false;
};

Options parse(int argc, char** argv)
{
    std::vector<std::string> names;
    for (const Scenario& scenario : scenarios()) {
        names.push_back(scenario.name);
    }
    Options options;
    CLI::App program("Measures the timer engine beside its peers: round by round, each side in its turn.");
    program
        .add_option("--rounds", options.rounds,
            "how often each side is measured; default " + std::to_string(usualRounds) + ", with --quick "
                + std::to_string(quickRounds))
        ->check(CLI::Range(1, 1000));
    program.add_option("--only", options.only, "only this scenario; may be given several times")
        ->check(CLI::IsMember(names));
    program.add_option("--json", options.json, "a file for the figures of each round");
    program.add_flag("--quick", options.isQuick, "less than a minute in all, and figures that are less sure");
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::exit(program.exit(error) == 0 ? 0 : 2);
    }
    if (options.json && !std::ofstream(*options.json, std::ios::app)) {
        std::cerr << "--json: \"" << options.json->string() << "\" cannot be written\n";
        std::exit(2);
    }
    return options;
}

bool isWanted(const Scenario& scenario, const Options& options)
{
    return options.only.empty()
        || std::find(options.only.begin(), options.only.end(), scenario.name) != options.only.end();
}

/// \returns whether no promise was broken
bool run(const Options& options)
{
    const int rounds = options.rounds.value_or(options.isQuick ? quickRounds : usualRounds);
    std::vector<ScenarioResult> done;
    bool isKept = true;
    for (const Scenario& scenario : scenarios()) {
        if (!isWanted(scenario, options)) {
            continue;
        }
        ScenarioResult& result = done.emplace_back(ScenarioResult { scenario.name, scenario.title, {} });
        for (Measurement& measurement : scenario.measurements({ options.isQuick })) {
            std::cerr << scenario.name << ": " << measurement.name << '\n';
            result.results.push_back(measure(std::move(measurement), rounds));
            isKept = isKept && !result.results.back().hasBrokenPromise();
        }
        printTable(std::cout, result);
    }
    printTotals(std::cout, done);
    if (options.json) {
        writeJson(*options.json, done, rounds);
    }
    return isKept;
}

} // namespace

} // namespace bench

int main(int argc, char** argv)
{
    try {
        if (!bench::run(bench::parse(argc, argv))) {
            std::cerr << "tovrintimer_bench: something came early\n";
            return 1;
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "tovrintimer_bench: " << error.what() << '\n';
        return 1;
    }
}
