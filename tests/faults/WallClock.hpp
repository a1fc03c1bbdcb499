#pragma once

#include <chrono>

namespace faults {

/// As long as it exists, the system clock of this process can be set.
class WallClock {
public:
    WallClock();
    WallClock(const WallClock&) = delete;
    WallClock& operator=(const WallClock&) = delete;
    ~WallClock();

    /// Sets it forward, or back.
    void step(std::chrono::hours by);

    /// How many waits there have been since that go by this clock, which may be set under them.
    int waits() const;
};

} // namespace faults
