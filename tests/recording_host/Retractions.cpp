#include "tests/recording_host/Retractions.hpp"

#include "tests/recording_host/Journal.hpp"

#include <mutex>
#include <set>

namespace {

struct Known {
    std::mutex mutex;
    std::set<const pelk::factory::full::Wrappable*> objects;
    std::size_t retractions = 0;
};

Known& known()
{
    static Known& instance = *new Known;
    return instance;
}

} // namespace

void recording::expectObject(const pelk::factory::full::Wrappable* object)
{
    const std::lock_guard lock(known().mutex);
    known().objects.insert(object);
}

std::size_t recording::expectedObjects()
{
    const std::lock_guard lock(known().mutex);
    return known().objects.size();
}

std::size_t recording::retractions()
{
    const std::lock_guard lock(known().mutex);
    return known().retractions;
}

void pelk::factory::full::retract(Wrappable* object)
{
    {
        const std::lock_guard lock(known().mutex);
        known().objects.erase(object);
        ++known().retractions;
    }
    recording::journal().add({ recording::Kind::Detail, "retract" });
}
