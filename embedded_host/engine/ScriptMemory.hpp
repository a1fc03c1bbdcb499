#pragma once

#include "embedded_host/engine/SpareBlocks.hpp"
#include "host/Export.hpp"

#include <lua.h>

namespace tovrinhost {

/// Keeps some memory back from scripts: when one has used up all that there is, the host can still stop timers,
/// tell of errors and end.
///
/// A script gets more memory only while the reserve is whole. Where the host itself finds none (any thread's
/// `operator new`), the reserve is given up to it, and restored before the script gets any.
/// Threading: the interpreter thread, before any code runs; the state is closed there, too. The reserve is the
/// process's.
/// \param spareBlocks outlives the state
TOVRINHOST_API void keepReserveFrom(lua_State* state, SpareBlocks& spareBlocks);

} // namespace tovrinhost
