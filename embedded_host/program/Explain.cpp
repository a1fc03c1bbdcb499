#include "embedded_host/program/Explain.hpp"

#include "embedded_host/diagnosis/ExplanationText.hpp"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace tovrinhost {

void explainTrace(const TraceQuestion& question)
{
    const TraceReader trace(question);
    if (trace.explanations().empty()) {
        throw std::runtime_error("the trace \"" + question.file + "\" holds no callback"
            + (question.timer ? " of a timer \"" + *question.timer + "\"" : "")
            + (question.run ? " with the run number " + std::to_string(*question.run) : ""));
    }
    const ExplanationText words([&](const TimerTable::Identity& timer) { return trace.find(timer); }, 0);
    for (const Explanation& explanation : trace.explanations()) {
        std::fputs(words.of(explanation).c_str(), stdout);
    }
}

} // namespace tovrinhost
