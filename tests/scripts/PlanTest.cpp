#include "tests/scripts/ScriptTest.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

namespace scripts {

namespace {

using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

constexpr int wrongUsage = 2;

/// Plans of tovrin plan.
class PlanTest : public ScriptTest {
protected:
    Outcome plan(const std::string& script, const Words& options)
    {
        write("script.lua", script);
        Words words { "plan", "script.lua" };
        words.insert(words.end(), options.begin(), options.end());
        return tovrin(words);
    }

    Json documentOf(const std::string& script, Words options = {})
    {
        options.emplace_back("--json");
        return Json::parse(plan(script, options).out);
    }

    /// A member of each firing.
    template <typename Value> static std::vector<Value> each(const Json& document, const std::string& member)
    {
        std::vector<Value> values;
        for (const Json& firing : document.at("firings")) {
            values.push_back(firing.at(member).get<Value>());
        }
        return values;
    }
};

const std::string beat = R"(
timer { Name = "beat", ExecutionMode = "FixedRate", Period = 1, TimerFcn = function() io.stderr:write("beat\n") end }:start()
)";

TEST_F(PlanTest, TheTableHasALineForEachFiringAndOneForEachTimer)
{
    const Outcome outcome = plan(R"(
timer { Name = "hog", StartDelay = 0.1, TimerFcn = function() busy(0.25) end }:start()
local function slowly(t) if t.TasksExecuted == 2 then pause(0.35) end end
timer {
  Name = "poll", ExecutionMode = "FixedRate", Period = 0.1, StartDelay = 0.6, TasksToExecute = 3, TimerFcn = slowly,
  StopFcn = function() end,
}:start()
timer { Name = "late", ExecutionMode = "FixedDelay", Period = 0.2, TasksToExecute = 2, TimerFcn = function() end }:start()
)",
        { "--from", "2026-12-24 08:00" });

    EXPECT_EQ(outcome.out,
        R"(    time  calendar                 timer  callback     run      late      took
   0.000  2026-12-24 08:00:00.000  late   TimerFcn       1     0.000     0.000
   0.101  2026-12-24 08:00:00.101  hog    TimerFcn       1     0.000     0.250
   0.351  2026-12-24 08:00:00.351  late   TimerFcn       2     0.150     0.000  behind run 1 of hog (script.lua:2)
   0.601  2026-12-24 08:00:00.601  poll   TimerFcn       1     0.000     0.000
   0.701  2026-12-24 08:00:00.701  poll   TimerFcn       2     0.000     0.350
   1.051  2026-12-24 08:00:01.051  poll   TimerFcn       3     0.000     0.000  3 dropped from 0.801 on
   1.051  2026-12-24 08:00:01.051  poll   StopFcn        -     0.000     0.000

timer     fired   dropped    failed  late most  busy %
hog           1         0         0      0.000    23.8
poll          3         3         0      0.000    33.3
late          2         0         0      0.150     0.0
The script ends after 1.051 s.
)");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(PlanTest, WhatIsDueAtTheEndOrLaterIsNotRun)
{
    const Outcome outcome = plan(beat, { "--for", "3s" });

    EXPECT_EQ(outcome.err, "beat\nbeat\nbeat\n"); // at 0, 1 and 2 s
    EXPECT_THAT(linesWith(outcome.out, "TimerFcn"), SizeIs(3));
    EXPECT_EQ(lines(outcome.out).back(), "The plan ends after 3.000 s; what is due later is left out.");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(PlanTest, WhatIsStillToBeDoneAtTheEndIsTold)
{
    const Json document = documentOf(R"(
local function rate(name, mode)
  timer { Name = name, ExecutionMode = "FixedRate", BusyMode = mode, Period = 0.1, TimerFcn = function() pause(0.25) end }:start()
end
rate("drop", "Drop") rate("queue", "Queue")
)",
        { "--for", "0.22" });
    using Row = std::tuple<std::string, std::string, double, double, int>;
    std::vector<Row> rows;
    for (const Json& firing : document.at("firings")) {
        rows.emplace_back(
            firing.at("timer"), firing.at("outcome"), firing.at("due"), firing.at("at"), firing.at("dropped"));
    }

    EXPECT_THAT(rows,
        ElementsAre(Row("drop", "running", 0, 0, 0), Row("queue", "running", 0, 0, 0),
            Row("drop", "dropped", 0.1, 0.22, 2), Row("queue", "waiting", 0.1, 0.22, 0),
            Row("queue", "waiting", 0.2, 0.22, 0)));
    EXPECT_EQ(document.at("firings").at(0).at("took"), 0.22);
    EXPECT_EQ(document.at("firings").at(2).at("reason"), "the callback before it was still running");
    EXPECT_EQ(document.at("endedBy"), "span");
}

TEST_F(PlanTest, TheCalendarBeginsAsAskedForAndGoesWithTheTime)
{
    const std::string script = R"(
every({ second = 0 }, function() io.stderr:write(os.date("%H:%M:%S", date() // 1), "\n") end)
)";
    const Outcome outcome = plan(script, { "--from", "2026-12-24 23:58:30", "--for", "2m" });

    EXPECT_EQ(outcome.err, "23:59:00\n00:00:00\n");
    const auto firings = linesWith(outcome.out, "TimerFcn");
    ASSERT_THAT(firings, SizeIs(2));
    EXPECT_THAT(firings.at(0), StartsWith("  30.000  2026-12-24 23:59:00.000  "));
    EXPECT_THAT(firings.at(1), StartsWith("  90.000  2026-12-25 00:00:00.000  "));
}

TEST_F(PlanTest, WhatTheScriptPrintsIsLeftOutOrGoesToStandardError)
{
    const std::string script
        = "print('printed') io.write('written\\n') io.stdout:flush() os.execute('echo by a program')";
    const std::string table = plan("", {}).out;
    const Outcome without = plan(script, {});
    EXPECT_EQ(without.out, table);
    EXPECT_EQ(without.err, "");

    const Outcome with = plan(script, { "--output" });
    EXPECT_EQ(with.out, table);
    EXPECT_EQ(with.err, "printed\nwritten\nby a program\n");
}

TEST_F(PlanTest, WhatStandsBehindTheScriptIsItsOwnButForOptions)
{
    const Outcome outcome = plan("print(arg[0], table.unpack(arg))", { "a", "--output", "b", "--", "--for", "c" });
    EXPECT_EQ(outcome.err, "script.lua\ta\tb\t--for\tc\n");

    setInput("print(arg[0])");
    EXPECT_EQ(tovrin({ "plan", "--output", "-" }).err, "-\n");
}

TEST_F(PlanTest, ErrorsAreRowsAndTheStatusIsThatOfARun)
{
    const Outcome failing
        = plan("timer { Name = 't', TimerFcn = function() error('on purpose', 0) end }:start()", {});
    EXPECT_THAT(
        linesWith(failing.out, "TimerFcn").at(0), HasSubstr("t      TimerFcn       1     0.000     0.000  fails"));
    EXPECT_THAT(failing.err, StartsWith("tovrin: error in TimerFcn of timer \"t\": on purpose\n"));
    EXPECT_EQ(failing.status, 1);

    const std::string overrun = "timer { ExecutionMode = 'FixedRate', BusyMode = 'Error', Period = 0.1, TimerFcn "
                                "= function() pause(1) end }:start()";
    EXPECT_THAT(plan(overrun, { "--for", "2" }).out,
        HasSubstr("dropped: the callback before it was still running, which busy mode Error makes an error"));
    EXPECT_EQ(plan(overrun, { "--for", "2" }).status, 1);

    EXPECT_EQ(plan("error('on purpose')", {}).status, 1);
    EXPECT_EQ(plan("os.exit(3)", {}).status, 3);
    EXPECT_EQ(plan(beat + "pause(2) os.exit(3)", {}).status, 3);
    EXPECT_EQ(plan(beat + "pause(2) os.exit(3)", { "--for", "1" }).status, 0);
}

TEST_F(PlanTest, AScriptWithNothingToDoIsToldSo)
{
    const std::string head = "    time  calendar                 timer  callback     run      late      took\n";
    EXPECT_EQ(plan("pause(2)", {}).out, head + "No timer fires.\nThe script ends after 2.000 s.\n");
    EXPECT_EQ(plan("timer { StartDelay = 60, TimerFcn = print }:start():wait()", { "--for", "2" }).out,
        std::string(head).replace(head.find("timer  "), 7, "timer    ")
            + "No timer fires.\nThe plan ends after 2.000 s; what is due later is left out.\n");
}

/// A callback that takes all the time there is does not keep the others from being told, nor in memory.
TEST_F(PlanTest, ACallbackThatTakesLongIsToldAsItStandsBehindTenThousandOthers)
{
    const Outcome outcome = plan(R"(
timer { Name = "long", TimerFcn = function() pause(15000) end }:start()
timer { Name = "beat", ExecutionMode = "FixedRate", Period = 1, TimerFcn = function() end }:start()
)",
        { "--for", "5h" });
    const auto firings = linesWith(outcome.out, "TimerFcn");

    ASSERT_THAT(firings, SizeIs(18001));
    EXPECT_THAT(firings.front(), HasSubstr("long   TimerFcn       1     0.000  9999.000  runs on"));
}

TEST_F(PlanTest, ADurationThatIsNotAllowedIsRefusedWithWhatIs)
{
    for (const std::string text :
        { "0", "0.0009", "367d", "1x", "1h1h", "1m2h", "h", "1h30", "-1", "nan", "1e3" }) {
        const Outcome outcome = plan("", { "--for=" + text });
        EXPECT_THAT(outcome.err,
            StartsWith("tovrin: --for: \"" + text
                + "\" is not allowed: it must be a duration from 0.001s to 366d: seconds, such as 90, or numbers "
                  "with the units d, h, m and s, such as 2d, 15m or 1h30m\n"));
        EXPECT_EQ(outcome.status, wrongUsage) << text;
    }
    const std::map<std::string, double> allowed { { "90", 90 }, { "0.001", 0.001 }, { "90s", 90 }, { "15m", 900 },
        { "2d", 172'800 }, { "1h30m", 5400 }, { "1.5h", 5400 }, { "1d2h3m4.5s", 93'784.5 },
        { "366d", 31'622'400 } };
    for (const auto& [text, seconds] : allowed) {
        EXPECT_EQ(documentOf("", { "--for", text }).at("for"), seconds) << text;
    }
    EXPECT_EQ(documentOf("").at("for"), 3600);
}

TEST_F(PlanTest, ATimeThatIsNotAllowedIsRefusedWithWhatIs)
{
    for (const std::string text : { "2026-12-24", "2026-02-30 08:00", "2026-12-24 8:00", "2026-12-24 24:00",
             "2026-12-24 08:60", "2026-12-24 08:00:", "2026-12-24 08:00:60", "2026-12-24T08:00",
             "1970-12-24 08:00", "2261-01-01 00:00", "2026-12-24 08:00:00.5" }) {
        const Outcome outcome = plan("", { "--from=" + text });
        EXPECT_THAT(outcome.err,
            StartsWith("tovrin: --from: \"" + text
                + "\" is not allowed: it must be a local time of the years 1971 to 2260 such as \"2026-12-24 "
                  "08:00\" or "
                  "\"2026-12-24 08:00:30\"\n"));
        EXPECT_EQ(outcome.status, wrongUsage) << text;
    }
}

TEST_F(PlanTest, OfTheDocumentOnlyTheTimeThatItIsDiffers)
{
    const std::string script = "timer { TimerFcn = function() end }:start()";
    const Words options { "--from", "2026-12-24 08:00:30" };
    const std::string from = std::to_string(documentOf(script, options).at("from").get<long long>());

    EXPECT_EQ(plan(script, { "--json", "--for", "5s", "--from", "2026-12-24 08:00:30" }).out,
        R"({"tovrin":1,"script":"script.lua","from":)" + from + R"(.0,"for":5.0,"firings":[
{"at":0.0,"number":1,"timer":"timer-1","callback":"TimerFcn","run":1,"outcome":"done","due":0.0,"late":0.0,"took":0.0,"dropped":0,"droppedFrom":null,"reason":null,"waits":[]}
],"timers":[
{"number":1,"timer":"timer-1","fired":1,"dropped":0,"failed":0,"mostLateness":0.0,"busy":0.0}
],"firingsOfOtherTimers":0,"lost":0,"end":0.0,"endedBy":"script"}
)");
}

// ---- Beside a real run

/// A firing, but for the time: callback, run, what becomes of it, how many were dropped before it.
using What = std::tuple<std::string, int, std::string, int>;

struct Told {
    What what;
    double due = 0;
    double at = 0;
};

/// Of each timer, by its name.
using Firings = std::map<std::string, std::vector<Told>>;

Firings plannedFirings(const Json& document)
{
    Firings firings;
    for (const Json& firing : document.at("firings")) {
        const int run = firing.at("run").is_null() ? 0 : firing.at("run").get<int>();
        const int dropped = firing.at("took").is_null() ? 0 : firing.at("dropped").get<int>();
        firings[firing.at("timer")].push_back({ What(firing.at("callback"), run, firing.at("outcome"), dropped),
            firing.at("due"), firing.at("at") });
    }
    return firings;
}

Firings tracedFirings(const Json& trace)
{
    const std::map<int, std::string> callbacks { { 0, "StartFcn" }, { 1, "StopFcn" }, { 2, "TimerFcn" },
        { 4, "ErrorFcn" } };
    const std::map<int, std::string> outcomes { { 5, "done" }, { 6, "failed" }, { 7, "dropped" },
        { 8, "dropped" } };
    std::map<int, std::string> names; // of the tracks
    for (const Json& event : trace) {
        if (event.value("name", "") == "thread_name") {
            names[event.at("tid")] = event.at("args").at("name");
        }
    }
    Firings firings;
    for (const Json& event : trace) {
        if (event.value("cat", "") != "firing") {
            continue;
        }
        const Json& args = event.at("args");
        const auto seconds = [&](const char* member) { return args.value(member, 0.0) / 1e9; };
        const bool hasStarted = args.contains("started");
        if (hasStarted || seconds("due") <= seconds("ended")) { // no firing that was taken back before its time
            firings[names.at(event.at("tid"))].push_back(
                { What(callbacks.at(args.at("kind")), args.value("run", 0), outcomes.at(args.at("stage")),
                      args.value("missed", 0)),
                    seconds("due"), seconds(hasStarted ? "started" : "ended") });
        }
    }
    for (auto& [name, all] : firings) {
        std::stable_sort(all.begin(), all.end(), [](const Told& a, const Told& b) { return a.at < b.at; });
    }
    return firings;
}

std::vector<What> whats(const std::vector<Told>& firings)
{
    std::vector<What> all;
    std::transform(
        firings.begin(), firings.end(), std::back_inserter(all), [](const Told& told) { return told.what; });
    return all;
}

/// \returns where a real run differs from its plan; empty where it does not
std::string differenceBetween(const Firings& planned, const Firings& real, double tolerance)
{
    for (const auto& [name, all] : planned) {
        const auto found = real.find(name);
        if (found == real.end() || whats(found->second) != whats(all)) {
            return name + " fires otherwise: " + testing::PrintToString(whats(all)) + " is planned, but it is "
                + (found == real.end() ? "nothing" : testing::PrintToString(whats(found->second)));
        }
        for (std::size_t i = 0; i < all.size(); ++i) {
            const double off = std::abs(found->second[i].at - all[i].at);
            if (off > tolerance) {
                return name + " fires " + std::to_string(off) + " s beside its plan, at "
                    + std::to_string(all[i].at);
            }
        }
    }
    return "";
}

/// All modes, one after the other, with drops, a queue, errors and overlaps. What does not follow from each other
/// is far enough apart that its order is certain.
std::string allModes(double factor)
{
    return "local factor = " + std::to_string(factor) + R"(
local function work(seconds) return function() busy(factor * seconds) end end
local function start(name, delay, settings)
  settings.Name, settings.StartDelay, settings.Period = name, factor * delay, factor * (settings.Period or 1)
  timer(settings):start()
end
start("spacing", 0.02, { ExecutionMode = "FixedSpacing", Period = 0.1, TasksToExecute = 4, StartFcn = function() end, TimerFcn = work(0.02) })
start("delay", 0.08, { ExecutionMode = "FixedDelay", Period = 0.12, TasksToExecute = 4, TimerFcn = work(0.02) })
start("drop", 0.5, { ExecutionMode = "FixedRate", Period = 0.1, TasksToExecute = 4, StopFcn = work(0.02),
  TimerFcn = function(t) pause(factor * (t.TasksExecuted == 2 and 0.25 or 0.02)) end })
start("single", 0.73, { TimerFcn = function() error("on purpose") end, ErrorFcn = work(0.01) })
start("queue", 1.1, { ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.1, TasksToExecute = 5,
  TimerFcn = function(t) busy(factor * (t.TasksExecuted == 2 and 0.25 or 0.01)) end })
start("behind", 1.34, { TimerFcn = work(0.01) })
start("error", 1.6, { ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.1,
  TimerFcn = function(t) pause(factor * (t.TasksExecuted == 2 and 0.17 or 0.01)) end, ErrorFcn = work(0.01), StopFcn = work(0.01) })
)";
}

TEST_F(PlanTest, ItAgreesWithARealRunFiringByFiring)
{
    retrySlower([this](double factor) {
        const Firings planned = plannedFirings(documentOf(allModes(factor)));
        EXPECT_THAT(planned, SizeIs(7));
        EXPECT_THAT(planned.at("drop"), SizeIs(5)); // the StopFcn, too
        EXPECT_EQ(tovrin({ "run", "--trace", "trace.json", "script.lua" }).status, 1);
        std::stringstream trace;
        trace << std::ifstream(folder() + "/trace.json", std::ios::binary).rdbuf();
        const Firings real = tracedFirings(Json::parse(trace.str()));
        for (const Firings& firings : { planned, real }) {
            for (const auto& [name, all] : firings) {
                EXPECT_TRUE(
                    std::all_of(all.begin(), all.end(), [](const Told& told) { return told.at >= told.due; }))
                    << name << " is early";
            }
        }
        return differenceBetween(planned, real, 0.002 * factor);
    });
}

} // namespace

} // namespace scripts
