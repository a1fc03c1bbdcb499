#pragma once

#include "timer_src/main/WorkQueue.hpp"

#include <boost/multi_index/global_fun.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>

namespace tovrintimer {

/// What a queue holds: an item is found by its due time and by its timer's identity.
struct WorkQueue::Items {
    struct ByDueTime { };
    struct ByTimer { };

    using Container = boost::multi_index_container<WorkItemVariant,
        boost::multi_index::indexed_by<
            // Equals stand in the order of their insertion.
            boost::multi_index::ordered_non_unique<boost::multi_index::tag<ByDueTime>,
                boost::multi_index::global_fun<const WorkItemVariant&, DueTime, &dueTime>>,
            // Identities have an order, and no equality.
            boost::multi_index::ordered_non_unique<boost::multi_index::tag<ByTimer>,
                boost::multi_index::global_fun<const WorkItemVariant&, foundation::msg_svc::exchange::IDType,
                    &timerId>>>>;

    Container all;
    Container::node_type spare; ///< that of the item that was taken last: room for the next one
};

} // namespace tovrintimer
