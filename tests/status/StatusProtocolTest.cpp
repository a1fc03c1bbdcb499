#include "embedded_host/status/StatusProtocol.hpp"
#include "tests/status/MadeUpStatus.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tovrinhost {

namespace {

using testing::Each;
using testing::HasSubstr;

std::string answerTo(const std::string& request)
{
    const Diagnosis diagnosis;
    return protocol::answer(request, diagnosis, 123, "script.lua");
}

template <typename Read> std::string complaint(const Read& read, const std::string& answer)
{
    try {
        read(answer);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "none";
}

TEST(StatusProtocolTest, AStatusIsReadAsItWasWritten)
{
    auto timer = madeUpTimer(1, "a\n\x1b\"<\xC3\xBC>", 5);
    auto fresh = TimerStatus {};
    fresh.number = 2;
    ProgramStatus written = madeUpStatus({ timer, fresh });
    written.moreTimers = 9;
    const std::string text = protocol::toJson(written);
    const ProgramStatus read = protocol::readStatus(text);
    EXPECT_EQ(read.process, 123);
    EXPECT_EQ(read.script, "script.lua");
    EXPECT_EQ(read.now, 12.5);
    EXPECT_EQ(read.moreTimers, 9U);
    ASSERT_EQ(read.timers.size(), 2U);
    EXPECT_EQ(read.timers[0].name, timer.name);
    EXPECT_EQ(read.timers[0].settings, timer.settings);
    EXPECT_EQ(read.timers[0].state, TimerState::Due);
    EXPECT_EQ(read.timers[0].due, timer.due);
    EXPECT_EQ(read.timers[0].last, timer.last);
    EXPECT_EQ(read.timers[0].runs, 7U);
    EXPECT_EQ(read.timers[0].lateness99, timer.lateness99);
    EXPECT_EQ(read.timers[0].mostLateness, timer.mostLateness);
    EXPECT_EQ(read.timers[0].busy, 0.25);
    EXPECT_EQ(read.timers[0].dropped, 3U);
    EXPECT_EQ(read.timers[0].errors, 1U);
    EXPECT_EQ(read.timers[0].backlog, 2U);
    EXPECT_EQ(read.timers[1].state, TimerState::New);
    EXPECT_EQ(read.timers[1].due, std::nullopt);
    EXPECT_EQ(protocol::toJson(read), text);
}

TEST(StatusProtocolTest, AnAnswerIsOneLineOfPrintableAscii)
{
    std::string text = protocol::toJson(madeUpStatus({ madeUpTimer(1, "a\n\x1b\x7f\xC2\x9B\xC3\xBC", 5) }));
    EXPECT_EQ(text.back(), '\n');
    text.pop_back();
    EXPECT_THAT(text, Each(testing::AllOf(testing::Ge(' '), testing::Le('\x7f'))));
}

TEST(StatusProtocolTest, ARequestOfAnotherKindIsAnsweredWithWhatIsAllowed)
{
    for (const char* request : { "", "timers", "tovrin 2 timers", "GET / HTTP/1.1", "tovrin 1" }) {
        EXPECT_EQ(answerTo(request), "{\"error\":\"a request begins with \\\"tovrin 1 \\\"\",\"tovrin\":1}\n");
    }
    for (const char* request :
        { "tovrin 1 ", "tovrin 1 Timers", "tovrin 1 timers ", "tovrin 1 timer ", "tovrin 1 timer 0",
            "tovrin 1 timer -1", "tovrin 1 timer 1x", "tovrin 1 timer 99999999999999999999" }) {
        EXPECT_EQ(answerTo(request),
            "{\"error\":\"a request is \\\"timers\\\" or \\\"timer NUMBER\\\"\",\"tovrin\":1}\n");
    }
    EXPECT_THAT(answerTo("tovrin 1 timer 5"), HasSubstr("there is no timer with the number 5"));
    EXPECT_EQ(protocol::readStatus(answerTo("tovrin 1 timers")).script, "script.lua");
}

TEST(StatusProtocolTest, AnAnswerThatIsNoneIsRefused)
{
    const std::string notOurs = "the answer is not that of a program of this kind: ";
    const auto good = protocol::toJson(madeUpStatus({ madeUpTimer(1, "t", 5) }));
    const auto with = [&](const std::string& what, const std::string& instead) {
        std::string text = good;
        EXPECT_NE(text.find(what), std::string::npos) << what;
        return text.replace(text.find(what), what.size(), instead);
    };
    for (const std::string& answer :
        { std::string(), std::string("{"), std::string("[]"), std::string("7"), std::string("{}"),
            std::string(100'000, '['), good.substr(0, good.size() / 2), with("\"runs\":7", "\"runs\":-7"),
            with("\"runs\":7", "\"runs\":7.5"), with("\"due\":12.75", "\"due\":[]"),
            with("\"name\":\"t\"", "\"name\":7"), with("\"state\":\"due\"", "\"state\":\"odd\""),
            with("\"timers\":[", "\"timer\":["), with("\"now\":", "\"later\":"), with("\"t\"", "\"\xFF\"") }) {
        EXPECT_THAT(complaint(protocol::readStatus, answer), HasSubstr(notOurs)) << answer.substr(0, 300);
    }
    EXPECT_EQ(complaint(protocol::readStatus, with("\"tovrin\":1", "\"tovrin\":2")),
        notOurs + "it speaks version 2, not 1");
    EXPECT_EQ(complaint(protocol::readStatus, R"({"tovrin":1,"error":"odd"})"), "the program has answered: odd");
    EXPECT_EQ(complaint(protocol::readExplanation, R"({"tovrin":1,"explanation":"why"})"), "none");
    EXPECT_THAT(complaint(protocol::readExplanation, R"({"tovrin":1,"explanation":1})"), HasSubstr(notOurs));
}

} // namespace

} // namespace tovrinhost
