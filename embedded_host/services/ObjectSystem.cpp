#include "embedded_host/services/ObjectSystem.hpp"

#include "timer_src/main/NeverDestroyed.hpp"

#include <mutex>
#include <stdexcept>
#include <unordered_map>

namespace tovrinhost {

using pelk::factory::full::StdShareable;
using pelk::factory::full::Wrappable;

namespace {

struct ObjectSystem {
    std::mutex mutex;

    // Guarded by mutex. An object is retracted before its address can be another object's.
    std::unordered_map<std::uint64_t, std::weak_ptr<StdShareable>> objects;
    std::unordered_map<const Wrappable*, std::uint64_t> numbers;
    std::uint64_t latest = 0; ///< numbers are never used again
};

// Objects may still be retracted while static objects are being destroyed.
ObjectSystem& objectSystem()
{
    static tovrintimer::NeverDestroyed<ObjectSystem> system;
    return *system;
}

} // namespace

std::uint64_t wrap(const std::shared_ptr<StdShareable>& object)
{
    if (!object) {
        throw std::invalid_argument("null to be wrapped: there must be an object");
    }
    ObjectSystem& system = objectSystem();
    const std::lock_guard lock(system.mutex);
    const auto [entry, isNew] = system.numbers.try_emplace(object.get(), system.latest + 1);
    if (isNew) {
        try {
            system.objects.emplace(entry->second, object);
        } catch (...) {
            system.numbers.erase(entry);
            throw;
        }
        ++system.latest;
    }
    return entry->second;
}

std::shared_ptr<StdShareable> unwrap(std::uint64_t number)
{
    ObjectSystem& system = objectSystem();
    const std::lock_guard lock(system.mutex);
    const auto found = system.objects.find(number);
    // Null, too, for an object that has begun to go but is not yet retracted.
    return found != system.objects.end() ? found->second.lock() : nullptr;
}

std::size_t wrappedObjects()
{
    const std::lock_guard lock(objectSystem().mutex);
    return objectSystem().objects.size();
}

} // namespace tovrinhost

namespace pelk::factory::full {

void retract(Wrappable* object)
{
    tovrinhost::ObjectSystem& system = tovrinhost::objectSystem();
    const std::lock_guard lock(system.mutex);
    const auto known = system.numbers.find(object);
    if (known != system.numbers.end()) {
        system.objects.erase(known->second);
        system.numbers.erase(known);
    }
}

} // namespace pelk::factory::full
