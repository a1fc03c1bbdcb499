#include "embedded_host/engine/SpareBlocks.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace tovrinhost {

namespace {

struct Free {
    void operator()(void* block) const { std::free(block); }
};

using Block = std::unique_ptr<void, Free>;

Block allocate(std::size_t size)
{
    return Block(std::malloc(size));
}

/// Keeps the block, where it is one to be kept.
bool keep(SpareBlocks& spare, Block block, std::size_t size)
{
    const bool isKept = spare.keep(block.get(), size);
    if (isKept) {
        static_cast<void>(block.release());
    }
    return isKept;
}

TEST(SpareBlocksTest, ABlockComesBackOnceInItsOwnSize)
{
    SpareBlocks spare;
    Block block = allocate(56);
    void* const place = block.get();
    ASSERT_TRUE(keep(spare, std::move(block), 56));
    EXPECT_EQ(spare.kept(), 56U);

    EXPECT_EQ(spare.take(48), nullptr);
    EXPECT_EQ(spare.take(64), nullptr);
    const Block taken(spare.take(56));
    EXPECT_EQ(taken.get(), place);
    EXPECT_EQ(spare.take(56), nullptr);
    EXPECT_EQ(spare.kept(), 0U);
}

TEST(SpareBlocksTest, AllBlocksOfASizeComeBack)
{
    SpareBlocks spare;
    constexpr int count = 5;
    for (int i = 0; i < count; ++i) {
        ASSERT_TRUE(keep(spare, allocate(96), 96));
    }

    for (int i = 0; i < count; ++i) {
        EXPECT_NE(Block(spare.take(96)), nullptr) << i;
    }
    EXPECT_EQ(spare.take(96), nullptr);
}

TEST(SpareBlocksTest, LargeAndOddBlocksAreNotKept)
{
    SpareBlocks spare;
    for (const std::size_t size :
        { std::size_t { 1 }, sizeof(void*) - 1, sizeof(void*) + 1, 17 * sizeof(void*) }) {
        EXPECT_FALSE(keep(spare, allocate(size), size)) << size;
        EXPECT_EQ(spare.take(size), nullptr) << size;
    }
    EXPECT_FALSE(spare.keep(nullptr, sizeof(void*)));
    EXPECT_TRUE(keep(spare, allocate(16 * sizeof(void*)), 16 * sizeof(void*)));
}

TEST(SpareBlocksTest, NoMoreIsKeptThanTheLimit)
{
    SpareBlocks spare;
    constexpr std::size_t size = 16 * sizeof(void*);
    while (spare.kept() + size <= SpareBlocks::most) {
        ASSERT_TRUE(keep(spare, allocate(size), size));
    }

    EXPECT_FALSE(keep(spare, allocate(size), size));

    Block(spare.take(size)).reset();
    EXPECT_TRUE(keep(spare, allocate(size), size));
}

} // namespace

} // namespace tovrinhost
