// The allocator's checks end the run, each with its own text. Those that no public member can trip are reached through
// the guarded members themselves.
#include "reserved_segment.h"

#include <gtest/gtest.h>

namespace bi = boost::interprocess;

namespace NYX::MEM_ALGO {

/// A friend of the allocator.
struct rbtree_best_fit_guards {
    static void commit_span(RESERVED_SEGMENT &segment, const void *ptr) { segment->commit_span(ptr); }
    static void take(RESERVED_SEGMENT &segment, void *user, std::size_t units) {
        segment_algorithm::size_type received;
        segment->take(segment_algorithm::block_of(user), units, received);
    }
    static void cut(RESERVED_SEGMENT &segment, void *user, std::size_t units) {
        segment->cut(segment_algorithm::block_of(user), units);
    }
    static void prev_block(void *user) { segment_algorithm::prev_block(segment_algorithm::block_of(user)); }
    static void expand_forward(RESERVED_SEGMENT &segment, void *user, std::size_t limit, std::size_t preferred) {
        segment_algorithm::size_type received;
        segment->expand_forward(user, limit, preferred, received);
    }
    static void expand_backward(RESERVED_SEGMENT &segment, void *user, std::size_t needed, std::size_t held) {
        segment_algorithm::size_type received;
        segment->expand_backward(user, needed, held, received, 1, true);
    }
    static void expand(RESERVED_SEGMENT &segment, void *user, std::size_t limit, std::size_t preferred,
                       std::size_t multiple) {
        segment_algorithm::size_type received;
        segment->expand(bi::expand_bwd, limit, preferred, received, user, true, multiple);
    }
};

} // namespace NYX::MEM_ALGO

namespace {

using NYX::MEM_ALGO::rbtree_best_fit_guards;

// A report's words as a regular expression that matches nothing else.
std::string report(const std::string &expression, const std::string &text = "") {
    std::string result;
    for (const char c : text.empty() ? expression : expression + ": " + text) {
        if (std::strchr("()[]{}.*+?|^$\\", c) != nullptr)
            result += '\\';
        result += c;
    }
    return "check failed: " + result;
}

struct SegmentDeathTest : testing::Test {
    // Six blocks of ten units, the second and the fourth free, and a free tail.
    SegmentDeathTest() : segment(size_for_units(100)), blocks(segment.allocate_all({10, 10, 10, 10, 10, 10})) {
        segment->deallocate(blocks[1]);
        segment->deallocate(blocks[3]);
    }
    std::size_t at(int block) const { return segment.block_of(blocks[block]); }
    void flip(std::size_t offset, std::uint64_t bits) { segment.set_word(offset, segment.word(offset) ^ bits); }
    void set_units(int block, std::uint64_t units) {
        const std::uint64_t bits = segment.word(at(block) + 8) & (s_allocated_bit | s_prev_allocated_bit);
        segment.set_word(at(block) + 8, bits | units);
    }

    RESERVED_SEGMENT segment;
    std::vector<void *> blocks;
};

// ---- Construction

TEST_F(SegmentDeathTest, TooSmallARegionEndsTheRun) {
    char *const base = NYX::VIRTUAL_MEMORY::reserve_and_commit(4096, 0);
    for (const std::size_t size : {0u, 8u, 168u, 223u})
        EXPECT_DEATH(::new (base) NYX_SEGMENT_MANAGER(size),
                     report("segment_size >= (BlockCtrlBytes + EndCtrlBlockBytes)",
                            "A segment of " + std::to_string(size) + " bytes is too small"));
    NYX::VIRTUAL_MEMORY::release(base, 4096);
}

// ---- Pointers that aren't a block's

TEST_F(SegmentDeathTest, FreeingTwiceEndsTheRun) {
    const std::string text = report("priv_is_allocated_block(block)", "Block is not allocated");
    EXPECT_DEATH(segment->deallocate(blocks[1]), text);
    segment->deallocate(blocks[0]);
    EXPECT_DEATH(segment->deallocate(blocks[0]), text);
    EXPECT_DEATH(segment->deallocate(blocks[1]), text) << "merged into the one in front";
    segment->deallocate(blocks[5]);
    EXPECT_DEATH(segment->deallocate(blocks[5]), text) << "merged with the one behind";
    segment->deallocate(blocks[2]);
    EXPECT_DEATH(segment->deallocate(blocks[2]), text) << "merged with both";
}

TEST_F(SegmentDeathTest, FreeingAnUnalignedPointerEndsTheRun) {
    for (int i = 1; i < 8; ++i)
        EXPECT_DEATH(segment->deallocate(static_cast<char *>(blocks[0]) + i), ": Alignment check failed \\[");
}

TEST_F(SegmentDeathTest, ResizingAFreeBlockEndsTheRun) {
    const std::string text = report("priv_is_allocated_block(block)", "Block is not allocated");
    EXPECT_DEATH(segment.command(bi::expand_fwd, 10, 1000, blocks[1]), text);
    EXPECT_DEATH(segment.command(bi::expand_bwd, 10, 1000, blocks[1]), text);
    EXPECT_DEATH(segment.command(bi::expand_bwd, 10, 10, blocks[1]), text);
    EXPECT_DEATH(segment.command(bi::shrink_in_place, 10, 10, blocks[1]), text);
}

TEST_F(SegmentDeathTest, ResizingAtAnUnalignedPointerEndsTheRun) {
    void *const odd = static_cast<char *>(blocks[0]) + 4;
    EXPECT_DEATH(segment.command(bi::expand_fwd, 10, 1000, odd), ": Alignment check failed \\[");
    EXPECT_DEATH(segment.command(bi::expand_bwd, 10, 1000, odd), ": Alignment check failed \\[");
    EXPECT_DEATH(segment.command(bi::shrink_in_place, 10, 10, odd), ": Alignment check failed \\[");
}

TEST_F(SegmentDeathTest, AlignmentThatIsNoPowerOfTwoEndsTheRun) {
    for (const std::size_t alignment : {3u, 6u, 12u, 4095u})
        EXPECT_DEATH(segment->allocate_aligned(8, alignment),
                     report("(alignment & (alignment - size_type(1u))) == 0", "Alignment check failed"));
}

// ---- Sizes that contradict each other

TEST_F(SegmentDeathTest, FreeingMoreThanIsAllocatedEndsTheRun) {
    segment.set_word(40, 72);
    EXPECT_DEATH(segment->deallocate(blocks[0]), report("m_header.m_allocated >= block_old_size"));
}

TEST_F(SegmentDeathTest, FreeingABlockBelowTheLeastSizeEndsTheRun) {
    // What stands where the next block would be says that it is allocated.
    segment.set_word(at(4) + 4 * 8 + 8, s_allocated_bit | 6);
    set_units(4, 4);
    flip(at(4) + 8, s_prev_allocated_bit);
    EXPECT_DEATH(segment->deallocate(blocks[4]), report("block_to_insert->m_size >= BlockCtrlUnits"));
    set_units(4, 0);
    EXPECT_DEATH(segment->deallocate(blocks[4]), report("block_to_insert->m_size >= BlockCtrlUnits"));
}

TEST_F(SegmentDeathTest, FreeBlockInFrontOfAFreeBlockEndsTheRun) {
    flip(at(1) + 8, s_prev_allocated_bit);
    const std::string text = report("ptr->m_prev_allocated", "prev is allocated");
    EXPECT_DEATH(segment->deallocate(blocks[2]), text);
    EXPECT_DEATH(segment.command(bi::expand_bwd, 80, 80, blocks[2]), text);
}

TEST_F(SegmentDeathTest, SteppingBackFromABlockBehindAnAllocatedOneEndsTheRun) {
    EXPECT_DEATH(rbtree_best_fit_guards::prev_block(blocks[1]),
                 report("!ptr->m_prev_allocated", "prev is not allocated"));
    EXPECT_DEATH(rbtree_best_fit_guards::prev_block(blocks[0]),
                 report("!ptr->m_prev_allocated", "prev is not allocated"));
}

TEST_F(SegmentDeathTest, ExpandingIntoABlockOfTwoSizesEndsTheRun) {
    segment.set_word(at(2), 9);
    EXPECT_DEATH(segment.command(bi::expand_fwd, 80, 80, blocks[0]),
                 report("next_block->m_size == priv_next_block(next_block)->m_prev_size"));
}

TEST_F(SegmentDeathTest, ExpandingBackwardsIntoABlockOfTwoSizesEndsTheRun) {
    set_units(1, 9);
    EXPECT_DEATH(segment.command(bi::expand_bwd, 80, 80, blocks[2]),
                 report("prev_block->m_size == reuse->m_prev_size"));
}

TEST_F(SegmentDeathTest, BackwardsExpansionOfAPartOfAnElementEndsTheRun) {
    EXPECT_DEATH(rbtree_best_fit_guards::expand(segment, blocks[2], 80, 96, 12),
                 report("0 == (min_size % backwards_multiple)"));
    EXPECT_DEATH(rbtree_best_fit_guards::expand(segment, blocks[2], 84, 100, 12),
                 report("0 == (preferred_size % backwards_multiple)"));
}

TEST_F(SegmentDeathTest, ForwardPartOfABackwardsExpansionThatFailsEndsTheRun) {
    // 72 bytes are held and 80 more are to be had behind; no more than that.
    EXPECT_DEATH(rbtree_best_fit_guards::expand_backward(segment, blocks[2], 160, 80), ": expand failed \\[");
}

TEST_F(SegmentDeathTest, LimitAboveThePreferredSizeEndsTheRun) {
    EXPECT_DEATH(rbtree_best_fit_guards::expand_forward(segment, blocks[0], 100, 80),
                 report("min_user_units <= preferred_user_units"));
}

TEST_F(SegmentDeathTest, CuttingOffLessThanABlockEndsTheRun) {
    EXPECT_DEATH(rbtree_best_fit_guards::cut(segment, blocks[0], 6), ": block is too small \\[");
}

TEST_F(SegmentDeathTest, TakingABlockThatIsTooSmallEndsTheRun) {
    EXPECT_DEATH(rbtree_best_fit_guards::take(segment, blocks[1], 11), "no way on: m_size < nunits < upper_nunits \\[");
}

// ---- Committed memory

TEST_F(SegmentDeathTest, CommittingOutsideTheSegmentEndsTheRun) {
    EXPECT_DEATH(rbtree_best_fit_guards::commit_span(segment, segment.base() - 1),
                 report("this_ptr <= char_ptr", "ptr is left of this"));
    EXPECT_DEATH(rbtree_best_fit_guards::commit_span(segment, segment.base() + size_for_units(100) + 1),
                 report("offset <= m_header.m_size", "offset larger than managed segment"));
}

TEST_F(SegmentDeathTest, WhatIsOnlyReservedFaults) {
    RESERVED_SEGMENT large(3 * GiB);
    const volatile char *const beyond = large.base() + large->get_committed();
    EXPECT_DEATH((void)*beyond, "");
    EXPECT_EQ(large.word(3 * GiB - 8) & s_allocated_bit, s_allocated_bit) << "the end block's page is there";
}

// ---- grow and clone

TEST_F(SegmentDeathTest, GrowingByLessThanABlockEndsTheRun) {
    for (const std::size_t extra : {5u, 8u, 16u, 39u}) {
        RESERVED_SEGMENT full(size_for_units(20), 4096);
        full.allocate_units(20);
        EXPECT_DEATH(full->grow(extra), report("new_block->m_size >= BlockCtrlUnits")) << extra;
    }
    RESERVED_SEGMENT odd(size_for_units(20) + 5, 4096);
    EXPECT_DEATH(odd->grow(0), "new_block->m_size >= BlockCtrlUnits");
}

TEST_F(SegmentDeathTest, GrowingBeyondAllSizesEndsTheRun) {
    EXPECT_DEATH(segment->grow(~std::size_t(0)), "can't grow by 18446744073709551615 bytes");
}

TEST_F(SegmentDeathTest, CloningIntoASmallerBufferEndsTheRun) {
    std::vector<char> buffer(size_for_units(100) - 1);
    EXPECT_DEATH(segment->clone(buffer),
                 report("valloc_buffer.size() >= m_header.m_size", "Provided buffer for cloning is too small"));
}

TEST_F(SegmentDeathTest, CloningWhatIsNotCommittedEndsTheRun) {
    RESERVED_SEGMENT buffer(4096);
    segment.set_word(56, at(5) + 80 + 39);
    EXPECT_DEATH(segment->clone({buffer.base(), buffer.reserved()}), report("m_header.m_committed >= size_to_copy"));
    segment.allocate_units(40);
    segment.set_word(56, size_for_units(100) - 8);
    EXPECT_DEATH(segment->clone({buffer.base(), buffer.reserved()}), report("m_header.m_committed >= m_header.m_size"));
}

// ---- Loaded images

TEST_F(SegmentDeathTest, FlippedAllocatedBitsOfALoadedImageEndTheRun) {
    for (int block = 0; block < 6; ++block) {
        for (const std::uint64_t bit : {s_allocated_bit, s_prev_allocated_bit}) {
            if (block == 0 && bit == s_prev_allocated_bit)
                continue; // nothing is in front of it
            RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 4096);
            const std::size_t offset = at(block) + 8;
            loaded.set_word(offset, loaded.word(offset) ^ bit);
            EXPECT_DEATH(loaded->post_load(), report("allocated == next_block_prev_allocated")) << block;
        }
    }
    RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 4096);
    const std::size_t offset = loaded.end_offset() + 8;
    loaded.set_word(offset, loaded.word(offset) ^ s_prev_allocated_bit);
    EXPECT_DEATH(loaded->post_load(), report("allocated == next_block_prev_allocated")) << "the end block";
}

TEST_F(SegmentDeathTest, WrongSizesInALoadedImageEndTheRun) {
    for (const std::uint64_t units : {0u, 4u, 1000u}) {
        RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 4096);
        loaded.set_word(at(2) + 8, s_allocated_bit | units);
        EXPECT_DEATH(loaded->post_load(), ": block is too small \\[");
    }
    RESERVED_SEGMENT end(RESERVED_SEGMENT::BYTES{}, segment, 4096);
    end.set_word(s_first_block, 99);
    EXPECT_DEATH(end->post_load(), "the end block is not where a segment of 984 bytes has it");
}

TEST_F(SegmentDeathTest, HeadersOfALoadedImageThatHoldNoBlockEndTheRun) {
    for (const std::uint64_t extra :
         {~std::uint64_t(0), ~std::uint64_t(0) - 103, std::uint64_t(984 - 104), std::uint64_t(1) << 40}) {
        RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 4096);
        loaded.set_word(32, extra);
        EXPECT_DEATH(loaded->post_load(), "the end block is not where a segment of 984 bytes has it") << extra;
    }
}

} // namespace
