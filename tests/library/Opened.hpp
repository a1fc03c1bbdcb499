#pragma once

namespace tovrintimer {

/// Names a private member for tests: an explicit instantiation may. So the classes that hosts get have no friends
/// for the sake of tests.
///
///     struct Queue {
///         friend auto open(Queue name);
///     };
///     template struct Opened<Queue, &TimerScheduler::workQueue>;
///     ... scheduler.*open(Queue()) ...
template <typename Name, auto member> struct Opened {
    friend auto open(Name /*name*/) { return member; }
};

} // namespace tovrintimer
