#pragma once

#include "embedded_host/diagnosis/Firing.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tovrinhost {

/// Virtual time as a test sees it. Called on the interpreter thread.
class TestClock {
public:
    virtual Nanoseconds now() const = 0; ///< since the test began

    /// Returns once every other thread waits; time stands still meanwhile.
    virtual void letOthersRun() = 0;

    /// The earliest moment that another thread waits for; nothing if none waits for one.
    virtual std::optional<Nanoseconds> nextDue() const = 0;

    /// Has this done where everybody waits and nothing is ever due: it is to wake somebody, and must not wait
    /// itself. \param help given what each thread waits for; null for none
    virtual void onStandstill(std::function<void(const std::string& waits)> help) = 0;

protected:
    ~TestClock() = default;
};

/// Runs `body` as the main thread of a world of its own: time zero, and no thread but it.
/// \param seed of the schedule: 0 is the calm one, always the same; others vary what may vary
/// \returns what is wrong with how it ended, where even `onStandstill` has not helped; else ""
using World = std::function<std::string(std::uint64_t seed, const std::function<void(TestClock&)>& body)>;

/// The world of virtual threads and virtual time.
std::string runInWorld(std::uint64_t seed, const std::function<void(TestClock&)>& body);

} // namespace tovrinhost
