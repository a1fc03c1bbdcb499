#pragma once

#include <cstddef>

namespace faults {

/// As long as it exists, one lock of a mutex that is part of an object fails as the system reports it: the
/// `ordinal`-th from now on, counted from 1.
///
/// Threading: one at a time.
class FailingLock {
public:
    enum class On { ThisThread, OtherThreads };

    template <typename Object>
    explicit FailingLock(const Object& object, int ordinal = 1, On on = On::ThisThread)
        : FailingLock(&object, sizeof(object), ordinal, on)
    {
    }

    FailingLock(const FailingLock&) = delete;
    FailingLock& operator=(const FailingLock&) = delete;
    ~FailingLock();

private:
    FailingLock(const void* object, std::size_t size, int ordinal, On on);
};

} // namespace faults
