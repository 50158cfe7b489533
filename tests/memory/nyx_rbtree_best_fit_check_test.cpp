// The walk that tells what is wrong with a segment names a fault for every damaged word that matters, and never follows
// one out of the segment.
#include "reserved_segment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

// A segment with blocks of all kinds and a tree of three levels, in memory that is committed in full.
struct FindFault : testing::Test {
    FindFault() : segment(size_for_units(600)) {
        std::vector<void *> blocks;
        for (const std::size_t units : {10, 6, 12, 7, 10, 8, 14, 9, 10, 10, 5, 11, 10, 12, 20, 13, 10, 14, 10})
            blocks.push_back(segment.allocate_units(units));
        for (std::size_t i = 1; i < blocks.size(); i += 2) {
            segment->deallocate(blocks[i]);
            freed.push_back(segment.block_of(blocks[i]));
        }
        freed.push_back(segment.end_offset() - 8 * segment.word(segment.end_offset()));
        for (std::size_t i = 0; i < blocks.size(); i += 2) {
            std::memset(blocks[i], int(i), segment->size(blocks[i]));
            kept.push_back(segment.block_of(blocks[i]));
        }
        // The cases damage words one at a time and read what a healthy walk never reads.
        segment->unpoison_free_blocks();
        EXPECT_EQ(segment->find_fault(), "");
    }

    // The fault while the word at `offset` is `value`.
    std::string with(std::size_t offset, std::uint64_t value) {
        const std::uint64_t old = segment.word(offset);
        segment.set_word(offset, value);
        const std::string fault = segment->find_fault();
        segment.set_word(offset, old);
        return fault;
    }
    std::string flipped(std::size_t offset, std::uint64_t bits) { return with(offset, segment.word(offset) ^ bits); }

    // True for each word that a fault can be told from by itself: m_committed is believed, and so are users' bytes.
    std::vector<bool> control_words() const {
        std::vector<bool> matters(segment->get_size() / 8);
        for (std::size_t offset = 0; offset < 56; offset += 8)
            matters[offset / 8] = true;
        for (std::size_t offset = 64; offset < 104; offset += 8)
            matters[offset / 8] = true;
        for (const std::size_t block : kept)
            matters[block / 8 + 1] = true;
        for (const std::size_t block : freed) {
            for (std::size_t word = 1; word < 5; ++word)
                matters[block / 8 + word] = true;
            matters[block / 8 + (segment.word(block + 8) << 2 >> 2)] = true;
        }
        matters[s_first_block / 8] = true;
        matters[segment.end_offset() / 8 + 1] = true;
        return matters;
    }

    RESERVED_SEGMENT segment;
    std::vector<std::size_t> freed;
    std::vector<std::size_t> kept;
};

TEST_F(FindFault, NamesWordsOfTheHeader) {
    EXPECT_EQ(with(0, 1), "the word at offset 0 is 1, not 0");
    EXPECT_EQ(with(72, 0xff00), "the reserved byte at offset 73 is not 0");
    EXPECT_EQ(with(48, 223), "a segment of 223 bytes can't hold a control area with 64 extra bytes");
    EXPECT_EQ(with(32, 100'000), "a segment of 4984 bytes can't hold a control area with 100000 extra bytes");
    EXPECT_EQ(with(40, 8), "888 bytes are in allocated blocks, but the header says 8");
    EXPECT_EQ(with(48, 8000), "the end block is 600 units behind the first block in a segment of 8000 bytes");
    EXPECT_EQ(with(56, 1000), "the block at offset 976 reaches beyond the committed 1000 bytes");
    EXPECT_EQ(with(56, freed.back() + 39),
              "the free block at offset 1776 has control bytes beyond the committed 1815 bytes");
    EXPECT_EQ(with(56, 200), "the first block at offset 168 is beyond the committed 200 bytes");
}

TEST_F(FindFault, NamesTheEndBlockAndTheFirstOne) {
    EXPECT_NE(with(s_first_block, 599), "");
    EXPECT_EQ(flipped(segment.end_offset() + 8, s_allocated_bit),
              "the end block at offset 4968 has size 600, allocated 0; expected 600, 1");
    EXPECT_EQ(flipped(segment.end_offset() + 8, 1),
              "the end block at offset 4968 has size 601, allocated 1; expected 600, 1");
    EXPECT_EQ(flipped(s_first_block + 8, s_prev_allocated_bit),
              "the first block at offset 168 takes what is before it for free");
    EXPECT_NE(flipped(segment.end_offset() + 8, s_prev_allocated_bit), "");
}

TEST_F(FindFault, NamesSizesAndBitsOfEveryBlock) {
    std::vector<std::size_t> blocks = kept;
    blocks.insert(blocks.end(), freed.begin(), freed.end());
    for (const std::size_t block : blocks)
        for (int bit = 0; bit < 64; ++bit)
            EXPECT_NE(flipped(block + 8, std::uint64_t(1) << bit), "") << block << ' ' << bit;
}

TEST_F(FindFault, NamesTheSizeBehindEveryFreeBlock) {
    for (const std::size_t block : freed) {
        const std::size_t next = block + 8 * (segment.word(block + 8) & ~(s_allocated_bit | s_prev_allocated_bit));
        for (int bit = 0; bit < 64; ++bit)
            EXPECT_NE(flipped(next, std::uint64_t(1) << bit), "") << block << ' ' << bit;
    }
}

TEST_F(FindFault, NamesEveryLinkAndColourOfTheTree) {
    std::vector<std::size_t> nodes{8};
    for (const std::size_t block : freed)
        nodes.push_back(block + 16);
    for (const std::size_t node : nodes)
        for (const std::size_t link : {0u, 8u, 16u})
            for (int bit = 0; bit < 64; ++bit)
                EXPECT_NE(flipped(node + link, std::uint64_t(1) << bit), "") << node << ' ' << link << ' ' << bit;
}

TEST_F(FindFault, NamesNeighboursThatAreBothFree) {
    // Two free blocks of a half each, both in the tree, as no deallocation would leave them.
    RESERVED_SEGMENT small(size_for_units(20));
    const auto blocks = small.allocate_all({10, 10});
    small->deallocate(blocks[0]);
    const std::size_t second = small.block_of(blocks[1]);
    small.set_word(second + 8, small.word(second + 8) & ~s_allocated_bit);
    small.set_word(40, 0);
    EXPECT_EQ(small->find_fault(), "the block at offset 248 is free, but the next one says otherwise");
    small.set_word(small.end_offset() + 8, small.word(small.end_offset() + 8) & ~s_prev_allocated_bit);
    small.set_word(small.end_offset(), 10);
    EXPECT_EQ(small->find_fault(), "the free block at offset 248 follows a free block");
}

TEST_F(FindFault, UserBytesAreNoneOfItsBusiness) {
    for (const std::size_t block : kept)
        EXPECT_EQ(with(block + 16, 0x123456789abcdef0), "");
}

// Any value in any word of a control area: a fault or none, but an answer. Which words may hold what they like is
// known.
TEST_F(FindFault, AnswersWhateverOneWordHolds) {
    const std::vector<bool> matters = control_words();
    std::mt19937_64 random(17);
    for (int step = 0; step < 40'000; ++step) {
        const std::size_t offset = random() % (segment->get_size() / 8) * 8;
        const std::uint64_t old = segment.word(offset);
        std::uint64_t value = random();
        switch (random() % 5) {
        case 0:
            value = old + value % 64 - 32;
            break;
        case 1:
            value %= segment->get_size();
            break;
        case 2:
            value = (old & (s_allocated_bit | s_prev_allocated_bit)) | value % 700;
            break;
        case 3:
            value = segment.word(value % (segment->get_size() / 8) * 8);
            break;
        default:
            break;
        }
        const std::string fault = with(offset, value);
        const bool same_end = offset == 48 && value / 8 == old / 8;        // up to 7 bytes behind the end block
        const bool same_first = offset == 32 && value > 56 && value <= 64; // rounded up to the first block
        if (offset == 56) {
            continue;
        } else if (!matters[offset / 8]) {
            ASSERT_EQ(fault, "") << offset;
        } else if (value != old && !same_end && !same_first) {
            ASSERT_NE(fault, "") << offset << ": " << value << " for " << old;
        }
    }
    EXPECT_EQ(segment->find_fault(), "");
}

TEST_F(FindFault, AnswersWhateverManyWordsHold) {
    std::mt19937_64 random(18);
    const std::vector<char> image(segment.base(), segment.base() + segment->get_size());
    const std::vector<bool> matters = control_words();
    int faults = 0;
    for (int step = 0; step < 10'000; ++step) {
        for (std::uint64_t i = 1 + random() % 6; i > 0;) {
            const std::size_t word = random() % matters.size();
            if (!matters[word])
                continue;
            segment.set_word(8 * word, random() % 2 ? random() : segment.word(random() % matters.size() * 8));
            --i;
        }
        faults += !segment->find_fault().empty();
        std::copy(image.begin(), image.end(), segment.base());
    }
    EXPECT_GT(faults, 9'000);
}

// Most of the segment is only reserved here: a wrong size leads where reading faults.
TEST(FindFaultOfALargeSegment, StaysInTheCommittedSpan) {
    RESERVED_SEGMENT segment(3 * GiB);
    const auto blocks = segment.allocate_all({10, 20, 30});
    segment->deallocate(blocks[1]);
    ASSERT_EQ(segment->find_fault(), "");
    const std::size_t words[] = {32,
                                 48,
                                 s_first_block,
                                 segment.block_of(blocks[0]) + 8,
                                 segment.block_of(blocks[1]) + 8,
                                 segment.block_of(blocks[2]) + 8};
    std::mt19937_64 random(19);
    for (const std::size_t offset : words)
        for (int step = 0; step < 500; ++step) {
            const std::uint64_t old = segment.word(offset);
            const std::uint64_t bits = offset > s_first_block ? old & (s_allocated_bit | s_prev_allocated_bit) : 0;
            segment.set_word(offset, bits | (GiB / 8 + 8 + random() % (GiB / 4 - 100)) * (offset > 100 ? 1 : 8));
            ASSERT_NE(segment->find_fault(), "") << offset << ' ' << segment.word(offset);
            segment.set_word(offset, old);
        }
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(FindFaultOfALargeSegment, IsSoundWhereSegmentsAre) {
    RESERVED_SEGMENT segment(3 * GiB);
    EXPECT_TRUE(segment->check_sanity());
    segment.set_word(0, 1);
    EXPECT_FALSE(segment->check_sanity());
    segment.set_word(0, 0);
}

} // namespace
