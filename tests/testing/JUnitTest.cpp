#include "embedded_host/testing/JUnit.hpp"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace testing_tests {

namespace {

using boost::property_tree::ptree;
using testing::HasSubstr;
using tovrinhost::FileResult;
using tovrinhost::junitText;
using tovrinhost::RealTime;

ptree parsed(const std::vector<FileResult>& files)
{
    std::istringstream text(junitText(files));
    ptree tree;
    read_xml(text, tree);
    return tree;
}

std::string attribute(const ptree& element, const std::string& name)
{
    return element.get<std::string>("<xmlattr>." + name);
}

const FileResult twoTests { "beat_test.lua", "",
    { { { "beats", 3 }, "", 0, RealTime(0.25) },
        { { "stops", 9 }, "beat_test.lua:11: toBe does not hold\n    expected: 1\n    actual:   2", 7,
            RealTime(0.5) } } };

TEST(JUnitTest, ASuiteForEachFileAndACaseForEachTest)
{
    const ptree all = parsed({ twoTests, { "empty_test.lua", "no tests here", {} } }).get_child("testsuites");
    EXPECT_EQ(attribute(all, "tests"), "3");
    EXPECT_EQ(attribute(all, "failures"), "1");
    EXPECT_EQ(attribute(all, "errors"), "1");
    EXPECT_EQ(attribute(all, "time"), "0.750000");
    EXPECT_EQ(all.count("testsuite"), 2U);

    const ptree& suite = all.get_child("testsuite");
    EXPECT_EQ(attribute(suite, "name"), "beat_test.lua");
    EXPECT_EQ(attribute(suite, "tests"), "2");
    EXPECT_EQ(suite.count("testcase"), 2U);

    const ptree& beats = suite.get_child("testcase");
    EXPECT_EQ(attribute(beats, "name"), "beats");
    EXPECT_EQ(attribute(beats, "classname"), "beat_test.lua");
    EXPECT_EQ(attribute(beats, "line"), "3");
    EXPECT_EQ(attribute(beats, "time"), "0.250000");
    EXPECT_EQ(beats.count("failure"), 0U);

    const ptree& failure = suite.rbegin()->second.get_child("failure");
    EXPECT_EQ(attribute(failure, "message"), "beat_test.lua:11: toBe does not hold");
    EXPECT_EQ(failure.data(), "beat_test.lua:11: toBe does not hold\n    expected: 1\n    actual:   2\nseed 7");

    const ptree& empty = all.rbegin()->second;
    EXPECT_EQ(attribute(empty, "errors"), "1");
    EXPECT_EQ(attribute(empty.get_child("testcase.error"), "message"), "no tests here");
}

TEST(JUnitTest, WhatXmlHasNoRoomForIsWrittenOut)
{
    const std::string text = "<a> & \"b\"\1\x1b]]>\tz\xc3\xa4h\xff\xef\xbf\xbe" + std::string(1, '\0');
    const std::vector<FileResult> files { { "f", "", { { { text, 1 }, text + "\n&", 0, RealTime(0) } } } };
    const ptree test = parsed(files).get_child("testsuites.testsuite.testcase");

    const std::string shown = "<a> & \"b\"\\x01\\x1b]]>\\tz\xc3\xa4h\\xff\\ufffe\\x00";
    EXPECT_EQ(attribute(test, "name"), shown);
    EXPECT_EQ(attribute(test.get_child("failure"), "message"), shown);
    EXPECT_EQ(
        test.get_child("failure").data(), "<a> & \"b\"\\x01\\x1b]]>\tz\xc3\xa4h\\xff\\ufffe\\x00\n&\nseed 0");
    EXPECT_THAT(junitText(files), HasSubstr("name=\"&lt;a&gt; &amp; &quot;b&quot;\\x01\\x1b]]&gt;\\tz"));
}

} // namespace

} // namespace testing_tests
