#include "tests/embedded_host/RecordCollector.hpp"

#include <gmock/gmock.h>

#include <thread>

namespace tovrinhost {
namespace {

using testing::ElementsAre;

std::vector<unsigned int> indents(const RecordCollector& collector)
{
    std::vector<unsigned int> all;
    for (const CollectedRecord& record : collector.records()) {
        all.push_back(record.indent);
    }
    return all;
}

TEST(IndentAttributeTest, CountsTheOpenScopes)
{
    const RecordCollector collector;
    Logger logger("indent::scopes");
    logger.set_mask(4);

    write(logger, 4, "outside");
    logger.indent().increase();
    write(logger, 4, "in one");
    logger.indent().increase();
    write(logger, 4, "in two");
    logger.indent().decrease();
    write(logger, 4, "in one");
    logger.indent().decrease();
    write(logger, 4, "outside");

    EXPECT_THAT(indents(collector), ElementsAre(0, 1, 2, 1, 0));
}

TEST(IndentAttributeTest, TheLoggersOfAThreadShareItsDepth)
{
    const RecordCollector collector;
    Logger opener("indent::opener");
    Logger writer("indent::writer");
    writer.set_mask(4);

    opener.indent().increase();
    write(writer, 4, "inside");
    opener.indent().decrease();
    write(writer, 4, "outside");

    EXPECT_THAT(indents(collector), ElementsAre(1, 0));
}

TEST(IndentAttributeTest, EachThreadHasADepthOfItsOwn)
{
    const RecordCollector collector;
    Logger logger("indent::threads");
    logger.set_mask(4);

    logger.indent().increase();
    std::thread([&logger] {
        write(logger, 4, "other");
        logger.indent().increase();
        logger.indent().increase();
        write(logger, 4, "other");
    }).join();
    write(logger, 4, "this");
    logger.indent().decrease();

    EXPECT_THAT(indents(collector), ElementsAre(0, 2, 1));
}

TEST(IndentAttributeTest, TheDepthIsThatOfTheMomentARecordOpens)
{
    const RecordCollector collector;
    Logger logger("indent::moment");
    logger.set_mask(4);

    boost::log::record record = logger.open_record(4);
    ASSERT_TRUE(record);
    logger.indent().increase();
    boost::log::record_ostream stream(record);
    stream << "opened outside";
    stream.flush();
    logger.push_record(std::move(record));
    logger.indent().decrease();

    EXPECT_THAT(indents(collector), ElementsAre(0));
}

TEST(IndentAttributeTest, OneDecreaseTooManyDoesNothing)
{
    const RecordCollector collector;
    Logger logger("indent::below");
    logger.set_mask(4);

    logger.indent().decrease();
    write(logger, 4, "outside");
    logger.indent().increase();
    write(logger, 4, "inside");
    logger.indent().decrease();

    EXPECT_THAT(indents(collector), ElementsAre(0, 1));
}

} // namespace
} // namespace tovrinhost
