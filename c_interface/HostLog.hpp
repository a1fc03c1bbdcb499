#pragma once

#include "c_interface/tovrintimer.h"

#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace tovrin_c {

/// Tells the embedder's log function of what he wants to hear: errors of the host, and the records of the engine.
///
/// Threading: `tell`, any thread. Lifetime: made and destroyed while no timer runs; there is one at a time.
class HostLog {
public:
    /// \param severities none are told where there is no function
    HostLog(tovrin_log_function function, void* data, std::uint32_t severities);
    HostLog(const HostLog&) = delete;
    HostLog& operator=(const HostLog&) = delete;
    ~HostLog();

    /// The engine's records are not told any more. The host's thread.
    void close();

    /// An error, on the channel "host".
    void tell(const std::string& text) const noexcept;

private:
    const tovrin_log_function m_function;
    void* const m_data;
    const std::uint32_t m_severities;
    boost::shared_ptr<boost::log::sinks::sink> m_sink; // of the engine's records; null where none are told
};

} // namespace tovrin_c
