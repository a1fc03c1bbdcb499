#pragma once

namespace tovrinhost::platform {

/// Whether the terminal of the standard output is of a type (TERM) that is known here. To be asked before ncurses
/// makes a screen of it, which loses memory for one that is not.
bool isTerminalTypeKnown();

} // namespace tovrinhost::platform
