#include "embedded_host/program/Explain.hpp"

#include "embedded_host/diagnosis/ExplanationText.hpp"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace tovrinhost {

void explainTrace(const TraceQuestion& question)
{
    const TraceReader trace(question);
    if (trace.explanations().empty() && trace.neverRan().empty()) {
        throw std::runtime_error("the trace \"" + question.file + "\" holds no callback"
            + (question.timer ? " of a timer \"" + *question.timer + "\"" : "")
            + (question.run ? " with the run number " + std::to_string(*question.run) : ""));
    }
    const ExplanationText words([&](const TimerTable::Identity& timer) { return trace.find(timer); }, 0);
    for (const Explanation& explanation : trace.explanations()) {
        std::fputs(words.of(explanation).c_str(), stdout);
    }
    for (const Firing& firing : trace.neverRan()) {
        std::fputs(words.of({ firing, {} }).c_str(), stdout);
    }
    if (trace.moreNeverRan() > 0) {
        std::printf("%zu more never ran\n", trace.moreNeverRan());
    }
}

} // namespace tovrinhost
