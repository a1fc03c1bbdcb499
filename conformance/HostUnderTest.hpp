#pragma once

#include "host/pelk/factory/full/StdShareable.hpp"
#include "host/vorn/VORN.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace conformance {

/// What the tests need of a host that `host/` leaves to it. One is made for each test.
class HostUnderTest {
public:
    virtual ~HostUnderTest() = default;

    /// An engine of this host, the same at each call.
    virtual std::shared_ptr<vorn::VORN> engine() = 0;

    /// Has the engine do all that it was asked for before this call, callback tasks included; then returns.
    virtual void runPending() = 0;

    /// Names of host-language functions that take any arguments: one gives nothing, one raises an error, whose
    /// text has "error in the callback" in it.
    virtual std::string succeedingFunction() = 0;
    virtual std::string failingFunction() = 0;

    /// Throws the switch "TIMER_PPE".
    virtual void setTimerPpe(bool on) = 0;
};

// Each host's adapter defines these.

std::unique_ptr<HostUnderTest> makeHost();

// The next ones, where the group `basics` is for it.

/// Sets which severities a channel records, for the loggers that exist and for later ones.
void setLogMask(const std::string& channel, std::uint32_t mask);

/// Destroys what is in the process-wide store, which is of use again afterwards.
void destroyProcessScope();

// And these, where the group `retraction` is.

/// Gives an object to the object system, which forgets it as it is retracted.
void giveToObjectSystem(const std::shared_ptr<pelk::factory::full::StdShareable>& object);
std::size_t objectsInObjectSystem();

class HostTest : public testing::Test {
protected:
    const std::unique_ptr<HostUnderTest> m_host = makeHost();
};

} // namespace conformance
