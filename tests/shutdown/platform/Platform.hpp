#pragma once

namespace shutdown_test {

/// Whether the library's code has left the process, as far as the platform lets it go at all.
bool isLibraryGone();

} // namespace shutdown_test
