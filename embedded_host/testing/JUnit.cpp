#include "embedded_host/testing/JUnit.hpp"

#include "embedded_host/log/Escape.hpp"
#include "embedded_host/log/ValidText.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace tovrinhost {

namespace {

/// Fit to stand in XML: its own signs as entities; what must not be there at all, in no form, written out. Line
/// breaks and tabs stay.
std::string xmlText(std::string_view text)
{
    constexpr std::string_view special = "&<>\"";
    constexpr std::array<std::string_view, special.size()> entities { "&amp;", "&lt;", "&gt;", "&quot;" };
    std::string result;
    const std::string valid = validText(text);
    for (std::size_t i = 0; i < valid.size(); ++i) {
        const char letter = valid[i];
        const std::size_t place = special.find(letter);
        const std::string three = valid.substr(i, 3);
        if (place != std::string_view::npos) {
            result += entities[place];
        } else if (three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF") {
            result += three == "\xEF\xBF\xBE" ? "\\ufffe" : "\\uffff"; // no characters
            i += 2;
        } else {
            result += letter == '\n' || letter == '\t' ? std::string(1, letter) : escape({ &letter, 1 });
        }
    }
    return result;
}

/// ` name="value"`
std::string attribute(const char* name, std::string_view value)
{
    return ' ' + std::string(name) + "=\"" + xmlText(escape(value)) + '"';
}

std::string attribute(const char* name, std::size_t number)
{
    return attribute(name, std::to_string(number));
}

std::string attribute(const char* name, RealTime time)
{
    std::array<char, 32> text {};
    std::snprintf(text.data(), text.size(), "%.6f", time.count());
    return attribute(name, std::string_view(text.data()));
}

/// `<failure message="the first line">all of it</failure>`
std::string complaint(const std::string& element, const std::string& text)
{
    return "      <" + element + attribute("message", std::string_view(text).substr(0, text.find('\n'))) + '>'
        + xmlText(text) + "</" + element + ">\n";
}

std::string testCase(
    const std::string& file, const TestDeclaration& test, RealTime time, const std::string& inside)
{
    const std::string begin = "    <testcase" + attribute("classname", file) + attribute("name", test.name)
        + attribute("file", file) + attribute("line", static_cast<std::size_t>(test.line))
        + attribute("time", time);
    return inside.empty() ? begin + "/>\n" : begin + ">\n" + inside + "    </testcase>\n";
}

struct Sums {
    std::size_t tests = 0;
    std::size_t failures = 0;
    std::size_t errors = 0;
    RealTime time { 0 };

    std::string attributes() const
    {
        return attribute("tests", tests) + attribute("failures", failures) + attribute("errors", errors)
            + attribute("time", time);
    }
};

Sums sumsOf(const FileResult& file)
{
    Sums sums;
    sums.errors = file.error.empty() ? 0 : 1;
    sums.tests = file.tests.size() + sums.errors;
    for (const TestResult& result : file.tests) {
        sums.failures += result.failure.empty() ? 0 : 1;
        sums.time += result.time;
    }
    return sums;
}

std::string suite(const FileResult& file)
{
    std::string text
        = "  <testsuite" + attribute("name", std::string_view(file.file)) + sumsOf(file).attributes() + ">\n";
    if (!file.error.empty()) {
        text += testCase(file.file, { "the file", 1 }, RealTime(0), complaint("error", file.error));
    }
    for (const TestResult& result : file.tests) {
        const std::string failure = result.failure.empty()
            ? ""
            : complaint("failure", result.failure + "\nseed " + std::to_string(result.seed));
        text += testCase(file.file, result.test, result.time, failure);
    }
    return text + "  </testsuite>\n";
}

} // namespace

std::string junitText(const std::vector<FileResult>& files)
{
    Sums all;
    std::string suites;
    for (const FileResult& file : files) {
        const Sums sums = sumsOf(file);
        all.tests += sums.tests;
        all.failures += sums.failures;
        all.errors += sums.errors;
        all.time += sums.time;
        suites += suite(file);
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + all.attributes() + ">\n" + suites
        + "</testsuites>\n";
}

JUnitFile::JUnitFile(const std::string& path)
    : m_path(path)
    , m_file(path, std::ios::binary)
{
    failUnlessGood();
}

void JUnitFile::write(const std::vector<FileResult>& files)
{
    m_file << junitText(files) << std::flush;
    failUnlessGood();
}

void JUnitFile::failUnlessGood() const
{
    if (!m_file) {
        throw std::system_error(
            errno, std::generic_category(), "--junit: \"" + escape(m_path) + "\" cannot be written");
    }
}

} // namespace tovrinhost
