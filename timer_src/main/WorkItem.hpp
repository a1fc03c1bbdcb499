#pragma once

#include "host/foundation/log/basic_diagnostic_logger.hpp"
#include "host/foundation/msg_svc/exchange/IDType.hpp"
#include "timer_src/main/DueTime.hpp"
#include "timer_src/main/PrevCallBackStatus.hpp"
#include "timer_src/main/WorkKind.hpp"

#include <boost/variant.hpp>

#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace tovrintimer {

class TimerInfo;

/// The records of changes to work items. One for each source unit, built as its library loads.
static foundation::log::basic_diagnostic_logger<char> workItemLogger("tovrintimer::WorkItem");

/// One piece of scheduled work for one timer: run its StartFcn, StopFcn, TimerFcn or ErrorFcn when it is due.
///
/// Threading: a value; one thread at a time.
/// Ownership: does not keep its timer alive. Whoever acts on an item locks the timer first, and drops the item
/// where the timer has gone. Copies share the counter and the completion record, but never the self-reference.
/// Ordering: by due time; among equal due times, by arrival in the queue.
template <int kind> class WorkItem : public std::enable_shared_from_this<WorkItem<kind>> {
    static_assert(kind == StartFcnWork || kind == StopFcnWork || kind == TimerFcnWork || kind == ErrorFcnWork);

public:
    /// Of a timer.
    using Id = foundation::msg_svc::exchange::IDType;

    /// A StartFcn, StopFcn or ErrorFcn: a run of its own of one task.
    WorkItem(DueTime executeAt, Id id, std::weak_ptr<TimerInfo> timer) requires(kind != TimerFcnWork)
        : WorkItem(id, executeAt, std::move(timer), 1, std::make_shared<prevCallBackStatus>())
    {
    }

    /// A TimerFcn that is the only task of its run, whose new counter holds `total`.
    WorkItem(Id id, DueTime executeAt, std::weak_ptr<TimerInfo> timer, std::uint64_t total) requires(
        kind == TimerFcnWork)
        : WorkItem(id, executeAt, std::move(timer), total, std::make_shared<prevCallBackStatus>())
    {
    }

    /// A TimerFcn of a longer run.
    WorkItem(Id id, DueTime executeAt, std::weak_ptr<TimerInfo> timer, std::shared_ptr<std::uint64_t> counter,
        std::uint64_t taskCount,
        std::shared_ptr<prevCallBackStatus> status
        = std::make_shared<prevCallBackStatus>()) requires(kind == TimerFcnWork)
        : m_id(id)
        , m_executeAt(executeAt)
        , m_timerInfo(std::move(timer))
        , m_sharedTaskCounter(std::move(counter))
        , m_taskCount(taskCount)
        , m_prevCallBackStatus(std::move(status))
    {
    }

    Id m_id; ///< the timer's: all work of a timer is found by it
    DueTime m_executeAt; ///< when it falls due
    std::weak_ptr<TimerInfo> m_timerInfo; ///< whose work it is; the timer may have gone

    /// The number of tasks of the run. Never changed in place: a new total is a new object.
    std::shared_ptr<std::uint64_t> m_sharedTaskCounter;

    /// How many of them are still to be dispatched, this one included.
    std::uint64_t m_taskCount;

    /// How far the callback before this one has come.
    std::shared_ptr<prevCallBackStatus> m_prevCallBackStatus;

    std::uint64_t m_number = 0; ///< by which an observer is told of it, until its end; 0 where none is
    std::uint64_t m_insteadOf = 0; ///< the number of the dropped firing that it makes up for
    bool m_wasQueued = false; ///< it is in the queue, or has been

private:
    WorkItem(Id id, DueTime executeAt, std::weak_ptr<TimerInfo> timer, std::uint64_t total,
        std::shared_ptr<prevCallBackStatus> status)
        : m_id(id)
        , m_executeAt(executeAt)
        , m_timerInfo(std::move(timer))
        , m_sharedTaskCounter(std::make_shared<std::uint64_t>(total))
        , m_taskCount(1)
        , m_prevCallBackStatus(std::move(status))
    {
    }
};

/// What the queue holds. The alternative's index is not the kind: an ErrorFcn is index 3 and kind 4.
using WorkItemVariant = boost::variant<WorkItem<StartFcnWork>, WorkItem<StopFcnWork>, WorkItem<TimerFcnWork>,
    WorkItem<ErrorFcnWork>>;

/// When it falls due.
inline DueTime dueTime(const WorkItemVariant& work)
{
    return boost::apply_visitor([](const auto& item) { return item.m_executeAt; }, work);
}

/// The identity of the timer whose work it is.
inline foundation::msg_svc::exchange::IDType timerId(const WorkItemVariant& work)
{
    return boost::apply_visitor([](const auto& item) { return item.m_id; }, work);
}

static_assert(std::is_nothrow_move_constructible_v<WorkItemVariant>, "the queue moves its items");

} // namespace tovrintimer
