#pragma once

#include "bench/driver/Result.hpp"

#include <filesystem>
#include <iosfwd>

namespace bench {

/// What came of the measurements of one scenario.
struct ScenarioResult {
    std::string name;
    std::string title;
    std::vector<Result> results;
};

/// The medians of all sides, and of the library's ratios to each peer; limits, and whether they are kept to.
void printTable(std::ostream& stream, const ScenarioResult& scenario);

/// How many limits are kept to, and how many there are.
void printTotals(std::ostream& stream, const std::vector<ScenarioResult>& scenarios);

/// Everything, the figures of each round included.
/// \throws std::runtime_error if the file cannot be written
void writeJson(const std::filesystem::path& file, const std::vector<ScenarioResult>& scenarios, int rounds);

} // namespace bench
