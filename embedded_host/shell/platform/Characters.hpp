#pragma once

#include <cstddef>
#include <cstdint>

namespace tovrinhost::platform {

/// A tab goes on to the next multiple of so many columns.
inline constexpr std::size_t tabStop = 8;

/// How many columns a terminal gives a character: 0 for one that joins the one before, -1 for one that it does not
/// show.
int columnsOf(std::uint32_t character);

} // namespace tovrinhost::platform
