#include "reserved_segment.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

TEST(SegmentFailure, RefusedReservationEndsTheRun) {
    const std::size_t size = ~std::size_t(0);
    EXPECT_DEATH(NYX_SEGMENT segment(size), "check failed: result != nullptr: Failed to reserve 18446744073709551615 "
                                            "bytes \\(" +
                                                std::to_string(ENOMEM) + "\\)");
}

TEST(SegmentFailure, RefusedReservationOfACopyEndsTheRun) {
    NYX_SEGMENT segment(1 << 16);
    for (const std::size_t less : {0u, 100u, 65535u, 65536u})
        EXPECT_DEATH(NYX_SEGMENT(segment, ~std::size_t(0) - less), "Failed to reserve 18446744073709551615 bytes")
            << less;
}

// What Boost checks itself, such as the colour bit in a link, is reported like any other check.
TEST(SegmentFailure, ChecksOfBoostEndTheRunLikeOurs) {
    using LINK_WITH_COLOUR = boost::intrusive::pointer_plus_bits<NYX::MEM_ALGO::segment_void_pointer, 1>;
    alignas(8) static char target[16];
    NYX::MEM_ALGO::segment_void_pointer link(target);
    EXPECT_DEATH(LINK_WITH_COLOUR::set_bits(link, 2), "check failed: b < \\(std::size_t\\(1\\) << NumBits\\)");
    NYX::MEM_ALGO::segment_void_pointer odd(target + 2);
    EXPECT_DEATH(LINK_WITH_COLOUR::set_pointer(link, odd), "check failed: 0 == \\(get_bits\\)\\(p\\)");
}

// ---- A sanitizer build knows what is free

struct PoisonedBlocks : testing::Test {
    void SetUp() override {
        if (!NYX::SANITIZER::s_enabled)
            GTEST_SKIP() << "needs AddressSanitizer";
    }
    static char read(const void *ptr, std::size_t offset) { return static_cast<const volatile char *>(ptr)[offset]; }
};

TEST_F(PoisonedBlocks, ReadingAFreedBlockEndsTheRun) {
    RESERVED_SEGMENT segment(1 << 16);
    const auto blocks = segment.allocate_all({20, 20, 20});
    segment->deallocate(blocks[1]);
    for (const std::size_t offset : {24u, 80u, 143u})
        EXPECT_DEATH(read(blocks[1], offset), "use-after-poison") << offset;
    segment->deallocate(blocks[2]); // merges with the tail
    EXPECT_DEATH(read(blocks[2], 24), "use-after-poison");
    EXPECT_EQ(read(blocks[0], 151), 0);
}

TEST_F(PoisonedBlocks, HookOfABlockThatMergedIsPoisonedToo) {
    RESERVED_SEGMENT segment(1 << 16);
    const auto blocks = segment.allocate_all({20, 20, 20, 20, 20});
    segment->deallocate(blocks[1]);
    segment->deallocate(blocks[3]);
    read(blocks[3], 0); // a link of the tree as yet
    segment->deallocate(blocks[2]);
    for (const int i : {2, 3})
        for (const std::size_t offset : {0u, 23u})
            EXPECT_DEATH(read(blocks[i], offset), "use-after-poison") << i;
}

TEST_F(PoisonedBlocks, CutOffPartIsPoisoned) {
    RESERVED_SEGMENT segment(1 << 16);
    const auto blocks = segment.allocate_all({40, 10});
    segment.command(boost::interprocess::shrink_in_place, 8, 8, blocks[0]);
    EXPECT_DEATH(read(blocks[0], 100), "use-after-poison");
    EXPECT_EQ(read(blocks[0], 31), 0);
}

TEST_F(PoisonedBlocks, AllOfABlockThatIsTakenAgainIsReadable) {
    RESERVED_SEGMENT segment(1 << 16);
    const auto blocks = segment.allocate_all({20, 30, 20, 10});
    segment->deallocate(blocks[1]);
    segment->deallocate(blocks[2]);
    void *const again = segment.allocate_units(50);
    ASSERT_EQ(again, blocks[1]);
    std::memset(again, 1, bytes_for_units(50));
    segment->deallocate(again);
    segment.command(boost::interprocess::expand_fwd, 1, bytes_for_units(40), blocks[0]);
    std::memset(blocks[0], 1, bytes_for_units(40));
    EXPECT_EQ(segment->find_fault(), "");
}

TEST_F(PoisonedBlocks, CloneReadsPastThemAndHasItsOwn) {
    RESERVED_SEGMENT segment(1 << 16);
    const auto blocks = segment.allocate_all({20, 20, 20});
    segment->deallocate(blocks[1]);
    const RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, segment, 1 << 16);
    EXPECT_DEATH(read(copy.base(), segment.offset_of(blocks[1]) + 50), "use-after-poison");
    EXPECT_DEATH(read(blocks[1], 50), "use-after-poison");
}

TEST_F(PoisonedBlocks, LoadedImageHasItsOwn) {
    RESERVED_SEGMENT segment(1 << 16);
    const auto blocks = segment.allocate_all({20, 20, 20});
    segment->deallocate(blocks[1]);
    RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 1 << 16);
    loaded->post_load();
    EXPECT_DEATH(read(loaded.base(), segment.offset_of(blocks[1]) + 50), "use-after-poison");
}

TEST_F(PoisonedBlocks, AreLiftedForCodeThatCopiesTheImage) {
    RESERVED_SEGMENT segment(1 << 16);
    const auto blocks = segment.allocate_all({20, 20, 20});
    segment->deallocate(blocks[1]);
    segment->unpoison_free_blocks();
    std::vector<char> bytes(segment->get_allocated());
    std::memcpy(bytes.data(), segment.base(), bytes.size());
    segment->poison_free_blocks();
    EXPECT_DEATH(read(blocks[1], 50), "use-after-poison");
}

TEST_F(PoisonedBlocks, ReleasedRangeIsCleanForItsNextOwner) {
    for (int i = 0; i < 3; ++i) {
        char *base = nullptr;
        {
            RESERVED_SEGMENT segment(3 * GiB);
            base = segment.base();
            void *const ptr = segment->allocate(100'000);
            segment->deallocate(ptr);
        }
        char *const again = NYX::VIRTUAL_MEMORY::reserve_and_commit(3 * GiB, GiB);
        if (again == base)
            std::memset(again, 1, 200'000);
        NYX::VIRTUAL_MEMORY::release(again, 3 * GiB);
    }
}

} // namespace
