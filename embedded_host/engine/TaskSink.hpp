#pragma once

#include "host/Export.hpp"

#include <functional>

namespace tovrinhost {

/// What each engine instance of this host is, besides: a place to hand callback tasks to.
class TOVRINHOST_API TaskSink {
public:
    virtual ~TaskSink();

    /// Queues a task for the interpreter thread. Any thread.
    virtual void submit(const std::function<void()>& task) = 0;

    /// Whether a task that is handed over wakes the interpreter by itself. Where not, the request line does.
    static bool wakesInterpreter();
};

} // namespace tovrinhost
