#pragma once

#include "c_interface/tovrintimer.h"
#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/timers/TimerSettings.hpp"

#include <array>
#include <string>

namespace tovrin_c {

/// The functions of a timer, by kind.
struct Callbacks {
    tovrin_callback start {};
    tovrin_callback timer {};
    tovrin_callback stop {};
    tovrin_callback error {};
};

/// What an embedder sets of a timer.
struct Settings {
    tovrinhost::TimerSettings timer; ///< an empty name stands for none
    Callbacks callbacks;
};

tovrin_settings defaultSettings();

/// \throws Misuse, which names the member, its value and what is allowed
Settings takeSettings(const tovrin_settings* given);

/// The same as the embedder has it; the name lives as long as that of `settings`.
tovrin_settings toStruct(const Settings& settings);

tovrin_host_settings defaultHostSettings();

/// \throws Misuse; null stands for the default
tovrin_host_settings takeHostSettings(const tovrin_host_settings* given);

/// The moment at which a wait of so many seconds ends; none for infinity. \throws Misuse
tovrinhost::EventLoop::Deadline deadlineAfter(double seconds);

} // namespace tovrin_c
