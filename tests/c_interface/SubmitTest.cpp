#include "tests/c_interface/HostFixture.hpp"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace c_interface_tests {

using testing::ElementsAre;

namespace {

/// An embedder's own queue, whose thread runs the tasks one by one.
class SubmitTest : public HostFixture {
protected:
    void SetUp() override
    {
        HostFixture::SetUp();
        tovrin_host_settings settings = hostSettings();
        settings.submit = [](void* data, tovrin_host from, tovrin_task task) {
            return static_cast<SubmitTest*>(data)->take(from, task);
        };
        settings.submit_data = this;
        settings.log = [](const tovrin_record* record, void* data) {
            auto& self = *static_cast<SubmitTest*>(data);
            const std::lock_guard lock(self.mutex);
            self.errors.emplace_back(record->text);
        };
        settings.log_data = this;
        makeHost(settings);
    }

    std::int32_t take(tovrin_host from, tovrin_task task)
    {
        const std::lock_guard lock(mutex);
        if (refuses == Refusal::Exception) {
            throw std::runtime_error("the queue is full");
        }
        if (refuses == Refusal::Code) {
            return 7;
        }
        codeInside = tovrin_task_run(from, task);
        textInside = tovrin_last_error();
        tasks.push_back(task);
        changed.notify_one();
        return 0;
    }

    /// The next task, once there is one.
    tovrin_task next()
    {
        std::unique_lock lock(mutex);
        if (!changed.wait_for(lock, std::chrono::duration<double>(longTime), [this] { return !tasks.empty(); })) {
            ADD_FAILURE() << "no task has come";
            return 0;
        }
        const tovrin_task task = tasks.front();
        tasks.pop_front();
        return task;
    }

    void runNext() { ASSERT_EQ(tovrin_task_run(host, next()), TOVRIN_OK) << tovrin_last_error(); }

    void runWhileRunning(tovrin_timer timer)
    {
        const auto deadline = Clock::now() + std::chrono::duration<double>(longTime);
        while (statistics(timer).is_running != 0 && Clock::now() < deadline) {
            runNext();
        }
    }

    enum class Refusal { None, Code, Exception };

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<tovrin_task> tasks; // guarded by mutex, like all below
    std::vector<std::string> errors;
    Refusal refuses = Refusal::None;
    std::int32_t codeInside = 0;
    std::string textInside;
};

} // namespace

TEST_F(SubmitTest, EachCallbackIsATaskOfItsOwn)
{
    const tovrin_timer timer = makeTimer(tellAll({ .mode = TOVRIN_FIXED_DELAY, .tasks = 2 }));
    start(timer);
    EXPECT_THAT(story, ElementsAre());
    runNext();
    EXPECT_THAT(story, ElementsAre("StartFcn"));
    runNext();
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn"));
    runWhileRunning(timer);
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "StopFcn"));
}

TEST_F(SubmitTest, EachModeRunsToItsEndByTasksAlone)
{
    for (const std::int32_t mode :
        { TOVRIN_SINGLE_SHOT, TOVRIN_FIXED_SPACING, TOVRIN_FIXED_DELAY, TOVRIN_FIXED_RATE }) {
        story.clear();
        const tovrin_timer timer = makeTimer(tellAll({ .mode = mode, .tasks = 1 }));
        start(timer);
        runWhileRunning(timer);
        EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "StopFcn")) << mode;
    }
}

TEST_F(SubmitTest, ATaskRunsOnce)
{
    start(makeTimer({ .timer = tell() }));
    const tovrin_task task = next();
    ASSERT_EQ(tovrin_task_run(host, task), TOVRIN_OK);
    EXPECT_EQ(tovrin_task_run(host, task), TOVRIN_ERROR_HANDLE);
    EXPECT_EQ(tovrin_last_error(),
        "tovrin_task_run: there is no task " + std::to_string(task)
            + ": it has been run or discarded, or never was submitted");
    EXPECT_EQ(story.size(), 1U);
}

TEST_F(SubmitTest, TheWorkOfADiscardedTaskIsNotLost)
{
    start(makeTimer({ .timer = tell() }));
    ASSERT_EQ(tovrin_task_discard(host, next()), TOVRIN_OK) << tovrin_last_error();
    EXPECT_THAT(story, ElementsAre());
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("TimerFcn"));
}

TEST_F(SubmitTest, ATaskWhoseCallbackHasBeenTakenBackDoesNothing)
{
    const tovrin_timer timer = makeTimer({ .timer = tell() });
    start(timer);
    const tovrin_task task = next();
    stop(timer);
    ASSERT_EQ(tovrin_task_run(host, task), TOVRIN_OK) << tovrin_last_error();
    EXPECT_THAT(story, ElementsAre());
}

TEST_F(SubmitTest, WhatIsRefusedIsToldOfAndComesWithTheNextTask)
{
    for (const Refusal refusal : { Refusal::Code, Refusal::Exception }) {
        story.clear();
        refuses = refusal;
        start(makeTimer({ .name = "refused", .timer = tell() }));
        refuses = Refusal::None;
        start(makeTimer({ .name = "taken", .timer = tell() }));
        while (story.size() < 2) {
            runNext();
        }
    }
    EXPECT_THAT(errors, testing::Contains("the submit function has not taken a task: it returned 7"));
    EXPECT_THAT(errors, testing::Contains("the submit function has thrown: the queue is full"));
}

TEST_F(SubmitTest, ATaskThatMeetsItsTimersCallbackComesAgain)
{
    tovrin_timer timer = makeTimer({ .mode = TOVRIN_FIXED_RATE,
        .period = 0.002,
        .tasks = 3,
        .busyMode = TOVRIN_QUEUE,
        .timer = [&](const tovrin_event& event) {
            story.push_back("begins " + std::to_string(event.run));
            if (event.run == 1) {
                runNext(); // a task of this very timer, which cannot run here
            }
            story.push_back("ends " + std::to_string(event.run));
            return 0;
        } });
    start(timer);
    runWhileRunning(timer);
    EXPECT_THAT(story, ElementsAre("begins 1", "ends 1", "begins 2", "ends 2", "begins 3", "ends 3"));
}

TEST_F(SubmitTest, TheSubmitFunctionCannotCallBack)
{
    start(makeTimer({}));
    next();
    EXPECT_EQ(codeInside, TOVRIN_ERROR_STATE);
    EXPECT_EQ(textInside,
        "tovrin_task_run: called inside a submit or log function, which may call tovrin_version, "
        "tovrin_last_error "
        "and tovrin_set_error alone");
}

TEST_F(SubmitTest, WaitingWorksWithoutTheTasks)
{
    const tovrin_timer timer = makeTimer(tellAll({ .mode = TOVRIN_FIXED_RATE, .tasks = 2 }));
    start(timer);
    ASSERT_EQ(tovrin_timer_wait(timer, longTime, nullptr), TOVRIN_OK) << tovrin_last_error();
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "StopFcn"));
    while (!tasks.empty()) { // what is left of them does nothing
        runNext();
    }
    EXPECT_EQ(story.size(), 4U);
}

TEST_F(SubmitTest, TasksOfADestroyedHostAreNone)
{
    start(makeTimer({ .timer = tell() }));
    const tovrin_task task = next();
    const tovrin_host former = host;
    makeHost(hostSettings());
    EXPECT_EQ(tovrin_task_run(former, task), TOVRIN_ERROR_HANDLE);
    EXPECT_EQ(tovrin_task_run(host, task), TOVRIN_ERROR_HANDLE);
    EXPECT_EQ(tovrin_task_discard(former, task), TOVRIN_ERROR_HANDLE);
}

TEST_F(SubmitTest, NoTaskIsSubmittedOnceTheHostHasGone)
{
    for (int i = 0; i < 10; ++i) {
        start(makeTimer({ .mode = TOVRIN_FIXED_RATE, .period = 0.001 }));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5)); // some of them fall due, whichever
    ASSERT_EQ(tovrin_host_destroy(host), TOVRIN_OK) << tovrin_last_error();
    host = 0;
    const std::size_t taken = tasks.size();
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // twenty periods, in which nothing may come
    EXPECT_EQ(tasks.size(), taken);
}

} // namespace c_interface_tests
