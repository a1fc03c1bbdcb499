#pragma once

namespace scripts::platform {

/// Why the tests cannot press Ctrl-C, or null if they can.
const char* whyNoControlC();

/// Sends a process what Ctrl-C sends it.
void pressControlC(int process);

/// Whether the tests' user may read every file, whatever its permissions.
bool mayReadEverything();

} // namespace scripts::platform
