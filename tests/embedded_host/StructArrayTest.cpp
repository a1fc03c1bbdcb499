#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::tovrindata {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tovrinhost::thrownMessage;

class StructArrayTest : public testing::Test {
protected:
    Array text(const std::string& utf8) { return m_factory.createCharArray(utf8); }

    static std::string textOf(const StructArray& array, std::size_t index, const std::string& field)
    {
        return CharArray(array.getField(index, field)).toUTF8();
    }

    ArrayFactory m_factory;
};

TEST_F(StructArrayTest, KeepsTheOrderOfItsFields)
{
    const StructArray array = m_factory.createStructArray({ 1, 1 }, { "Type", "Data", "About" });

    EXPECT_EQ(array.getType(), ArrayType::Struct);
    EXPECT_EQ(array.getNumberOfElements(), 1U);
    EXPECT_THAT(array.getFieldNames(), ElementsAre("Type", "Data", "About"));
}

TEST_F(StructArrayTest, AFieldThatNobodySetIsEmpty)
{
    const StructArray array = m_factory.createStructArray({ 1, 2 }, { "Type" });

    EXPECT_EQ(array.getField(1, "Type").getType(), ArrayType::Empty);
}

TEST_F(StructArrayTest, EachFieldOfEachRecordHasAValueOfItsOwn)
{
    StructArray array = m_factory.createStructArray({ 2, 1 }, { "A", "B" });

    array.setField(0, "A", text("a0"));
    array.setField(0, "B", text("b0"));
    array.setField(1, "A", text("a1"));
    array.setField(1, "B", text("b1"));

    EXPECT_EQ(textOf(array, 0, "A"), "a0");
    EXPECT_EQ(textOf(array, 0, "B"), "b0");
    EXPECT_EQ(textOf(array, 1, "A"), "a1");
    EXPECT_EQ(textOf(array, 1, "B"), "b1");
}

TEST_F(StructArrayTest, AnArrayCanHoldAnEarlierStateOfItself)
{
    StructArray array = m_factory.createStructArray({ 1, 1 }, { "Self" });

    array.setField(0, "Self", array);

    const StructArray inner(array.getField(0, "Self"));
    EXPECT_EQ(inner.getField(0, "Self").getType(), ArrayType::Empty);
}

TEST_F(StructArrayTest, ARecordThatDoesNotExistIsAnError)
{
    StructArray array = m_factory.createStructArray({ 1, 2 }, { "Type" });
    const std::string message = "record 2 of an array: the index must be below 2";

    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { static_cast<void>(array.getField(2, "Type")); }), message);
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { array.setField(2, "Type", Array()); }), message);
}

TEST_F(StructArrayTest, AFieldThatDoesNotExistIsAnErrorThatNamesThoseThatDo)
{
    StructArray array = m_factory.createStructArray({ 1, 1 }, { "Type", "Data" });
    const std::string message = R"(field "type" of a record: the fields are "Type", "Data")";

    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { static_cast<void>(array.getField(0, "type")); }), message);
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { array.setField(0, "type", Array()); }), message);
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] {
        static_cast<void>(m_factory.createStructArray({ 1, 1 }, {}).getField(0, "type"));
    }),
        R"(field "type" of a record: the fields are none)");
}

TEST_F(StructArrayTest, AFailedSetFieldChangesNothing)
{
    StructArray array = m_factory.createStructArray({ 1, 1 }, { "Type" });
    array.setField(0, "Type", text("before"));
    const Array copy = array;

    EXPECT_THROW(array.setField(0, "Data", text("after")), std::out_of_range);

    EXPECT_EQ(textOf(array, 0, "Type"), "before");
    EXPECT_EQ(array.storage(), copy.storage());
}

TEST_F(StructArrayTest, IsNotMadeFromAnythingElse)
{
    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { static_cast<void>(StructArray(text("record"))); }),
        "StructArray made from an array of type Char: the type must be Struct");
}

TEST_F(StructArrayTest, HasNeitherFieldsNorRecordsOnceMovedFrom)
{
    StructArray source = m_factory.createStructArray({ 1, 1 }, { "Type" });

    const StructArray target = std::move(source);

    // NOLINTBEGIN(bugprone-use-after-move): that is the point
    EXPECT_THAT(source.getFieldNames(), IsEmpty());
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { source.setField(0, "Type", Array()); }),
        "record 0 of an array: the index must be below 0");
    // NOLINTEND(bugprone-use-after-move)
    EXPECT_THAT(target.getFieldNames(), ElementsAre("Type"));
}

} // namespace
} // namespace foundation::tovrindata
