#pragma once

#include "host/Export.hpp"

#include <boost/optional.hpp>

#include <string>

/// How the engine takes requests.
namespace cmddistributor {

/// When the engine takes a request off its queue.
enum class WhenToDequeue : int {
    WhenIdle = 0, ///< once nothing is being evaluated
    AtEventLoop = 1, ///< also while host code waits in the engine's event loop
};

/// How the engine is to run a request. A value.
class TOVRINHOST_API RunOptions {
public:
    /// When idle, on the engine's default queue.
    RunOptions();

    /// \param when see there
    /// \param queueName none for the default queue
    RunOptions(WhenToDequeue when, boost::optional<std::u16string> queueName);

    /// When idle, unless it was made otherwise. Constant.
    WhenToDequeue getWhenToDequeue() const noexcept;

    /// None for the engine's default queue.
    const boost::optional<std::u16string>& getQueueName() const noexcept;

    /// The library names "TIMER_WAKE_UP_VORN" for its wake-up statement, and none for callbacks.
    void setQueueName(std::u16string name);

private:
    WhenToDequeue m_when;
    boost::optional<std::u16string> m_queueName;
};

} // namespace cmddistributor
