#pragma once

#include <cstddef>
#include <random>

namespace bench {

/// The same numbers in each run, since what is compared is to do the same.
class Random {
public:
    explicit Random(unsigned int seed = 1)
        : m_engine(seed)
    {
    }

    std::size_t below(std::size_t end) { return m_engine() % end; }

private:
    std::minstd_rand m_engine;
};

} // namespace bench
