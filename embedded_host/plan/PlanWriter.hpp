#pragma once

#include "embedded_host/plan/PlanTotals.hpp"

#include <cstdint>
#include <vector>

namespace tovrinhost {

/// How a plan ended.
struct PlanEnd {
    enum class Why : std::uint8_t {
        Span, ///< all that was asked for has been told
        Script, ///< nothing is due any more, or the script has failed or left
        Interrupted,
    };

    Why why = Why::Script;
    Nanoseconds at = 0; ///< since the script's beginning
    std::uint64_t lost = 0; ///< firings that could not be told
};

/// Where the rows of a plan go, one after the other.
class PlanWriter {
public:
    virtual ~PlanWriter() = default;

    /// To be called once, at first.
    /// \param timers those that the script has by then
    virtual void begin(const std::vector<TimerTable::Description>& timers) = 0;

    virtual void write(const PlanRow& row) = 0;

    /// To be called once, at last.
    virtual void end(const PlanTotals& totals, const PlanEnd& end) = 0;
};

} // namespace tovrinhost
