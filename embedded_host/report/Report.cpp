#include "embedded_host/report/Report.hpp"

#include "embedded_host/report/Page.hpp"
#include "embedded_host/report/ReportData.hpp"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace tovrinhost {

namespace {

[[noreturn]] void failToWrite(const std::string& file, int error)
{
    throw std::runtime_error(
        "the report \"" + file + "\" cannot be written: " + std::generic_category().message(error));
}

} // namespace

void writeReport(const std::string& traceFile, const TraceWindow& window, const std::string& pageFile)
{
    const TraceContents trace(traceFile, window);
    if (trace.firings().empty()) {
        throw std::runtime_error("the trace \"" + traceFile + "\" holds no firing to report");
    }
    const std::string data = reportData(trace);
    errno = 0;
    std::ofstream page(pageFile, std::ios::binary | std::ios::trunc);
    if (!page) {
        failToWrite(pageFile, errno);
    }
    page << pageBeforeData << data << pageBehindData;
    page.close();
    if (!page) {
        const int error = errno;
        std::error_code ignored;
        if (std::filesystem::is_regular_file(pageFile, ignored)) {
            std::filesystem::remove(pageFile, ignored);
        }
        failToWrite(pageFile, error);
    }
}

} // namespace tovrinhost
