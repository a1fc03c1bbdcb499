#pragma once

#include "bench/driver/Measurement.hpp"

#include <chrono>
#include <string>
#include <vector>

namespace bench {

/// How much time a round may take. Short ones give the same figures, less surely.
struct Pace {
    bool isQuick = false;

    std::chrono::milliseconds time(std::chrono::milliseconds full) const { return isQuick ? full / 5 : full; }
};

/// Measurements that tell of one thing.
struct Scenario {
    std::string name;
    std::string title;
    std::vector<Measurement> (*measurements)(const Pace& pace);
};

const std::vector<Scenario>& scenarios();

// One file each; the first three share theirs, and so do the last two.
std::vector<Measurement> costPerFiring(const Pace& pace);
std::vector<Measurement> scale(const Pace& pace);
std::vector<Measurement> observed(const Pace& pace);
std::vector<Measurement> stopAndStart(const Pace& pace);
std::vector<Measurement> lateness(const Pace& pace);
std::vector<Measurement> drop(const Pace& pace);
std::vector<Measurement> hostThreads(const Pace& pace);
std::vector<Measurement> memory(const Pace& pace);
std::vector<Measurement> cInterface(const Pace& pace);
std::vector<Measurement> scripts(const Pace& pace);
std::vector<Measurement> firingLog(const Pace& pace);

} // namespace bench
