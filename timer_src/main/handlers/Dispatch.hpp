#pragma once

#include "timer_src/main/WorkItem.hpp"

namespace tovrintimer {

/// Reserved for a dispatcher that can be exchanged. There is none yet: it is passed along and not used.
class Dispatcher { };

// Gives a due item to the handler of its kind; a TimerFcn, to the handler of its timer's execution mode. The timer
// cannot go until the handler returns; where it has gone already, the item is dropped.
//
// Threading: the scheduler thread, or a host thread that bypasses the queue. No lock is held.
// Errors: whatever the handler lets pass, and that is whatever the host's operations throw.

void dispatch(WorkItem<StartFcnWork>&& item, Dispatcher* dispatcher);
void dispatch(WorkItem<StopFcnWork>&& item, Dispatcher* dispatcher);
void dispatch(WorkItem<TimerFcnWork>&& item, Dispatcher* dispatcher);
void dispatch(WorkItem<ErrorFcnWork>&& item, Dispatcher* dispatcher);

void dispatch(WorkItemVariant&& work, Dispatcher* dispatcher);

} // namespace tovrintimer
