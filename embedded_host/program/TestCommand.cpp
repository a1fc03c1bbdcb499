#include "embedded_host/program/Clocks.hpp"
#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/OptionValues.hpp"

#include <CLI/CLI.hpp>

#include <limits>
#include <memory>

namespace tovrinhost {

namespace {

void addTestOptions(CLI::App& test, Request& request)
{
    const auto options = std::make_shared<TestOptions>();
    test.add_option("FILE", options->files, "The files with the tests, in Lua")->required();
    test.add_option("--filter", options->filter, "Run only tests whose names contain this text")
        ->type_name("TEXT");
    CLI::Option* const seeds
        = test.add_option_function<std::string>(
                  "--seeds", [options](const std::string& text) { options->seeds = toCount("--seeds", text); },
                  "Run each test under this many schedules, until it fails")
              ->default_str("1")
              ->type_name("N");
    test.add_option_function<std::string>(
            "--seed",
            [options](const std::string& text) {
                options->firstSeed = toCount("--seed", text, std::numeric_limits<std::size_t>::max(), 0);
            },
            "Run each test under the schedule of this seed alone: of one that has failed")
        ->type_name("K")
        ->excludes(seeds);
    test.add_option("--junit", options->junitFile, "Write a report for build servers, in JUnit's XML")
        ->type_name("FILE");
    test.add_flag("--list", options->onlyLists, "Print where the tests stand and how they are called; run none");
    test.callback([options, &request] { request.action = [options] { return testInVirtualTime(*options); }; });
}

} // namespace

constinit const Command testCommand { "test", "Run tests of scripts, in virtual time", addTestOptions };

} // namespace tovrinhost
