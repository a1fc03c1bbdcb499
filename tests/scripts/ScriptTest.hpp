#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace scripts {

/// What became of a run of the program.
struct Outcome {
    int status;
    std::string out;
    std::string err;
};

using Words = std::vector<std::string>;

/// The exit status.
inline constexpr int wrongUsage = 2;

/// Makes the fixtures' folder, and takes it away again. `tovrin` runs in that folder, so a script's file has the
/// short name "script.lua" in what it prints.
class ScriptTest : public testing::Test {
protected:
    ScriptTest();
    ~ScriptTest() override;

    /// Runs `tovrin` with these words.
    Outcome tovrin(const Words& words);

    /// What standard input holds from now on; nothing before.
    void setInput(const std::string& text);

    /// Runs a script.
    Outcome run(const std::string& script, const Words& options = {}, const Words& arguments = {});

    /// Runs the script of a file.
    Outcome runFile(const std::string& path, const Words& options = {}, const Words& arguments = {});

    /// Runs a script that is to end well, with this output and no complaint.
    void expectOutput(const std::string& script, const std::string& output, const Words& arguments = {});

    /// Runs a script, and presses Ctrl-C after each of these lines of its output has come.
    Outcome runAndInterrupt(const std::string& script, const std::vector<std::string>& afterLines);

    /// Runs commands of the system's shell, in which $TOVRIN is the program.
    Outcome shell(const std::string& commands);

    /// Writes a file into the folder. \returns its path
    std::string write(const std::string& name, const std::string& text);

    const std::string& folder() const { return m_folder; }

    /// Has scripts run in virtual time from now on, where there is a program for it.
    void rehearse();

private:
    Outcome execute(
        const std::string& program, const Words& words, const std::vector<std::string>& interruptAfter);

    std::string m_folder;
    std::string m_input; // a file; empty for none
    Words m_clock; // the options that name it
};

/// Whether scripts can run in virtual time: not where ThreadSanitizer watches, which knows nothing of it.
inline constexpr bool hasVirtualTime = TOVRIN_HAS_VIRTUAL_TIME != 0;

/// For tests that tell of order, counts and texts: `run`, `runFile` and `expectOutput` are done in virtual time,
/// where a second takes none. In builds that have no virtual time they are done in real time: what such a test
/// asserts has to hold there too.
template <typename Test> class Rehearsed : public Test {
protected:
    Rehearsed() { this->rehearse(); }
};

using RehearsedTest = Rehearsed<ScriptTest>;

/// What a rehearsed script has told in seconds: that moment in virtual time; in real time, not an earlier one.
void expectMoment(double actual, double exact);

/// The lines of a text.
std::vector<std::string> lines(const std::string& text);

/// Those that contain a piece of text.
std::vector<std::string> linesWith(const std::string& text, const std::string& piece);

/// Repeats an attempt whose upper bounds a loaded machine may miss, each time with everything twice as slow.
/// \param attempt given the factor; returns what was wrong, empty if nothing. Lower bounds it asserts itself.
void retrySlower(const std::function<std::string(double)>& attempt);

/// The number that follows `key` in each line that begins with it.
std::vector<double> numbersAfter(const std::string& text, const std::string& key);

} // namespace scripts
