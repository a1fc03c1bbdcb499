#pragma once

#include "timer_src/main/WorkQueue.hpp"

#include <boost/functional/hash.hpp>
#include <boost/multi_index/global_fun.hpp>
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>

#include <cstddef>

namespace tovrintimer {

/// What a queue holds: an item is found by its due time and by its timer's identity.
struct WorkQueue::Items {
    using Id = foundation::msg_svc::exchange::IDType;

    struct HashOfId {
        std::size_t operator()(const Id& id) const noexcept
        {
            std::size_t hash = boost::hash_value(id.first);
            boost::hash_combine(hash, id.second);
            return hash;
        }
    };

    /// Identities have an order, and no equality.
    struct SameId {
        bool operator()(const Id& left, const Id& right) const noexcept
        {
            return !(left < right) && !(right < left);
        }
    };

    struct ByDueTime { };
    struct ByTimer { };

    using Container = boost::multi_index_container<WorkItemVariant,
        boost::multi_index::indexed_by<
            // Equals stand in the order of their insertion.
            boost::multi_index::ordered_non_unique<boost::multi_index::tag<ByDueTime>,
                boost::multi_index::global_fun<const WorkItemVariant&, DueTime, &dueTime>>,
            boost::multi_index::hashed_non_unique<boost::multi_index::tag<ByTimer>,
                boost::multi_index::global_fun<const WorkItemVariant&, Id, &timerId>, HashOfId, SameId>>>;

    Container all;
    Container::node_type spare; ///< that of the item that was taken last: room for the next one
};

} // namespace tovrintimer
