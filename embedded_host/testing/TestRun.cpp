#include "embedded_host/testing/TestRun.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/testing/JUnit.hpp"
#include "embedded_host/testing/TestProgress.hpp"

#include <cstdlib>
#include <ostream>
#include <stdexcept>

namespace tovrinhost {

namespace {

bool fits(const TestDeclaration& test, const TestOptions& options)
{
    return test.name.find(options.filter) != std::string::npos;
}

/// Under one seed after the other, until it fails.
TestResult runUnderSeeds(
    const std::string& file, const TestDeclaration& test, const TestOptions& options, const World& world)
{
    const auto begin = std::chrono::steady_clock::now();
    TestResult result { test, "", options.firstSeed, RealTime(0) };
    for (std::uint64_t i = 0; i < options.seeds && result.failure.empty(); ++i) {
        result.seed = options.firstSeed + i;
        result.failure = runTest(file, test.name, result.seed, world);
    }
    result.time = std::chrono::steady_clock::now() - begin;
    return result;
}

std::vector<FileResult> listAll(const TestOptions& options, const World& world)
{
    std::vector<FileResult> files;
    bool isFound = false;
    for (const std::string& file : options.files) {
        const TestListing listing = listTests(file, world);
        files.push_back({ file, listing.error, {} });
        for (const TestDeclaration& test : listing.tests) {
            if (fits(test, options)) {
                files.back().tests.push_back({ test, "", 0, RealTime(0) });
            }
        }
        isFound = isFound || !listing.error.empty() || !files.back().tests.empty();
    }
    if (!isFound) {
        throw std::runtime_error("no test has a name that contains \"" + escape(options.filter) + '"');
    }
    return files;
}

/// Writes the names of the tests.
/// \returns whether each file has some
bool writeNames(const std::vector<FileResult>& files, std::ostream& output)
{
    bool areThere = true;
    for (const FileResult& file : files) {
        for (const TestResult& result : file.tests) {
            output << escape(file.file) << ':' << result.test.line << ": " << escape(result.test.name) << '\n';
        }
        if (!file.error.empty()) {
            output << escape(file.file) << ": FAILED\n" << asBlock(file.error);
            areThere = false;
        }
    }
    return areThere;
}

/// \returns whether nothing has failed
bool runAll(std::vector<FileResult>& files, const TestOptions& options, const World& world, std::ostream& output)
{
    TestProgress progress(output);
    for (FileResult& file : files) {
        progress.fileBegins(file);
        for (TestResult& result : file.tests) {
            result = runUnderSeeds(file.file, result.test, options, world);
            progress.testHasEnded(result);
        }
    }
    progress.end();
    return !progress.hasFailures();
}

} // namespace

int runTests(const TestOptions& options, const World& world, std::ostream& output)
{
    std::optional<JUnitFile> report; // opened before anything is run for it
    if (options.junitFile) {
        report.emplace(*options.junitFile);
    }
    auto files = listAll(options, world);
    const bool isWell = options.onlyLists ? writeNames(files, output) : runAll(files, options, world, output);
    if (report) {
        report->write(files);
    }
    return isWell ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace tovrinhost
