#include "embedded_host/report/TraceContents.hpp"

#include "tests/embedded_host/ThrownMessage.hpp"
#include "tests/report/MadeUpTrace.hpp"

#include <gmock/gmock.h>

#include <stdexcept>

namespace tovrinhost {

namespace {

using testing::ElementsAre;

std::vector<std::uint64_t> numbersOf(const TraceContents& trace)
{
    std::vector<std::uint64_t> numbers;
    for (const Firing& firing : trace.firings()) {
        numbers.push_back(firing.number);
    }
    return numbers;
}

TEST(TraceContentsTest, FiringsStandInTheOrderInWhichTheyWereDue)
{
    MadeUpTrace made;
    made.add(made.run(1, 1, 200, 200, 201));
    made.add(made.run(1, 2, 100, 300, 301));

    EXPECT_THAT(numbersOf(TraceContents(made.write(), {})), ElementsAre(2, 1));
}

TEST(TraceContentsTest, AWindowShowsWhatWasDueStartedOrEndedWithinIt)
{
    MadeUpTrace made;
    made.add(made.run(1, 1, 100, 110, 120)); // before it
    made.add(made.run(1, 2, 130, 140, 150)); // ends as it begins
    made.add(made.run(1, 3, 140, 300, 310)); // around it
    made.add(made.run(1, 4, 200, 220, 230)); // due as it ends
    made.add(made.run(1, 5, 201, 220, 230)); // behind it
    Firing missed = made.run(1, 6, 260, 260, 261);
    missed.firstDue = 160 * ms;
    missed.missed = 1;
    made.add(missed); // one that it makes up for was due within it

    EXPECT_THAT(numbersOf(TraceContents(made.write(), { 150 * ms, 200 * ms })), ElementsAre(2, 3, 4, 6));
}

TEST(TraceContentsTest, TheWholeTimeBetweenDueAndStartIsExplained)
{
    MadeUpTrace made;
    const Firing hog = made.run(2, 1, 0, 10, 150);
    const Firing poll = made.run(1, 1, 100, 151, 152);
    made.add(hog);
    made.add(poll);
    made.addActivity(hog);
    made.addActivity(poll);
    const TraceContents trace(made.write(), {});

    const Explanation explanation = trace.explain(trace.firings()[1]);

    Nanoseconds sum = 0;
    Nanoseconds behindHog = 0;
    for (const Part& part : explanation.parts) {
        sum += part.length;
        if (part.cause == Cause::Queue && part.activity.doing == Doing::Callback) {
            EXPECT_EQ(part.activity.run, 1U);
            EXPECT_EQ(part.activity.timer.second, 2);
            behindHog += part.length;
        }
    }
    EXPECT_EQ(sum, 51 * ms);
    EXPECT_EQ(behindHog, 50 * ms);
}

TEST(TraceContentsTest, OtherDispatchesThatCameFirstAreFoundHoweverLongBefore)
{
    MadeUpTrace made;
    Firing slow = made.run(2, 1, 0, 300, 301);
    slow.taken = 120 * ms;
    Firing poll = made.run(1, 1, 100, 130, 131);
    poll.dispatched = poll.taken = 120 * ms;
    for (int i = 0; i < 50; ++i) {
        made.addDispatch(made.run(2, 2, 20 + i, 300, 301));
    }
    made.addDispatch(slow);
    made.add(poll);
    const TraceContents trace(made.write(), {});

    const Explanation explanation = trace.explain(trace.firings()[0]);

    ASSERT_FALSE(explanation.parts.empty());
    EXPECT_EQ(explanation.parts[0].cause, Cause::OtherDispatches);
    EXPECT_EQ(explanation.parts[0].length, 20 * ms);
}

TEST(TraceContentsTest, MoreFiringsThanAPageHoldsAreRefusedUnlessAWindowLeavesFewer)
{
    MadeUpTrace made;
    for (std::uint64_t run = 1; run <= 6; ++run) {
        const auto at = static_cast<Nanoseconds>(10 * run);
        made.add(made.run(1, run, at, at, at));
    }
    const std::string file = made.write();

    EXPECT_EQ(thrownMessage<std::runtime_error>([&] { TraceContents(file, {}, 5); }),
        "the trace \"" + file
            + "\" has 6 firings, and a page holds 5: take a part of its time with --from and --to");
    EXPECT_EQ(TraceContents(file, { 0, 59 * ms }, 5).firings().size(), 5U);
}

TEST(TraceContentsTest, LineEndsOfOtherSystemsDoNoHarm)
{
    MadeUpTrace made;
    made.add(made.run(1, 1, 100, 110, 120));
    std::string text = made.content();
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) {
        text.insert(at, "\r");
    }
    const TemporaryFile carried;
    std::ofstream(carried.path(), std::ios::binary) << text;

    EXPECT_THAT(numbersOf(TraceContents(carried.path(), {})), ElementsAre(1));
}

TEST(TraceContentsTest, WhatIsNoTraceIsRefused)
{
    EXPECT_EQ(thrownMessage<std::runtime_error>([] { TraceContents("/nowhere/trace.json", {}); }),
        "cannot open the trace \"/nowhere/trace.json\": No such file or directory");
    TemporaryFile file;
    std::ofstream(file.path()) << "{}\n";
    EXPECT_EQ(thrownMessage<std::runtime_error>([&] { TraceContents(file.path(), {}); }),
        "\"" + file.path()
            + "\" is no trace of tovrin: it does not begin like one that tovrin run --trace has written");
}

} // namespace

} // namespace tovrinhost
