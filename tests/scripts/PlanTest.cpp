#include "tests/scripts/ScriptTest.hpp"

#include <nlohmann/json.hpp>

#include <map>
#include <tuple>

namespace scripts {

namespace {

using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

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

} // namespace

} // namespace scripts
