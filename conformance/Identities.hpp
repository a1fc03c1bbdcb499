#pragma once

#include "host/foundation/msg_svc/exchange/IDType.hpp"

#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace conformance {

/// Makes 2000 identities on four threads at once.
/// \returns those that differ
template <typename Make> std::set<foundation::msg_svc::exchange::IDType> madeOnManyThreads(Make make)
{
    std::set<foundation::msg_svc::exchange::IDType> ids;
    std::mutex mutex;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                const auto id = make();
                const std::lock_guard lock(mutex);
                ids.insert(id);
            }
        });
    }
    threads.clear();
    return ids;
}

} // namespace conformance
