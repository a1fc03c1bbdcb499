#include "tests/simulation/program/Program.hpp"
#include "tests/simulation/fuzz/Bytes.hpp"
#include "tests/simulation/run/Shrink.hpp"
#include "tests/simulation/run/Simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace simulation {

namespace {

std::string messageOf(const std::string& text)
{
    try {
        fromText(text);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

TEST(ProgramTest, TheTextOfAProgramGivesTheSameProgram)
{
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        const std::string text = toText(programOf(seed));
        ASSERT_EQ(toText(fromText(text)), text) << "seed " << seed;
    }
}

TEST(ProgramTest, AWrongLineIsNamed)
{
    const std::string timer
        = "timer mode=0 busy=0 period=1 delay=0 tasks=1 start=0 stop=0 error=0 lasts=0 onerror=0\n";
    EXPECT_EQ(messageOf(timer + "host-0 dance 0 0"), "line 2: unknown step \"dance\"");
    EXPECT_EQ(messageOf(timer + "guest-0 start 0 0"), "line 2: unknown line \"guest-0\"");
    EXPECT_EQ(messageOf("timer mode=0"), "line 1: \"busy=\" is missing");
    EXPECT_EQ(messageOf("weather rain"), "line 1: \"rain\" is not of the form name=value");
    EXPECT_EQ(messageOf(timer + "host-0 start 1 0"),
        "a program needs timers, and its steps name only those that it has");
}

TEST(ProgramTest, BytesGiveAProgramWhateverTheyAre)
{
    for (const std::size_t length : { 0U, 1U, 20U, 500U }) {
        Bytes bytes(std::vector<std::uint8_t>(length, 0xA7));
        const Program program = randomProgram(bytes);
        EXPECT_GE(program.timers.size(), 1U);
        EXPECT_EQ(toText(fromText(toText(program))), toText(program));
    }
}

TEST(ShrinkTest, OnlyWhatTheFailureNeedsIsLeft)
{
    // Fails where timer 1 is started by one host thread and stopped later in the list.
    const auto find
        = [](const Program& program, const std::string& gistOfFailure) -> std::optional<std::uint64_t> {
        const auto isStep
            = [](Verb verb) { return [verb](const Step& step) { return step.verb == verb && step.value > 0; }; };
        const auto start = std::find_if(program.steps.begin(), program.steps.end(), isStep(Verb::Start));
        const auto stop = std::find_if(start, program.steps.end(), isStep(Verb::Stop));
        EXPECT_EQ(gistOfFailure, "it is  o'clock");
        return stop != program.steps.end() ? std::optional(program.schedule + 1) : std::nullopt;
    };
    Program program = programOf(3);
    program.timers.resize(5);
    program.schedule = 1;
    program.steps.insert(program.steps.begin() + 1, { false, 0, Verb::Start, 3, 1.0 });
    program.steps.push_back({ true, 2, Verb::Stop, 4, 1.0 });

    const Program shorter = shrink(program, "it is 17 o'clock\nand more", find);

    ASSERT_EQ(shorter.steps.size(), 2U);
    EXPECT_EQ(shorter.steps[0].verb, Verb::Start);
    EXPECT_EQ(shorter.steps[1].verb, Verb::Stop);
    EXPECT_EQ(shorter.timers.size(), 3U); // those that the two name
    EXPECT_GT(shorter.schedule, program.schedule) << "the schedule that was found belongs to the program";
}

} // namespace

} // namespace simulation
