#pragma once

#include <cstdint>
#include <initializer_list>

namespace virtual_time {

/// Where the choices of a program come from: a seed, or the bytes of a fuzzer.
class Choices {
public:
    virtual ~Choices() = default;

    /// A number below `limit`, which is not 0.
    virtual std::uint64_t below(std::uint64_t limit) = 0;

    template <typename T> T oneOf(std::initializer_list<T> choices)
    {
        return *(choices.begin() + static_cast<std::ptrdiff_t>(below(choices.size())));
    }

    bool oneIn(std::uint64_t chances) { return below(chances) == 0; }
};

/// Numbers that look random, the same for the same seed on every platform.
class Random final : public Choices {
public:
    explicit Random(std::uint64_t seed)
        : m_state(seed)
    {
    }

    std::uint64_t below(std::uint64_t limit) override { return next() % limit; }

    std::uint64_t next()
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }

private:
    std::uint64_t m_state;
};

} // namespace virtual_time
