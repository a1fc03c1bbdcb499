#pragma once

#include "conformance/LogSink.hpp"

namespace recording {

/// Writes every log record into the journal, as long as it exists.
///
/// The journal's actions make it a sink that throws, waits or calls back. One at a time.
class LogCapture {
public:
    LogCapture();

private:
    const conformance::LogSink m_sink;
};

} // namespace recording
