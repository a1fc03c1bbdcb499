#include "embedded_host/report/Report.hpp"

#include "tests/embedded_host/ThrownMessage.hpp"
#include "tests/report/MadeUpTrace.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

namespace tovrinhost {

namespace {

TEST(ReportFileTest, AFullDeviceIsToldAndNotRemoved)
{
    MadeUpTrace made;
    made.add(made.run(1, 1, 1, 1, 2));
    const std::string trace = made.write();
    // By another name: what is removed by mistake is that.
    const TemporaryFile link;
    std::filesystem::create_symlink("/dev/full", link.path());

    EXPECT_EQ(thrownMessage<std::runtime_error>([&] { writeReport(trace, {}, link.path()); }),
        "the report \"" + link.path() + "\" cannot be written: No space left on device");
    EXPECT_TRUE(std::filesystem::is_symlink(link.path()));
}

} // namespace

} // namespace tovrinhost
