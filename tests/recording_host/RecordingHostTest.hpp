#pragma once

#include "tests/recording_host/PlatformDouble.hpp"
#include "tests/recording_host/Retractions.hpp"
#include "tests/recording_host/World.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace recording {

/// A fresh host and a fresh scheduler for each test, with all records.
///
/// At its end the test fails if a timer, an engine share, a retraction or a
/// request for a timer resolution was left over: keep timers in variables of the test's body.
class RecordingHostTest : public testing::Test, protected World {
protected:
    void SetUp() override;
    void TearDown() override;

    /// A timer in the fixture's engine. Log texts show `name` in angle brackets for its identity.
    std::shared_ptr<tovrintimer::TimerInfo> makeTimer(const std::string& name = "A");

    /// What the library called in the host, in order.
    std::vector<std::string> calls() const;

    /// The log texts in order: of all channels or one, of all threads or one; identities replaced by timers'
    /// names, times by "<time>". Without the record "Timer Running on ...", which appears once in a process.
    std::vector<std::string> logs(const std::string& channel = "", std::thread::id thread = {}) const;

    /// Calls and log texts, as they followed each other on one thread; without the same record.
    std::vector<std::string> story(std::thread::id thread = std::this_thread::get_id()) const;

    /// The thread that named itself as the scheduler's.
    std::thread::id schedulerThread() const;

    std::string plain(std::string text) const;

private:
    std::vector<std::pair<std::string, std::string>> m_names; // printed identity, name
    std::vector<std::weak_ptr<tovrintimer::TimerInfo>> m_timers;
    std::size_t m_retractionsBefore = 0;
};

} // namespace recording
