#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

// What is said of arrays that cannot be made, or do not hold what is asked for.

namespace foundation::tovrindata {
namespace {

using tovrinhost::thrownMessage;
using Numbers = TypedArray<double>;

class ArrayErrorsTest : public testing::Test {
protected:
    ArrayFactory m_factory;
};

TEST_F(ArrayErrorsTest, ADoubleArrayNeedsAsManyValuesAsElements)
{
    const std::vector<double> five(5);

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] {
        m_factory.createDoubleArray({ 2, 3 }, five);
    }),
        "5 values for an array of 2x3: there must be 6");
    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] {
        m_factory.createDoubleArray({ 2, 2 }, five);
    }),
        "5 values for an array of 2x2: there must be 4");
}

TEST_F(ArrayErrorsTest, TheElementsMustBeOnesThatCanBeCounted)
{
    constexpr std::size_t half = std::size_t { 1 } << (std::numeric_limits<std::size_t>::digits / 2);
    const std::string extent = std::to_string(half);

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] {
        m_factory.createDoubleArray({ half, half }, {});
    }),
        "an array of " + extent + "x" + extent + " is too large: its elements must number at most "
            + std::to_string(std::numeric_limits<std::size_t>::max()));
    EXPECT_THROW(m_factory.createStructArray({ half, half / 2 }, { "A", "B" }), std::invalid_argument);
}

TEST_F(ArrayErrorsTest, FieldsMustDifferInName)
{
    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] {
        m_factory.createStructArray({ 1, 1 }, { "Type", "Data", "Type" });
    }),
        "two fields named \"Type\": the names must differ");
}

TEST_F(ArrayErrorsTest, AnArrayIsOnlyReadAsWhatItIs)
{
    const Array text = m_factory.createCharArray("1.5");
    const Array numbers = m_factory.createDoubleArray({ 1, 1 }, { 1.0 });

    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { static_cast<void>(CharArray(numbers)); }),
        "CharArray made from an array of type Double: the type must be Char");
    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { static_cast<void>(CharArray(Array())); }),
        "CharArray made from an array of type Empty: the type must be Char");
    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { static_cast<void>(Numbers(text)); }),
        "TypedArray<double> made from an array of type Char: the type must be Double");
    EXPECT_EQ(thrownMessage<std::invalid_argument>([&] { static_cast<void>(StructArray(text)); }),
        "StructArray made from an array of type Char: the type must be Struct");
}

TEST_F(ArrayErrorsTest, AnElementOrRecordMustExist)
{
    const auto numbers = m_factory.createDoubleArray({ 1, 2 }, { 1.0, 2.0 });
    auto records = m_factory.createStructArray({ 1, 2 }, { "Type" });
    const std::string noRecord = "record 2 of an array: the index must be below 2";

    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { static_cast<void>(numbers.at(2)); }),
        "element 2 of an array: the index must be below 2");
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { static_cast<void>(records.getField(2, "Type")); }), noRecord);
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { records.setField(2, "Type", Array()); }), noRecord);
}

TEST_F(ArrayErrorsTest, AFieldThatDoesNotExistIsToldWithThoseThatDo)
{
    auto record = m_factory.createStructArray({ 1, 1 }, { "Type", "Data" });
    const auto empty = m_factory.createStructArray({ 1, 1 }, {});
    const std::string message = R"(field "type" of a record: the fields are "Type", "Data")";

    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { static_cast<void>(record.getField(0, "type")); }), message);
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { record.setField(0, "type", Array()); }), message);
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { static_cast<void>(empty.getField(0, "type")); }),
        R"(field "type" of a record: the fields are none)");
}

TEST_F(ArrayErrorsTest, AnArrayThatWasMovedFromHasNothing)
{
    auto text = m_factory.createCharArray("text");
    auto numbers = m_factory.createDoubleArray({ 1, 1 }, { 1.0 });
    auto record = m_factory.createStructArray({ 1, 1 }, { "Type" });
    const std::vector<Array> elsewhere { std::move(text), std::move(numbers), std::move(record) };

    // NOLINTBEGIN(bugprone-use-after-move): that is the point
    EXPECT_EQ(text.toUTF8(), "");
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { static_cast<void>(numbers.at(0)); }),
        "element 0 of an array: the index must be below 0");
    EXPECT_THAT(record.getFieldNames(), testing::IsEmpty());
    EXPECT_EQ(thrownMessage<std::out_of_range>([&] { record.setField(0, "Type", Array()); }),
        "record 0 of an array: the index must be below 0");
    // NOLINTEND(bugprone-use-after-move)
}

} // namespace
} // namespace foundation::tovrindata
