#include "embedded_host/log/LogSinks.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/LineSink.hpp"
#include "embedded_host/log/LoggerRegistry.hpp"
#include "embedded_host/log/RecordGate.hpp"
#include "timer_src/main/NeverDestroyed.hpp"

#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <system_error>
#include <utility>

namespace tovrinhost {

namespace {

using Sink = boost::shared_ptr<boost::log::sinks::sink>;

/// What is in place; null for what is not.
struct Sinks {
    Sink standardError;
    Sink file;
};

// Records are still written while static objects are being destroyed.
Sinks& sinks()
{
    static tovrintimer::NeverDestroyed<Sinks> inPlace;
    return *inPlace;
}

std::atomic<bool> recordsAreLost { false };

Sink makeSink(std::shared_ptr<std::FILE> stream, std::function<void(int error)> onLoss)
{
    using Frontend = boost::log::sinks::synchronous_sink<LineSink>;
    return boost::make_shared<Frontend>(boost::make_shared<LineSink>(std::move(stream), std::move(onLoss)));
}

/// Puts a sink, or none, in the place of another.
void replace(Sink& inPlace, Sink next)
{
    if (next) {
        recordCore().add_sink(next);
    }
    if (inPlace) {
        recordCore().remove_sink(inPlace);
        inPlace->flush();
    }
    inPlace = std::move(next);
}

} // namespace

void setLogMask(const std::string& channel, std::uint32_t mask)
{
    LoggerRegistry::instance().setMask(channel, mask);
}

void logToStandardError()
{
    if (!sinks().standardError) {
        // Unbuffered from the start, and not ours to close.
        // There is nowhere to tell of it.
        const auto onLoss = [](int /*error*/) { recordsAreLost = true; };
        replace(sinks().standardError, makeSink(std::shared_ptr<std::FILE>(stderr, [](std::FILE*) {}), onLoss));
    }
}

void logToFile(const std::string& path)
{
    std::FILE* const opened = std::fopen(path.c_str(), "ab");
    if (opened == nullptr) {
        throw std::system_error(errno, std::generic_category(), "cannot open the log file \"" + path + "\"");
    }
    std::shared_ptr<std::FILE> stream(opened, [](std::FILE* file) { std::fclose(file); });
    std::setvbuf(opened, nullptr, _IONBF, 0);
    const auto onLoss = [path](int error) {
        recordsAreLost = true;
        std::cerr << "tovrin: cannot write the log file \"" + escape(path)
                + "\": " + std::generic_category().message(error) + "; records are lost\n";
    };
    replace(sinks().file, makeSink(std::move(stream), onLoss));
}

bool hasLostRecords()
{
    return recordsAreLost;
}

void stopLogging()
{
    replace(sinks().standardError, nullptr);
    replace(sinks().file, nullptr);
}

} // namespace tovrinhost
