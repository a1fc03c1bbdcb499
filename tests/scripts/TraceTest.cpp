#include "tests/scripts/ScriptTest.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

namespace scripts {

namespace {

using Json = nlohmann::json;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

constexpr int failed = 1;
/// Traces of tovrin run, what stands in them, and what tovrin explain tells of them.
class TraceTest : public ScriptTest {
protected:
    std::string read(const std::string& name) const
    {
        std::stringstream text;
        text << std::ifstream(folder() + "/" + name, std::ios::binary).rdbuf();
        return text.str();
    }

    Json traceOf(const std::string& script)
    {
        const Outcome outcome = run(script, { "--trace", "trace.json" });
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 0);
        return Json::parse(read("trace.json"));
    }

    static std::vector<Json> eventsWith(const Json& trace, const std::string& member, const std::string& value)
    {
        std::vector<Json> events;
        std::copy_if(trace.begin(), trace.end(), std::back_inserter(events),
            [&](const Json& event) { return event.value(member, "") == value; });
        return events;
    }

    /// Nanoseconds: the page counts in microseconds, with three digits behind the point.
    static std::int64_t nanoseconds(const Json& microseconds)
    {
        return std::llround(microseconds.get<double>() * 1000.0);
    }

    const std::string hogAndPoll = R"(
local hog = timer { Name = "hog", StartDelay = 0.05, TimerFcn = function() busy(0.2) end }
local poll = timer {
  Name = "poll", ExecutionMode = "FixedRate", Period = 0.1, TasksToExecute = 4,
  TimerFcn = function(t) if t.TasksExecuted == 3 then busy(0.25) end end,
}
hog:start() poll:start()
poll:wait()
)";
};

/// The rules of the format: what begins ends, slices of a track do not cross, arrows begin and end in slices, and
/// tracks have names.
void expectRules(const Json& trace)
{
    std::map<std::pair<int, std::int64_t>, int> open; // of the slices that may cross, by track and number
    std::map<int, std::vector<std::pair<std::int64_t, std::int64_t>>> slices; // by track
    std::set<int> named;
    std::set<int> used;
    const auto at = [](const Json& event) { return std::llround(event.at("ts").get<double>() * 1000.0); };
    for (const Json& event : trace) {
        const auto phase = event.at("ph").get<std::string>();
        const int track = event.value("tid", -1);
        if (phase == "M") {
            if (event.at("name") == "thread_name") {
                EXPECT_TRUE(named.insert(track).second) << event;
            }
            continue;
        }
        used.insert(track);
        EXPECT_GE(at(event), 0) << event;
        if (phase == "X") {
            const auto length = std::llround(event.at("dur").get<double>() * 1000.0);
            EXPECT_GE(length, 0) << event;
            slices[track].emplace_back(at(event), at(event) + length);
        } else if (phase == "b") {
            EXPECT_EQ(open[std::pair(track, event.at("id").get<std::int64_t>())]++, 0) << event;
        } else if (phase == "e") {
            EXPECT_EQ(open[std::pair(track, event.at("id").get<std::int64_t>())]--, 1) << event;
        }
    }
    for (const auto& [key, count] : open) {
        EXPECT_EQ(count, 0) << "number " << key.second << " of track " << key.first;
    }
    for (const int track : used) {
        EXPECT_TRUE(named.count(track) == 1) << "track " << track << " has no name";
    }
    for (auto& [track, all] : slices) {
        std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
            return a.first != b.first ? a.first < b.first : a.second > b.second;
        });
        std::vector<std::int64_t> ends;
        for (const auto& [from, to] : all) {
            while (!ends.empty() && ends.back() <= from) {
                ends.pop_back();
            }
            EXPECT_TRUE(ends.empty() || to <= ends.back()) << "track " << track << ", slice at " << from;
            ends.push_back(to);
        }
    }
    for (const Json& event : trace) {
        if (event.at("ph") == "s" || event.at("ph") == "f") {
            const auto& all = slices[event.at("tid").get<int>()];
            EXPECT_TRUE(std::any_of(all.begin(), all.end(), [&](const auto& slice) {
                return slice.first <= at(event) && at(event) <= slice.second;
            })) << event;
        }
    }
}

TEST_F(TraceTest, ATraceKeepsTheRulesOfItsFormatAndNamesItsTracks)
{
    const Json trace = traceOf(hogAndPoll);

    expectRules(trace);
    std::vector<std::string> tracks;
    for (const Json& event : eventsWith(trace, "name", "thread_name")) {
        tracks.push_back(event.at("args").at("name"));
    }
    EXPECT_THAT(tracks, testing::UnorderedElementsAre("scheduler", "interpreter", "hog", "poll"));
    EXPECT_THAT(eventsWith(trace, "cat", "firing"), SizeIs(5));
    EXPECT_THAT(eventsWith(trace, "ph", "s"), SizeIs(5));
    EXPECT_THAT(eventsWith(trace, "ph", "f"), SizeIs(5));
    EXPECT_THAT(eventsWith(trace, "cat", "drop"), SizeIs(2));
}

TEST_F(TraceTest, CallbacksThatPauseOrAreNestedKeepTheRulesToo)
{
    expectRules(traceOf(R"(
local inner = timer { Name = "inner", ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.01, TasksToExecute = 9,
  TimerFcn = function(t) if t.TasksExecuted % 3 == 0 then pause(0.02) end end, StopFcn = function() end }
local outer = timer { Name = "outer", TimerFcn = function() inner:start() inner:wait() inner:delete() end }
outer:start()
outer:wait()
)"));
}

TEST_F(TraceTest, NamesAreWrittenSoThatNoneBreaksTheFile)
{
    const Json trace = traceOf(R"(
local t = timer { Name = '"},\n{"ph":"X"} <b>\\ \x01 \xff', TimerFcn = function() end }
t:start() t:wait()
)");
    expectRules(trace);
    std::vector<std::string> tracks;
    for (const Json& event : eventsWith(trace, "name", "thread_name")) {
        tracks.push_back(event.at("args").at("name"));
    }
    EXPECT_EQ(tracks.back(), "\"},\n{\"ph\":\"X\"} <b>\\ \x01 \xef\xbf\xbd");
}

TEST_F(TraceTest, ExplainTellsFromATraceWhatTheScriptWasTold)
{
    const Outcome told = run(hogAndPoll + "print(poll:explain(2))", { "--trace", "trace.json" });
    const Outcome outcome = tovrin({ "explain", "trace.json", "--timer", "poll", "--run", "2" });

    EXPECT_EQ(outcome.out, told.out);
    EXPECT_THAT(outcome.out, HasSubstr("behind run 1 of hog (script.lua:2)"));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(tovrin({ "explain", "trace.json", "--worst", "1" }).out, StartsWith("poll run 2 "));
    EXPECT_THAT(linesWith(tovrin({ "explain", "trace.json" }).out, " started "), SizeIs(5));
    EXPECT_THAT(linesWith(tovrin({ "explain", "trace.json", "--timer", "hog" }).out, " started "), SizeIs(1));
}

TEST_F(TraceTest, WhatNeverRanIsToldWithItsReasonBehindWhatDid)
{
    const std::string script = R"(
local ran = timer { Name = "ran", TimerFcn = function() end }
ran:start() ran:wait()
for i = 1, 3 do
  local late = timer { Name = "late " .. i, StartDelay = 60, TimerFcn = function() end }
  late:start() late:stop()
end
)";
    run(script, { "--trace", "trace.json" });

    const auto told = [&](std::vector<std::string> options) {
        options.insert(options.begin(), { "explain", "trace.json" });
        return tovrin(options).out;
    };

    EXPECT_THAT(linesWith(told({}), " never ran: its timer was stopped, or had an error"), SizeIs(3));
    EXPECT_THAT(told({}), StartsWith("ran run 1 "));
    EXPECT_THAT(told({ "--timer", "late 2" }), StartsWith("late 2 next run (SingleShot) due 60."));
    EXPECT_THAT(told({ "--worst", "1" }), testing::EndsWith("\n2 more never ran\n"));
    EXPECT_THAT(told({ "--run", "1" }), testing::Not(HasSubstr("never ran")));
}

TEST_F(TraceTest, ATraceThatWasCutShortIsReadAsFarAsItGoes)
{
    traceOf(hogAndPoll);
    const std::string whole = read("trace.json");
    for (const std::size_t left : { whole.size() - 1, whole.size() - 40, whole.rfind("\"firing\"") + 60 }) {
        write("cut.json", whole.substr(0, left));
        const Outcome outcome = tovrin({ "explain", "cut.json" });
        EXPECT_EQ(outcome.err, "") << left;
        EXPECT_THAT(outcome.out, HasSubstr("poll run 2")) << left;
        EXPECT_EQ(outcome.status, 0) << left;
    }
}

TEST_F(TraceTest, AFileThatIsNoTraceOrIsDamagedIsToldSo)
{
    const std::string noTrace
        = "is no trace of tovrin: it does not begin like one that tovrin run --trace has written\n";
    const auto expectRefusal = [&](const std::string& text, const std::string& error) {
        write("wrong.json", text);
        const Outcome outcome = tovrin({ "explain", "wrong.json" });
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "tovrin: " + error);
        EXPECT_EQ(outcome.status, failed);
    };
    for (const std::string text : { "", "{}", "[", "[\n]\n", "[\n{\"ph\":\"M\"}\n]\n",
             "\x7f"
             "ELF\n" }) {
        expectRefusal(text, "\"wrong.json\" " + noTrace);
    }
    expectRefusal(
        std::string(1'000'000, 'x'), "the trace \"wrong.json\": line 1 is longer than any that tovrin writes\n");

    traceOf(hogAndPoll);
    std::string damaged = read("trace.json");
    damaged.replace(damaged.find("\"kind\":2", damaged.find("\"cat\":\"firing\"")), 8, "\"kind\":3");
    const auto line = std::count(
        damaged.begin(), damaged.begin() + static_cast<std::ptrdiff_t>(damaged.find("\"kind\":3")), '\n');
    expectRefusal(damaged, "the trace \"wrong.json\": line " + std::to_string(line + 1) + " is damaged\n");

    EXPECT_EQ(tovrin({ "explain", "missing.json" }).err,
        "tovrin: cannot open the trace \"missing.json\": No such file or directory\n");
    EXPECT_EQ(tovrin({ "explain", "trace.json", "--timer", "pool", "--run", "7" }).err,
        "tovrin: the trace \"trace.json\" holds no callback of a timer \"pool\" with the run number 7\n");
}

TEST_F(TraceTest, WrongOptionsAreRefusedWithWhatIsAllowed)
{
    const auto expectRefusal = [&](const Words& words, const std::string& error) {
        write("script.lua", "print('ran')");
        const Outcome outcome = tovrin(words);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr(error));
        EXPECT_EQ(outcome.status, wrongUsage);
    };
    for (const std::string number : { "0", "-1", "x", "1.5", "1001" }) {
        expectRefusal({ "explain", "trace.json", "--worst=" + number },
            "--worst: \"" + number + "\" is not allowed: it must be a whole number from 1 to 1000\n"
                + "Try 'tovrin explain --help'.\n");
    }
    expectRefusal(
        { "explain", "trace.json", "--run=0" }, "--run: \"0\" is not allowed: it must be a whole number from 1");
    expectRefusal({ "explain" }, "FILE is required");
    for (const std::string number : { "-1", "x", "nan", "inf", "1s", "9000000001" }) {
        expectRefusal({ "run", "--late-above=" + number, "script.lua" },
            "--late-above: \"" + number
                + "\" is not allowed: it must be a number of seconds from 0 to 9000000000\n");
    }
}

TEST_F(TraceTest, ATraceThatCannotBeOpenedIsNamedAndNothingRuns)
{
    const Outcome outcome = run("print('ran')", { "--trace", "missing/trace.json" });

    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "tovrin: cannot open the trace \"missing/trace.json\": No such file or directory\n");
    EXPECT_EQ(outcome.status, failed);
}

TEST_F(TraceTest, LateCallbacksAreToldOfOnceInASecondAndTheOthersAreCounted)
{
    rehearse();
    const std::string script = R"(
local hog = timer { Name = "hog", StartDelay = 0.05, TimerFcn = function() busy(0.5) end }
local late = timer {
  Name = "late", ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.02, TasksToExecute = 5, StartDelay = 0.06,
  TimerFcn = function() end,
}
hog:start() late:start()
late:wait()
)";
    const Outcome outcome = run(script, { "--late-above", "0.05" });

    EXPECT_THAT(linesWith(outcome.err, " started "),
        ElementsAre(StartsWith("tovrin: late: late run 1 (FixedRate, Queue")));
    EXPECT_THAT(outcome.err, HasSubstr("behind run 1 of hog (script.lua:2)"));
    EXPECT_THAT(lines(outcome.err).back(),
        MatchesRegex("tovrin: late: " + std::string(hasVirtualTime ? "4" : ".")
            + " more callbacks? w\\w+ late and left out"));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(run(script, { "--late-above", "60" }).err, "");
}

} // namespace

} // namespace scripts
