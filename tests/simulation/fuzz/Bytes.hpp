#pragma once

#include "virtual_time/Random.hpp"

#include <cstdint>
#include <utility>
#include <vector>

namespace simulation {

/// A fuzzer's bytes, one after the other; 0 once they are used up.
class Bytes final : public virtual_time::Choices {
public:
    explicit Bytes(std::vector<std::uint8_t> bytes)
        : m_bytes(std::move(bytes))
    {
    }

    std::uint64_t below(std::uint64_t limit) override
    {
        std::uint64_t value = 0;
        for (std::uint64_t reach = 1; reach < limit; reach <<= 8U) {
            value = (value << 8U) | nextByte();
        }
        return value % limit;
    }

    bool usedUp() const { return m_at >= m_bytes.size(); }

private:
    std::uint64_t nextByte() { return m_at < m_bytes.size() ? m_bytes[m_at++] : 0; }

    const std::vector<std::uint8_t> m_bytes;
    std::size_t m_at = 0;
};

} // namespace simulation
