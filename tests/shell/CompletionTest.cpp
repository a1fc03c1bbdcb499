#include "tests/shell/LuaFixture.hpp"

#include "embedded_host/shell/Completion.hpp"

namespace shell_tests {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class CompletionTest : public LuaFixture {
protected:
    using Words = std::vector<std::string>;

    /// What may stand at the end of the text instead of its last word; the word begins at `begin`.
    Words words(const std::string& text, std::size_t* begin = nullptr)
    {
        tovrinhost::Completion completion;
        after(R"lua(
            subject = { first = 1, firm = function() end, deep = { er = { x = 1 } }, ["not a name"] = 1 }
            setmetatable(subject, { __index = { fir = function() end } })
            trap = setmetatable({}, { __index = function() error("is run") end })
            beat = timer { Name = "beat one", TimerFcn = print }
            other = timer { Name = "other", TimerFcn = print }
        )lua",
            [&](tovrinhost::Interpreter& interpreter) {
                interpreter.protect([&](lua_State* state) {
                    completion = tovrinhost::complete(state, text, text.size());
                    EXPECT_EQ(lua_gettop(state), 0);
                    return 0;
                });
            });
        if (begin != nullptr) {
            *begin = completion.begin;
        }
        return completion.words;
    }
};

TEST_F(CompletionTest, GlobalsAndKeywords)
{
    std::size_t begin = 0;
    EXPECT_THAT(words("x = subj", &begin), ElementsAre("subject"));
    EXPECT_EQ(begin, 4U);
    EXPECT_THAT(words("fun"), ElementsAre("function"));
    EXPECT_THAT(words("nosuchname"), IsEmpty());
}

TEST_F(CompletionTest, FieldsAndMethodsOfTables)
{
    std::size_t begin = 0;
    EXPECT_THAT(words("print(subject.fir", &begin), ElementsAre("fir", "firm", "first"));
    EXPECT_EQ(begin, 14U);
    EXPECT_THAT(words("subject:fir"), ElementsAre("fir", "firm"));
    EXPECT_THAT(words("subject.deep.er."), ElementsAre("x"));
    EXPECT_THAT(words("subject.no.er."), IsEmpty());
    EXPECT_THAT(words("subject.first."), IsEmpty());
    EXPECT_THAT(words("string.gs"), ElementsAre("gsub"));
}

TEST_F(CompletionTest, MethodsOfTexts)
{
    EXPECT_THAT(words("_VERSION:up"), ElementsAre("upper"));
}

TEST_F(CompletionTest, NoCodeOfScriptsIsRun)
{
    EXPECT_THAT(words("trap."), IsEmpty());
    EXPECT_THAT(words("trap.x.y"), IsEmpty());
}

TEST_F(CompletionTest, PropertiesAndMethodsOfTimers)
{
    EXPECT_THAT(words("beat."),
        AllOf(Contains("Period"), Contains("TimerFcn"), Contains("Running"), Not(Contains("start"))));
    EXPECT_THAT(words("beat:st"), AllOf(Contains("start"), Contains("stop"), Contains("statistics")));
    EXPECT_THAT(words("beat:P"), IsEmpty());
}

TEST_F(CompletionTest, ModesAndNamesOfTimersInQuotes)
{
    std::size_t begin = 0;
    EXPECT_THAT(words("beat.ExecutionMode = \"Fixed", &begin),
        ElementsAre("FixedDelay\"", "FixedRate\"", "FixedSpacing\""));
    EXPECT_EQ(begin, 22U);
    EXPECT_THAT(words("timer { BusyMode = '"), ElementsAre("Drop'", "Error'", "Queue'"));
    EXPECT_THAT(words("if beat.BusyMode == 'Q"), ElementsAre("Queue'"));
    EXPECT_THAT(words("find(\""), ElementsAre("beat one\"", "other\""));
    EXPECT_THAT(words("find 'be"), ElementsAre("beat one'"));
    EXPECT_THAT(words("timers { Name = 'o"), ElementsAre("other'"));
    EXPECT_THAT(words("print('"), IsEmpty());
    EXPECT_THAT(words("x = 'it\\'s' .. subj"), ElementsAre("subject"));
}

} // namespace

} // namespace shell_tests
