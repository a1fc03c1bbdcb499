#pragma once

#include "host/iqm/Iqm.hpp"
#include "host/vorn/VORN.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

class InterruptStateData { };

namespace external_host {

/// An evaluated callback.
struct Call {
    std::string name;
    std::chrono::steady_clock::time_point at;
};

/// An engine of one thread: the one that calls `serve`. "Evaluating" a callback is noting it down.
///
/// Threading: `post` and `evalAsync`, any thread; the rest, the engine's.
class Engine : public vorn::VORN {
public:
    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId) override;
    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) override;
    vorn::ContextId getContextId() const override { return 1; }

    void post(std::function<void()> task);

    /// Runs what is posted, in that order, until nothing is left and `isDone`.
    /// \returns false where that has not come to pass after the time limit
    bool serve(const std::function<bool()>& isDone, std::chrono::seconds limit);

    std::vector<Call> calls; // the engine's thread

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks; // guarded by m_mutex
};

/// How often the interpreter was told of a waiting request, by either way.
int readyRequests();
int requestLineLooks();

} // namespace external_host
