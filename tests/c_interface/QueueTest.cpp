#include "tests/c_interface/HostFixture.hpp"
#include "tests/c_interface/platform/Platform.hpp"

#include <limits>
#include <thread>

namespace c_interface_tests {

using testing::ElementsAre;

namespace {

constexpr double noLimit = std::numeric_limits<double>::infinity();

class QueueTest : public HostFixture {
protected:
    std::uint64_t poll(std::uint64_t most = 0)
    {
        std::uint64_t ran = 0;
        EXPECT_EQ(tovrin_poll(host, most, &ran), TOVRIN_OK) << tovrin_last_error();
        return ran;
    }

    std::intptr_t descriptor()
    {
        std::intptr_t native = -1;
        EXPECT_EQ(tovrin_ready_descriptor(host, &native), TOVRIN_OK) << tovrin_last_error();
        return native;
    }

    void post(Function function)
    {
        Function& kept = functions.emplace_back(std::move(function));
        ASSERT_EQ(tovrin_post(
                      host, [](void* data) { (*static_cast<Function*>(data))({}); }, &kept),
            TOVRIN_OK)
            << tovrin_last_error();
    }

    void postStory(const char* word)
    {
        post([this, word](const tovrin_event&) {
            story.emplace_back(word);
            return 0;
        });
    }
};

} // namespace

TEST_F(QueueTest, PollRunsWhatWaitsAndDoesNotWait)
{
    EXPECT_EQ(poll(), 0U);
    postStory("a");
    start(makeTimer({ .timer = tell() }));
    postStory("b");
    EXPECT_GE(poll(), 3U);
    EXPECT_THAT(story, ElementsAre("a", "TimerFcn", "b"));
}

TEST_F(QueueTest, PollRunsNoMoreThanItMay)
{
    for (const char* const word : { "a", "b", "c" }) {
        postStory(word);
    }
    EXPECT_EQ(poll(2), 2U);
    EXPECT_THAT(story, ElementsAre("a", "b"));
    EXPECT_EQ(poll(2), 1U);
    EXPECT_THAT(story, ElementsAre("a", "b", "c"));
}

TEST_F(QueueTest, PollLeavesWhatComesMeanwhile)
{
    post([this](const tovrin_event&) {
        postStory("later");
        return 0;
    });
    EXPECT_EQ(poll(), 1U);
    EXPECT_THAT(story, ElementsAre());
    EXPECT_EQ(poll(), 1U);
    EXPECT_THAT(story, ElementsAre("later"));
}

TEST_F(QueueTest, RunUntilEndsAsItsFunctionSays)
{
    start(makeTimer({ .mode = TOVRIN_FIXED_RATE, .timer = tell() }));
    const auto done = [](void* data) -> std::int32_t {
        return static_cast<std::vector<std::string>*>(data)->size() >= 3 ? 1 : 0;
    };
    std::int32_t isDone = 0;
    ASSERT_EQ(tovrin_run_until(host, longTime, done, &story, &isDone), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(isDone, 1);
    EXPECT_EQ(story.size(), 3U);
}

TEST_F(QueueTest, RunUntilEndsAsTheTimeRunsOut)
{
    start(makeTimer({ .startDelay = 3600 }));
    const auto began = Clock::now();
    std::int32_t isDone = 1;
    ASSERT_EQ(tovrin_run_until(host, 0.02, nullptr, nullptr, &isDone), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(isDone, 0);
    EXPECT_GE(Clock::now() - began, std::chrono::milliseconds(20));
}

TEST_F(QueueTest, RunUntilWithoutAFunctionEndsAsNoTimerRuns)
{
    std::int32_t isDone = 0;
    ASSERT_EQ(tovrin_run_until(host, noLimit, nullptr, nullptr, &isDone), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(isDone, 1);
}

TEST_F(QueueTest, WhatAnotherThreadPostsWakesTheHost)
{
    std::thread::id ranOn;
    std::thread other([&] {
        post([&](const tovrin_event&) {
            ranOn = std::this_thread::get_id();
            story.emplace_back("posted");
            return 0;
        });
    });
    const auto done
        = [](void* data) -> std::int32_t { return static_cast<std::vector<std::string>*>(data)->empty() ? 0 : 1; };
    ASSERT_EQ(tovrin_run_until(host, noLimit, done, &story, nullptr), TOVRIN_OK) << tovrin_last_error();
    other.join();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(QueueTest, WaitEndsWithTheTimerAndRunsTheOthers)
{
    start(makeTimer({ .name = "other", .mode = TOVRIN_FIXED_RATE, .timer = tell() }));
    const tovrin_timer timer = makeTimer({ .startDelay = 0.05 });
    start(timer);
    std::int32_t hasEnded = 1;
    ASSERT_EQ(tovrin_timer_wait(timer, 0.0, &hasEnded), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(hasEnded, 0);
    ASSERT_EQ(tovrin_timer_wait(timer, noLimit, &hasEnded), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(hasEnded, 1);
    EXPECT_EQ(statistics(timer).runs, 1U);
    EXPECT_GE(story.size(), 2U);
}

TEST_F(QueueTest, ACallbackCanWaitForAnotherTimer)
{
    const tovrin_timer inner
        = makeTimer({ .name = "inner", .startDelay = 0.01, .timer = [this](const tovrin_event&) {
                         story.emplace_back("inner");
                         return 0;
                     } });
    start(makeTimer({ .name = "outer", .timer = [&](const tovrin_event&) {
                         story.emplace_back("outer begins");
                         EXPECT_EQ(tovrin_timer_start(inner), TOVRIN_OK) << tovrin_last_error();
                         EXPECT_EQ(tovrin_timer_wait(inner, noLimit, nullptr), TOVRIN_OK) << tovrin_last_error();
                         story.emplace_back("outer ends");
                         return 0;
                     } }));
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("outer begins", "inner", "outer ends"));
}

TEST_F(QueueTest, ACallbackCannotWaitForItsOwnTimer)
{
    start(makeTimer({ .timer = [this](const tovrin_event& event) {
        EXPECT_EQ(tovrin_timer_wait(event.timer, noLimit, nullptr), TOVRIN_ERROR_STATE);
        story.emplace_back(tovrin_last_error());
        return 0;
    } }));
    runToTheEnd();
    EXPECT_THAT(story,
        ElementsAre(
            "tovrin_timer_wait: timer \"beat\": the timer cannot be waited for while one of its callbacks is "
            "running: the wait would never end"));
}

TEST_F(QueueTest, CallbacksOfOneTimerDoNotRunInsideEachOther)
{
    int depth = 0;
    start(makeTimer({ .mode = TOVRIN_FIXED_RATE,
        .period = 0.002,
        .tasks = 5,
        .busyMode = TOVRIN_QUEUE,
        .timer = [&](const tovrin_event&) {
            EXPECT_EQ(++depth, 1);
            EXPECT_EQ(tovrin_run_until(
                          host, 0.01, [](void*) -> std::int32_t { return 0; }, nullptr, nullptr),
                TOVRIN_OK);
            --depth;
            return 0;
        } }));
    runToTheEnd();
}

TEST_F(QueueTest, FunctionsInCallbacksOfOneAnotherEndAtALimit)
{
    int depth = 0;
    std::string refusal;
    std::vector<tovrin_timer> timers;
    for (int i = 0; i < 200; ++i) {
        timers.push_back(makeTimer({ .timer = [&](const tovrin_event&) {
            const auto next = static_cast<std::size_t>(++depth);
            if (next < timers.size() && refusal.empty()) {
                EXPECT_EQ(tovrin_timer_start(timers[next]), TOVRIN_OK) << tovrin_last_error();
                if (tovrin_timer_wait(timers[next], noLimit, nullptr) != TOVRIN_OK && refusal.empty()) {
                    refusal = tovrin_last_error();
                }
            }
            return 0;
        } }));
    }
    start(timers[0]);
    runToTheEnd();
    EXPECT_EQ(depth, 151) << "the callback of the last one runs at the end";
    EXPECT_THAT(
        refusal, testing::StartsWith("tovrin_timer_wait: timer \"beat\": 150 functions are at work already"));
}

TEST_F(QueueTest, TheDescriptorIsReadyWhileSomethingWaits)
{
    const std::intptr_t native = descriptor();
    EXPECT_EQ(descriptor(), native);
    EXPECT_FALSE(isReady(native, 0));
    postStory("a");
    postStory("b");
    EXPECT_TRUE(isReady(native, 0));
    EXPECT_TRUE(isReady(native, 0)) << "it stays so";
    poll(1);
    EXPECT_TRUE(isReady(native, 0)) << "b waits";
    poll();
    EXPECT_FALSE(isReady(native, 0));
}

TEST_F(QueueTest, TheDescriptorShowsWhatWaitedBeforeItWasAskedFor)
{
    postStory("a");
    EXPECT_TRUE(isReady(descriptor(), 0));
    poll();
}

TEST_F(QueueTest, TheDescriptorAloneCarriesATimerThroughItsRun)
{
    const std::intptr_t native = descriptor();
    const tovrin_timer timer = makeTimer(tellAll({ .mode = TOVRIN_FIXED_SPACING, .tasks = 3 }));
    start(timer);
    const auto deadline = Clock::now() + std::chrono::duration<double>(longTime);
    while (statistics(timer).is_running != 0 && Clock::now() < deadline) {
        ASSERT_TRUE(isReady(native, 30'000));
        poll();
    }
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
}

TEST_F(QueueTest, TheDescriptorIsReadyForWhatACallbackKeptWaiting)
{
    const std::intptr_t native = descriptor();
    start(makeTimer({ .mode = TOVRIN_FIXED_RATE,
        .period = 0.005,
        .tasks = 3,
        .busyMode = TOVRIN_QUEUE,
        .timer = [this](const tovrin_event& event) {
            story.emplace_back("run " + std::to_string(event.run));
            if (event.run == 1) { // the others fall due, and cannot run inside this one
                EXPECT_EQ(tovrin_run_until(
                              host, 0.05, [](void*) -> std::int32_t { return 0; }, nullptr, nullptr),
                    TOVRIN_OK);
            }
            return 0;
        } }));
    while (story.size() < 3) {
        ASSERT_TRUE(isReady(native, 30'000));
        poll(1);
    }
    EXPECT_THAT(story, ElementsAre("run 1", "run 2", "run 3"));
}

} // namespace c_interface_tests
