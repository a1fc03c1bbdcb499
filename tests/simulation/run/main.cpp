#include "tests/simulation/run/Apart.hpp"
#include "tests/simulation/run/Shrink.hpp"

#include <charconv>
#include <chrono>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace {

using simulation::Program;
using simulation::Verdict;

constexpr const char* usage = R"(Usage: simulation --seeds FROM..TO [--jobs N]
       simulation --seed N [--trace] [--shrink] [--print]
       simulation --program FILE [--trace] [--shrink]

Runs random programs on the library in virtual time, and holds what happens against a model of its rules.

  --seeds FROM..TO  all seeds from FROM to TO; the first that fails is run again, and shrunk to a short program
  --jobs N          in so many processes; default: one for each processor
  --seed N          one seed
  --program FILE    a program, as printed for a seed that failed; - for the standard input
  --trace           prints each step
  --shrink          if it fails, prints the shortest program found that fails alike
  --print           prints the program of the seed, and does not run it

The exit status is 0 if nothing failed, 1 if something did, 2 for wrong usage.
)";

struct WrongUsage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::uint64_t number(std::string_view text)
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw WrongUsage("\"" + std::string(text) + "\" is not a whole number from 0");
    }
    return value;
}

struct Arguments {
    std::string what; ///< "--seeds", "--seed" or "--program"
    std::string value;
    unsigned int jobs = std::max(1U, std::thread::hardware_concurrency());
    bool trace = false;
    bool shrink = false;
    bool print = false;
};

Arguments parse(int argc, char** argv)
{
    Arguments arguments;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        const bool takesValue = name == "--seeds" || name == "--seed" || name == "--program" || name == "--jobs";
        if (takesValue && i + 1 == argc) {
            throw WrongUsage(name + " needs a value");
        }
        if (name == "--trace") {
            arguments.trace = true;
        } else if (name == "--shrink") {
            arguments.shrink = true;
        } else if (name == "--print") {
            arguments.print = true;
        } else if (name == "--jobs") {
            arguments.jobs = static_cast<unsigned int>(std::max<std::uint64_t>(1, number(argv[++i])));
        } else if (takesValue) {
            arguments.what = name;
            arguments.value = argv[++i];
        } else {
            throw WrongUsage("unknown argument: " + name);
        }
    }
    if (arguments.what.empty()) {
        throw WrongUsage("--seeds, --seed or --program is missing");
    }
    return arguments;
}

std::string readFile(const std::string& name)
{
    std::ostringstream text;
    if (name == "-") {
        text << std::cin.rdbuf();
    } else {
        std::ifstream file(name);
        if (!file) {
            throw WrongUsage("cannot read \"" + name + "\"");
        }
        text << file.rdbuf();
    }
    return text.str();
}

void printShorter(const Program& program, const std::string& failure)
{
    std::cout << "\nshrinking ..." << std::endl;
    const Program shorter = simulation::shrink(program, failure, simulation::findSchedule);
    std::cout << simulateApart(shorter).failure << "\n\nthe program, for --program:\n" << toText(shorter);
}

int runOne(const Program& program, const Arguments& arguments)
{
    simulation::RunOptions options;
    options.trace = arguments.trace;
    const Verdict verdict = simulateApart(program, options);
    std::cout << verdict.trace;
    if (verdict.failed()) {
        std::cout << "failed: " << verdict.failure << '\n';
        if (arguments.shrink) {
            printShorter(program, verdict.failure);
        }
        return 1;
    }
    std::cout << "passed: " << verdict.steps << " steps, until " << verdict.end / simulation::millisecond
              << " ms\n";
    return 0;
}

int runSeeds(const Arguments& arguments)
{
    const auto dots = arguments.value.find("..");
    if (dots == std::string::npos) {
        throw WrongUsage("--seeds takes FROM..TO, not \"" + arguments.value + "\"");
    }
    const std::uint64_t from = number(std::string_view(arguments.value).substr(0, dots));
    const std::uint64_t to = number(std::string_view(arguments.value).substr(dots + 2));
    const auto start = std::chrono::steady_clock::now();
    const simulation::Batch batch = simulation::simulateSeeds(from, to + 1, arguments.jobs);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::cout << batch.seeds << " seeds, " << batch.steps << " steps, " << took.count() << " s\n";
    if (!batch.failedSeed) {
        return 0;
    }
    const Program program = simulation::programOf(*batch.failedSeed);
    const Verdict verdict = simulateApart(program);
    if (!verdict.failed()) {
        std::cout << "seed " << *batch.failedSeed << " failed, or one before it, but not by itself\n";
        return 1;
    }
    std::cout << "seed " << *batch.failedSeed << " failed: " << verdict.failure << '\n';
    printShorter(program, verdict.failure);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Arguments arguments = parse(argc, argv);
        if (arguments.what == "--seeds") {
            return runSeeds(arguments);
        }
        const Program program = arguments.what == "--seed" ? simulation::programOf(number(arguments.value))
                                                           : simulation::fromText(readFile(arguments.value));
        if (arguments.print) {
            std::cout << toText(program);
            return 0;
        }
        return runOne(program, arguments);
    } catch (const WrongUsage& error) {
        std::cerr << error.what() << '\n' << usage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
}
