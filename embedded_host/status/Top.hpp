#pragma once

#include <cstdint>
#include <optional>

namespace tovrinhost {

/// `tovrin top`: shows the timers of a program on the terminal, until the user quits.
/// \throws std::runtime_error with a text for people if there is no terminal, or no such program, or once it ends
void showTop(std::optional<std::int64_t> process);

} // namespace tovrinhost
