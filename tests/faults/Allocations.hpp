#pragma once

#include <cstdint>

namespace faults {

// The operators new and delete of this program count, and fail where a test says so.

/// How many blocks operator new has given out that have not come back.
std::int64_t liveBlocks();

/// As long as it exists, one call of operator new fails: the `ordinal`-th from now on, counted from 1.
///
/// Threading: made and destroyed on one thread; one at a time.
class FailingAllocation {
public:
    enum class On { ThisThread, AnyThread };

    FailingAllocation(std::int64_t ordinal, On on);
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether there have been so many calls.
    bool hasStruck() const;
};

/// As long as it exists, the calling thread's allocations neither count nor fail.
class Exempt {
public:
    Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;
    ~Exempt();
};

} // namespace faults
