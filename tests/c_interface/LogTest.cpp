#include "tests/c_interface/HostFixture.hpp"

#include <mutex>
#include <stdexcept>

namespace c_interface_tests {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Of the engine's thread, too.
struct Records {
    std::vector<std::string> told()
    {
        const std::lock_guard lock(mutex);
        return lines;
    }

    void forget()
    {
        const std::lock_guard lock(mutex);
        lines.clear();
    }

    std::mutex mutex;
    std::vector<std::string> lines; // guarded by it
    std::int32_t codeOfCall = TOVRIN_OK;
    tovrin_host host = 0;
};

void note(const tovrin_record* record, void* data)
{
    auto& records = *static_cast<Records*>(data);
    const std::lock_guard lock(records.mutex);
    EXPECT_EQ(record->size, sizeof *record);
    records.lines.push_back(std::to_string(record->severity) + " " + record->channel + ": " + record->text);
    records.codeOfCall = tovrin_poll(records.host, 0, nullptr);
}

class LogTest : public HostFixture {
protected:
    void logTo(tovrin_log_function function, std::uint32_t severities)
    {
        tovrin_host_settings settings = hostSettings();
        settings.log = function;
        settings.log_data = &records;
        settings.log_severities = severities;
        makeHost(settings);
        records.host = host;
    }

    void runFailing()
    {
        start(makeTimer({ .timer = [](const tovrin_event&) { return 5; } }));
        runToTheEnd();
    }

    Records records;
    Records next; // of a second host
};

} // namespace

TEST_F(LogTest, AFailedCallbackIsTold)
{
    logTo(note, TOVRIN_LOG_ERROR);
    runFailing();
    EXPECT_THAT(records.told(), ElementsAre("1 host: error in TimerFcn of timer \"beat\": it returned 5"));
}

TEST_F(LogTest, WhatAPostedFunctionThrowsIsTold)
{
    logTo(note, TOVRIN_LOG_ERROR);
    ASSERT_EQ(tovrin_post(
                  host, [](void*) { throw std::runtime_error("thrown"); }, nullptr),
        TOVRIN_OK);
    ASSERT_EQ(tovrin_poll(host, 0, nullptr), TOVRIN_OK);
    EXPECT_THAT(records.told(), ElementsAre("1 host: a posted function has thrown: thrown"));
}

TEST_F(LogTest, RecordsOfTheEngineComeBySeverity)
{
    logTo(note, TOVRIN_LOG_TRACE);
    runFailing();
    EXPECT_THAT(records.told(), Contains("4 tovrintimer::workHandler: Requesting SingleShot Processing"));
    EXPECT_THAT(records.told(), Not(Contains(testing::StartsWith("1 "))));
    EXPECT_THAT(records.told(), Not(Contains(testing::StartsWith("16 "))));
}

TEST_F(LogTest, NothingIsToldWithoutAFunctionOrASeverity)
{
    logTo(nullptr, TOVRIN_LOG_ERROR | TOVRIN_LOG_TRACE);
    runFailing();
    logTo(note, 0);
    runFailing();
    EXPECT_THAT(records.told(), IsEmpty());
}

TEST_F(LogTest, TheNextHostHasALogOfItsOwn)
{
    logTo(note, TOVRIN_LOG_TRACE);
    tovrin_host_settings settings = hostSettings();
    settings.log = note;
    settings.log_data = &next;
    settings.log_severities = TOVRIN_LOG_DETAIL;
    makeHost(settings);
    records.forget();
    next.forget();
    start(makeTimer({ .startDelay = 0.01 }));
    runToTheEnd();
    EXPECT_THAT(records.told(), IsEmpty());
    EXPECT_THAT(next.told(),
        testing::AllOf(Not(IsEmpty()), testing::Each(testing::StartsWith("16 tovrintimer::TimerScheduler: "))));
}

TEST_F(LogTest, ALogFunctionCannotCallBack)
{
    logTo(note, TOVRIN_LOG_ERROR);
    runFailing();
    EXPECT_EQ(records.codeOfCall, TOVRIN_ERROR_STATE);
}

TEST_F(LogTest, WhatALogFunctionThrowsIsLost)
{
    logTo([](const tovrin_record*, void*) { throw std::runtime_error("thrown"); },
        TOVRIN_LOG_ERROR | TOVRIN_LOG_TRACE | TOVRIN_LOG_DETAIL | TOVRIN_LOG_ENTER | TOVRIN_LOG_LEAVE);
    start(makeTimer({ .mode = TOVRIN_FIXED_RATE, .tasks = 3, .timer = tell() }));
    runToTheEnd();
    EXPECT_EQ(story.size(), 3U);
}

} // namespace c_interface_tests
