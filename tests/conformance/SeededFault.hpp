#pragma once

#include <cstdlib>
#include <string_view>

/// Whether this fault is the one that the host is to have: the environment names it.
inline bool isSeeded(std::string_view fault)
{
    static const char* const chosen = std::getenv("TOVRINTIMER_SEEDED_FAULT");
    return chosen != nullptr && fault == chosen;
}
