#include "embedded_host/program/Run.hpp"

#include "embedded_host/diagnosis/StatusTable.hpp"
#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/program/StandardInput.hpp"
#include "embedded_host/program/Watching.hpp"
#include "embedded_host/program/platform/Platform.hpp"
#include "embedded_host/services/Features.hpp"
#include "timer_src/main/Concurrency.hpp"

#include <cstdlib>
#include <iostream>

namespace tovrinhost {

namespace {

void configure(const RunOptions& options)
{
    for (const auto& [feature, on] : options.features) {
        setFeature(feature, on);
    }
    for (const auto& [channel, mask] : options.logMasks) {
        setLogMask(channel, mask);
    }
    if (options.logFile) {
        logToFile(*options.logFile);
    } else if (!options.logMasks.empty()) {
        logToStandardError();
    }
}

} // namespace

int run(const RunOptions& options, const Companion& companion)
{
    configure(options);
    Script script = options.script;
    if (script.name == "-" && !script.text) { // here: another program may have had to take over until now
        script.text = { readStandardInput(), "=stdin" };
    }
    const platform::SignalsLeftToWatcher left; // by the threads of the runner, too
    ScriptRunner runner(options.maxBacklog);
    const auto onSignal = [&runner, first = 0](int status) mutable {
        if (first != 0) {
            // What could not be stopped the first time, a StopFcn perhaps, is not waited for.
            std::cerr << "tovrin: interrupted again, leaving at once\n";
            std::_Exit(first);
        }
        first = status;
        tovrintimer::fromOutside([&runner, status] { runner.interrupt(status); });
    };
    const auto onQuestion
        = [&runner] { tovrintimer::fromOutside([&runner] { std::cerr << statusTable(runner.diagnosis()); }); };
    const platform::SignalWatcher watcher(onSignal, onQuestion);
    Watching watching(options, runner.diagnosis());
    const std::shared_ptr<void> beside = companion(runner);
    const int status = runner.run(script);
    const bool isComplete = watching.end();
    return status == EXIT_SUCCESS && !isComplete ? EXIT_FAILURE : status;
}

} // namespace tovrinhost
