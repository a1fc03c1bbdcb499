#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
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

/// Its square is one more than can be counted.
constexpr std::size_t half = std::size_t { 1 } << (std::numeric_limits<std::size_t>::digits / 2);

class ArraysTest : public testing::Test {
protected:
    static std::string textOf(const StructArray& array, std::size_t index, const std::string& field)
    {
        return CharArray(array.getField(index, field)).toUTF8();
    }

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

TEST_F(ArraysTest, TextHasItsZeroBytes)
{
    const std::string text("a\0b", 3);

    EXPECT_EQ(m_factory.createCharArray(text).toUTF8(), text);
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

TEST_F(ArraysTest, DimensionsWhoseProductCannotBeCountedAreAnError)
{
    EXPECT_THROW(m_factory.createDoubleArray({ half, half }, {}), std::invalid_argument);
    EXPECT_THROW(m_factory.createStructArray({ half, half }, {}), std::invalid_argument);
}

TEST_F(ArraysTest, AZeroExtentMakesNothingOfLargeOnes)
{
    const auto numbers = m_factory.createDoubleArray({ half, half, 0 }, {});

    EXPECT_EQ(numbers.getType(), ArrayType::Double);
    EXPECT_THAT(numbers.getDimensions(), ElementsAre(half, half, 0));
    EXPECT_EQ(numbers.getNumberOfElements(), 0U);
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

    record.setField(0, "Data", m_factory.createCharArray("d0"));
    record.setField(1, "Type", m_factory.createCharArray("t1"));
    record.setField(1, "Data", m_factory.createCharArray("d1"));

    EXPECT_EQ(record.getField(0, "Type").getType(), ArrayType::Empty);
    EXPECT_EQ(textOf(record, 0, "Data"), "d0");
    EXPECT_EQ(textOf(record, 1, "Type"), "t1");
    EXPECT_EQ(textOf(record, 1, "Data"), "d1");
}

TEST_F(ArraysTest, ARecordCanHoldAnEarlierStateOfItself)
{
    auto record = m_factory.createStructArray({ 1, 1 }, { "Self" });

    record.setField(0, "Self", record);

    EXPECT_EQ(StructArray(record.getField(0, "Self")).getField(0, "Self").getType(), ArrayType::Empty);
}

TEST_F(ArraysTest, AFieldOrRecordThatIsNotThereIsAnErrorThatChangesNothing)
{
    auto record = m_factory.createStructArray({ 1, 1 }, { "Type" });
    record.setField(0, "Type", m_factory.createCharArray("before"));

    EXPECT_THROW(record.getField(0, "type"), std::out_of_range);
    EXPECT_THROW(record.getField(1, "Type"), std::out_of_range);
    EXPECT_THROW(record.setField(0, "Data", {}), std::out_of_range);
    EXPECT_THROW(record.setField(1, "Type", {}), std::out_of_range);
    EXPECT_THAT(record.getFieldNames(), ElementsAre("Type"));
    EXPECT_EQ(textOf(record, 0, "Type"), "before");
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

    EXPECT_EQ(textOf(StructArray(copy), 0, "Type"), "before");
    EXPECT_EQ(textOf(source, 0, "Type"), "after");
    EXPECT_EQ(textOf(changed, 0, "Type"), "elsewhere");
}

TEST_F(ArraysTest, SelfAssignmentChangesNothing)
{
    Array array = m_factory.createCharArray("text");
    const Array& same = array;

    array = same;

    EXPECT_EQ(CharArray(array).toUTF8(), "text");
}

TEST_F(ArraysTest, AMovedArrayIsEmpty)
{
    Array source = m_factory.createCharArray("x");

    Array moved = std::move(source);
    EXPECT_EQ(source.getType(), ArrayType::Empty); // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_THAT(source.getDimensions(), ElementsAre(0, 0));
    EXPECT_EQ(moved.getType(), ArrayType::Char);

    source = m_factory.createDoubleArray({ 1, 1 }, { 1 });
    source = std::move(moved);
    EXPECT_EQ(moved.getType(), ArrayType::Empty); // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(CharArray(source).toUTF8(), "x");
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

    EXPECT_EQ(textOf(source, 0, "Type"), "x");
}

} // namespace

} // namespace conformance
