#pragma once

#include "embedded_host/plan/PlanOutput.hpp"
#include "embedded_host/plan/PlanWriter.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace tovrinhost {

/// A plan for people: a line for each firing, and at the end one for each timer.
class PlanTable final : public PlanWriter {
public:
    /// \param span of the plan, for the width of its moments
    /// \param calendar what it shows at the beginning, in nanoseconds since 1970
    PlanTable(PlanOutput& output, Nanoseconds span, Nanoseconds calendar);

    void begin(const std::vector<TimerTable::Description>& timers) override;
    void write(const PlanRow& row) override;
    void end(const PlanTotals& totals, const PlanEnd& end) override;

private:
    std::string nameColumn(const std::string& name);

    PlanOutput& m_output;
    const Nanoseconds m_calendar;
    const std::size_t m_momentWidth;
    std::size_t m_nameWidth = 5; // of the longest name so far, as far as columns go
};

} // namespace tovrinhost
