#include "tests/scripts/ScriptTest.hpp"

#include "tests/scripts/platform/Platform.hpp"

#include <boost/filesystem.hpp>
#include <boost/process.hpp>

#include <chrono>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>

namespace scripts {

namespace fs = boost::filesystem;
namespace bp = boost::process;

namespace {

/// No script of the tests needs as long, on however busy a machine.
constexpr std::chrono::seconds timeLimit { 60 };

/// Where lines end with them, they are no part of the output.
std::string withoutCarriageReturns(std::string text)
{
    std::erase(text, '\r');
    return text;
}

} // namespace

ScriptTest::ScriptTest()
    : m_folder((fs::temp_directory_path() / fs::unique_path("tovrin-%%%%-%%%%-%%%%")).string())
{
    fs::create_directory(m_folder);
}

ScriptTest::~ScriptTest()
{
    boost::system::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

Outcome ScriptTest::tovrin(const Words& words)
{
    return execute(TOVRIN_PROGRAM, words, {});
}

void ScriptTest::setInput(const std::string& text)
{
    m_input = write("input", text);
}

Outcome ScriptTest::run(const std::string& script, const Words& options, const Words& arguments)
{
    write("script.lua", script);
    return runFile("script.lua", options, arguments);
}

Outcome ScriptTest::runFile(const std::string& path, const Words& options, const Words& arguments)
{
    Words words { "run" };
    words.insert(words.end(), m_clock.begin(), m_clock.end());
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(path);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return tovrin(words);
}

void ScriptTest::expectOutput(const std::string& script, const std::string& output, const Words& arguments)
{
    const Outcome outcome = run(script, {}, arguments);
    EXPECT_EQ(outcome.out, output) << script;
    EXPECT_EQ(outcome.err, "") << script;
    EXPECT_EQ(outcome.status, 0) << script;
}

Outcome ScriptTest::runAndInterrupt(const std::string& script, const std::vector<std::string>& afterLines)
{
    write("script.lua", script);
    return execute(TOVRIN_PROGRAM, { "run", "script.lua" }, afterLines);
}

Outcome ScriptTest::shell(const std::string& commands)
{
    return execute("/bin/sh", { "-c", "TOVRIN='" TOVRIN_PROGRAM "'\n" + commands }, {});
}

void ScriptTest::rehearse()
{
    if (hasVirtualTime) {
        m_clock = { "--clock", "virtual" };
    }
}

std::string ScriptTest::write(const std::string& name, const std::string& text)
{
    const std::string path = (fs::path(m_folder) / name).string();
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path) << text;
    return path;
}

Outcome ScriptTest::execute(
    const std::string& program, const Words& words, const std::vector<std::string>& interruptAfter)
{
    bp::ipstream out;
    bp::ipstream err;
    const auto launch = [&](const auto& input) {
        return bp::child(
            program, bp::args(words), bp::start_dir(m_folder), input, bp::std_out > out, bp::std_err > err);
    };
    bp::child child = m_input.empty() ? launch(bp::std_in < bp::null) : launch(bp::std_in < fs::path(m_input));
    auto complaints = std::async(std::launch::async,
        [&err] { return std::string(std::istreambuf_iterator<char>(err), std::istreambuf_iterator<char>()); });
    std::promise<void> ended;
    auto endedInTime = std::async(std::launch::async, [&child, end = ended.get_future()] {
        const bool inTime = end.wait_for(timeLimit) == std::future_status::ready;
        if (!inTime) {
            child.terminate();
        }
        return inTime;
    });
    Outcome outcome {};
    auto awaited = interruptAfter.begin();
    for (std::string line; std::getline(out, line);) {
        line = withoutCarriageReturns(line);
        outcome.out += line + '\n';
        if (awaited != interruptAfter.end() && line == *awaited) {
            platform::pressControlC(child.id());
            ++awaited;
        }
    }
    outcome.err = withoutCarriageReturns(complaints.get());
    ended.set_value();
    EXPECT_TRUE(endedInTime.get()) << "the program has been killed after " << timeLimit.count()
                                   << " s; it printed:\n"
                                   << outcome.out << outcome.err;
    child.wait();
    outcome.status = child.exit_code();
    EXPECT_EQ(awaited, interruptAfter.end()) << "a line to wait for has not come";
    return outcome;
}

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        all.push_back(line);
    }
    return all;
}

std::vector<std::string> linesWith(const std::string& text, const std::string& piece)
{
    auto found = lines(text);
    std::erase_if(found, [&](const std::string& line) { return line.find(piece) == std::string::npos; });
    return found;
}

void retrySlower(const std::function<std::string(double)>& attempt)
{
    std::string wrong;
    for (const double factor : { 1.0, 2.0, 4.0, 8.0 }) {
        wrong = attempt(factor);
        if (wrong.empty() || testing::Test::HasFailure()) {
            return;
        }
    }
    ADD_FAILURE() << "even when everything is eight times as slow: " << wrong;
}

void expectMoment(double actual, double exact)
{
    constexpr double resolution = 0.001; // in which the engine keeps time
    constexpr double rounding = 1e-6; // of what scripts print
    if (hasVirtualTime) {
        EXPECT_NEAR(actual, exact, rounding);
    } else {
        EXPECT_GE(actual, exact - resolution);
    }
}

std::vector<double> numbersAfter(const std::string& text, const std::string& key)
{
    std::vector<double> numbers;
    for (const std::string& line : lines(text)) {
        if (line.rfind(key + " ", 0) == 0) {
            numbers.push_back(std::stod(line.substr(key.size() + 1)));
        }
    }
    return numbers;
}

} // namespace scripts
