#pragma once

#include "tests/simulation/model/Model.hpp"
#include "tests/test_host/Engine.hpp"
#include "tests/test_host/QueueManager.hpp"

#include <deque>
#include <functional>
#include <map>
#include <memory>

namespace simulation {

using test_host::CallbackError;

class Engine;

/// A host whose engine is a virtual thread. It runs the tasks in the order in which they are handed over.
///
/// All that the library calls tells the model, and is a point where another thread may go on. One at a time.
class Host {
public:
    /// What happens in the callbacks; may throw CallbackError.
    using Callback = std::function<void(int slot, WorkKind kind)>;

    /// What the host does when a callback has failed, after its task has ended.
    using AfterError = std::function<void(int slot, int timer, WorkKind kind)>;

    Host(Kernel& kernel, Model& model, bool timerPpe);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host();

    static Host& current();

    void setCallback(Callback callback) { m_callback = std::move(callback); }
    void setAfterError(AfterError action) { m_afterError = std::move(action); }

    struct MadeTimer {
        std::shared_ptr<tovrintimer::TimerInfo> timer;
        int number = -1;
    };

    MadeTimer makeTimer(int slot, const Settings& settings);

    /// A timer has been started that had these periods meanwhile.
    void timerStarted(const std::vector<double>& periods);

    void startEngine();

    /// What becomes of the tasks that have been handed over.
    enum class Tasks { Run, Drop };

    /// Has it end, after the tasks or after the one that it is running.
    void stopEngine(Tasks tasks = Tasks::Run);
    void dropTasks() { m_tasks.clear(); }
    bool isIdle() const { return m_tasks.empty() && !m_isBusy; }

    /// At the very end: nothing is left.
    void checkNothingIsLeft();

    // What the library calls.

    void handOver(const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task);
    void evaluate(const Engine& engine, WorkKind callback);
    void woken(const Engine& engine);
    void retracted(const void* object);
    void checkCall(const char* name) const;
    bool timerPpe() const { return m_timerPpe; }
    void threadNamed(const std::string& name);
    void requestPending(bool pending);
    void requestLineLooks();
    void resolutionRaised() { ++m_raised; }
    void resolutionGivenBack() { ++m_givenBack; }
    void engineMade(int by) { m_engines += by; }

private:
    struct Task {
        std::function<void()> run;
        std::shared_ptr<HandOver> handOver;
        int slot = -1;
    };

    void runEngine();
    void runTask(Task task);

    Kernel& m_kernel;
    Model& m_model;
    const bool m_timerPpe;
    Callback m_callback;
    AfterError m_afterError;
    std::shared_ptr<InterruptStateData> m_interruptData = std::make_shared<InterruptStateData>();
    std::deque<Task> m_tasks;
    bool m_isBusy = false;
    bool m_isEnding = false;
    bool m_dropsTasks = false;
    int m_engineThread = -1;
    WorkKind m_latestKind = tovrintimer::TimerFcnWork;
    std::map<const void*, int> m_objects; // of the class system, and their timers
    int m_engines = 0;
    bool m_mayRaise = false; // the timer resolution
    bool m_hasToRaise = false;
    int m_raised = 0;
    int m_givenBack = 0;
    int m_handedOver = 0;
    int m_requestsPending = 0;
    int m_looks = 0; // of the interpreter at its request line
};

} // namespace simulation
