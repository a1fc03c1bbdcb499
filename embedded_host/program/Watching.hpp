#pragma once

#include "embedded_host/diagnosis/Diagnosis.hpp"
#include "embedded_host/diagnosis/LateReport.hpp"
#include "embedded_host/diagnosis/TraceFile.hpp"
#include "embedded_host/diagnosis/TraceWriter.hpp"
#include "embedded_host/diagnosis/Watch.hpp"
#include "embedded_host/program/Run.hpp"

#include <memory>
#include <optional>

namespace tovrinhost {

/// What a command wants to be told of the firings while its script runs: a trace, or which callbacks are late.
class Watching {
public:
    /// \throws std::system_error if the trace cannot be opened
    Watching(const RunOptions& options, Diagnosis& diagnosis);

    /// Tells the rest.
    /// \returns whether all of the trace was written
    bool end();

private:
    void tell(const News& news, Nanoseconds now);

    // In this order: each refers to those before it.
    std::unique_ptr<TraceFile> m_file;
    std::optional<TraceWriter> m_trace;
    std::optional<LateReport> m_late;
    std::unique_ptr<Watch> m_watch; // null where nothing is wanted
};

} // namespace tovrinhost
