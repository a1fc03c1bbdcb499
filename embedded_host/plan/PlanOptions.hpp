#pragma once

#include "embedded_host/diagnosis/Firing.hpp"
#include "embedded_host/engine/Script.hpp"

#include <cstdint>
#include <optional>

namespace tovrinhost {

/// `tovrin plan`: what it is to do.
struct PlanOptions {
    static constexpr Nanoseconds hour = 3'600'000'000'000;

    Script script;
    Nanoseconds span = hour; ///< from the script's beginning on
    std::optional<std::int64_t>
        from; ///< what the calendar shows then, in seconds since 1970; none: the time it is
    bool isJson = false;
    bool showsOutput = false; ///< the script's, on standard error
};

} // namespace tovrinhost
