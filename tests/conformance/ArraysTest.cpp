#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <type_traits>

namespace conformance {

namespace {

using namespace foundation::tovrindata;
using testing::ElementsAre;
using Numbers = TypedArray<double>;

static_assert(std::is_nothrow_move_constructible_v<Array>);
static_assert(std::is_nothrow_move_assignable_v<Array>);
static_assert(std::is_nothrow_destructible_v<Array>);

class ArraysTest : public testing::Test {
protected:
    tovrin::ServerArrayFactory m_factory;
};

TEST_F(ArraysTest, ADefaultArrayIsEmpty)
{
    const Array array;

    EXPECT_EQ(array.getType(), ArrayType::Empty);
    EXPECT_THAT(array.getDimensions(), ElementsAre(0, 0));
    EXPECT_EQ(array.getNumberOfElements(), 0U);
}

TEST_F(ArraysTest, CharactersAreARow)
{
    const auto text = m_factory.createCharArray("TimerFcn");

    EXPECT_EQ(text.getType(), ArrayType::Char);
    EXPECT_THAT(text.getDimensions(), ElementsAre(1, 8));
    EXPECT_EQ(text.getNumberOfElements(), 8U);
    EXPECT_EQ(text.toUTF8(), "TimerFcn");
}

TEST_F(ArraysTest, NoCharactersAreAnEmptyArrayOfCharacters)
{
    const auto text = m_factory.createCharArray("");

    EXPECT_EQ(text.getType(), ArrayType::Char);
    EXPECT_THAT(text.getDimensions(), ElementsAre(0, 0));
    EXPECT_EQ(text.getNumberOfElements(), 0U);
    EXPECT_EQ(text.toUTF8(), "");
}

TEST_F(ArraysTest, TextBeyondAsciiComesBackAsItWas)
{
    EXPECT_EQ(m_factory.createCharArray("\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80").toUTF8(),
        "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80");
}

TEST_F(ArraysTest, NumbersAreStoredColumnByColumn)
{
    const auto numbers = m_factory.createDoubleArray({ 2, 3 }, { 1, 2, 3, 4, 5, 6 });

    EXPECT_EQ(numbers.getType(), ArrayType::Double);
    EXPECT_THAT(numbers.getDimensions(), ElementsAre(2, 3));
    EXPECT_EQ(numbers.getNumberOfElements(), 6U);
    EXPECT_EQ(numbers.at(0), 1.0);
    EXPECT_EQ(numbers.at(5), 6.0);
    EXPECT_THROW(numbers.at(6), std::out_of_range);
}

TEST_F(ArraysTest, AsManyNumbersAreWantedAsTheDimensionsSay)
{
    EXPECT_THROW(m_factory.createDoubleArray({ 1, 6 }, { 1, 2, 3 }), std::invalid_argument);
    EXPECT_THROW(m_factory.createDoubleArray({ 1, 0 }, { 1 }), std::invalid_argument);
}

TEST_F(ArraysTest, RecordsKeepTheOrderOfTheirFields)
{
    const auto record = m_factory.createStructArray({ 1, 1 }, { "Type", "Data", "A" });

    EXPECT_EQ(record.getType(), ArrayType::Struct);
    EXPECT_THAT(record.getDimensions(), ElementsAre(1, 1));
    EXPECT_EQ(record.getNumberOfElements(), 1U);
    EXPECT_THAT(record.getFieldNames(), ElementsAre("Type", "Data", "A"));
    EXPECT_EQ(record.getField(0, "Data").getType(), ArrayType::Empty);
}

TEST_F(ArraysTest, FieldsAreSetOneByOne)
{
    auto record = m_factory.createStructArray({ 1, 2 }, { "Type", "Data" });

    record.setField(1, "Type", m_factory.createCharArray("x"));

    EXPECT_EQ(CharArray(record.getField(1, "Type")).toUTF8(), "x");
    EXPECT_EQ(record.getField(0, "Type").getType(), ArrayType::Empty);
    EXPECT_EQ(record.getField(1, "Data").getType(), ArrayType::Empty);
}

TEST_F(ArraysTest, AFieldOrRecordThatIsNotThereIsAnErrorThatChangesNothing)
{
    auto record = m_factory.createStructArray({ 1, 1 }, { "Type" });

    EXPECT_THROW(record.getField(0, "type"), std::out_of_range);
    EXPECT_THROW(record.getField(1, "Type"), std::out_of_range);
    EXPECT_THROW(record.setField(0, "Data", {}), std::out_of_range);
    EXPECT_THROW(record.setField(1, "Type", {}), std::out_of_range);
    EXPECT_THAT(record.getFieldNames(), ElementsAre("Type"));
}

TEST_F(ArraysTest, TwoFieldsOfOneNameAreAnError)
{
    EXPECT_THROW(m_factory.createStructArray({ 1, 1 }, { "A", "B", "A" }), std::invalid_argument);
}

TEST_F(ArraysTest, AnArrayIsOnlyReadAsWhatItIs)
{
    const Array text = m_factory.createCharArray("x");
    const Array numbers = m_factory.createDoubleArray({ 1, 1 }, { 1 });

    EXPECT_THROW(CharArray { numbers }, std::invalid_argument);
    EXPECT_THROW(Numbers { text }, std::invalid_argument);
    EXPECT_THROW(StructArray { text }, std::invalid_argument);
    EXPECT_THROW(CharArray { Array() }, std::invalid_argument);
}

TEST_F(ArraysTest, ACopyNeverSeesALaterChange)
{
    auto source = m_factory.createStructArray({ 1, 1 }, { "Type" });
    source.setField(0, "Type", m_factory.createCharArray("before"));
    const Array copy = source;
    StructArray changed(copy);

    source.setField(0, "Type", m_factory.createCharArray("after"));
    changed.setField(0, "Type", m_factory.createCharArray("elsewhere"));

    EXPECT_EQ(CharArray(StructArray(copy).getField(0, "Type")).toUTF8(), "before");
    EXPECT_EQ(CharArray(source.getField(0, "Type")).toUTF8(), "after");
}

TEST_F(ArraysTest, AMovedArrayIsEmpty)
{
    Array source = m_factory.createCharArray("x");

    const Array moved = std::move(source);
    EXPECT_EQ(source.getType(), ArrayType::Empty); // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(moved.getType(), ArrayType::Char);
}

TEST_F(ArraysTest, CopiesMayBeUsedByDifferentThreadsAtOnce)
{
    auto source = m_factory.createStructArray({ 1, 1 }, { "Type" });
    source.setField(0, "Type", m_factory.createCharArray("x"));
    const auto use = [](StructArray own) {
        for (int i = 0; i < 1000; ++i) {
            const Array copy = own;
            own.setField(0, "Type", StructArray(copy).getField(0, "Type"));
        }
    };
    {
        const std::jthread first(use, source);
        const std::jthread second(use, source);
        use(source);
    }

    EXPECT_EQ(CharArray(source.getField(0, "Type")).toUTF8(), "x");
}

} // namespace

} // namespace conformance
