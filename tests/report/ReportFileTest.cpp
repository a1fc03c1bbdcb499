#include "embedded_host/report/Report.hpp"

#include "embedded_host/report/ReportData.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"
#include "tests/report/MadeUpTrace.hpp"

#include <gmock/gmock.h>

#include <stdexcept>

namespace tovrinhost {

namespace {

using testing::HasSubstr;
using testing::Not;

TEST(ReportFileTest, ThePageHoldsTheDataAndAsksNobodyForMore)
{
    MadeUpTrace made;
    for (int i = 0; i < 10'000; ++i) {
        made.add(made.run(1, static_cast<std::uint64_t>(i) + 1, i, i, i));
    }
    const std::string trace = made.write();
    TemporaryFile page;

    writeReport(trace, {}, page.path());

    const std::string content = page.content();
    const std::string data = reportData(TraceContents(trace, {}));
    EXPECT_THAT(content, testing::StartsWith("<!doctype html>"));
    EXPECT_NE(content.find(data), std::string::npos);
    EXPECT_LT(content.size() - data.size(), 200'000U);
    for (const char* const asking : { "http://", "https://", "src=", "href=", "@import", "url(" }) {
        EXPECT_EQ(content.find(asking), std::string::npos) << asking;
    }
    for (const char* const placeholder : { "page.css", "page.js", "/* data */" }) {
        EXPECT_EQ(content.find(placeholder), std::string::npos) << placeholder;
    }
}

TEST(ReportFileTest, ATraceWithoutFiringsIsNoReport)
{
    const MadeUpTrace made;
    const std::string trace = made.write();
    TemporaryFile page;

    EXPECT_EQ(thrownMessage<std::runtime_error>([&] { writeReport(trace, {}, page.path()); }),
        "the trace \"" + trace + "\" holds no firing to report");
    EXPECT_EQ(page.content(), "");
}

TEST(ReportFileTest, AFileThatCannotBeWrittenIsNamed)
{
    MadeUpTrace made;
    made.add(made.run(1, 1, 0, 0, 1));
    const std::string trace = made.write();

    EXPECT_EQ(thrownMessage<std::runtime_error>([&] { writeReport(trace, {}, "/nowhere/report.html"); }),
        "the report \"/nowhere/report.html\" cannot be written: No such file or directory");
}

} // namespace

} // namespace tovrinhost
