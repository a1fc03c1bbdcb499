#include "tests/c_interface/HostFixture.hpp"

#include <stdexcept>

namespace c_interface_tests {

using testing::ElementsAre;

namespace {

/// A callback that fails in its own way, and what is told of it.
struct Failure {
    const char* name;
    Function function;
    std::string text;
};

class FailureTest : public HostFixture {
protected:
    /// \returns what the ErrorFcn was told
    std::string runFailing(const Function& timer)
    {
        std::string told;
        TimerOptions options = tellAll({ .mode = TOVRIN_FIXED_RATE });
        options.timer = [=, this](const tovrin_event& event) {
            story.emplace_back("TimerFcn");
            return timer(event);
        };
        options.error = [&](const tovrin_event& event) {
            story.emplace_back("ErrorFcn");
            EXPECT_EQ(event.end_reason, TOVRIN_FAILED);
            told = event.error;
            return 0;
        };
        failed = makeTimer(options);
        start(failed);
        runToTheEnd();
        return told;
    }

    std::string errorOf(tovrin_timer timer)
    {
        const char* text = nullptr;
        EXPECT_EQ(tovrin_timer_error(timer, &text), TOVRIN_OK) << tovrin_last_error();
        return text;
    }

    tovrin_timer failed = 0;
};

class KindsOfFailureTest : public FailureTest, public testing::WithParamInterface<Failure> { };

std::vector<Failure> failures()
{
    return {
        { "ACode", [](const tovrin_event&) { return 5; }, "it returned 5" },
        { "ANegativeCode", [](const tovrin_event&) { return -1; }, "it returned -1" },
        { "AText",
            [](const tovrin_event&) {
                tovrin_set_error("no such file");
                return 1;
            },
            "no such file" },
        { "AnErrorOfTheInterface", [](const tovrin_event&) { return tovrin_timer_start(0); },
            "tovrin_timer_start: there is no timer 0: it has been destroyed, or never was" },
        { "AnException", [](const tovrin_event&) -> std::int32_t { throw std::runtime_error("thrown in C++"); },
            "thrown in C++" },
        { "AnExceptionThatIsNoStandardOne", [](const tovrin_event&) -> std::int32_t { throw 42; },
            "an exception that is no std::exception" },
        { "NoMemory", [](const tovrin_event&) -> std::int32_t { throw std::bad_alloc(); }, "std::bad_alloc" },
    };
}

std::string failureName(const testing::TestParamInfo<Failure>& failure)
{
    return failure.param.name;
}

} // namespace

TEST_P(KindsOfFailureTest, TheErrorFcnIsToldAndTheStopFcnFollows)
{
    EXPECT_EQ(runFailing(GetParam().function), GetParam().text);
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "ErrorFcn", "StopFcn"));
    EXPECT_EQ(errorOf(failed), GetParam().text);
    EXPECT_EQ(statistics(failed).errors, 1U);
    EXPECT_EQ(statistics(failed).end_reason, TOVRIN_FAILED);
}

INSTANTIATE_TEST_SUITE_P(Kinds, KindsOfFailureTest, testing::ValuesIn(failures()), failureName);

TEST_F(FailureTest, AStartFcnThatFailsEndsTheRunToo)
{
    TimerOptions options = tellAll({ .startDelay = 3600 });
    options.start = tell(1);
    start(makeTimer(options));
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("StartFcn", "ErrorFcn", "StopFcn"));
}

TEST_F(FailureTest, AStopFcnThatFailsIsCountedAndNothingElseFollows)
{
    TimerOptions options = tellAll({});
    options.stop = tell(3);
    const tovrin_timer timer = makeTimer(options);
    start(timer);
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "StopFcn"));
    EXPECT_EQ(errorOf(timer), "it returned 3");
    EXPECT_EQ(statistics(timer).end_reason, TOVRIN_TASKS_DONE);
}

TEST_F(FailureTest, AForcedErrorCallsErrorFcnAndStopFcn)
{
    std::string told;
    TimerOptions options = tellAll({ .mode = TOVRIN_FIXED_RATE, .startDelay = 3600 });
    options.error = [&](const tovrin_event& event) {
        story.emplace_back("ErrorFcn");
        told = event.error;
        return 0;
    };
    const tovrin_timer timer = makeTimer(options);
    start(timer);
    ASSERT_EQ(tovrin_timer_fail(timer, "the device has gone"), TOVRIN_OK) << tovrin_last_error();
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("StartFcn", "ErrorFcn", "StopFcn"));
    EXPECT_EQ(told, "the device has gone");
    EXPECT_EQ(statistics(timer).end_reason, TOVRIN_FAILED);
}

TEST_F(FailureTest, AForcedErrorWithoutErrorFcnAndStopFcnEndsTheRun)
{
    const tovrin_timer timer = makeTimer({ .startDelay = 3600 });
    start(timer);
    ASSERT_EQ(tovrin_timer_fail(timer, "the device has gone"), TOVRIN_OK) << tovrin_last_error();
    runToTheEnd();
    EXPECT_EQ(statistics(timer).is_running, 0);
    EXPECT_EQ(errorOf(timer), "the device has gone");
}

TEST_F(FailureTest, TheTextOfAnEarlierRunIsForgottenWithTheNextStart)
{
    runFailing([](const tovrin_event&) { return 5; });
    tovrin_settings fine = settings({ .name = nullptr, .mode = TOVRIN_SINGLE_SHOT });
    ASSERT_EQ(tovrin_timer_set(failed, &fine), TOVRIN_OK) << tovrin_last_error();
    start(failed);
    runToTheEnd();
    EXPECT_EQ(errorOf(failed), "");
    EXPECT_EQ(statistics(failed).end_reason, TOVRIN_TASKS_DONE);
}

TEST_F(FailureTest, OtherTimersGoOn)
{
    start(makeTimer({ .timer = [](const tovrin_event&) -> std::int32_t { throw std::runtime_error("thrown"); } }));
    start(makeTimer({ .mode = TOVRIN_FIXED_DELAY, .tasks = 3, .timer = tell() }));
    runToTheEnd();
    EXPECT_EQ(story.size(), 3U);
}

TEST_F(FailureTest, TextsAreOfTheThreadAndCutOffBetweenCharacters)
{
    const std::string euro = "\xE2\x82\xAC"; // three bytes
    std::string text;
    for (int i = 0; i < 400; ++i) {
        text += euro;
    }
    tovrin_set_error(text.c_str());
    EXPECT_EQ(tovrin_last_error(), text.substr(0, 1023)) << "1023 is 341 times 3";
    tovrin_set_error(("x" + text).c_str());
    EXPECT_EQ(tovrin_last_error(), "x" + text.substr(0, 1020));
    tovrin_set_error(nullptr);
    EXPECT_STREQ(tovrin_last_error(), "");
}

} // namespace c_interface_tests
