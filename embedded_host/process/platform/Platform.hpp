#pragma once

// What differs from operating system to operating system; one source for each of them.

namespace tovrinhost::platform {

/// Shortens the name to what the system can hold. Where the thread cannot be named, nothing happens.
void nameCurrentThread(const char* name) noexcept;

} // namespace tovrinhost::platform
