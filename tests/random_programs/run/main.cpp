#include "tests/random_programs/program/Program.hpp"
#include "tests/random_programs/run/Batch.hpp"
#include "tests/random_programs/run/Shrink.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>

namespace {

using random_programs::Failure;
using random_programs::Program;
using random_programs::programOf;
using random_programs::runBatch;
using random_programs::runUntilItBreaks;

// Programs sleep most of the time.
constexpr unsigned int defaultJobs = 8;

std::string scriptOf(std::uint64_t seed)
{
    return toLua(programOf(seed));
}

std::string describe(const Failure& failure)
{
    return "broken: " + (failure.how.empty() ? failure.rule : failure.how) + '\n';
}

void explain(const Failure& failure)
{
    std::cout << "seed " << failure.number << ' ' << describe(failure) << "\nshrinking ..." << std::endl;
    const Program shorter = shrink(programOf(failure.number),
        [&failure](const Program& program) { return runUntilItBreaks(toLua(program), failure.rule).has_value(); });
    const auto again = runUntilItBreaks(toLua(shorter), failure.rule);
    const Failure& shown = again ? *again : failure;
    std::cout << describe(shown) << "\nthe script, for --script:\n"
              << toLua(shorter) << "\nwhat it printed" << (again ? "" : ", which it did not do again") << ":\n"
              << shown.output;
}

std::pair<std::uint64_t, std::uint64_t> parseRange(const std::string& text)
{
    std::istringstream stream(text);
    std::uint64_t from = 0;
    std::uint64_t to = 0;
    if (!(stream >> from) || stream.get() != '.' || stream.get() != '.' || !(stream >> to) || !stream.eof()
        || to < from) {
        throw CLI::ValidationError("--seeds", "takes FROM..TO, not \"" + text + '"');
    }
    return { from, to };
}

/// Runs the seeds in portions, so that one that fails keeps no process from going on for long.
int runSeeds(std::uint64_t from, std::uint64_t to, unsigned int jobs, bool keepsGoing)
{
    constexpr std::uint64_t portion = 400;
    const auto begin = std::chrono::steady_clock::now();
    std::map<std::string, std::vector<std::uint64_t>> broken;
    std::uint64_t next = from;
    while (next <= to && (keepsGoing || broken.empty())) {
        const std::uint64_t end = std::min(to + 1, next + portion);
        const auto failures = runBatch(scriptOf, next, end, jobs, keepsGoing ? portion : 1);
        for (const Failure& failure : failures) {
            broken[failure.rule].push_back(failure.number);
        }
        if (!failures.empty() && !keepsGoing) {
            explain(failures.front());
        }
        next = end;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    std::cout << next - from << " programs, " << took.count() << " s\n";
    for (const auto& [rule, seeds] : broken) {
        std::cout << seeds.size() << " broke: " << rule << "; seeds";
        for (std::size_t i = 0; i < std::min<std::size_t>(seeds.size(), 8); ++i) {
            std::cout << ' ' << seeds[i];
        }
        std::cout << '\n';
    }
    return broken.empty() ? 0 : 1;
}

int runScript(const std::string& path, std::uint64_t times)
{
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot read \"" + path + '"');
    }
    const std::string text { std::istreambuf_iterator<char>(file), {} };
    const auto failures = runBatch([&text](std::uint64_t) { return text; }, 0, times, 4);
    if (failures.empty()) {
        std::cout << "passed\n";
        return 0;
    }
    std::cout << describe(failures.front()) << failures.front().output;
    return 1;
}

int run(int argc, char** argv)
{
    CLI::App app { "Runs random programs of the embedded host, and holds what they print against a model." };
    std::string seeds;
    std::uint64_t printed = 0;
    std::uint64_t explained = 0;
    std::string script;
    std::uint64_t times = 12;
    unsigned int jobs = defaultJobs;
    bool keepsGoing = false;
    auto* const what = app.add_option_group("what");
    what->add_option("--seeds", seeds, "all seeds FROM..TO; one that fails is shrunk to a short script");
    const auto* print = what->add_option("--print", printed, "prints the program of a seed, and does not run it");
    const auto* seed = what->add_option("--seed", explained, "one seed, again and again");
    what->add_option("--script", script, "a script, as printed for a seed that failed, again and again");
    what->require_option(1);
    app.add_option("--jobs", jobs, "processes at the same time")->check(CLI::Range(1, 64))->capture_default_str();
    app.add_option("--times", times, "how often a script runs")->capture_default_str();
    app.add_flag("--keep-going", keepsGoing, "goes on after a failure, and shrinks nothing");
    try {
        app.parse(argc, argv);
        if (!seeds.empty()) {
            const auto [from, to] = parseRange(seeds);
            return runSeeds(from, to, jobs, keepsGoing);
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (*print) {
        std::cout << scriptOf(printed);
        return 0;
    }
    if (*seed) {
        const auto failures = runBatch([explained](std::uint64_t) { return scriptOf(explained); }, 0, times, 4);
        if (!failures.empty()) {
            Failure failure = failures.front();
            failure.number = explained;
            explain(failure);
        }
        return failures.empty() ? 0 : 1;
    }
    return runScript(script, times);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "random_programs: " << error.what() << '\n';
        return 2;
    }
}
