#pragma once

#include <string_view>

namespace tovrin_c {

/// The text of the calling thread's latest error. Never null, and at the same place for as long as the thread
/// lives.
const char* lastError() noexcept;

/// What does not fit is cut off, between two characters.
void setLastError(std::string_view text) noexcept;

/// Puts a text in front of it.
void setLastError(std::string_view where, std::string_view text) noexcept;

} // namespace tovrin_c
