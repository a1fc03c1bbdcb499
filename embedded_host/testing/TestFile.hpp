#pragma once

#include "embedded_host/testing/TestList.hpp"
#include "embedded_host/testing/VirtualWorld.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tovrinhost {

// A file of tests is loaded anew for whatever is wanted of it: each time in an interpreter of its own, in a world
// of its own, without timers, at time zero.

/// The tests of a file, in the order in which they stand there.
struct TestListing {
    std::vector<TestDeclaration> tests;
    std::string error; ///< why there are none; one or more lines
};

TestListing listTests(const std::string& file, const World& world);

/// Runs the test of this name.
/// \returns what speaks against it, in one or more lines; empty if nothing does
std::string runTest(const std::string& file, const std::string& name, std::uint64_t seed, const World& world);

} // namespace tovrinhost
