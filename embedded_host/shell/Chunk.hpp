#pragma once

#include "embedded_host/engine/Interpreter.hpp"

#include <string>

namespace tovrinhost {

// What is typed at the shell: an expression, whose values are shown, or statements. As in Lua's own shell each
// input is a chunk of its own, so that its locals end with it.

/// Whether more has to follow before the text can be a chunk.
bool isUnfinished(Interpreter& interpreter, const std::string& text);

/// Runs the chunk. Prints its values on standard output; the first of them becomes the global `_`.
/// \throws ScriptError
void runChunk(Interpreter& interpreter, const std::string& text);

} // namespace tovrinhost
