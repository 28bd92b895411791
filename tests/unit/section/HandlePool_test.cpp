#include "softplatform/section/HandlePool.h"

#include <gtest/gtest.h>

#include <set>

namespace tvservice {
namespace {

TEST(HandlePool, NumbersHandlesByGenerationAndSlot) {
    HandlePool pool(3);
    EXPECT_EQ(pool.Take(), 1);
    EXPECT_EQ(pool.Take(), 2);
    EXPECT_EQ(pool.Take(), 3);
    ASSERT_TRUE(pool.Release(2));
    EXPECT_EQ(pool.Take(), 1 + 1 + 3 * 1);
}

TEST(HandlePool, HasAsManyHandlesInUseAsSlots) {
    HandlePool pool(2);
    pool.Take();
    pool.Take();
    EXPECT_EQ(pool.Take(), std::nullopt);
    ASSERT_TRUE(pool.Release(1));
    EXPECT_NE(pool.Take(), std::nullopt);
}

TEST(HandlePool, UsesTheSlotAgainThatIsFreeTheLongest) {
    HandlePool pool(3);
    pool.Take();
    pool.Take();
    pool.Take();
    pool.Release(3);
    pool.Release(1);
    EXPECT_EQ(pool.Take(), 1 + 2 + 3);
    EXPECT_EQ(pool.Take(), 1 + 0 + 3);
}

TEST(HandlePool, ComesBackToItsFirstValuesAfter64Generations) {
    HandlePool pool(2);
    std::set<int> given;
    for (unsigned i = 0; i < 2 * kHandleGenerations; ++i) {
        const int handle = pool.Take().value();
        EXPECT_TRUE(given.insert(handle).second) << handle;
        pool.Release(handle);
    }
    EXPECT_EQ(*given.begin(), 1);
    EXPECT_EQ(*given.rbegin(), 128);
    EXPECT_EQ(pool.Take(), 1);
}

TEST(HandlePool, DoesNotReleaseWhatIsNotInUse) {
    HandlePool pool(2);
    const int handle = pool.Take().value();
    ASSERT_TRUE(pool.Release(handle));
    EXPECT_FALSE(pool.Release(handle));
    EXPECT_FALSE(pool.Release(-1));
    EXPECT_FALSE(pool.Release(0));
}

TEST(HandlePool, NeverGivesARetiredValueAgain) {
    HandlePool pool(1);
    pool.Release(pool.Take().value());
    EXPECT_TRUE(pool.Retire(1));
    EXPECT_FALSE(pool.Retire(1)) << "retired already";
    for (unsigned i = 0; i < 3 * kHandleGenerations; ++i) {
        const int handle = pool.Take().value();
        EXPECT_NE(handle, 1);
        pool.Release(handle);
    }
}

TEST(HandlePool, RetiresOnlyWhatItCouldGiveAndWhatIsNotInUse) {
    HandlePool pool(1);
    EXPECT_EQ(pool.Take(), 1);
    EXPECT_FALSE(pool.Retire(1));
    EXPECT_FALSE(pool.Retire(0));
    EXPECT_FALSE(pool.Retire(-1));
    EXPECT_FALSE(pool.Retire(65));
    EXPECT_TRUE(pool.Retire(64));
}

TEST(HandlePool, LosesASlotWithoutAnyValueLeft) {
    HandlePool pool(2);
    for (int generation = 0; generation < 64; ++generation) {
        ASSERT_TRUE(pool.Retire(1 + 2 * generation));
    }
    EXPECT_EQ(pool.Take(), 2);
    EXPECT_EQ(pool.Take(), std::nullopt);
}

TEST(HandlePool, ResizedKeepsWhatIsInUse) {
    HandlePool pool(256);
    for (int i = 0; i < 5; ++i) {
        pool.Take();
    }
    pool.Release(1);
    pool.Release(2);
    EXPECT_FALSE(pool.Resize(2)) << "three are in use";
    ASSERT_TRUE(pool.Resize(4));
    const int handle = pool.Take().value();
    EXPECT_EQ(std::set<int>({3, 4, 5}).count(handle), 0u);
    EXPECT_EQ(pool.Take(), std::nullopt);
    EXPECT_TRUE(pool.Release(3));
    EXPECT_TRUE(pool.Release(4));
    EXPECT_TRUE(pool.Release(5));
    EXPECT_TRUE(pool.Release(handle));
}

TEST(HandlePool, ResizedNeverGivesAValueThatIsInUseOrRetired) {
    HandlePool pool(8);
    for (int i = 0; i < 8; ++i) {
        pool.Take();
    }
    for (int handle = 1; handle <= 8; ++handle) {
        if (handle != 5) {
            pool.Release(handle);
        }
    }
    ASSERT_TRUE(pool.Retire(7));
    ASSERT_TRUE(pool.Resize(2));
    for (unsigned i = 0; i < 2 * kHandleGenerations; ++i) {
        const int handle = pool.Take().value();
        EXPECT_NE(handle, 5);
        EXPECT_NE(handle, 7);
        pool.Release(handle);
    }
    EXPECT_TRUE(pool.Retire(8 * 64)) << "it could give that one before";
}

TEST(HandlePool, HasOneTo4096Slots) {
    HandlePool pool(1);
    EXPECT_FALSE(pool.Resize(0));
    EXPECT_FALSE(pool.Resize(4097));
    EXPECT_TRUE(pool.Resize(4096));
}

}  // namespace
}  // namespace tvservice
