#pragma once

// The macros choose the interface of Boost.Thread's futures. Every source of a program must choose the same,
// so the build target of `host/` defines them for all its users.
#if !defined(BOOST_THREAD_VERSION) || BOOST_THREAD_VERSION < 4
#error "define BOOST_THREAD_VERSION=4 (the target tovrintimer::host does)"
#endif

#include <boost/thread/future.hpp>

/// Results that are still to come.
namespace foundation::concurrent {

/// The result, still to come, of an evaluation. Dropping it neither waits nor cancels.
template <typename T> using future = boost::future<T>;

} // namespace foundation::concurrent
