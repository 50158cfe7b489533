// Expanding and shrinking in place, and the order in which a command tries its ways.
#include "reserved_segment.h"

#include <gtest/gtest.h>

namespace bi = boost::interprocess;
using bi::allocate_new;
using bi::expand_bwd;
using bi::expand_fwd;
using bi::shrink_in_place;

namespace {

void fill(void *ptr, std::size_t size, unsigned char seed) {
    for (std::size_t i = 0; i < size; ++i)
        static_cast<unsigned char *>(ptr)[i] = static_cast<unsigned char>(seed + i);
}

bool holds(const void *ptr, std::size_t size, unsigned char seed) {
    for (std::size_t i = 0; i < size; ++i)
        if (static_cast<const unsigned char *>(ptr)[i] != static_cast<unsigned char>(seed + i))
            return false;
    return true;
}

// ---- expand_fwd

TEST(ExpandForwards, BlockThatHoldsThePreferredSizeSucceedsAtOnce) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const ptr = segment->allocate(33);
    const auto result = segment.command(expand_fwd, 34, 40, ptr);
    EXPECT_EQ(result.ptr, ptr);
    EXPECT_EQ(result.reuse, ptr);
    EXPECT_EQ(result.received, 40u);
    EXPECT_EQ(segment.layout(), "a6 f94");
}

TEST(ExpandForwards, TakesNoMoreThanPreferredOfTheNextBlock) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const ptr = segment.allocate_units(10);
    fill(ptr, bytes_for_units(10), 1);
    const auto result = segment.command(expand_fwd, bytes_for_units(11), bytes_for_units(20), ptr);
    EXPECT_EQ(result.ptr, ptr);
    EXPECT_EQ(result.received, bytes_for_units(20));
    EXPECT_EQ(segment.layout(), "a20 f80");
    EXPECT_EQ(segment->get_allocated(), 160u);
    EXPECT_EQ(segment->find_fault(), "");
    EXPECT_TRUE(holds(ptr, bytes_for_units(10), 1));
    fill(ptr, bytes_for_units(20), 2);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ExpandForwards, LeavesARemainderOfFiveUnitsAndNoLess) {
    for (const std::size_t units : {25u, 26u, 27u, 28u, 29u, 30u}) {
        RESERVED_SEGMENT segment(size_for_units(40));
        const auto blocks = segment.allocate_all({10, 20, 10});
        segment->deallocate(blocks[1]);
        const auto result = segment.command(expand_fwd, bytes_for_units(units), bytes_for_units(units), blocks[0]);
        EXPECT_EQ(result.ptr, blocks[0]);
        EXPECT_EQ(result.received, bytes_for_units(units == 25 ? 25 : 30));
        EXPECT_EQ(segment.layout(), units == 25 ? "a25 f5 a10" : "a30 a10");
        EXPECT_EQ(segment->get_allocated(), units == 25 ? 280u : 320u);
        EXPECT_EQ(segment->find_fault(), "");
    }
}

TEST(ExpandForwards, TakesTheWholeNextBlockWhenItReachesTheLimitOnly) {
    RESERVED_SEGMENT segment(size_for_units(40));
    const auto blocks = segment.allocate_all({10, 20, 10});
    segment->deallocate(blocks[1]);
    const auto result = segment.command(expand_fwd, bytes_for_units(30), bytes_for_units(200), blocks[0]);
    EXPECT_EQ(result.ptr, blocks[0]);
    EXPECT_EQ(result.received, bytes_for_units(30));
    EXPECT_EQ(segment.layout(), "a30 a10");
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ExpandForwards, ChangesNothingWhenTheLimitIsOutOfReach) {
    RESERVED_SEGMENT segment(size_for_units(40));
    const auto blocks = segment.allocate_all({10, 20, 10});
    segment->deallocate(blocks[1]);
    const auto result = segment.command(expand_fwd, bytes_for_units(30) + 1, bytes_for_units(200), blocks[0]);
    EXPECT_EQ(result.ptr, nullptr);
    EXPECT_EQ(result.received, bytes_for_units(10));
    EXPECT_EQ(segment.layout(), "a10 f20 a10");
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ExpandForwards, BehindAnAllocatedBlockSucceedsIfTheLimitIsHeld) {
    RESERVED_SEGMENT segment(size_for_units(40));
    const auto blocks = segment.allocate_all({10, 30});
    auto result = segment.command(expand_fwd, bytes_for_units(10), bytes_for_units(20), blocks[0]);
    EXPECT_EQ(result.ptr, blocks[0]);
    EXPECT_EQ(result.received, bytes_for_units(10));
    result = segment.command(expand_fwd, bytes_for_units(10) + 1, bytes_for_units(20), blocks[0]);
    EXPECT_EQ(result.ptr, nullptr);
    result = segment.command(expand_fwd, bytes_for_units(31), bytes_for_units(31), blocks[1]);
    EXPECT_EQ(result.ptr, nullptr) << "the last block";
    EXPECT_EQ(segment.layout(), "a10 a30");
}

TEST(ExpandForwards, ServesALimitThatFitsWhenMoreThanTheSegmentIsPreferred) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const ptr = segment.allocate_units(60);
    const auto result = segment.command(expand_fwd | allocate_new, 61, 200, ptr, 8);
    EXPECT_EQ(result.ptr, ptr);
    EXPECT_EQ(result.received, bytes_for_units(100) / 8);
    EXPECT_EQ(segment.layout(), "a100");
}

TEST(ExpandForwards, RemainderTakesItsPlaceInTheTree) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 30, 10, 20, 30});
    segment->deallocate(blocks[1]);
    segment->deallocate(blocks[3]);
    segment.command(expand_fwd, bytes_for_units(25), bytes_for_units(25), blocks[0]);
    ASSERT_EQ(segment.layout(), "a25 f15 a10 f20 a30");
    EXPECT_EQ(segment->find_fault(), "");
    EXPECT_EQ(segment.allocate_units(12), static_cast<char *>(blocks[0]) + 25 * 8);
}

TEST(ExpandForwards, AllHeldBytesCanBeFreedAgain) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const ptr = segment.allocate_units(10);
    segment.command(expand_fwd, bytes_for_units(97), bytes_for_units(97), ptr);
    EXPECT_EQ(segment.layout(), "a100");
    segment->deallocate(ptr);
    EXPECT_EQ(segment.layout(), "f100");
    EXPECT_EQ(segment->get_allocated(), 0u);
    EXPECT_EQ(segment->find_fault(), "");
}

// ---- expand_bwd

TEST(ExpandBackwards, MovesTheStartDownByTheWantedBytes) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({20, 10, 70});
    fill(blocks[1], bytes_for_units(10), 3);
    segment->deallocate(blocks[0]);
    const auto result = segment.command(expand_bwd, bytes_for_units(14), bytes_for_units(14), blocks[1]);
    EXPECT_EQ(result.ptr, static_cast<char *>(blocks[1]) - 4 * 8);
    EXPECT_EQ(result.reuse, blocks[1]) << "tells the caller that its elements are still there";
    EXPECT_EQ(result.received, bytes_for_units(14));
    EXPECT_EQ(segment.layout(), "f16 a14 a70");
    EXPECT_EQ(segment->get_allocated(), 8u * 84);
    EXPECT_TRUE(holds(blocks[1], bytes_for_units(10), 3));
    EXPECT_EQ(segment->find_fault(), "");
    fill(result.ptr, result.received, 4);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ExpandBackwards, MovesByWholeElementsAndWholeUnits) {
    // 12-byte elements: 24 bytes are the least common step.
    for (const std::size_t more : {1u, 2u}) {
        RESERVED_SEGMENT segment(size_for_units(100));
        const auto blocks = segment.allocate_all({20, 10, 70}); // 72 bytes hold 6 elements
        segment->deallocate(blocks[0]);
        const auto result = segment.command(expand_bwd, 6 + more, 6 + more, blocks[1], 12);
        EXPECT_EQ(result.ptr, static_cast<char *>(blocks[1]) - 24) << more;
        EXPECT_EQ(result.received, 8u);
        EXPECT_EQ(segment.layout(), "f17 a13 a70");
        EXPECT_EQ(segment->find_fault(), "");
    }
}

TEST(ExpandBackwards, TakesTheWholeBlockInFrontWhenLessThanABlockWouldBeLeft) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({8, 10, 82});
    segment->deallocate(blocks[0]);
    const auto result = segment.command(expand_bwd, bytes_for_units(14), bytes_for_units(14), blocks[1]);
    EXPECT_EQ(result.ptr, blocks[0]);
    EXPECT_EQ(result.received, bytes_for_units(18));
    EXPECT_EQ(segment.layout(), "a18 a82");
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ExpandBackwards, LeavesTheWholeBlockAloneWhenItIsNoMultipleOfTheStep) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({8, 10, 82}); // 64 bytes in front, 24 is the step
    segment->deallocate(blocks[0]);
    const auto result = segment.command(expand_bwd, 8, 9, blocks[1], 12);
    EXPECT_EQ(result.ptr, static_cast<char *>(blocks[1]) - 24) << "split: 40 bytes are left";
    EXPECT_EQ(segment.layout(), "f5 a13 a82");

    RESERVED_SEGMENT other(size_for_units(100));
    const auto others = other.allocate_all({8, 10, 82});
    other->deallocate(others[0]);
    EXPECT_EQ(other.command(expand_bwd, 9, 9, others[1], 12).ptr, nullptr) << "48 of 64 bytes";
    EXPECT_EQ(other.layout(), "f8 a10 a82");
    EXPECT_EQ(other->find_fault(), "");
}

TEST(ExpandBackwards, GoesToTheLimitOnceThePreferredSizeIsOutOfReach) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 10, 80});
    segment->deallocate(blocks[0]);
    const auto result = segment.command(expand_bwd, bytes_for_units(12), bytes_for_units(50), blocks[1]);
    EXPECT_EQ(result.ptr, static_cast<char *>(blocks[1]) - 2 * 8);
    EXPECT_EQ(result.received, bytes_for_units(12));
    EXPECT_EQ(segment.layout(), "f8 a12 a80");
}

TEST(ExpandBackwards, ChangesNothingWhenTheBlockInFrontIsTooSmallOrAllocated) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 10, 80});
    EXPECT_EQ(segment.command(expand_bwd, bytes_for_units(11), bytes_for_units(11), blocks[1]).ptr, nullptr);
    segment->deallocate(blocks[0]);
    const auto result = segment.command(expand_bwd, bytes_for_units(21), bytes_for_units(21), blocks[1]);
    EXPECT_EQ(result.ptr, nullptr);
    EXPECT_EQ(result.received, bytes_for_units(10));
    EXPECT_EQ(segment.layout(), "f10 a10 a80");
    EXPECT_EQ(segment->find_fault(), "");
}

// The first block's m_prev_size leads to the end block, not to a block in front.
TEST(ExpandBackwards, FirstBlockHasNothingInFront) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 90});
    EXPECT_EQ(segment.command(expand_bwd, bytes_for_units(11), bytes_for_units(11), blocks[0]).ptr, nullptr);
    EXPECT_EQ(segment.layout(), "a10 a90");
}

TEST(ExpandBackwards, BlockThatHoldsThePreferredSizeSucceedsAtOnce) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 10, 80});
    segment->deallocate(blocks[0]);
    const auto result = segment.command(expand_bwd, 1, bytes_for_units(10), blocks[1]);
    EXPECT_EQ(result.ptr, blocks[1]);
    EXPECT_EQ(result.received, bytes_for_units(10));
}

TEST(ExpandBackwards, ShrunkBlockMovesInTheTree) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({20, 10, 15, 55});
    segment->deallocate(blocks[2]);
    segment->deallocate(blocks[0]);
    segment.command(expand_bwd, bytes_for_units(20), bytes_for_units(20), blocks[1]);
    ASSERT_EQ(segment.layout(), "f10 a20 f15 a55");
    EXPECT_EQ(segment->find_fault(), "");
    EXPECT_EQ(segment.allocate_units(10), blocks[0]);
}

TEST(ExpandBothWays, TakesAllBehindBeforeItTakesFromTheFront) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({20, 10, 15, 55});
    fill(blocks[1], bytes_for_units(10), 5);
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[2]);
    const auto result = segment.command(expand_fwd | expand_bwd, bytes_for_units(30), bytes_for_units(30), blocks[1]);
    EXPECT_EQ(result.ptr, static_cast<char *>(blocks[1]) - 5 * 8);
    EXPECT_EQ(result.received, bytes_for_units(30));
    EXPECT_EQ(segment.layout(), "f15 a30 a55");
    EXPECT_TRUE(holds(blocks[1], bytes_for_units(10), 5));
    EXPECT_EQ(segment->get_allocated(), 8u * 85);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ExpandBothWays, LeavesTheFrontAloneWhenTheBackSuffices) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({20, 10, 15, 55});
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[2]);
    const auto result = segment.command(expand_fwd | expand_bwd, bytes_for_units(12), bytes_for_units(60), blocks[1]);
    EXPECT_EQ(result.ptr, blocks[1]);
    EXPECT_EQ(segment.layout(), "f20 a25 a55");
}

TEST(ExpandBothWays, ChangesNothingWhenBothTogetherDoNotReachTheLimit) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({20, 10, 15, 55});
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[2]);
    const auto result = segment.command(expand_fwd | expand_bwd, bytes_for_units(46), bytes_for_units(60), blocks[1]);
    EXPECT_EQ(result.ptr, nullptr);
    EXPECT_EQ(segment.layout(), "f20 a10 f15 a55");
    EXPECT_EQ(segment->find_fault(), "");
}

// ---- The order of the ways

TEST(AllocationCommand, ExpandsBeforeItAllocates) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 10, 10, 20, 10});
    segment->deallocate(blocks[1]);
    segment->deallocate(blocks[3]);
    // A block of 20 units would fit exactly.
    const auto result = segment.command(allocate_new | expand_fwd, bytes_for_units(20), bytes_for_units(20), blocks[0]);
    EXPECT_EQ(result.ptr, blocks[0]);
    EXPECT_EQ(result.reuse, blocks[0]);
}

TEST(AllocationCommand, AllocatesWhenItCannotExpand) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 5, 20, 65});
    segment->deallocate(blocks[2]);
    const auto result = segment.command(allocate_new | expand_fwd, bytes_for_units(12), bytes_for_units(15), blocks[0]);
    EXPECT_EQ(result.ptr, blocks[2]);
    EXPECT_EQ(result.reuse, nullptr) << "a new block: the old one is still the caller's";
    EXPECT_EQ(result.received, bytes_for_units(15));
    EXPECT_EQ(segment.layout(), "a10 a5 a15 f5 a65");
}

TEST(AllocationCommand, AllocatesBeforeItExpandsBackwardsToLessThanPreferred) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 10, 10, 30, 40});
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[3]);
    const auto result = segment.command(allocate_new | expand_bwd, bytes_for_units(12), bytes_for_units(25), blocks[1]);
    EXPECT_EQ(result.ptr, blocks[3]);
    EXPECT_EQ(result.reuse, nullptr);
    EXPECT_EQ(segment.layout(), "f10 a10 a10 a25 f5 a40");
}

TEST(AllocationCommand, ExpandsBackwardsToTheLimitWhenNothingCanBeAllocated) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 10, 80});
    segment->deallocate(blocks[0]);
    const auto result = segment.command(allocate_new | expand_bwd, bytes_for_units(12), bytes_for_units(25), blocks[1]);
    EXPECT_EQ(result.ptr, static_cast<char *>(blocks[1]) - 2 * 8);
    EXPECT_EQ(segment.layout(), "f8 a12 a80");
}

TEST(AllocationCommand, NullReuseIsNotExpanded) {
    RESERVED_SEGMENT segment(size_for_units(100));
    EXPECT_EQ(segment.command(expand_fwd | expand_bwd, 8, 8).ptr, nullptr);
    EXPECT_EQ(segment.offset_of(segment.command(expand_fwd | expand_bwd | allocate_new, 8, 8).ptr), 184u);
}

TEST(AllocationCommand, RefusesALimitAboveThePreferredSize) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const ptr = segment.allocate_units(10);
    const auto result = segment.command(allocate_new | expand_fwd, 17, 16, ptr);
    EXPECT_EQ(result.ptr, nullptr);
    EXPECT_EQ(result.reuse, nullptr);
    EXPECT_EQ(segment.layout(), "a10 f90");
}

TEST(AllocationCommand, ThrowsUnlessToldOtherwise) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *reuse = nullptr;
    segment_algorithm::size_type size = 10'000;
    EXPECT_THROW(segment->raw_allocation_command(allocate_new, size, size, reuse), bi::bad_alloc);
    size = 10'000;
    EXPECT_EQ(segment->raw_allocation_command(allocate_new | bi::nothrow_allocation, size, size, reuse), nullptr);
}

TEST(AllocationCommand, CountsInObjects) {
    RESERVED_SEGMENT segment(size_for_units(100));
    struct TRIPLE {
        std::uint64_t words[3];
    } *reuse = nullptr;
    segment_algorithm::size_type size = 4;
    TRIPLE *const ptr = segment->allocation_command<TRIPLE>(allocate_new, 2, size, reuse);
    EXPECT_EQ(segment.units_of(ptr), 4u * 3 + 1);
    EXPECT_EQ(size, 4u);
}

// ---- shrink_in_place

TEST(ShrinkInPlace, FreesFiveUnitsAndMore) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({20, 80});
    fill(blocks[0], bytes_for_units(15), 6);
    const auto result = segment.command(shrink_in_place, bytes_for_units(20), bytes_for_units(15), blocks[0]);
    EXPECT_EQ(result.ptr, blocks[0]);
    EXPECT_EQ(result.received, bytes_for_units(15));
    EXPECT_EQ(segment.layout(), "a15 f5 a80");
    EXPECT_EQ(segment->get_allocated(), 8u * 95);
    EXPECT_TRUE(holds(blocks[0], bytes_for_units(15) - 8, 6));
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ShrinkInPlace, KeepsAllWhenLessThanFiveUnitsWouldBeCut) {
    for (const std::size_t units : {16u, 17u, 18u, 19u}) {
        RESERVED_SEGMENT segment(size_for_units(100));
        const auto blocks = segment.allocate_all({20, 80});
        const auto result = segment.command(shrink_in_place, bytes_for_units(20), bytes_for_units(units), blocks[0]);
        EXPECT_EQ(result.ptr, nullptr);
        EXPECT_EQ(result.received, bytes_for_units(20));
        EXPECT_EQ(segment.layout(), "a20 a80");
    }
}

TEST(ShrinkInPlace, CutPartMergesWithAFreeNeighbour) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const ptr = segment.allocate_units(20);
    segment.command(shrink_in_place, bytes_for_units(20), 1, ptr);
    EXPECT_EQ(segment.layout(), "a5 f95");
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ShrinkInPlace, ToTheSizeThatIsHeldSucceeds) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const ptr = segment.allocate_units(20);
    const auto result = segment.command(shrink_in_place, bytes_for_units(20), bytes_for_units(20), ptr);
    EXPECT_EQ(result.ptr, ptr);
    EXPECT_EQ(result.received, bytes_for_units(20));
    EXPECT_EQ(segment.layout(), "a20 f80");
}

TEST(ShrinkInPlace, DoesNotGrowABlock) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const ptr = segment.allocate_units(20);
    const auto result = segment.command(shrink_in_place, bytes_for_units(21), bytes_for_units(21), ptr);
    EXPECT_EQ(result.ptr, nullptr);
    EXPECT_EQ(result.received, bytes_for_units(20));
    EXPECT_EQ(segment.command(shrink_in_place, 1, 100'000, ptr).ptr, nullptr);
    EXPECT_EQ(segment.layout(), "a20 f80");
}

TEST(ShrinkInPlace, NeedsABlock) {
    RESERVED_SEGMENT segment(size_for_units(100));
    EXPECT_EQ(segment.command(shrink_in_place, 8, 8).ptr, nullptr);
    EXPECT_EQ(segment.command(shrink_in_place | allocate_new, 8, 8).ptr, nullptr);
    EXPECT_EQ(segment.layout(), "f100");
}

} // namespace
