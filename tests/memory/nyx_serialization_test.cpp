#include "memory/nyx_serialization.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <type_traits>

namespace {

struct PAIR {
    NYX_FAST_OFFSET_PTR<int> fast;
    NYX_OFFSET_PTR<int> nullable;
    int target = 0;
};

TEST(FastOffsetPtr, ReachesWhatItWasAssigned) {
    int target = 7;
    const NYX_FAST_OFFSET_PTR<int> pointer(&target);
    EXPECT_EQ(pointer.get(), &target);
    EXPECT_EQ(*pointer, 7);
    EXPECT_TRUE(pointer.is_assigned());
}

TEST(FastOffsetPtr, StoresTheDistanceToItsTarget) {
    PAIR pair;
    pair.fast = &pair.target;
    std::int64_t stored;
    std::memcpy(&stored, &pair.fast, sizeof(stored));
    EXPECT_EQ(stored, reinterpret_cast<char *>(&pair.target) - reinterpret_cast<char *>(&pair));
}

TEST(FastOffsetPtr, IsZeroBeforeTheFirstAssignment) {
    const NYX_FAST_OFFSET_PTR<int> pointer;
    std::int64_t stored;
    std::memcpy(&stored, &pointer, sizeof(stored));
    EXPECT_EQ(stored, 0);
    EXPECT_FALSE(pointer.is_assigned());
}

TEST(FastOffsetPtr, CopyAtAnotherPlaceReachesTheSameTarget) {
    int target = 0;
    const auto first = std::make_unique<NYX_FAST_OFFSET_PTR<int>>(&target);
    const NYX_FAST_OFFSET_PTR<int> constructed(*first);
    NYX_FAST_OFFSET_PTR<int> assigned;
    assigned = *first;
    EXPECT_EQ(constructed.get(), &target);
    EXPECT_EQ(assigned.get(), &target);
}

TEST(FastOffsetPtr, CopyOfOneThatWasNeverAssignedIsNotAssignedEither) {
    const NYX_FAST_OFFSET_PTR<int> empty;
    int target = 0;
    NYX_FAST_OFFSET_PTR<int> copy(&target);
    copy = empty;
    EXPECT_FALSE(copy.is_assigned());
    EXPECT_FALSE(NYX_FAST_OFFSET_PTR<int>(empty).is_assigned());
}

TEST(FastOffsetPtr, IsOrderedByTargetAndNotByDistance) {
    int targets[2] = {};
    // The one that stands further behind its target has the smaller distance.
    struct {
        NYX_FAST_OFFSET_PTR<int> a;
        NYX_FAST_OFFSET_PTR<int> b;
    } near;
    near.a = &targets[1];
    near.b = &targets[0];
    EXPECT_LT(near.b, near.a);
    EXPECT_EQ(near.a, NYX_FAST_OFFSET_PTR<int>(&targets[1]));
    std::set<NYX_FAST_OFFSET_PTR<int>> ordered{near.a, near.b, NYX_FAST_OFFSET_PTR<int>(&targets[0])};
    ASSERT_EQ(ordered.size(), 2u);
    EXPECT_EQ(ordered.begin()->get(), &targets[0]);
}

TEST(FastOffsetPtr, IsNotMovedByItsBytes) {
    static_assert(!std::is_trivially_copyable_v<NYX_FAST_OFFSET_PTR<int>>);
    static_assert(sizeof(NYX_FAST_OFFSET_PTR<int>) == 8);
}

TEST(OffsetPointers, StayValidWhenTheirSurroundingsAreCopiedByteByByte) {
    const auto original = std::make_unique<PAIR>();
    original->fast = &original->target;
    original->nullable = &original->target;
    alignas(PAIR) unsigned char image[sizeof(PAIR)];
    std::memcpy(image, static_cast<const void *>(original.get()), sizeof(PAIR));
    PAIR *const copy = reinterpret_cast<PAIR *>(image);
    EXPECT_EQ(copy->fast.get(), &copy->target);
    EXPECT_EQ(copy->nullable.get(), &copy->target);
}

TEST(OffsetPtr, StoresNullAsOne) {
    const NYX_OFFSET_PTR<int> null;
    std::int64_t stored;
    std::memcpy(&stored, &null, sizeof(stored));
    EXPECT_EQ(stored, 1);
    EXPECT_EQ(null.get(), nullptr);
}

using FastOffsetPtrDeathTest = testing::Test;

TEST(FastOffsetPtrDeathTest, NullEndsTheRun) {
    EXPECT_DEATH(NYX_FAST_OFFSET_PTR<int>(static_cast<int *>(nullptr)),
                 "ptr != nullptr.*This pointer should never be null");
}

TEST(FastOffsetPtrDeathTest, ItsOwnAddressEndsTheRun) {
    NYX_FAST_OFFSET_PTR<void> pointer;
    EXPECT_DEATH(pointer = static_cast<void *>(&pointer), "m_offset != 0.*This pointer should never self-point");
}

TEST(FastOffsetPtrDeathTest, CopyOfAPointerToTheCopyEndsTheRun) {
    NYX_FAST_OFFSET_PTR<void> target;
    const NYX_FAST_OFFSET_PTR<void> pointer(static_cast<void *>(&target));
    EXPECT_DEATH(target = pointer, "m_offset != 0.*This pointer should never self-point");
}

TEST(FastOffsetPtrDeathTest, ReadingOneThatWasNeverAssignedEndsTheRun) {
    NYX_FAST_OFFSET_PTR<int> pointer;
    EXPECT_DEATH(pointer.get(), "m_offset != 0.*This pointer was never assigned a valid value");
    EXPECT_DEATH((void)*pointer, "This pointer was never assigned a valid value");
    EXPECT_DEATH((void)pointer.operator->(), "This pointer was never assigned a valid value");
}

} // namespace
