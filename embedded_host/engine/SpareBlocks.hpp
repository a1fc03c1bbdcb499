#pragma once

#include "host/Export.hpp"

#include <array>
#include <cstddef>

namespace tovrinhost {

/// Small blocks of the C library's heap that have been given back, to be had again without it.
///
/// A callback's tables are garbage as soon as it has returned, and the next callback needs their like.
///
/// A block comes back in exactly the size in which it was given, so it does not matter who has allocated it.
/// Threading: one thread at a time.
/// Ownership: owns what it keeps, which is never more than `most` bytes.
class TOVRINHOST_API SpareBlocks {
public:
    static constexpr std::size_t most = std::size_t { 1 } << 20U;

    SpareBlocks() = default;
    SpareBlocks(const SpareBlocks&) = delete;
    SpareBlocks& operator=(const SpareBlocks&) = delete;
    ~SpareBlocks();

    /// \returns null where there is none of this size
    void* take(std::size_t size) noexcept;

    /// \returns false if the block is none to be kept; the caller still has it then
    bool keep(void* block, std::size_t size) noexcept;

    /// What is kept, in bytes.
    std::size_t kept() const noexcept { return m_kept; }

private:
    /// What a spare block holds: the way to the next one of its size.
    struct Spare {
        Spare* next;
    };

    static constexpr std::size_t step = sizeof(Spare);
    static constexpr std::size_t largest = 16 * step;

    static bool isOneToKeep(std::size_t size) noexcept
    {
        return size >= step && size <= largest && size % step == 0;
    }

    std::array<Spare*, largest / step + 1> m_bySize {};
    std::size_t m_kept = 0;
};

} // namespace tovrinhost
