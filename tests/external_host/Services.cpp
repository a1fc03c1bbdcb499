#include "Services.hpp"

#include "host/cmddistributor/RunOptions.hpp"
#include "host/fl/i18n/to_string.hpp"
#include "host/foundation/feature/Feature.hpp"
#include "host/foundation/msg_svc/exchange/IDType.hpp"
#include "host/setCurrentThreadName.hpp"
#include "host/usm/Detail.hpp"

#include <boost/locale/encoding_utf.hpp>

#include <atomic>
#include <iterator>
#include <map>
#include <mutex>
#include <ostream>
#include <set>
#include <utility>

namespace {

std::atomic<bool> timerPpe { false };

std::mutex objectsMutex;
std::set<const pelk::factory::full::Wrappable*> objects; // guarded by objectsMutex

struct Stored {
    void* object;
    usm::Owner owner; // empty while the object is being destroyed
};

std::mutex storeMutex;
std::map<int, Stored> store; // guarded by storeMutex

} // namespace

namespace external_host {

void destroyProcessScope()
{
    std::unique_lock lock(storeMutex);
    while (!store.empty()) {
        const auto last = std::prev(store.end());
        usm::Owner owner = std::move(last->second.owner);
        lock.unlock();
        // The library may ask for it until this has been done.
        owner.reset();
        lock.lock();
        store.erase(last);
    }
}

void setTimerPpe(bool on)
{
    timerPpe = on;
}

void share(const pelk::factory::full::Wrappable* object)
{
    const std::lock_guard lock(objectsMutex);
    objects.insert(object);
}

std::size_t sharedObjects()
{
    const std::lock_guard lock(objectsMutex);
    return objects.size();
}

} // namespace external_host

namespace usm {

int Detail<Process>::getNextID()
{
    static std::atomic<int> latest { 0 };
    return ++latest;
}

void* Detail<Process>::find(int key)
{
    const std::lock_guard lock(storeMutex);
    const auto found = store.find(key);
    return found == store.end() ? nullptr : found->second.object;
}

void* Detail<Process>::findOrInsert(int key, Owner owner)
{
    const std::lock_guard lock(storeMutex);
    // An owner that finds its place taken stays in the parameter, which outlives the lock.
    const auto found = store.find(key);
    if (found != store.end()) {
        return found->second.object;
    }
    void* const object = owner.get();
    store.emplace(key, Stored { object, std::move(owner) });
    return object;
}

} // namespace usm

namespace foundation::msg_svc::exchange {

IDType::IDType()
    : first(0)
{
    static std::atomic<std::int64_t> latest { 0 };
    second = ++latest;
}

std::ostream& operator<<(std::ostream& stream, const IDType& id)
{
    return stream << id.first << '-' << id.second;
}

} // namespace foundation::msg_svc::exchange

namespace foundation::feature {

IFeature::~IFeature() = default;

Feature::Feature(const char* name)
    : m_name(name)
{
}

Feature::~Feature() = default;

int Feature::get() const
{
    return m_name == "TIMER_PPE" && timerPpe ? 1 : 0;
}

} // namespace foundation::feature

namespace pelk::factory::full {

Wrappable::Wrappable() = default;

Wrappable::~Wrappable()
{
    retract(this);
}

StdShareable::StdShareable() = default;
StdShareable::~StdShareable() = default;

void retract(Wrappable* object)
{
    const std::lock_guard lock(objectsMutex);
    objects.erase(object);
}

} // namespace pelk::factory::full

namespace cmddistributor {

RunOptions::RunOptions()
    : RunOptions(WhenToDequeue::WhenIdle, boost::none)
{
}

RunOptions::RunOptions(WhenToDequeue when, boost::optional<std::u16string> queueName)
    : m_when(when)
    , m_queueName(std::move(queueName))
{
}

WhenToDequeue RunOptions::getWhenToDequeue() const noexcept
{
    return m_when;
}

const boost::optional<std::u16string>& RunOptions::getQueueName() const noexcept
{
    return m_queueName;
}

void RunOptions::setQueueName(std::u16string name)
{
    m_queueName = std::move(name);
}

} // namespace cmddistributor

namespace fl::i18n {

std::string to_string(const std::wstring& wide)
{
    return boost::locale::conv::utf_to_utf<char>(wide);
}

} // namespace fl::i18n

// A host need not name its threads.
void setCurrentThreadName(const std::string& /*name*/)
{
}
