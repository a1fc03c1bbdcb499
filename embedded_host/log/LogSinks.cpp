#include "embedded_host/log/LogSinks.hpp"

#include "embedded_host/log/LineSink.hpp"

#include <boost/log/core/core.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <cerrno>
#include <cstdio>
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

// Never destroyed: records are still written while static objects are being destroyed.
Sinks& sinks()
{
    static auto* const inPlace = new Sinks;
    return *inPlace;
}

Sink makeSink(std::shared_ptr<std::FILE> stream)
{
    using Frontend = boost::log::sinks::synchronous_sink<LineSink>;
    return boost::make_shared<Frontend>(boost::make_shared<LineSink>(std::move(stream)));
}

/// Puts a sink, or none, in the place of another.
void replace(Sink& inPlace, Sink next)
{
    const auto core = boost::log::core::get();
    if (next) {
        core->add_sink(next);
    }
    if (inPlace) {
        core->remove_sink(inPlace);
        inPlace->flush();
    }
    inPlace = std::move(next);
}

} // namespace

void logToStandardError()
{
    if (!sinks().standardError) {
        // Unbuffered from the start, and not ours to close.
        replace(sinks().standardError, makeSink(std::shared_ptr<std::FILE>(stderr, [](std::FILE*) {})));
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
    replace(sinks().file, makeSink(std::move(stream)));
}

void stopLogging()
{
    replace(sinks().standardError, nullptr);
    replace(sinks().file, nullptr);
}

} // namespace tovrinhost
