#include "embedded_host/log/RecordGate.hpp"

#include "timer_src/main/NeverDestroyed.hpp"

#include <boost/log/sinks/sink.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace tovrinhost {

namespace {

// A record raises the count and then looks at the gate; whoever shuts the gate then looks at the count. So at
// least one of them sees the other.
std::atomic<int> recordsInBeing { 0 };
std::atomic<bool> isShut { false };

/// A sink that wants no record, but for one that is never written.
///
/// Where there is no sink at all, Boost.Log prints the records on the console. This one is always there, so that
/// records without a sink that wants them are not even opened.
class NoRecords : public boost::log::sinks::sink {
public:
    NoRecords()
        : sink(false)
    {
    }

    bool will_consume(const boost::log::attribute_value_set&) override { return m_wantsOne.exchange(false); }
    void consume(const boost::log::record_view&) override { }
    void flush() override { }

private:
    std::atomic<bool> m_wantsOne { true };
};

void shutRecordGate()
{
    isShut = true;
    // Not for ever: a record may be held by this thread, or by one that the system has ended.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (recordsInBeing != 0 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace

boost::log::core& recordCore()
{
    static tovrintimer::NeverDestroyed<boost::log::core_ptr> core(boost::log::core::get());
    return **core;
}

void openRecordGate()
{
    static_cast<void>(boost::log::sources::aux::get_severity_level());
    recordCore().add_sink(boost::make_shared<NoRecords>());
    boost::log::record record = recordCore().open_record(boost::log::attribute_set());
    if (record) {
        using Streams = boost::log::aux::stream_provider<char>;
        auto* const stream = Streams::allocate_compound(record);
        stream->stream << boost::log::add_value("Line", 0) << "never written";
        Streams::release_compound(stream);
    }
    std::atexit(shutRecordGate);
}

bool isRecordGateShut() noexcept
{
    return isShut;
}

RecordInBeing::RecordInBeing() noexcept
{
    ++recordsInBeing;
}

RecordInBeing::RecordInBeing(const RecordInBeing& /*other*/) noexcept
    : RecordInBeing()
{
}

RecordInBeing::~RecordInBeing()
{
    --recordsInBeing;
}

} // namespace tovrinhost
