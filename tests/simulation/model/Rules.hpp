#pragma once

#include "tests/simulation/model/Model.hpp"

namespace simulation {

// The rules of the timer engine, as they can be told from outside.

/// Holds an activity that has just ended against the rules; fails the run where it breaks one.
void judge(const Model& model, const Activity& activity);

/// What the activity, which hands a task over at this moment, can have handed over.
void expectOf(HandOver& handOver, const TimerModel& timer, const Activity& by, std::uint64_t time);

} // namespace simulation
