#pragma once

#include "host/Export.hpp"
#include "host/iqm/Iqm.hpp"
#include "host/vorn/VORN.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class InterruptStateData { };

namespace external_host {

/// An engine of one thread: the one that calls `serve`. Its host language is a table of C++ functions.
///
/// Threading: all operations, any thread; the functions run on the engine's. No lock is held while they do.
class TOVRINHOST_API Engine : public vorn::VORN {
public:
    using Arguments = std::vector<foundation::tovrindata::Array>;

    /// What can be evaluated, by name. The functions give nothing back, and may throw.
    using Functions = std::map<std::string, std::function<void(const Arguments&)>>;

    explicit Engine(Functions functions);

    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const Arguments& arguments, std::size_t nargout, cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId) override;
    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) override;
    vorn::ContextId getContextId() const override { return 1; }

    void post(std::function<void()> task);

    /// Makes the calling thread the engine's: runs what is posted, in that order, until nothing is left and
    /// `isDone`. What a task throws is reported, and costs that task.
    /// \returns false where that has not come to pass after the time limit
    bool serve(const std::function<bool()>& isDone, std::chrono::seconds limit);

private:
    using Task = std::function<void()>;

    bool isOwnThread();
    Task takeNext(std::chrono::steady_clock::time_point deadline);

    const Functions m_functions; // constant

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Task> m_tasks; // guarded by m_mutex, like the next
    std::thread::id m_thread;
};

/// How often the interpreter was told of a waiting request, by either way.
TOVRINHOST_API int readyRequests();
TOVRINHOST_API int requestLineLooks();

} // namespace external_host
