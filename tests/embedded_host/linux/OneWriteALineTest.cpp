#include "embedded_host/log/LogSinks.hpp"
#include "tests/embedded_host/RecordCollector.hpp"

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace tovrinhost {
namespace {

/// Standard error as a pipe that keeps writes apart: each reading gives one of them.
class PacketPipe {
public:
    PacketPipe()
    {
        EXPECT_EQ(pipe2(m_ends.data(), O_DIRECT | O_NONBLOCK | O_CLOEXEC), 0);
        m_saved = dup(STDERR_FILENO);
        EXPECT_EQ(dup2(m_ends[1], STDERR_FILENO), STDERR_FILENO);
    }

    PacketPipe(const PacketPipe&) = delete;
    PacketPipe& operator=(const PacketPipe&) = delete;

    ~PacketPipe()
    {
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
        close(m_ends[0]);
        close(m_ends[1]);
    }

    /// The next write, or nothing if there is none.
    std::string next()
    {
        std::array<char, 4096> packet {};
        const ssize_t size = read(m_ends[0], packet.data(), packet.size());
        return size > 0 ? std::string(packet.data(), static_cast<std::size_t>(size)) : std::string();
    }

private:
    std::array<int, 2> m_ends {};
    int m_saved = -1;
};

TEST(OneWriteALineTest, ALongLineIsWrittenAtOnce)
{
    Logger logger("onewrite::test");
    logger.set_mask(4);
    const std::string longText(3000, 'x');
    std::string first;
    std::string second;
    std::string third;
    {
        PacketPipe standardError;
        logToStandardError();
        write(logger, 4, longText);
        write(logger, 4, "short");
        stopLogging();
        first = standardError.next();
        second = standardError.next();
        third = standardError.next();
    }

    const std::size_t timeSize = 27;
    EXPECT_EQ(first.substr(timeSize), "[onewrite::test] 0x04 " + longText + "\n");
    EXPECT_EQ(second.substr(timeSize), "[onewrite::test] 0x04 short\n");
    EXPECT_EQ(third, "");
}

} // namespace
} // namespace tovrinhost
