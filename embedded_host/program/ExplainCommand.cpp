#include "embedded_host/diagnosis/ExplanationText.hpp"
#include "embedded_host/diagnosis/TraceReader.hpp"
#include "embedded_host/program/Commands.hpp"
#include "embedded_host/program/OptionValues.hpp"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace tovrinhost {

namespace {

int explainTrace(const TraceQuestion& question)
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
    return EXIT_SUCCESS;
}

void addExplainOptions(CLI::App& explain, Request& request)
{
    constexpr std::size_t mostExplanations = 1000;
    const auto question = std::make_shared<TraceQuestion>();
    explain.add_option("FILE", question->file, "The trace")->required();
    explain.add_option("--timer", question->timer, "Callbacks of the timers of this name only")->type_name("NAME");
    explain
        .add_option_function<std::string>(
            "--run", [question](const std::string& text) { question->run = toCount("--run", text); },
            "This run of a timer only: the how-manieth since it was started")
        ->type_name("K");
    explain
        .add_option_function<std::string>(
            "--worst",
            [question](const std::string& text) { question->worst = toCount("--worst", text, mostExplanations); },
            "How many callbacks, at most 1000; and of those that never ran, as many")
        ->default_str(std::to_string(question->worst))
        ->type_name("N");
    explain.callback([question, &request] { request.action = [question] { return explainTrace(*question); }; });
}

} // namespace

constinit const Command explainCommand { "explain",
    "Tell from a trace of run --trace why callbacks were late, the latest first", addExplainOptions };

} // namespace tovrinhost
