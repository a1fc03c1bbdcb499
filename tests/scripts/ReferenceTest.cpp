#include "tests/scripts/ReferenceExamples.hpp"
#include "tests/scripts/ScriptTest.hpp"

#include <regex>
#include <set>

namespace scripts {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using tovrinhost::ReferenceEntry;
using Names = std::set<std::string>;

// ---- Its examples

class ReferenceExampleTest : public RehearsedTest, public testing::WithParamInterface<ReferenceEntry> { };

TEST_P(ReferenceExampleTest, PrintsWhatStandsBelowIt)
{
    const Example example = exampleOf(GetParam(), "lua");
    write("example.lua", example.code);
    const Outcome outcome = runFile("example.lua");
    EXPECT_TRUE(matches(outcome.out, example.output)) << outcome.out << "-- is expected to be --\n"
                                                      << example.output;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

INSTANTIATE_TEST_SUITE_P(Language, ReferenceExampleTest, testing::ValuesIn(entriesWithExample("lua")),
    [](const auto& entry) { return testName(entry.param); });

TEST(ReferenceTest, DotsStandForAnyText)
{
    EXPECT_TRUE(matches("a b c\n", "a b c\n"));
    EXPECT_TRUE(matches("a b c\n", "a ... c\n"));
    EXPECT_TRUE(matches("a b c\nd\n", "a ...\n"));
    EXPECT_TRUE(matches("a b c\n", "..."));
    EXPECT_FALSE(matches("a b c\n", "a b\n"));
    EXPECT_FALSE(matches("a b c\n", "b c\n"));
    EXPECT_FALSE(matches("a b c\n", "a ... d\n"));
    EXPECT_FALSE(matches("a b c\n", "b ... c\n"));
    EXPECT_FALSE(matches("a b\n", "a b ... b\n"));
    EXPECT_FALSE(matches("a", ""));
}

TEST(ReferenceTest, EachEntryHasAnExample)
{
    Names without;
    for (const ReferenceEntry& entry : reference()) {
        if (!entry.isSection()) {
            without.insert(testName(entry));
        }
    }
    for (const char* language : { "lua", testFile, "sh" }) {
        for (const ReferenceEntry& entry : entriesWithExample(language)) {
            without.erase(testName(entry));
        }
    }

    EXPECT_THAT(without, IsEmpty());
}

TEST(ReferenceTest, NoNameStandsTwiceInASection)
{
    std::vector<std::string> names;
    for (const ReferenceEntry& entry : reference()) {
        for (const std::string& name : entry.names) {
            names.push_back(std::string(entry.section) + " " + name);
        }
    }
    EXPECT_EQ(Names(names.begin(), names.end()).size(), names.size());
}

// ---- What there is, and what it tells of

/// What the reference has in a section.
Names documented(std::string_view section)
{
    Names names;
    for (const ReferenceEntry& entry : reference()) {
        if (entry.section == section && !entry.isSection()) {
            names.insert(entry.names.begin(), entry.names.end());
        }
    }
    return names;
}

Names sectionsThatBeginWith(const std::string& word)
{
    Names names;
    for (const ReferenceEntry& entry : reference()) {
        if (entry.isSection() && entry.heading.starts_with(word)) {
            names.emplace(entry.heading);
        }
    }
    return names;
}

/// The text of an entry as one line.
std::string textOf(const std::string& name)
{
    for (const ReferenceEntry& entry : reference()) {
        if (entry.names.front() == name) {
            return std::regex_replace(std::string(entry.text), std::regex("\n"), " ");
        }
    }
    return "";
}

Names operator+(Names a, const Names& b)
{
    a.insert(b.begin(), b.end());
    return a;
}

Names operator-(Names a, const Names& b)
{
    std::erase_if(a, [&](const std::string& name) { return b.contains(name); });
    return a;
}

Names matchesOf(const std::string& text, const std::string& pattern)
{
    const std::regex regex(pattern);
    Names all;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        all.insert(match->str(1));
    }
    return all;
}

/// The names that follow `words` in a text: "a, b, c".
Names namesBehind(const std::string& text, const std::string& words)
{
    std::smatch list;
    std::regex_search(text, list, std::regex(words + R"(((?:[A-Za-z]+(?:, )?)+))"));
    return matchesOf(list.str(1), "([A-Za-z]+)");
}

/// The globals of Lua 5.4.
const Names ofLua { "_G", "_VERSION", "assert", "collectgarbage", "coroutine", "debug", "dofile", "error",
    "getmetatable", "io", "ipairs", "load", "loadfile", "math", "next", "os", "package", "pairs", "pcall", "print",
    "rawequal", "rawget", "rawlen", "rawset", "require", "select", "setmetatable", "string", "table", "tonumber",
    "tostring", "type", "utf8", "warn", "xpcall" };

class ReferenceOfTest : public ScriptTest {
protected:
    Names linesOf(const std::string& script)
    {
        const Outcome outcome = run(script);
        const auto all = lines(outcome.out);
        return { all.begin(), all.end() };
    }

    /// What the assignment of a value that is hardly ever allowed says is allowed; empty where it is.
    std::string allowedFor(const std::string& property)
    {
        const std::string out = run(
            "print(pcall(function() timer { TimerFcn = print }." + property + " = coroutine.create(print) end))")
                                    .out;
        std::smatch allowed;
        return std::regex_search(out, allowed, std::regex("but must be (.*)")) ? allowed.str(1) : "";
    }

    /// The columns of a help's lines that tell of options.
    Names optionsOf(const Words& command)
    {
        Words words = command;
        words.emplace_back("--help");
        Names options;
        for (const std::string& group : matchesOf(tovrin(words).out, "\n  (-[^ ]*)")) {
            options = options + matchesOf(group, "([^,]+)");
        }
        return options;
    }
};

TEST_F(ReferenceOfTest, Properties)
{
    const std::string assign = run("print(pcall(function() timer { TimerFcn = print }.nosuchthing = 1 end))").out;
    const std::string read = run("print(pcall(function() return timer { TimerFcn = print }.nosuchthing end))").out;
    const Names assigned = namesBehind(assign, "he properties are ");
    Names callbacks;
    for (const std::string& name : assigned) {
        const std::string allowed = allowedFor(name);
        EXPECT_THAT(textOf(name), HasSubstr(allowed)) << name;
        if (allowed.starts_with("a function")) {
            callbacks.insert(name);
        }
    }

    EXPECT_EQ(documented("Callbacks"), callbacks);
    EXPECT_EQ(documented("Properties"), assigned - callbacks);
    EXPECT_EQ(documented("Read-only properties"), namesBehind(read, "he properties are ") - assigned);
}

TEST_F(ReferenceOfTest, Methods)
{
    const Names there = linesOf(R"(
local index = debug.getmetatable(timer { TimerFcn = print }).__index
for i = 1, 10 do
  local _, methods = debug.getupvalue(index, i)
  for name in pairs(type(methods) == "table" and methods or {}) do print("t:" .. name) end
end
)");
    const std::string read = run("print(pcall(function() return timer { TimerFcn = print }.nosuchthing end))").out;
    Names told;
    for (const std::string& name : namesBehind(read, "the methods are ")) {
        told.insert("t:" + name);
    }

    EXPECT_EQ(documented("Methods"), there);
    EXPECT_EQ(told, there); // an error tells of them, too
}

TEST_F(ReferenceOfTest, Functions)
{
    const Names globals = linesOf("for name in pairs(_G) do print(name) end");
    EXPECT_THAT(globals, IsSupersetOf(ofLua));

    Names inLibraries = documented("Functions");
    std::erase_if(inLibraries, [](const std::string& name) { return name.find('.') == std::string::npos; });
    for (const std::string& name : inLibraries) {
        EXPECT_EQ(run("print(type(" + name + "))").out, "function\n") << name;
    }
    EXPECT_EQ(documented("Functions") - inLibraries, globals - ofLua);
}

TEST_F(ReferenceOfTest, EventFields)
{
    const Names there = linesOf(R"(
local function show(_, event)
  for name in pairs(event) do print("event." .. name) end
end
timer { TimerFcn = show, StartFcn = show, StopFcn = show }:start()
timer { TimerFcn = error, ErrorFcn = show }:start()
)");

    EXPECT_EQ(documented("Event fields"), there);
}

TEST_F(ReferenceOfTest, Modes)
{
    EXPECT_EQ(documented("Execution modes"), matchesOf(allowedFor("ExecutionMode"), "\"([A-Za-z]+)\""));
    EXPECT_EQ(documented("Busy modes"), matchesOf(allowedFor("BusyMode"), "\"([A-Za-z]+)\""));
}

TEST_F(ReferenceOfTest, Options)
{
    EXPECT_EQ(documented("tovrin"), optionsOf({}));

    const std::string help = tovrin({ "--help" }).out;
    Names sections { "tovrin" };
    for (const std::string& command : matchesOf(help.substr(help.find("Subcommands:")), "\n  ([a-z]+)")) {
        const std::string section = "tovrin " + command;
        EXPECT_EQ(documented(section), optionsOf({ command })) << command;
        sections.insert(section);
    }
    EXPECT_EQ(sectionsThatBeginWith("tovrin"), sections);
}

TEST_F(ReferenceOfTest, NothingElse)
{
    const Names known { "Properties", "Callbacks", "Read-only properties", "Methods", "Functions", "Event fields",
        "Execution modes", "Busy modes", "Tests" };
    Names others;
    for (const ReferenceEntry& entry : reference()) {
        if (!entry.isSection() && !entry.section.starts_with("tovrin")) {
            others.emplace(entry.section);
        }
    }

    EXPECT_EQ(others, known);
}

} // namespace

} // namespace scripts
