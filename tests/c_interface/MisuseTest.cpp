#include "tests/c_interface/HostFixture.hpp"

#include <array>
#include <limits>
#include <stdexcept>
#include <thread>

namespace c_interface_tests {

namespace {

/// What the rows use: a timer that is stopped, one that runs and is never due, and what is left of others.
struct Things {
    tovrin_host host;
    tovrin_timer timer;
    tovrin_timer running;
    tovrin_timer destroyed;
    tovrin_host destroyedHost;
    tovrin_settings settings; ///< that are all right
};

struct Row {
    const char* name;
    std::function<std::int32_t(Things&)> call;
    std::int32_t code;
    std::string text; ///< <timer>, <destroyed>, <destroyed host> stand for their numbers
};

class MisuseTest : public HostFixture, public testing::WithParamInterface<Row> {
protected:
    void SetUp() override
    {
        HostFixture::SetUp();
        formerHost = host;
        makeHost(hostSettings());
    }

    tovrin_host formerHost = 0;
};

std::string replaced(std::string text, const std::string& what, std::uint64_t number)
{
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what)) {
        text.replace(at, what.size(), std::to_string(number));
    }
    return text;
}

/// What becomes of it on another thread.
std::int32_t elsewhere(const std::function<std::int32_t()>& call, std::string* text = nullptr)
{
    std::int32_t code = 0;
    std::string error;
    std::thread([&] {
        code = call();
        error = tovrin_last_error();
    }).join();
    if (text != nullptr) {
        *text = error;
    }
    tovrin_set_error(error.c_str());
    return code;
}

Row withSettings(const char* name, std::function<void(tovrin_settings&)> spoil, std::string text,
    std::int32_t code = TOVRIN_ERROR_ARGUMENT)
{
    return { name,
        [spoil = std::move(spoil)](Things& things) {
            spoil(things.settings);
            tovrin_timer timer = 0;
            const std::int32_t given = tovrin_timer_create(things.host, &things.settings, &timer);
            EXPECT_EQ(timer, 0U);
            return given;
        },
        code, "tovrin_timer_create: " + std::move(text) };
}

const std::string otherThread
    = "the host belongs to another thread: the one that has made it, or adopted it last; tovrin_post reaches it";
const std::string noTimer = "there is no timer <destroyed>: it has been destroyed, or never was";
const std::string noHost = "there is no host <destroyed host>: it has been destroyed, or never was";
const std::string nullTimer = "there is no timer 0: it has been destroyed, or never was";
const std::string nullHost = "there is no host 0: it has been destroyed, or never was";

/// One function of timers: with a null, a destroyed and a host's handle, and on another thread.
void addTimerRows(
    std::vector<Row>& rows, const std::string& function, const std::function<std::int32_t(tovrin_timer)>& call)
{
    rows.push_back({ "Null", [=](Things&) { return call(0); }, TOVRIN_ERROR_HANDLE, function + ": " + nullTimer });
    rows.push_back({ "Destroyed", [=](Things& things) { return call(things.destroyed); }, TOVRIN_ERROR_HANDLE,
        function + ": " + noTimer });
    rows.push_back({ "Host", [=](Things& things) { return call(things.host); }, TOVRIN_ERROR_HANDLE,
        function + ": there is no timer <host>: it has been destroyed, or never was" });
    rows.push_back({ "OtherThread", [=](Things& things) { return elsewhere([&] { return call(things.timer); }); },
        TOVRIN_ERROR_THREAD, function + ": " + otherThread });
}

/// The same of hosts.
void addHostRows(std::vector<Row>& rows, const std::string& function, bool isForAnyThread,
    const std::function<std::int32_t(tovrin_host)>& call)
{
    rows.push_back({ "Null", [=](Things&) { return call(0); }, TOVRIN_ERROR_HANDLE, function + ": " + nullHost });
    rows.push_back({ "Destroyed", [=](Things& things) { return call(things.destroyedHost); }, TOVRIN_ERROR_HANDLE,
        function + ": " + noHost });
    rows.push_back({ "Timer", [=](Things& things) { return call(things.timer); }, TOVRIN_ERROR_HANDLE,
        function + ": there is no host <timer>: it has been destroyed, or never was" });
    if (!isForAnyThread) {
        rows.push_back(
            { "OtherThread", [=](Things& things) { return elsewhere([&] { return call(things.host); }); },
                TOVRIN_ERROR_THREAD, function + ": " + otherThread });
    }
}

std::int32_t statisticsOf(tovrin_timer timer)
{
    tovrin_statistics values;
    values.size = sizeof values;
    return tovrin_timer_statistics(timer, &values);
}

std::int32_t settingsOf(tovrin_timer timer)
{
    tovrin_settings values;
    values.size = sizeof values;
    return tovrin_timer_get(timer, &values);
}

std::int32_t errorOf(tovrin_timer timer)
{
    const char* text = nullptr;
    return tovrin_timer_error(timer, &text);
}

std::int32_t setTo(tovrin_timer timer)
{
    tovrin_settings values;
    tovrin_settings_init(&values, sizeof values);
    values.timer_fcn.function = [](const tovrin_event*, void*) -> std::int32_t { return 0; };
    return tovrin_timer_set(timer, &values);
}

void doNothing(void* /*data*/)
{
}

std::int32_t descriptorOf(tovrin_host host)
{
    std::intptr_t descriptor = 0;
    return tovrin_ready_descriptor(host, &descriptor);
}

std::int32_t createTimer(tovrin_host host)
{
    tovrin_settings values;
    tovrin_settings_init(&values, sizeof values);
    values.timer_fcn.function = [](const tovrin_event*, void*) -> std::int32_t { return 0; };
    tovrin_timer timer = 0;
    return tovrin_timer_create(host, &values, &timer);
}

/// Each function by itself, with the handles that it must not be given.
std::vector<Row> handleRows()
{
    std::vector<Row> rows;
    std::vector<std::string> names; // of the functions, so that each test has a name of its own
    const auto name = [&](const char* function, std::size_t before) {
        for (std::size_t i = before; i < rows.size(); ++i) {
            names.emplace_back(function);
        }
    };
    const auto addTimer = [&](const char* function, const std::function<std::int32_t(tovrin_timer)>& call) {
        const std::size_t before = rows.size();
        addTimerRows(rows, function, call);
        name(function, before);
    };
    const auto addHost
        = [&](const char* function, bool any, const std::function<std::int32_t(tovrin_host)>& call) {
              const std::size_t before = rows.size();
              addHostRows(rows, function, any, call);
              name(function, before);
          };
    addTimer("tovrin_timer_destroy", tovrin_timer_destroy);
    addTimer("tovrin_timer_set", setTo);
    addTimer("tovrin_timer_get", settingsOf);
    addTimer("tovrin_timer_start", tovrin_timer_start);
    addTimer("tovrin_timer_stop", tovrin_timer_stop);
    addTimer("tovrin_timer_fail", [](tovrin_timer timer) { return tovrin_timer_fail(timer, "text"); });
    addTimer("tovrin_timer_wait", [](tovrin_timer timer) { return tovrin_timer_wait(timer, 0.0, nullptr); });
    addTimer("tovrin_timer_statistics", statisticsOf);
    addTimer("tovrin_timer_error", errorOf);
    addHost("tovrin_host_destroy", false, tovrin_host_destroy);
    addHost("tovrin_host_adopt", true, tovrin_host_adopt);
    addHost("tovrin_post", true, [](tovrin_host host) { return tovrin_post(host, doNothing, nullptr); });
    addHost("tovrin_run_until", false,
        [](tovrin_host host) { return tovrin_run_until(host, 0.0, nullptr, nullptr, nullptr); });
    addHost("tovrin_poll", false, [](tovrin_host host) { return tovrin_poll(host, 0, nullptr); });
    addHost("tovrin_ready_descriptor", false, descriptorOf);
    addHost("tovrin_task_run", false, [](tovrin_host host) { return tovrin_task_run(host, 1); });
    addHost("tovrin_task_discard", true, [](tovrin_host host) { return tovrin_task_discard(host, 1); });
    addHost("tovrin_timer_create", false, createTimer);

    static std::deque<std::string> kept;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i].name = kept.emplace_back(names[i] + "_" + rows[i].name).c_str();
    }
    return rows;
}

std::vector<Row> valueRows()
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    return {
        withSettings(
            "PeriodTooShort", [](auto& s) { s.period = 0.0009; },
            "settings.period is 0.0009; allowed: from 0.001 to 9e+09"),
        withSettings(
            "PeriodNaN", [=](auto& s) { s.period = nan; }, "settings.period is nan; allowed: from 0.001 to 9e+09"),
        withSettings(
            "PeriodInfinite", [=](auto& s) { s.period = infinity; },
            "settings.period is inf; allowed: from 0.001 to 9e+09"),
        withSettings(
            "StartDelayNegative", [](auto& s) { s.start_delay = -1; },
            "settings.start_delay is -1; allowed: from 0 to 9e+09"),
        withSettings(
            "StartDelayNaN", [=](auto& s) { s.start_delay = nan; },
            "settings.start_delay is nan; allowed: from 0 to 9e+09"),
        withSettings(
            "ExecutionMode", [](auto& s) { s.execution_mode = 4; },
            "settings.execution_mode is 4; allowed: from 0 to 3"),
        withSettings(
            "ExecutionModeNegative", [](auto& s) { s.execution_mode = -1; },
            "settings.execution_mode is -1; allowed: from 0 to 3"),
        withSettings(
            "BusyMode", [](auto& s) { s.busy_mode = 3; }, "settings.busy_mode is 3; allowed: from 0 to 2"),
        withSettings(
            "TooManyTasks", [](auto& s) { s.tasks_to_execute = 9007199254740993; },
            "settings.tasks_to_execute is 9007199254740993; allowed: from 1 to 9007199254740992, or 0 for a run "
            "without end"),
        withSettings(
            "EmptyName", [](auto& s) { s.name = ""; },
            "settings.name is \"\"; allowed: a text that is not empty, or NULL"),
        withSettings(
            "NoTimerFcn", [](auto& s) { s.timer_fcn.function = nullptr; },
            "settings.timer_fcn.function is NULL; allowed: a function"),
        withSettings(
            "SizeTooSmall", [](auto& s) { s.size = 8; },
            "settings.size is 8; it has to be at least " + std::to_string(sizeof(tovrin_settings)),
            TOVRIN_ERROR_SIZE),
        { "NoSettings",
            [](Things& things) {
                tovrin_timer timer = 0;
                return tovrin_timer_create(things.host, nullptr, &timer);
            },
            TOVRIN_ERROR_ARGUMENT, "tovrin_timer_create: settings is NULL" },
        { "NoPlaceForTheTimer",
            [](Things& things) { return tovrin_timer_create(things.host, &things.settings, nullptr); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_timer_create: timer is NULL" },
        { "NoPlaceForTheHost", [](Things&) { return tovrin_host_create(nullptr, nullptr); }, TOVRIN_ERROR_ARGUMENT,
            "tovrin_host_create: host is NULL" },
        { "SecondHost",
            [](Things&) {
                tovrin_host second = 0;
                return tovrin_host_create(nullptr, &second);
            },
            TOVRIN_ERROR_STATE, "tovrin_host_create: there is a host already; a process has one at a time" },
        { "SizeOfHostSettings",
            [](Things&) {
                tovrin_host second = 0;
                tovrin_host_settings settings {};
                settings.size = 1;
                return tovrin_host_create(&settings, &second);
            },
            TOVRIN_ERROR_SIZE,
            "tovrin_host_create: settings.size is 1; it has to be at least "
                + std::to_string(sizeof(tovrin_host_settings)) },
        { "LogSeverities",
            [](Things&) {
                tovrin_host second = 0;
                tovrin_host_settings settings {};
                settings.size = sizeof settings;
                settings.log_severities = 2;
                return tovrin_host_create(&settings, &second);
            },
            TOVRIN_ERROR_ARGUMENT,
            "tovrin_host_create: settings.log_severities is 2; allowed: a sum of 1, 4, 16, 32 and 64" },
        { "InitSize", [](Things& things) { return tovrin_settings_init(&things.settings, 3); }, TOVRIN_ERROR_SIZE,
            "tovrin_settings_init: settings.size is 3; it has to be at least "
                + std::to_string(sizeof(tovrin_settings)) },
        { "InitNull", [](Things&) { return tovrin_settings_init(nullptr, sizeof(tovrin_settings)); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_settings_init: settings is NULL" },
        { "HostInitNull", [](Things&) { return tovrin_host_settings_init(nullptr, sizeof(tovrin_host_settings)); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_host_settings_init: settings is NULL" },
        { "StatisticsNull", [](Things& things) { return tovrin_timer_statistics(things.timer, nullptr); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_timer_statistics: timer \"beat\": statistics is NULL" },
        { "StatisticsSize",
            [](Things& things) {
                tovrin_statistics values;
                values.size = 0;
                return tovrin_timer_statistics(things.timer, &values);
            },
            TOVRIN_ERROR_SIZE,
            "tovrin_timer_statistics: timer \"beat\": statistics.size is 0; it has to be at least "
                + std::to_string(sizeof(tovrin_statistics)) },
        { "GetNull", [](Things& things) { return tovrin_timer_get(things.timer, nullptr); }, TOVRIN_ERROR_ARGUMENT,
            "tovrin_timer_get: timer \"beat\": settings is NULL" },
        { "SetNull", [](Things& things) { return tovrin_timer_set(things.timer, nullptr); }, TOVRIN_ERROR_ARGUMENT,
            "tovrin_timer_set: timer \"beat\": settings is NULL" },
        { "ErrorNull", [](Things& things) { return tovrin_timer_error(things.timer, nullptr); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_timer_error: timer \"beat\": text is NULL" },
        { "FailNull", [](Things& things) { return tovrin_timer_fail(things.running, nullptr); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_timer_fail: timer \"runs\": text is NULL" },
        { "PostNull", [](Things& things) { return tovrin_post(things.host, nullptr, nullptr); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_post: function is NULL" },
        { "DescriptorNull", [](Things& things) { return tovrin_ready_descriptor(things.host, nullptr); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_ready_descriptor: descriptor is NULL" },
        { "WaitNaN", [=](Things& things) { return tovrin_timer_wait(things.timer, nan, nullptr); },
            TOVRIN_ERROR_ARGUMENT,
            "tovrin_timer_wait: timer \"beat\": seconds is nan; allowed: from 0 to 9e+09, or INFINITY" },
        { "RunUntilNegative",
            [](Things& things) { return tovrin_run_until(things.host, -0.1, nullptr, nullptr, nullptr); },
            TOVRIN_ERROR_ARGUMENT, "tovrin_run_until: seconds is -0.1; allowed: from 0 to 9e+09, or INFINITY" },
        { "DoubleStart", [](Things& things) { return tovrin_timer_start(things.running); }, TOVRIN_ERROR_STATE,
            "tovrin_timer_start: timer \"runs\": the timer is already running; only a stopped timer can be "
            "started" },
        { "FailOfAStoppedTimer", [](Things& things) { return tovrin_timer_fail(things.timer, "text"); },
            TOVRIN_ERROR_STATE,
            "tovrin_timer_fail: timer \"beat\": the timer is not running; only a running timer can be made to "
            "fail" },
        { "RenameOfARunningTimer",
            [](Things& things) {
                things.settings.name = "other";
                return tovrin_timer_set(things.running, &things.settings);
            },
            TOVRIN_ERROR_STATE,
            "tovrin_timer_set: timer \"runs\": settings.name cannot be changed while the timer is running" },
        { "StartDelayOfARunningTimer",
            [](Things& things) {
                things.settings.name = nullptr;
                return tovrin_timer_set(things.running, &things.settings);
            },
            TOVRIN_ERROR_STATE,
            "tovrin_timer_set: timer \"runs\": settings.start_delay cannot be changed while the timer is "
            "running" },
        { "ModeOfARunningTimer",
            [](Things& things) {
                things.settings.name = nullptr;
                things.settings.execution_mode = TOVRIN_FIXED_RATE;
                return tovrin_timer_set(things.running, &things.settings);
            },
            TOVRIN_ERROR_STATE,
            "tovrin_timer_set: timer \"runs\": settings.execution_mode cannot be changed while the timer is "
            "running" },
        { "TaskThatIsNone", [](Things& things) { return tovrin_task_run(things.host, 7); }, TOVRIN_ERROR_HANDLE,
            "tovrin_task_run: there is no task 7: it has been run or discarded, or never was submitted" },
        { "DiscardedTaskThatIsNone", [](Things& things) { return tovrin_task_discard(things.host, 7); },
            TOVRIN_ERROR_HANDLE,
            "tovrin_task_discard: there is no task 7: it has been run or discarded, or never was submitted" },
        { "ThrowingDone",
            [](Things& things) {
                const auto done = [](void*) -> std::int32_t { throw std::runtime_error("no idea"); };
                return tovrin_run_until(things.host, 0.0, done, nullptr, nullptr);
            },
            TOVRIN_ERROR_STATE, "tovrin_run_until: the function `done` has thrown: no idea" },
    };
}

std::string rowName(const testing::TestParamInfo<Row>& row)
{
    return row.param.name;
}

} // namespace

TEST_P(MisuseTest, GivesItsCodeAndTextAndChangesNothing)
{
    Things things {};
    things.timer = makeTimer({ .name = "beat" });
    things.running = makeTimer({ .name = "runs", .startDelay = 3600 });
    start(things.running);
    things.destroyed = makeTimer({});
    ASSERT_EQ(tovrin_timer_destroy(things.destroyed), TOVRIN_OK);
    things.host = host;
    things.destroyedHost = formerHost;
    things.settings = settings({});

    tovrin_set_error("");
    EXPECT_EQ(GetParam().call(things), GetParam().code);
    std::string expected = replaced(GetParam().text, "<destroyed host>", things.destroyedHost);
    expected = replaced(expected, "<destroyed>", things.destroyed);
    expected = replaced(expected, "<host>", host);
    expected = replaced(expected, "<timer>", things.timer);
    EXPECT_EQ(tovrin_last_error(), expected);

    EXPECT_EQ(statistics(things.timer).is_running, 0);
    EXPECT_EQ(statistics(things.running).is_running, 1);
    tovrin_settings kept;
    kept.size = sizeof kept;
    ASSERT_EQ(tovrin_timer_get(things.running, &kept), TOVRIN_OK);
    EXPECT_STREQ(kept.name, "runs");
    EXPECT_EQ(kept.start_delay, 3600);
    EXPECT_EQ(kept.execution_mode, TOVRIN_SINGLE_SHOT);
}

INSTANTIATE_TEST_SUITE_P(Handles, MisuseTest, testing::ValuesIn(handleRows()), rowName);
INSTANTIATE_TEST_SUITE_P(Values, MisuseTest, testing::ValuesIn(valueRows()), rowName);

} // namespace c_interface_tests
