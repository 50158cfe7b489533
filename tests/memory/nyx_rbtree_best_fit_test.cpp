#include "reserved_segment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace bi = boost::interprocess;

namespace {

// ---- Requests and blocks

TEST(SegmentAllocator, RequestsOfUpTo32BytesTakeTheSmallestBlock) {
    RESERVED_SEGMENT segment(1 << 16);
    for (std::size_t nbytes = 0; nbytes <= 32; ++nbytes)
        EXPECT_EQ(segment.units_of(segment->allocate(nbytes)), 5u) << nbytes;
}

TEST(SegmentAllocator, LargerRequestsTakeTheirBytesAndOneWordInUnits) {
    RESERVED_SEGMENT segment(1 << 16);
    EXPECT_EQ(segment.units_of(segment->allocate(33)), 6u);
    EXPECT_EQ(segment.units_of(segment->allocate(40)), 6u);
    EXPECT_EQ(segment.units_of(segment->allocate(41)), 7u);
    EXPECT_EQ(segment.units_of(segment->allocate(4088)), 512u);
    EXPECT_EQ(segment.units_of(segment->allocate(4089)), 513u);
}

TEST(SegmentAllocator, TellsTheBytesThatABlockHolds) {
    RESERVED_SEGMENT segment(1 << 16);
    EXPECT_EQ(segment->size(segment->allocate(1)), 32u);
    EXPECT_EQ(segment->size(segment->allocate(33)), 40u);
    EXPECT_EQ(segment->size(segment->allocate(4088)), 4088u);
}

TEST(SegmentAllocator, ReceivedSizeIsTheBlocksUnitsLessOneWord) {
    RESERVED_SEGMENT segment(1 << 16);
    EXPECT_EQ(segment.command(bi::allocate_new, 1, 1).received, 32u);
    EXPECT_EQ(segment.command(bi::allocate_new, 33, 33).received, 40u);
    EXPECT_EQ(segment.command(bi::allocate_new, 3, 3, nullptr, 24).received, 72u / 24);
}

TEST(SegmentAllocator, BlocksFollowEachOtherFromTheSegmentsStart) {
    RESERVED_SEGMENT segment(size_for_units(100));
    EXPECT_EQ(segment.offset_of(segment->allocate(1)), 168u + 16);
    EXPECT_EQ(segment.offset_of(segment->allocate(1)), 208u + 16);
    EXPECT_EQ(segment.layout(), "a5 a5 f90");
}

TEST(SegmentAllocator, AllBytesThatABlockHoldsAreItsOwn) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const blocks[] = {segment->allocate(1), segment->allocate(40), segment->allocate(57),
                            segment.allocate_units(80)};
    for (void *const block : blocks)
        std::memset(block, 0xff, segment->size(block));
    EXPECT_EQ(segment->find_fault(), "");
    EXPECT_EQ(segment.layout(), "a5 a6 a9 a80");
}

TEST(SegmentAllocator, CountsTheBytesOfAllocatedBlocksWithTheirHeaders) {
    RESERVED_SEGMENT segment(size_for_units(100));
    EXPECT_EQ(segment->get_allocated(), 0u);
    void *const a = segment->allocate(1);
    void *const b = segment->allocate(100);
    EXPECT_EQ(segment->get_allocated(), 8u * (5 + 14));
    EXPECT_EQ(segment->get_free_memory(), size_for_units(100) - s_first_block - 8 * (5 + 14));
    EXPECT_FALSE(segment->all_memory_deallocated());
    segment->deallocate(a);
    EXPECT_EQ(segment->get_allocated(), 8u * 14);
    segment->deallocate(b);
    EXPECT_EQ(segment->get_allocated(), 0u);
    EXPECT_TRUE(segment->all_memory_deallocated());
}

TEST(SegmentAllocator, ClearsTheLinksOfTheTreeInABlockThatItGivesOut) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const a = segment.allocate_units(10);
    void *const b = segment.allocate_units(10);
    void *const c = segment.allocate_units(10);
    std::memset(a, 0xff, segment->size(a));
    std::memset(b, 0xff, segment->size(b));
    segment->deallocate(b); // a whole block, with a free one beside it later
    ASSERT_EQ(segment.allocate_units(10), b);
    for (const std::size_t offset : {0u, 8u, 16u, 72u - 8u})
        EXPECT_EQ(segment.word(segment.offset_of(b) + offset), 0u) << offset;
    EXPECT_EQ(segment.word(segment.offset_of(b) + 24), ~std::uint64_t(0)) << "the rest is left as it is";
    segment->deallocate(a);
    ASSERT_EQ(segment.allocate_units(5), a); // the front of a split one
    for (const std::size_t offset : {0u, 8u, 16u, 24u})
        EXPECT_EQ(segment.word(segment.offset_of(a) + offset), 0u) << offset;
    segment->deallocate(c);
}

// ---- Which block is taken

TEST(SegmentAllocator, TakesTheSmallestBlockThatSuffices) {
    RESERVED_SEGMENT segment(size_for_units(200));
    const auto blocks = segment.allocate_all({5, 20, 5, 12, 5, 16, 5});
    for (const int i : {1, 3, 5})
        segment->deallocate(blocks[i]);
    EXPECT_EQ(segment.allocate_units(11), blocks[3]);
    EXPECT_EQ(segment.allocate_units(13), blocks[5]);
    EXPECT_EQ(segment.allocate_units(14), blocks[1]);
}

TEST(SegmentAllocator, TakesTheFirstInTreeOrderAmongEqualBlocks) {
    RESERVED_SEGMENT segment(size_for_units(200));
    const auto blocks = segment.allocate_all({5, 10, 5, 10, 5, 10, 5});
    // A freed one goes ahead of its equals.
    for (const int i : {3, 5, 1})
        segment->deallocate(blocks[i]);
    EXPECT_EQ(segment.allocate_units(10), blocks[1]);
    EXPECT_EQ(segment.allocate_units(10), blocks[5]);
    EXPECT_EQ(segment.allocate_units(10), blocks[3]);
}

TEST(SegmentAllocator, GivesNullWhenNoBlockIsLargeEnough) {
    RESERVED_SEGMENT segment(size_for_units(20));
    EXPECT_EQ(segment->allocate(bytes_for_units(20) + 1), nullptr);
    EXPECT_EQ(segment->get_allocated(), 0u);
    void *const all = segment.allocate_units(20);
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(segment->allocate(0), nullptr);
    segment->deallocate(all);
    EXPECT_EQ(segment.layout(), "f20");
}

TEST(SegmentAllocator, RequestsOfAnySizeDoNotWrap) {
    RESERVED_SEGMENT segment(1 << 16);
    for (std::size_t less = 0; less < 300; ++less) {
        EXPECT_EQ(segment->allocate(~std::size_t(0) - less), nullptr);
        EXPECT_EQ(segment->allocate_aligned(~std::size_t(0) - less, 4096), nullptr);
        EXPECT_EQ(segment.command(bi::allocate_new, ~std::size_t(0) - less, ~std::size_t(0) - less, nullptr, 8).ptr,
                  nullptr);
    }
    EXPECT_EQ(segment->allocate(std::size_t(1) << 63), nullptr);
    EXPECT_EQ(segment->get_allocated(), 0u);
}

TEST(SegmentAllocator, TakesTheWholeLargestBlockWhenOnlyTheLimitFits) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({5, 20, 5, 30, 40});
    segment->deallocate(blocks[1]);
    segment->deallocate(blocks[3]);
    const auto result = segment.command(bi::allocate_new, bytes_for_units(10), bytes_for_units(31));
    EXPECT_EQ(result.ptr, blocks[3]);
    EXPECT_EQ(result.received, bytes_for_units(30));
    EXPECT_EQ(segment.layout(), "a5 f20 a5 a30 a40");
}

TEST(SegmentAllocator, TakesTheLastInTreeOrderAmongTheLargest) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({5, 30, 5, 30, 30});
    segment->deallocate(blocks[3]);
    segment->deallocate(blocks[1]);
    EXPECT_EQ(segment.command(bi::allocate_new, 8, bytes_for_units(31)).ptr, blocks[3]);
}

TEST(SegmentAllocator, GivesNullWhenEvenTheLimitFitsNowhere) {
    RESERVED_SEGMENT segment(size_for_units(20));
    const auto result = segment.command(bi::allocate_new, bytes_for_units(21), bytes_for_units(30));
    EXPECT_EQ(result.ptr, nullptr);
    EXPECT_EQ(segment.layout(), "f20");
}

TEST(SegmentAllocator, ServesALimitThatFitsWhenMoreThanTheSegmentIsPreferred) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto result = segment.command(bi::allocate_new, 10, 10'000, nullptr, 8);
    ASSERT_NE(result.ptr, nullptr);
    EXPECT_EQ(result.received, bytes_for_units(100) / 8);
}

TEST(SegmentAllocator, RefusesALimitAboveThePreferredSize) {
    RESERVED_SEGMENT segment(size_for_units(100));
    EXPECT_EQ(segment.command(bi::allocate_new, 41, 40).ptr, nullptr);
    EXPECT_EQ(segment.layout(), "f100");
}

// ---- Splitting

TEST(SegmentAllocator, SplitsABlockWhenFiveUnitsAreLeft) {
    RESERVED_SEGMENT segment(size_for_units(20));
    const auto result = segment.command(bi::allocate_new, bytes_for_units(15), bytes_for_units(15));
    EXPECT_EQ(result.received, bytes_for_units(15));
    EXPECT_EQ(segment.layout(), "a15 f5");
}

TEST(SegmentAllocator, GivesTheWholeBlockWhenFewerThanFiveUnitsAreLeft) {
    for (const std::size_t units : {16u, 17u, 18u, 19u, 20u}) {
        RESERVED_SEGMENT segment(size_for_units(20));
        const auto result = segment.command(bi::allocate_new, bytes_for_units(units), bytes_for_units(units));
        EXPECT_EQ(result.received, bytes_for_units(20));
        EXPECT_EQ(segment->get_allocated(), 160u);
        EXPECT_EQ(segment.layout(), "a20");
    }
}

TEST(SegmentAllocator, RemainderKeepsTheBlocksPlaceInTheTreeUnlessItIsSmallerThanThePredecessor) {
    RESERVED_SEGMENT segment(size_for_units(55));
    const auto blocks = segment.allocate_all({10, 5, 30, 5, 5});
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[2]);
    EXPECT_EQ(segment.allocate_units(20), blocks[2]);
    ASSERT_EQ(segment.layout(), "f10 a5 a20 f10 a5 a5");
    // As large as its predecessor: behind it, as the block was.
    EXPECT_EQ(segment.allocate_units(10), blocks[0]);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(SegmentAllocator, RemainderThatIsSmallerThanThePredecessorMovesInTheTree) {
    RESERVED_SEGMENT segment(size_for_units(75));
    const auto blocks = segment.allocate_all({10, 5, 9, 5, 30, 5, 11});
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[2]);
    segment->deallocate(blocks[4]);
    EXPECT_EQ(segment.allocate_units(21), blocks[4]);
    ASSERT_EQ(segment.layout(), "f10 a5 f9 a5 a21 f9 a5 a11");
    EXPECT_EQ(segment->find_fault(), "");
    // Among equals it comes last.
    EXPECT_EQ(segment.allocate_units(9), blocks[2]);
    EXPECT_EQ(segment.allocate_units(9), static_cast<char *>(blocks[4]) + 8 * 21);
    EXPECT_EQ(segment.allocate_units(9), blocks[0]);
}

// ---- Deallocation

TEST(SegmentAllocator, NullIsNotDeallocated) {
    RESERVED_SEGMENT segment(size_for_units(20));
    segment->deallocate(nullptr);
    EXPECT_EQ(segment.layout(), "f20");
}

TEST(SegmentAllocator, FreedBlockMergesWithFreeNeighbours) {
    RESERVED_SEGMENT segment(size_for_units(40));
    const auto blocks = segment.allocate_all({5, 6, 7, 8, 9, 5});
    segment->deallocate(blocks[1]);
    EXPECT_EQ(segment.layout(), "a5 f6 a7 a8 a9 a5") << "none";
    segment->deallocate(blocks[2]);
    EXPECT_EQ(segment.layout(), "a5 f13 a8 a9 a5") << "the previous";
    segment->deallocate(blocks[4]);
    segment->deallocate(blocks[3]);
    EXPECT_EQ(segment.layout(), "a5 f30 a5") << "both";
    segment->deallocate(blocks[0]);
    EXPECT_EQ(segment.layout(), "f35 a5") << "the next";
    segment->deallocate(blocks[5]);
    EXPECT_EQ(segment.layout(), "f40");
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(SegmentAllocator, BlockThatGrewStaysBeforeASuccessorOfItsSize) {
    RESERVED_SEGMENT segment(size_for_units(40));
    const auto blocks = segment.allocate_all({5, 5, 5, 10, 15});
    segment->deallocate(blocks[3]);
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[1]);
    ASSERT_EQ(segment.layout(), "f10 a5 f10 a15");
    EXPECT_EQ(segment.allocate_units(10), blocks[0]);
}

TEST(SegmentAllocator, BlockThatGrewBackwardsTakesTheFreeNextOnesPlace) {
    RESERVED_SEGMENT segment(size_for_units(40));
    const auto blocks = segment.allocate_all({5, 5, 5, 10, 15});
    segment->deallocate(blocks[3]);
    segment->deallocate(blocks[1]);
    segment->deallocate(blocks[0]);
    ASSERT_EQ(segment.layout(), "f10 a5 f10 a15");
    EXPECT_EQ(segment.allocate_units(10), blocks[0]);
}

TEST(SegmentAllocator, BlockThatOvertookItsSuccessorMovesAheadOfItsEquals) {
    RESERVED_SEGMENT segment(size_for_units(60));
    const auto blocks = segment.allocate_all({5, 7, 5, 12, 5, 8, 18});
    segment->deallocate(blocks[3]);
    segment->deallocate(blocks[5]);
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[1]);
    ASSERT_EQ(segment.layout(), "f12 a5 f12 a5 f8 a18");
    EXPECT_EQ(segment->find_fault(), "");
    EXPECT_EQ(segment.allocate_units(8), blocks[5]);
    EXPECT_EQ(segment.allocate_units(12), blocks[0]);
    EXPECT_EQ(segment.allocate_units(12), blocks[3]);
}

TEST(SegmentAllocator, FreeingEverythingLeavesOneFreeBlockAndTheCommittedSpan) {
    RESERVED_SEGMENT segment(3 * GiB);
    std::vector<void *> blocks;
    for (int i = 0; i < 100; ++i)
        blocks.push_back(segment->allocate(20'000'000));
    const std::size_t committed = segment->get_committed();
    EXPECT_EQ(committed, 2 * GiB);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        segment->deallocate(blocks[i * 37 % blocks.size()]);
    EXPECT_EQ(segment.layout(), "f" + std::to_string((3 * GiB - 168) / 8 - 2));
    EXPECT_EQ(segment->get_allocated(), 0u);
    EXPECT_EQ(segment->get_committed(), committed);
    EXPECT_EQ(segment->find_fault(), "");
}

// ---- Aligned allocation

TEST(AlignedAllocation, ResultIsAMultipleOfTheAlignment) {
    RESERVED_SEGMENT segment(16 << 20);
    for (std::size_t alignment = 16; alignment <= 65536; alignment *= 2)
        for (const std::size_t nbytes : {0u, 1u, 8u, 9u, 100u, 4088u, 70000u}) {
            void *const ptr = segment->allocate_aligned(nbytes, alignment);
            ASSERT_NE(ptr, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ptr) % alignment, 0u) << alignment;
            EXPECT_GE(segment->size(ptr), nbytes);
            ASSERT_EQ(segment->find_fault(), "");
        }
}

TEST(AlignedAllocation, UpTo8IsPlain) {
    for (const std::size_t alignment : {0u, 1u, 2u, 4u, 8u}) {
        RESERVED_SEGMENT segment(size_for_units(600));
        EXPECT_EQ(segment.offset_of(segment->allocate_aligned(33, alignment)), 184u);
        EXPECT_EQ(segment.layout(), "a6 f594");
    }
}

TEST(AlignedAllocation, PagesAreBlocksOf512UnitsThatStack) {
    RESERVED_SEGMENT segment(1 << 20);
    char *last = static_cast<char *>(segment->allocate_aligned(4088, 4096));
    EXPECT_EQ(segment.units_of(last), 512u);
    for (int i = 0; i < 100; ++i) {
        char *const page = static_cast<char *>(segment->allocate_aligned(4088, 4096));
        ASSERT_EQ(page, last + 4096);
        ASSERT_EQ(segment.units_of(page), 512u);
        last = page;
    }
}

TEST(AlignedAllocation, FreesWhatIsInFrontAndBehind) {
    RESERVED_SEGMENT segment(size_for_units(600));
    void *const ptr = segment->allocate_aligned(100, 256);
    EXPECT_EQ(segment.offset_of(ptr), 256u);
    EXPECT_EQ(segment.layout(), "f9 a14 f577");
    EXPECT_EQ(segment->get_allocated(), 8u * 14);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(AlignedAllocation, CutsABlockThatIsAlignedAlready) {
    RESERVED_SEGMENT segment(1 << 16);
    segment.allocate_units((4096 - 16 - 168) / 8);
    void *const ptr = segment->allocate_aligned(4088, 4096);
    EXPECT_EQ(segment.offset_of(ptr), 4096u);
    EXPECT_EQ(segment.layout(), "a489 a512 f" + std::to_string(((1 << 16) - 168) / 8 - 2 - 489 - 512));
}

TEST(AlignedAllocation, CutsASmallSurplusOfABlockThatIsAlignedAlready) {
    RESERVED_SEGMENT segment(size_for_units(600));
    segment->allocate(1);
    EXPECT_EQ(segment.offset_of(segment->allocate_aligned(100, 16)), 224u);
    EXPECT_EQ(segment.layout(), "a5 a14 f581");
}

// How far in front of the aligned place the plain block starts decides how it is cut.
struct CUT {
    std::size_t distance; ///< from the plain user pointer to the next multiple of 256
    std::string front;    ///< the free block in front and the aligned one
};

class AlignedAllocationCut : public testing::TestWithParam<CUT> {};

TEST_P(AlignedAllocationCut, LeavesWholeBlocksOnly) {
    RESERVED_SEGMENT segment(size_for_units(700));
    const std::size_t units = (1024 - GetParam().distance - 16 - 168) / 8;
    segment.allocate_units(units);
    void *const ptr = segment->allocate_aligned(100, 256);
    EXPECT_EQ(segment.offset_of(ptr), GetParam().distance >= 40 ? 1024u : 1280u);
    const std::string expected = "a" + std::to_string(units) + " " + GetParam().front + " f";
    EXPECT_EQ(segment.layout().substr(0, expected.size()), expected);
    EXPECT_EQ(segment->find_fault(), "");
}

INSTANTIATE_TEST_SUITE_P(Distances, AlignedAllocationCut,
                         testing::Values(CUT{8, "f33 a14"}, CUT{16, "f34 a14"},
                                         // The rest behind it is too short for a block, and stays with it.
                                         CUT{24, "f35 a18"}, CUT{32, "f36 a17"}, CUT{40, "f5 a14"}, CUT{48, "f6 a14"},
                                         CUT{128, "f16 a14"}),
                         [](const auto &param) { return std::to_string(param.param.distance); });

TEST(AlignedAllocation, GivesNullWhenItDoesNotFit) {
    RESERVED_SEGMENT segment(size_for_units(600));
    EXPECT_EQ(segment->allocate_aligned(4088, 4096), nullptr);
    EXPECT_EQ(segment->allocate_aligned(100, std::size_t(1) << 63), nullptr);
    EXPECT_EQ(segment->allocate_aligned(~std::size_t(0), 16), nullptr);
    EXPECT_EQ(segment.layout(), "f600");
}

// What the plain request of an aligned one asks for decides whether it fits.
TEST(AlignedAllocation, NeedsTheAlignmentAnd64BytesMore) {
    const std::size_t asked = 256 + 92 + 64; // for 100 bytes, whose last word is the next block's
    RESERVED_SEGMENT fits(size_for_units((asked - 1) / 8 + 2));
    EXPECT_NE(fits->allocate_aligned(100, 256), nullptr);
    RESERVED_SEGMENT lacks(size_for_units((asked - 1) / 8 + 1));
    EXPECT_EQ(lacks->allocate_aligned(100, 256), nullptr);
}

// ---- Many blocks at once

TEST(ManyBlocks, AreChainedInTheirOrder) {
    RESERVED_SEGMENT segment(size_for_units(100));
    segment_algorithm::multiallocation_chain chain;
    segment->allocate_many(40, 3, chain);
    ASSERT_EQ(chain.size(), 3u);
    const segment_algorithm::size_type sizes[] = {1, 5, 10};
    segment->allocate_many(sizes, 3, 8, chain);
    ASSERT_EQ(chain.size(), 6u);
    std::vector<std::size_t> units;
    for (auto at = chain.begin(); at != chain.end(); ++at)
        units.push_back(segment.units_of(&*at));
    EXPECT_EQ(units, (std::vector<std::size_t>{6, 6, 6, 5, 6, 11}));
    segment->deallocate_many(chain);
    EXPECT_TRUE(chain.empty());
    EXPECT_EQ(segment.layout(), "f100");
}

TEST(ManyBlocks, AreNoneWhenTheyDoNotAllFit) {
    RESERVED_SEGMENT segment(size_for_units(29));
    segment_algorithm::multiallocation_chain chain;
    segment->allocate_many(40, 1, chain);
    segment->allocate_many(40, 4, chain);
    EXPECT_EQ(chain.size(), 1u);
    const segment_algorithm::size_type sizes[] = {1, ~segment_algorithm::size_type(0) / 8 + 2};
    segment->allocate_many(sizes, 2, 8, chain);
    EXPECT_EQ(chain.size(), 1u);
    EXPECT_EQ(segment.layout(), "a6 f23");
}

// ---- grow

TEST(Grow, AddsABlockBehindAnAllocatedLastOne) {
    RESERVED_SEGMENT segment(size_for_units(20), size_for_units(100));
    segment.allocate_units(20);
    segment->grow(40);
    EXPECT_EQ(segment->get_size(), size_for_units(25));
    EXPECT_EQ(segment.layout(), "a20 f5");
    EXPECT_EQ(segment->get_allocated(), 160u);
    EXPECT_EQ(segment.word(s_first_block), 25u);
    EXPECT_EQ(segment->find_fault(), "");
    EXPECT_NE(segment.allocate_units(5), nullptr);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(Grow, ExtendsAFreeLastBlock) {
    RESERVED_SEGMENT segment(size_for_units(20), size_for_units(1000));
    segment.allocate_units(10);
    segment->grow(8 * 500);
    EXPECT_EQ(segment.layout(), "a10 f510");
    EXPECT_EQ(segment->find_fault(), "");
    EXPECT_EQ(segment->get_allocated(), 80u);
}

TEST(Grow, ByFewerThanFiveBytesOnlyCounts) {
    for (std::size_t extra = 0; extra < 5; ++extra) {
        RESERVED_SEGMENT segment(size_for_units(20), size_for_units(30));
        segment.allocate_units(10);
        const std::size_t committed = segment->get_committed();
        segment->grow(extra);
        EXPECT_EQ(segment->get_size(), size_for_units(20) + extra);
        EXPECT_EQ(segment->get_committed(), committed);
        EXPECT_EQ(segment.end_offset(), size_for_units(20) - 16);
        EXPECT_EQ(segment.layout(), "a10 f10");
        EXPECT_EQ(segment->find_fault(), "");
    }
}

TEST(Grow, ByFewerThanFiveBytesLeavesAFullSegmentThatCanBeCloned) {
    RESERVED_SEGMENT segment(4096, 3 * 4096);
    segment.allocate_units((4096 - 168) / 8 - 2);
    segment->grow(4);
    const RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, segment, 4100);
    EXPECT_EQ(copy->get_size(), 4100u);
    EXPECT_EQ(copy.layout(), "a489");
    EXPECT_EQ(copy->find_fault(), "");
}

TEST(Grow, OfUnalignedSizesPutsTheEndBlockAtTheLast8AlignedPlace) {
    for (std::size_t odd = 0; odd < 8; ++odd) {
        RESERVED_SEGMENT segment(size_for_units(20) + odd, size_for_units(100));
        EXPECT_EQ(segment.end_offset(), size_for_units(20) - 16);
        segment->grow(41);
        EXPECT_EQ(segment.end_offset(), s_first_block + ((size_for_units(20) + odd + 41 - s_first_block) / 8 - 2) * 8);
        EXPECT_EQ(segment->find_fault(), "");
    }
}

// ---- shrink_to_fit

TEST(ShrinkToFit, OfAFreshSegmentKeepsOneSmallestFreeBlock) {
    RESERVED_SEGMENT segment(1 << 20);
    segment->shrink_to_fit();
    EXPECT_EQ(segment->get_size(), 224u);
    EXPECT_EQ(segment.layout(), "f5");
    EXPECT_EQ(segment->get_allocated(), 0u);
    EXPECT_EQ(segment.word(168), 5u);
    EXPECT_EQ(segment.word(208 + 8), 5 | s_allocated_bit);
    EXPECT_EQ(segment->find_fault(), "");
    segment->shrink_to_fit();
    EXPECT_EQ(segment->get_size(), 224u);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ShrinkToFit, OfASegmentThatHoldsOneBlockOnlyChangesNothing) {
    for (std::size_t size = 224; size < 264; ++size) {
        RESERVED_SEGMENT segment(size);
        const std::string layout = segment.layout();
        segment->shrink_to_fit();
        EXPECT_EQ(segment->get_size(), size);
        EXPECT_EQ(segment.layout(), layout);
        EXPECT_EQ(segment->find_fault(), "");
    }
    RESERVED_SEGMENT segment(264);
    segment->shrink_to_fit();
    EXPECT_EQ(segment->get_size(), 224u);
}

TEST(ShrinkToFit, OfASegmentThatIsOneAllocatedBlockChangesNothing) {
    RESERVED_SEGMENT segment(size_for_units(50));
    segment.allocate_units(50);
    segment->shrink_to_fit();
    EXPECT_EQ(segment->get_size(), size_for_units(50));
    EXPECT_EQ(segment.layout(), "a50");
}

TEST(ShrinkToFit, KeepsAnAllocatedLastBlock) {
    RESERVED_SEGMENT segment(size_for_units(50));
    const auto blocks = segment.allocate_all({20, 30});
    segment->deallocate(blocks[0]);
    segment->shrink_to_fit();
    EXPECT_EQ(segment->get_size(), size_for_units(50));
    EXPECT_EQ(segment.layout(), "f20 a30");
}

TEST(ShrinkToFit, CutsAFreeLastBlockAndLeavesTheCommittedSpan) {
    RESERVED_SEGMENT segment(5 * GiB);
    void *const ptr = segment->allocate(3 * GiB / 2);
    const std::size_t committed = segment->get_committed();
    segment->deallocate(ptr);
    ASSERT_EQ(segment->allocate(100), ptr);
    segment->shrink_to_fit();
    EXPECT_EQ(segment->get_size(), size_for_units(14));
    EXPECT_EQ(segment->get_committed(), committed);
    EXPECT_EQ(segment.layout(), "a14");
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(ShrinkToFit, ThenGrowByTheDifferenceRestoresTheSegment) {
    for (const std::size_t size : {size_for_units(100), 3 * GiB, 3 * GiB + 8}) {
        RESERVED_SEGMENT segment(size);
        const auto blocks = segment.allocate_all({10, 6, 10});
        segment->deallocate(blocks[1]);
        const std::string layout = segment.layout();
        const std::size_t committed = segment->get_committed();
        segment->shrink_to_fit();
        EXPECT_EQ(segment.layout(), "a10 f6 a10");
        segment->grow(size - segment->get_size());
        EXPECT_EQ(segment->get_size(), size);
        EXPECT_EQ(segment.layout(), layout);
        EXPECT_EQ(segment->get_committed(), committed);
        EXPECT_EQ(segment->find_fault(), "");
    }
}

TEST(ShrinkToFit, OfASegmentWithoutBlocksIsUndoneByGrow) {
    RESERVED_SEGMENT segment(1 << 20);
    segment->shrink_to_fit();
    segment->grow((1 << 20) - 224);
    EXPECT_EQ(segment->get_size(), std::size_t(1) << 20);
    EXPECT_EQ(segment.layout(), "f" + std::to_string(((1 << 20) - 168) / 8 - 2));
    EXPECT_EQ(segment->find_fault(), "");
}

// ---- zero_free_memory

TEST(ZeroFreeMemory, ClearsFreeBlocksAndNothingElse) {
    RESERVED_SEGMENT segment(1 << 20);
    const auto blocks = segment.allocate_all({100, 3000, 100});
    for (void *const block : blocks)
        std::memset(block, 0xab, segment->size(block));
    segment->deallocate(blocks[1]);
    segment->zero_free_memory();
    EXPECT_EQ(segment->find_fault(), "");
    segment->unpoison_free_blocks();
    const char *const freed = static_cast<const char *>(blocks[1]);
    EXPECT_TRUE(std::all_of(freed + 24, freed + bytes_for_units(3000) - 8, [](char byte) { return byte == 0; }));
    segment->poison_free_blocks();
    for (const int i : {0, 2}) {
        const char *const kept = static_cast<const char *>(blocks[i]);
        EXPECT_TRUE(std::all_of(kept, kept + bytes_for_units(100), [](char byte) { return byte == char(0xab); }));
    }
}

} // namespace
