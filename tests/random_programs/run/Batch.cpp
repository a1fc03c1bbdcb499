#include "tests/random_programs/run/Batch.hpp"

#include <algorithm>
#include <deque>
#include <memory>

namespace random_programs {

namespace {

constexpr std::uint64_t mostTries = 12;
constexpr unsigned int triesAtOnce = 4;

} // namespace

std::vector<Failure> runBatch(const Programs& programs, std::uint64_t from, std::uint64_t to,
    unsigned int processes, std::size_t mostFailures)
{
    std::vector<Failure> failures;
    std::deque<std::unique_ptr<Worker>> workers;
    for (unsigned int i = 0; i < processes; ++i) {
        workers.push_back(std::make_unique<Worker>(programs, from + i, to, processes));
    }
    for (; !workers.empty(); workers.pop_front()) {
        if (auto failure = workers.front()->await()) {
            failures.push_back(*std::move(failure));
            if (failures.size() < mostFailures) {
                workers.push_back(
                    std::make_unique<Worker>(programs, failures.back().number + processes, to, processes));
            }
        }
    }
    std::sort(failures.begin(), failures.end(),
        [](const Failure& one, const Failure& other) { return one.number < other.number; });
    return failures;
}

std::optional<Failure> runUntilItBreaks(const std::string& program, const std::string& rule)
{
    const auto failures = runBatch([&program](std::uint64_t) { return program; }, 0, mostTries, triesAtOnce);
    const auto found = std::find_if(
        failures.begin(), failures.end(), [&rule](const Failure& failure) { return failure.rule == rule; });
    return found != failures.end() ? std::optional(*found) : std::nullopt;
}

} // namespace random_programs
