#pragma once

#include "embedded_host/testing/TestFile.hpp"

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// Which tests are run, and how.
struct TestOptions {
    std::vector<std::string> files {};
    std::string filter {}; ///< only tests whose names contain it
    std::uint64_t firstSeed = 0; ///< each test is run under this one
    std::uint64_t seeds = 1; ///< and those that follow: so many in all
    std::optional<std::string> junitFile {};
    bool onlyLists = false;
};

using RealTime = std::chrono::duration<double>;

/// What has become of one test.
struct TestResult {
    TestDeclaration test;
    std::string failure; ///< one or more lines; empty if there is none
    std::uint64_t seed = 0; ///< under which it has failed
    RealTime time { 0 };
};

struct FileResult {
    std::string file;
    std::string error; ///< why it has no tests
    std::vector<TestResult> tests;
};

/// Runs tests, and tells of each as it has ended.
/// \returns the exit status: 1 if anything has failed
/// \throws std::exception for a report that cannot be written, and a filter that no test fits
int runTests(const TestOptions& options, const World& world, std::ostream& output);

} // namespace tovrinhost
