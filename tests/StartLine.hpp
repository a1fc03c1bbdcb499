#pragma once

#include <atomic>
#include <cstddef>
#include <thread>

/// Where threads wait for each other, so that they go on at the same moment; once for each object.
///
/// They spin, since those that wait at mingw-w64's std::barrier do not always wake up.
class StartLine {
public:
    explicit StartLine(std::size_t threads)
        : m_missing(threads)
    {
    }

    void arriveAndWait()
    {
        --m_missing;
        while (m_missing > 0) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<std::size_t> m_missing;
};
