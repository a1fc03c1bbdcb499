#pragma once

#include "host/Export.hpp"

#include <memory>

/// Objects that there is one of in a process.
namespace usm {

/// The scope that lasts as long as the process.
struct Process;

/// Owns an object, and knows how to destroy it.
using Owner = std::unique_ptr<void, void (*)(void*)>;

template <typename Scope> class Detail;

/// The store of process-wide singletons.
///
/// Threading: any thread, several at a time. No operation is called with a lock of the library held, and
/// `findOrInsert` may destroy an object: the store must not hold its own lock while it does.
///
/// Lifetime, a duty of the host: it destroys the stored objects in an orderly way, before `main` returns and
/// before the library is unloaded, on a thread that is not the scheduler's. Destroying the scheduler waits for its
/// thread; a static destructor, or a library's unloading, must not do so. In this order:
///
/// 1. `TimerScheduler::cleanup()`: from then on nothing is handed over by the scheduler's thread;
/// 2. the last callback tasks, and all other calls into the library, come to their end;
/// 3. the stored objects are destroyed. Each stays to be found under its key until its destructor has returned: a
///    handler that is still at work on the scheduler's thread must find the scheduler that waits for it. Were
///    there none, it would make another one, whose thread nobody ends.
template <> class TOVRINHOST_API Detail<Process> {
public:
    /// A new key.
    static int getNextID();

    /// \returns the object stored under the key, which may be just being destroyed; or null
    static void* find(int key);

    /// Stores an object, unless the key has one already: then `owner` is destroyed.
    /// \param key one of `getNextID`
    /// \param owner of something; the embedded host's store throws std::invalid_argument for null
    /// \returns the stored object
    static void* findOrInsert(int key, Owner owner);
};

} // namespace usm
