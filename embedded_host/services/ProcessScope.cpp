#include "embedded_host/services/ProcessScope.hpp"

#include "host/usm/Detail.hpp"
#include "timer_src/main/NeverDestroyed.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace usm {

namespace {

struct Entry {
    int key;
    std::uint64_t number; ///< counts what was ever stored
    void* object;
    Owner owner; ///< empty while the object is being destroyed
};

/// Lock order: no object is destroyed, and nothing else is called, under `mutex`.
struct Store {
    std::mutex mutex;

    /// The objects of the first keys once more, to be found without a lock: the library asks with each firing.
    /// Written under mutex.
    std::array<std::atomic<void*>, 32> firstKeys {};

    // Guarded by mutex.
    std::vector<Entry> entries; ///< the latest last
    std::uint64_t stored = 0;

    /// The caller holds the mutex.
    void* find(int key) const
    {
        const auto found
            = std::find_if(entries.begin(), entries.end(), [key](const Entry& entry) { return entry.key == key; });
        return found != entries.end() ? found->object : nullptr;
    }

    /// The caller holds the mutex.
    void publish(int key, void* object)
    {
        if (isFirstKey(key)) {
            firstKeys[static_cast<std::size_t>(key)] = object;
        }
    }

    bool isFirstKey(int key) const { return key >= 0 && static_cast<std::size_t>(key) < firstKeys.size(); }
};

// Never destroyed: what it holds may be, in an orderly way, only while the process is still whole.
Store& store()
{
    static tovrintimer::NeverDestroyed<Store> theStore;
    return *theStore;
}

} // namespace

int Detail<Process>::getNextID()
{
    static std::atomic<int> latest { 0 };
    return ++latest;
}

void* Detail<Process>::find(int key)
{
    Store& all = store();
    if (all.isFirstKey(key)) {
        return all.firstKeys[static_cast<std::size_t>(key)].load(std::memory_order_acquire);
    }
    const std::lock_guard lock(all.mutex);
    return all.find(key);
}

void* Detail<Process>::findOrInsert(int key, Owner owner)
{
    if (!owner) {
        throw std::invalid_argument("null to be stored under the key " + std::to_string(key)
            + " of the process-wide store: there must be an object");
    }
    // Where the key has an object already, `owner` outlives the lock, and destroys the other one without it.
    const std::lock_guard lock(store().mutex);
    if (void* const stored = store().find(key)) {
        return stored;
    }
    void* const inserted = owner.get();
    store().entries.push_back({ key, store().stored, inserted, std::move(owner) });
    ++store().stored;
    store().publish(key, inserted);
    return inserted;
}

} // namespace usm

namespace tovrinhost {

void destroyProcessScope()
{
    usm::Store& store = usm::store();
    std::unique_lock lock(store.mutex);
    // What a destructor stores is left for the next call: else two that make each other anew would never end.
    const std::uint64_t end = store.stored;
    for (;;) {
        const auto latest = std::find_if(store.entries.rbegin(), store.entries.rend(),
            [end](const usm::Entry& entry) { return entry.owner && entry.number < end; });
        if (latest == store.entries.rend()) {
            return;
        }
        usm::Owner owner = std::move(latest->owner);
        const std::uint64_t number = latest->number;
        const int key = latest->key;
        lock.unlock();
        // It can be found meanwhile, and so can what was stored before it.
        owner.reset();
        lock.lock();
        store.publish(key, nullptr);
        std::erase_if(store.entries, [number](const usm::Entry& entry) { return entry.number == number; });
    }
}

} // namespace tovrinhost
