#include "embedded_host/engine/SpareBlocks.hpp"

#include <cstdlib>
#include <new>

namespace tovrinhost {

SpareBlocks::~SpareBlocks()
{
    for (Spare* first : m_bySize) {
        while (first != nullptr) {
            Spare* const next = first->next;
            std::free(first); // NOLINT(cppcoreguidelines-no-malloc): Lua's blocks are the C library's
            first = next;
        }
    }
}

void* SpareBlocks::take(std::size_t size) noexcept
{
    if (!isOneToKeep(size)) {
        return nullptr;
    }
    Spare*& first = m_bySize[size / step];
    Spare* const taken = first;
    if (taken != nullptr) {
        first = taken->next;
        m_kept -= size;
    }
    return taken;
}

bool SpareBlocks::keep(void* block, std::size_t size) noexcept
{
    if (block == nullptr || !isOneToKeep(size) || m_kept + size > most) {
        return false;
    }
    Spare*& first = m_bySize[size / step];
    first = new (block) Spare { first };
    m_kept += size;
    return true;
}

} // namespace tovrinhost
