#pragma once

#include "embedded_host/engine/Script.hpp"
#include "embedded_host/timers/ScriptRunner.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace tovrinhost {

/// `tovrin run`: what it is to do.
struct RunOptions {
    Script script;
    std::map<std::string, bool> features;
    std::map<std::string, std::uint32_t> logMasks; ///< by channel
    std::optional<std::string> logFile;
    std::optional<std::string> traceFile;
    std::optional<double> lateAbove; ///< seconds
    bool servesStatus = false; ///< to `tovrin timers` and `tovrin top`
    std::size_t maxBacklog = 10'000; ///< how many callbacks of one timer may wait
    std::optional<double> pace; ///< of the clock: none for the real one, else as VirtualTime.hpp has it
};

/// Something that lives beside the script while that runs.
using Companion = std::function<std::shared_ptr<void>(ScriptRunner&)>;

/// Runs a script until no timer of it runs any more. \returns the exit status
int run(const RunOptions& options, const Companion& companion);

} // namespace tovrinhost
