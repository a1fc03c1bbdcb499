#include "embedded_host/engine/ScriptMemory.hpp"

#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/engine/SpareBlocks.hpp"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace tovrinhost {

namespace {

// So large that it is a mapping of its own, which goes back to the system as a whole. It is never touched, so it
// costs addresses only.
constexpr std::size_t reserveSize = std::size_t { 40 } << 20U;

std::atomic<void*> reserve { nullptr };

// What Lua asks for is to be had from the C library alone, as it has no other way to grow a block.
// NOLINTBEGIN(cppcoreguidelines-no-malloc)

/// For `operator new`, which tries again after each call that returns.
void giveReserveUp()
{
    void* const block = reserve.exchange(nullptr);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    std::free(block);
}

bool isReserveWhole()
{
    if (reserve == nullptr) {
        reserve = std::malloc(reserveSize);
    }
    return reserve != nullptr;
}

/// Lua's lua_Alloc. What shrinks must not fail.
void* allocate(void* spareBlocks, void* block, std::size_t sizeBefore, std::size_t size)
{
    auto& spare = *static_cast<SpareBlocks*>(spareBlocks);
    if (size == 0) {
        if (!spare.keep(block, sizeBefore)) {
            std::free(block);
        }
        return nullptr;
    }
    const bool shrinks = block != nullptr && size <= sizeBefore;
    if (!shrinks && !isReserveWhole()) {
        return nullptr;
    }
    void* const known = block == nullptr ? spare.take(size) : nullptr;
    return known != nullptr ? known : std::realloc(block, size);
}

// NOLINTEND(cppcoreguidelines-no-malloc)

/// For what fails outside of every protected call, where Lua would end the process.
int throwError(lua_State* state)
{
    const char* const message = lua_tostring(state, -1);
    throw ScriptError(message != nullptr ? message : "an error that is no text", "");
}

} // namespace

void keepReserveFrom(lua_State* state, SpareBlocks& spareBlocks)
{
    std::set_new_handler(giveReserveUp);
    // The blocks so far are of the C library's heap, too.
    lua_setallocf(state, allocate, &spareBlocks);
    lua_atpanic(state, throwError);
}

} // namespace tovrinhost
