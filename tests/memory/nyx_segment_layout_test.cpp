// The image is a file format: every stored offset, size and bit, read as raw words.
#include "reserved_segment.h"

#include <gtest/gtest.h>

#include <boost/interprocess/containers/map.hpp>
#include <boost/interprocess/containers/set.hpp>
#include <boost/interprocess/containers/vector.hpp>

#include <algorithm>

namespace {

constexpr std::uint64_t s_null = 1;  // what an offset pointer stores for null
constexpr std::uint64_t s_black = 2; // in the parent link

// A link that stands at `from` and leads to `to`, both offsets in the segment.
std::uint64_t link(std::size_t from, std::size_t to) {
    return to - from;
}

TEST(SegmentLayout, SizesOfWhatIsStored) {
    EXPECT_EQ(sizeof(segment_algorithm), 104u);
    EXPECT_EQ(sizeof(NYX_SEGMENT_MANAGER), 168u);
    EXPECT_EQ(sizeof(NYX::MEM_ALGO::segment_void_pointer), 8u);
    EXPECT_EQ(sizeof(NYX_SEGMENT_ALLOCATOR<int>), 8u);
    EXPECT_EQ(segment_algorithm::Alignment, 8u);
    EXPECT_EQ(segment_algorithm::AllocatedCtrlBytes, 16u);
    EXPECT_EQ(segment_algorithm::BlockCtrlUnits, 5u);
    EXPECT_EQ(segment_algorithm::BlockCtrlBytes, 40u);
    EXPECT_EQ(segment_algorithm::EndCtrlBlockUnits, 2u);
    EXPECT_EQ(segment_algorithm::MinSegmentBytes, 224u);
    EXPECT_EQ(segment_algorithm::get_min_size(64), 224u);
    EXPECT_EQ(segment_algorithm::CommitStep, 0x40000000u);
    EXPECT_EQ(segment_algorithm::PayloadPerAllocation, 8u);
}

TEST(SegmentLayout, SizesOfStoredContainers) {
    namespace bi = boost::interprocess;
    EXPECT_EQ(sizeof(bi::vector<int, NYX_SEGMENT_ALLOCATOR<int>>), 32u);
    EXPECT_EQ(sizeof(bi::set<int, std::less<int>, NYX_SEGMENT_ALLOCATOR<int>>), 40u);
    EXPECT_EQ(sizeof(bi::map<int, int, std::less<int>, NYX_SEGMENT_ALLOCATOR<std::pair<const int, int>>>), 40u);
}

TEST(SegmentLayout, NullIsOne) {
    const NYX::MEM_ALGO::segment_void_pointer null;
    std::uint64_t stored;
    std::memcpy(&stored, &null, sizeof(stored));
    EXPECT_EQ(stored, s_null);
}

TEST(SegmentLayout, ManagerAndAllocatorStandAtTheSegmentsStart) {
    RESERVED_SEGMENT segment(1 << 16);
    EXPECT_EQ(static_cast<void *>(nyx_get_algorithm(segment.manager())), segment.base());
    EXPECT_EQ(segment.manager()->get_size(), std::size_t(1) << 16);
}

TEST(SegmentLayout, HeaderOfAFreshSegment) {
    RESERVED_SEGMENT segment(1 << 16);
    EXPECT_EQ(segment.word(0), 0u);
    EXPECT_EQ(segment.word(8), link(8, 184)) << "tree: the root; the head itself is red";
    EXPECT_EQ(segment.word(16), link(16, 184)) << "tree: the smallest";
    EXPECT_EQ(segment.word(24), link(24, 184)) << "tree: the largest";
    EXPECT_EQ(segment.word(32), 64u) << "m_extra_hdr_bytes";
    EXPECT_EQ(segment.word(40), 0u) << "m_allocated";
    EXPECT_EQ(segment.word(48), 1u << 16) << "m_size";
    EXPECT_EQ(segment.word(56), 1u << 16) << "m_committed";
    for (std::size_t offset = 64; offset < 104; offset += 8)
        EXPECT_EQ(segment.word(offset), 0u) << offset;
}

TEST(SegmentLayout, ObjectIndexesOfAFreshSegmentAreEmpty) {
    RESERVED_SEGMENT segment(1 << 16);
    for (const std::size_t index : {104u, 136u}) {
        EXPECT_EQ(segment.word(index), 0u);
        EXPECT_EQ(segment.word(index + 8), s_null);
        EXPECT_EQ(segment.word(index + 16), link(index + 16, index + 8));
        EXPECT_EQ(segment.word(index + 24), link(index + 24, index + 8));
    }
}

TEST(SegmentLayout, BlocksOfAFreshSegment) {
    for (const std::size_t size : {std::size_t(224), std::size_t(1) << 16, (std::size_t(1) << 16) + 5, 3 * GiB}) {
        RESERVED_SEGMENT segment(size);
        const std::size_t units = (size - 168) / 8 - 2;
        EXPECT_EQ(segment.word(168), units) << "m_prev_size: the distance to the end block";
        EXPECT_EQ(segment.word(176), units | s_prev_allocated_bit) << "m_size; free";
        EXPECT_EQ(segment.word(184), link(184, 8) | s_black) << "hook: the parent is the tree's head";
        EXPECT_EQ(segment.word(192), s_null) << "hook: left";
        EXPECT_EQ(segment.word(200), s_null) << "hook: right";
        const std::size_t end = 168 + 8 * units;
        EXPECT_LE(end + 16, size);
        EXPECT_GT(end + 16 + 8, size);
        EXPECT_EQ(segment.word(end), units) << "m_prev_size of the end block";
        EXPECT_EQ(segment.word(end + 8), units | s_allocated_bit) << "the end block is always allocated";
        EXPECT_EQ(segment.word(40), 0u);
    }
}

TEST(SegmentLayout, HeadersOfAllocatedBlocks) {
    RESERVED_SEGMENT segment(size_for_units(100));
    void *const a = segment.allocate_units(10);
    void *const b = segment.allocate_units(20);
    ASSERT_EQ(segment.offset_of(a), 168u + 16);
    ASSERT_EQ(segment.offset_of(b), 248u + 16);
    EXPECT_EQ(segment.word(168), 100u) << "still the distance to the end block";
    EXPECT_EQ(segment.word(176), 10 | s_prev_allocated_bit | s_allocated_bit);
    EXPECT_EQ(segment.word(248), 0u) << "the user's last word, cleared";
    EXPECT_EQ(segment.word(256), 20 | s_prev_allocated_bit | s_allocated_bit);
    EXPECT_EQ(segment.word(408), 0u);
    EXPECT_EQ(segment.word(416), 70 | s_prev_allocated_bit);
    EXPECT_EQ(segment.word(968), 70u) << "the end block, behind a free one";
    EXPECT_EQ(segment.word(976), 100 | s_allocated_bit);
    EXPECT_EQ(segment.word(40), 240u);
    segment.allocate_units(70);
    EXPECT_EQ(segment.word(976), 100 | s_allocated_bit | s_prev_allocated_bit) << "behind an allocated one";
    EXPECT_EQ(segment.word(8), s_null) << "no free block: an empty tree";
    EXPECT_EQ(segment.word(16), link(16, 8));
    EXPECT_EQ(segment.word(24), link(24, 8));
}

TEST(SegmentLayout, HeadersAroundAFreedBlock) {
    RESERVED_SEGMENT segment(size_for_units(30));
    const auto blocks = segment.allocate_all({10, 10, 10});
    segment->deallocate(blocks[1]);
    EXPECT_EQ(segment.word(248 + 8), 10 | s_prev_allocated_bit);
    EXPECT_EQ(segment.word(328), 10u) << "the next block's m_prev_size";
    EXPECT_EQ(segment.word(328 + 8), 10 | s_allocated_bit);
    EXPECT_EQ(segment.word(40), 160u);
}

TEST(SegmentLayout, TreeOfThreeFreeBlocks) {
    RESERVED_SEGMENT segment(size_for_units(60));
    const auto blocks = segment.allocate_all({6, 5, 8, 5, 7, 29});
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[2]);
    segment->deallocate(blocks[4]);
    // Nodes are the hooks, 16 bytes into the blocks: of 6, 8 and 7 units.
    const std::size_t small = 184, large = segment.offset_of(blocks[2]), middle = segment.offset_of(blocks[4]);
    EXPECT_EQ(segment.word(8), link(8, middle));
    EXPECT_EQ(segment.word(16), link(16, small));
    EXPECT_EQ(segment.word(24), link(24, large));
    EXPECT_EQ(segment.word(middle), link(middle, 8) | s_black);
    EXPECT_EQ(segment.word(middle + 8), link(middle + 8, small));
    EXPECT_EQ(segment.word(middle + 16), link(middle + 16, large));
    for (const std::size_t leaf : {small, large}) {
        EXPECT_EQ(segment.word(leaf), link(leaf, middle)) << "red: the bit is clear";
        EXPECT_EQ(segment.word(leaf + 8), s_null);
        EXPECT_EQ(segment.word(leaf + 16), s_null);
    }
}

TEST(SegmentLayout, RemainderReplacesItsBlocksNodeInPlace) {
    RESERVED_SEGMENT segment(size_for_units(163));
    const auto blocks = segment.allocate_all({10, 5, 30, 5, 40, 5, 8, 5, 50, 5});
    for (const int i : {2, 0, 4, 6, 8})
        segment->deallocate(blocks[i]);
    ASSERT_EQ(segment.word(8), link(8, segment.offset_of(blocks[2]))) << "the block of 30 is the root";
    segment.allocate_units(20);
    ASSERT_EQ(segment.layout(), "f10 a5 a20 f10 a5 f40 a5 f8 a5 f50 a5");
    // As large as the one before it, it is still the root.
    const std::size_t root = segment.offset_of(blocks[2]) + 8 * 20;
    EXPECT_EQ(segment.word(8), link(8, root));
    EXPECT_EQ(segment.word(root), link(root, 8) | s_black);
    EXPECT_EQ(segment.word(root + 8), link(root + 8, segment.offset_of(blocks[0])));
    EXPECT_EQ(segment.word(root + 16), link(root + 16, segment.offset_of(blocks[4])));
}

TEST(SegmentLayout, NamedObjectsHangInTheFirstIndex) {
    RESERVED_SEGMENT segment(1 << 16);
    int *const object = segment.manager()->construct<int>("NYX")(7);
    EXPECT_EQ(segment.word(0), 0u);
    EXPECT_EQ(segment.word(104), 1u) << "counts the objects";
    EXPECT_EQ(segment.word(112), link(112, 184)) << "a hook at the block's user area";
    // Hook, then: bytes of the value, length of the name, alignment and kind; value; name.
    EXPECT_EQ(segment.word(208), 4u);
    EXPECT_EQ(segment.word(216) & 0xffffffff, 0x21'04'0003u);
    EXPECT_EQ(segment.offset_of(object), 224u);
    EXPECT_EQ(std::memcmp(segment.base() + 228, "NYX", 4), 0);
    EXPECT_EQ(segment.word(136), 0u);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(SegmentLayout, ReservedBytesStayZero) {
    RESERVED_SEGMENT segment(1 << 16, 1 << 17);
    void *const a = segment->allocate(1000);
    segment->allocate_aligned(4088, 4096);
    segment->deallocate(a);
    segment->shrink_to_fit();
    segment->grow(1 << 16);
    EXPECT_EQ(segment.word(0), 0u);
    for (std::size_t offset = 64; offset < 104; offset += 8)
        EXPECT_EQ(segment.word(offset), 0u);
}

TEST(SegmentLayout, SameStepsGiveTheSameBytes) {
    const auto build = [](RESERVED_SEGMENT &segment) {
        const auto blocks = segment.allocate_all({10, 20, 30, 15, 40, 12});
        for (void *const block : blocks)
            std::memset(block, 0x11, segment->size(block));
        for (const int i : {1, 4, 3})
            segment->deallocate(blocks[i]);
        segment->allocate_aligned(200, 64);
        segment->shrink_to_fit();
    };
    RESERVED_SEGMENT a(1 << 16), b(1 << 16);
    build(a);
    build(b);
    ASSERT_EQ(a->get_size(), b->get_size());
    a->unpoison_free_blocks();
    b->unpoison_free_blocks();
    EXPECT_EQ(std::memcmp(a.base(), b.base(), a->get_size()), 0);
}

} // namespace
