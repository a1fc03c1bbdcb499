#pragma once

#include "embedded_host/plan/PlanOutput.hpp"
#include "embedded_host/plan/PlanWriter.hpp"

#include <string>
#include <vector>

namespace tovrinhost {

/// A plan for programs: one JSON document, with a line for each firing and each timer. All times are seconds.
class PlanDocument final : public PlanWriter {
public:
    /// \param calendar what it shows at the beginning, in nanoseconds since 1970
    PlanDocument(PlanOutput& output, std::string script, Nanoseconds span, Nanoseconds calendar);

    void begin(const std::vector<TimerTable::Description>& timers) override;
    void write(const PlanRow& row) override;
    void end(const PlanTotals& totals, const PlanEnd& end) override;

private:
    void writeElement(const std::string& text);

    PlanOutput& m_output;
    const std::string m_script;
    const Nanoseconds m_span;
    const Nanoseconds m_calendar;
    bool m_isFirst = true; // element of its array
};

} // namespace tovrinhost
