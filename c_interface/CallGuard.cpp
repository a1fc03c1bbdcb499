#include "c_interface/CallGuard.hpp"

#include "c_interface/LastError.hpp"
#include "c_interface/Misuse.hpp"
#include "c_interface/tovrintimer.h"
#include "timer_src/main/Concurrency.hpp"

#include <new>
#include <system_error>

namespace tovrin_c {

namespace {

struct Turns {
    int depth = 0;
};

int& turnsOfThisThread() noexcept
{
    return tovrintimer::ofThisThread<Turns>().depth;
}

} // namespace

EmbeddersTurn::EmbeddersTurn() noexcept
{
    ++turnsOfThisThread();
}

EmbeddersTurn::~EmbeddersTurn()
{
    --turnsOfThisThread();
}

void requireNoEmbeddersTurn()
{
    if (turnsOfThisThread() > 0) {
        throw Misuse(TOVRIN_ERROR_STATE,
            "called inside a submit or log function, which may call tovrin_version, tovrin_last_error and "
            "tovrin_set_error alone");
    }
}

std::string textOf(const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& known) {
        return known.what();
    } catch (...) {
        return "an exception that is no std::exception";
    }
}

std::int32_t codeOfCurrentException(const char* function) noexcept
{
    try {
        throw;
    } catch (const Misuse& misuse) {
        setLastError(function, misuse.what());
        return misuse.code();
    } catch (const std::bad_alloc&) {
        setLastError(function, "there is no memory left");
        return TOVRIN_ERROR_MEMORY;
    } catch (const std::exception& error) { // of the system: whatever is refused has been told by Misuse
        setLastError(function, error.what());
    } catch (...) {
        setLastError(function, "an exception that is no std::exception");
    }
    return TOVRIN_ERROR_SYSTEM;
}

} // namespace tovrin_c
