#pragma once

#include "tests/simulation/host/Host.hpp"
#include "tests/simulation/model/Model.hpp"
#include "tests/simulation/program/Program.hpp"

#include <memory>
#include <vector>

namespace simulation {

Moment nanoseconds(double milliseconds);

/// The timers of a program, and what its steps do to them. Each timer has a slot, where another may take its place
/// once it has been destroyed.
class Stage {
public:
    Stage(Kernel& kernel, Model& model, Host& host, const std::vector<TimerSpec>& specs);

    void setUp();

    /// \throws CallbackError where a callback's step says so
    void perform(const Step& step);

    /// Asks the scheduler for an operation on the slot's timer, also where that has gone.
    void operate(Activity::What what, int slot);

    int slots() const { return static_cast<int>(m_slots.size()); }
    bool isRunning(int slot) const;

    /// Whether the slot's timer is still this one.
    bool isLatest(int slot, int timer) const;

    void clear() { m_slots.clear(); }

private:
    struct Slot {
        std::shared_ptr<tovrintimer::TimerInfo> timer;
        std::weak_ptr<tovrintimer::TimerInfo> handle; // of the latest timer, also when it has gone
        Settings settings;
        int number = -1;
    };

    void make(int slot);
    void change(Slot& slot, const Step& step);
    Slot& at(int slot) { return m_slots[static_cast<std::size_t>(slot)]; }
    const Slot& at(int slot) const { return m_slots[static_cast<std::size_t>(slot)]; }

    Kernel& m_kernel;
    Model& m_model;
    Host& m_host;
    const std::vector<TimerSpec>& m_specs;
    tovrintimer::TimerScheduler* m_scheduler = nullptr;
    std::vector<Slot> m_slots;
};

} // namespace simulation
