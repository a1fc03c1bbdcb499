#pragma once

#include "host/iqm/Iqm.hpp"
#include "host/vorn/VORN.hpp"

#include <memory>

namespace tovrinhost {

class EventLoop;

/// Makes the queue manager of a context, which wakes the context's loop while there is one. It is found by the
/// context's number for as long as it lives.
std::shared_ptr<iqm::Iqm> makeQueueManager(vorn::ContextId context, std::weak_ptr<EventLoop> loop);

} // namespace tovrinhost
