#include "memory/nyx_image_walk.h"
#include "reserved_segment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t s_first_block = 168;

/// A segment with blocks of all kinds, as its bytes lie in a file.
std::vector<char> make_image() {
    RESERVED_SEGMENT segment(4096);
    const auto blocks = segment.allocate_all({10, 20, 30, 40, 5, 6});
    segment->deallocate(blocks[1]);
    segment->deallocate(blocks[4]);
    segment->unpoison_free_blocks();
    std::vector<char> image(segment.base(), segment.base() + segment->get_size());
    segment->poison_free_blocks();
    return image;
}

std::uint64_t word(const std::vector<char> &image, std::size_t offset) {
    std::uint64_t value;
    std::memcpy(&value, image.data() + offset, sizeof(value));
    return value;
}

void set_word(std::vector<char> &image, std::size_t offset, std::uint64_t value) {
    std::memcpy(image.data() + offset, &value, sizeof(value));
}

bool is_sound(const std::vector<char> &image) {
    NYX_IMAGE_WALK walk(image.data(), image.size());
    return walk.advance(image.size()) && walk.is_sound();
}

std::vector<std::size_t> offsets(const NYX_BLOCK_MAP &blocks) {
    std::vector<std::size_t> result;
    blocks.for_each([&](std::size_t offset) { result.push_back(offset); });
    return result;
}

TEST(BlockMap, HasWhatWasAdded) {
    NYX_BLOCK_MAP blocks;
    EXPECT_FALSE(blocks.has(0));
    for (const std::size_t offset : {184u, 8u, 504u, 512u, 100000u})
        blocks.add(offset);
    EXPECT_EQ(offsets(blocks), (std::vector<std::size_t>{8, 184, 504, 512, 100000}));
    blocks.remove(504);
    EXPECT_FALSE(blocks.has(504));
    EXPECT_TRUE(blocks.has(512));
    EXPECT_FALSE(blocks.has(513)) << "no multiple of 8";
    EXPECT_FALSE(blocks.has(~std::size_t(0)));
}

TEST(ImageWalk, TellsWhereBlocksAre) {
    const std::vector<char> image = make_image();
    NYX_IMAGE_WALK walk(image.data(), image.size());
    ASSERT_TRUE(walk.advance(image.size()));
    ASSERT_TRUE(walk.is_sound());
    const std::size_t first = s_first_block + 16;
    EXPECT_EQ(offsets(walk.blocks()), (std::vector<std::size_t>{first, first + 80, first + 240, first + 480,
                                                                first + 800, first + 840, first + 888}));
    EXPECT_EQ(walk.free_blocks(),
              (std::vector<std::size_t>{s_first_block + 80, s_first_block + 800, s_first_block + 888}));
    EXPECT_EQ(walk.end(), 4096 - 16u);
    EXPECT_EQ(offsets(walk.take_allocated_blocks()),
              (std::vector<std::size_t>{first, first + 240, first + 480, first + 840}));
}

TEST(ImageWalk, LooksAtNothingThatHasNotBeenRead) {
    const std::vector<char> image = make_image();
    for (std::size_t step = 1; step <= 600; ++step) {
        std::vector<char> read(image.size(), '\xee');
        NYX_IMAGE_WALK walk(read.data(), read.size());
        for (std::size_t at = 0; at < image.size();) {
            ASSERT_FALSE(walk.is_sound());
            const std::size_t end = std::min(at + step, image.size());
            std::copy(image.begin() + static_cast<std::ptrdiff_t>(at), image.begin() + static_cast<std::ptrdiff_t>(end),
                      read.begin() + static_cast<std::ptrdiff_t>(at));
            at = end;
            ASSERT_TRUE(walk.advance(at)) << "at " << at << " in steps of " << step;
        }
        ASSERT_TRUE(walk.is_sound()) << step;
    }
}

TEST(ImageWalk, SaysNoAsSoonAsItSeesAFault) {
    std::vector<char> image = make_image();
    set_word(image, s_first_block + 80 + 8, 3); // fewer units than a block can have
    NYX_IMAGE_WALK walk(image.data(), image.size());
    EXPECT_TRUE(walk.advance(s_first_block + 80 + 15));
    EXPECT_FALSE(walk.advance(s_first_block + 80 + 16));
    set_word(image, s_first_block + 80 + 8, word(make_image(), s_first_block + 80 + 8));
    EXPECT_FALSE(walk.advance(image.size())) << "for good";
    EXPECT_FALSE(walk.is_sound());
}

TEST(ImageWalk, TooSmallForASegment) {
    const std::vector<char> image(223);
    NYX_IMAGE_WALK walk(image.data(), image.size());
    EXPECT_FALSE(walk.advance(image.size()));
}

// Every bit of the words that say where blocks are and of the control area matters, but for those that the walk doesn't
// need: the free tree, which is made anew, what was committed, and the indexes, which others look at.
TEST(ImageWalk, SeesEveryFlippedBitOfTheControlAreaAndOfHeads) {
    const std::vector<char> image = make_image();
    ASSERT_TRUE(is_sound(image));
    std::vector<std::size_t> words = {0, 32, 40, 48, 64, 72, 80, 88, 96, s_first_block};
    NYX_IMAGE_WALK walk(image.data(), image.size());
    walk.advance(image.size());
    walk.blocks().for_each([&](std::size_t user) { words.push_back(user - 8); });
    for (const std::size_t block : walk.free_blocks())
        words.push_back(block + (word(image, block + 8) & (~std::uint64_t(0) >> 2)) * 8); // its size behind it
    words.push_back(walk.end() + 8);
    for (const std::size_t offset : words)
        for (unsigned bit = 0; bit < 64; ++bit) {
            std::vector<char> damaged = image;
            set_word(damaged, offset, word(image, offset) ^ std::uint64_t(1) << bit);
            ASSERT_FALSE(is_sound(damaged)) << "bit " << bit << " of the word at " << offset;
        }
}

TEST(ImageWalk, NeverLeavesTheImage) {
    std::mt19937_64 random(314159);
    const std::vector<char> image = make_image();
    for (unsigned run = 0; run < 20000; ++run) {
        std::vector<char> damaged = image; // of its own size, for a sanitizer to see
        for (unsigned i = 0; i < 4; ++i)
            set_word(damaged, random() % (damaged.size() / 8) * 8, random() % 3 == 0 ? random() : random() % 600);
        NYX_IMAGE_WALK walk(damaged.data(), damaged.size());
        walk.advance(damaged.size());
        walk.blocks().for_each([&](std::size_t offset) { ASSERT_LT(offset, damaged.size()); });
    }
}

} // namespace
