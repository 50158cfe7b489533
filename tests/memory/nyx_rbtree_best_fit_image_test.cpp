// Committed memory, copies of the image, and what a system that refuses memory leaves behind.
#include "reserved_segment.h"

#include "support/recording_listener.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bi = boost::interprocess;
using NOTICE = RECORDING_LISTENER::NOTICE;

namespace {

constexpr std::size_t s_page = 4096;

// ---- Committed memory

TEST(CommittedSpan, OfASmallFreshSegmentIsAllOfItInWholePages) {
    EXPECT_EQ(RESERVED_SEGMENT(224)->get_committed(), s_page);
    EXPECT_EQ(RESERVED_SEGMENT(s_page)->get_committed(), s_page);
    EXPECT_EQ(RESERVED_SEGMENT(s_page + 1)->get_committed(), 2 * s_page);
    EXPECT_EQ(RESERVED_SEGMENT(GiB)->get_committed(), GiB);
}

TEST(CommittedSpan, OfALargeFreshSegmentIsOneStep) {
    EXPECT_EQ(RESERVED_SEGMENT(GiB + 8)->get_committed(), GiB);
    EXPECT_EQ(RESERVED_SEGMENT(5 * GiB)->get_committed(), GiB);
}

TEST(CommittedSpan, GrowsByOneStepWhenABlockNeedsMore) {
    RESERVED_SEGMENT segment(5 * GiB);
    // The control bytes of the rest end where the span does.
    segment->allocate(GiB - s_first_block - 40 - 8);
    EXPECT_EQ(segment->get_committed(), GiB);
    segment->allocate(1);
    EXPECT_EQ(segment->get_committed(), 2 * GiB);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(CommittedSpan, GrowsByMoreThanOneStepWhereABlockIsLarger) {
    RESERVED_SEGMENT segment(5 * GiB);
    void *const ptr = segment->allocate(3 * GiB);
    const std::size_t needed = segment.block_of(ptr) + 3 * GiB + 8 + 40;
    EXPECT_EQ(segment->get_committed(), (needed + s_page - 1) / s_page * s_page);
    EXPECT_EQ(segment->find_fault(), "");
    std::memset(static_cast<char *>(ptr) + 3 * GiB - 100, 0xff, 100);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(CommittedSpan, EndsWithTheSegment) {
    RESERVED_SEGMENT segment(GiB + GiB / 2);
    segment->allocate(GiB);
    EXPECT_EQ(segment->get_committed(), GiB + GiB / 2);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(CommittedSpan, OfAFullSegmentIsAllOfIt) {
    // 1 GiB and a few bytes: the end block ends with the first step, the segment doesn't.
    for (const std::size_t size : {2 * GiB, 2 * GiB + 5, GiB + 5, GiB + 16, GiB + 24}) {
        RESERVED_SEGMENT segment(size);
        segment->allocate(size - s_first_block - 16 - 8 - size % 8);
        EXPECT_EQ(segment.layout()[0], 'a');
        EXPECT_GE(segment->get_committed(), size);
        EXPECT_EQ(segment->find_fault(), "");
    }
}

TEST(CommittedSpan, WholeBlockThatIsNotTheLastNeedsNothing) {
    RESERVED_SEGMENT segment(5 * GiB);
    void *const ptr = segment->allocate(GiB / 2);
    segment->allocate(1);
    segment->deallocate(ptr);
    EXPECT_EQ(segment->allocate(GiB / 2), ptr);
    EXPECT_EQ(segment->get_committed(), GiB);
}

TEST(CommittedSpan, ExpandingReachesAsFarAsTheRestsControlBytes) {
    RESERVED_SEGMENT segment(5 * GiB);
    void *const ptr = segment->allocate(100);
    segment.command(bi::expand_fwd, GiB / 2, GiB / 2, ptr);
    EXPECT_EQ(segment->get_committed(), GiB);
    segment.command(bi::expand_fwd, GiB, GiB, ptr);
    EXPECT_EQ(segment->get_committed(), 2 * GiB);
    segment.command(bi::expand_fwd, 4 * GiB, 8 * GiB, ptr);
    EXPECT_EQ(segment.layout(), "a" + std::to_string((5 * GiB - 168) / 8 - 2));
    EXPECT_EQ(segment->get_committed(), 5 * GiB);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(CommittedSpan, AlignedBlocksReachAsFarAsTheRestsControlBytes) {
    RESERVED_SEGMENT segment(5 * GiB);
    segment->allocate_aligned(GiB / 2, GiB / 4);
    EXPECT_EQ(segment->get_committed(), GiB);
    segment->allocate_aligned(GiB / 2, GiB / 4);
    EXPECT_EQ(segment->get_committed(), 2 * GiB);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(CommittedSpan, StaysWhenBlocksAreFreedOrShrunk) {
    RESERVED_SEGMENT segment(5 * GiB);
    void *const ptr = segment->allocate(3 * GiB / 2);
    const std::size_t committed = segment->get_committed();
    segment.command(bi::shrink_in_place, 3 * GiB / 2, 100, ptr);
    EXPECT_EQ(segment->get_committed(), committed);
    segment->deallocate(ptr);
    EXPECT_EQ(segment->get_committed(), committed);
}

TEST(CommittedSpan, StaysWhenAFreeLastBlockGrows) {
    RESERVED_SEGMENT segment(2 * GiB, 5 * GiB);
    segment->allocate(100);
    segment->grow(3 * GiB);
    EXPECT_EQ(segment->get_committed(), GiB);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(CommittedSpan, CoversTheControlBytesOfABlockThatGrowthAdds) {
    RESERVED_SEGMENT segment(s_page, 5 * GiB);
    segment->allocate(s_page - s_first_block - 16 - 8);
    ASSERT_EQ(segment->get_committed(), s_page);
    segment->grow(5 * GiB - s_page);
    EXPECT_EQ(segment->get_committed(), s_page + GiB);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(CommittedSpan, OfAShrunkSegmentIsThereForGrowth) {
    RESERVED_SEGMENT segment(3 * GiB);
    segment->allocate(100);
    segment->shrink_to_fit();
    ASSERT_EQ(segment->get_committed(), GiB);
    segment->grow(GiB / 2);
    segment->allocate(GiB / 4);
    EXPECT_EQ(segment->get_committed(), GiB);
    EXPECT_EQ(segment->find_fault(), "");
}

// ---- clone

TEST(Clone, OfAFullSegmentIsAllOfIt) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 20, 70});
    std::memset(blocks[2], 0x5a, segment->size(blocks[2]));
    segment->deallocate(blocks[0]);
    RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, segment, 1 << 16);
    EXPECT_EQ(copy->get_size(), segment->get_size());
    EXPECT_EQ(copy->get_committed(), segment->get_size());
    EXPECT_EQ(copy.layout(), "f10 a20 a70");
    EXPECT_EQ(copy->find_fault(), "");
    EXPECT_EQ(std::memcmp(copy.base() + segment.offset_of(blocks[2]), blocks[2], bytes_for_units(70)), 0);
}

TEST(Clone, LeavesOutAFreeLastBlock) {
    RESERVED_SEGMENT segment(4 * GiB);
    segment->allocate(100);
    segment->allocate(1000);
    RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, segment, 4 * GiB);
    const std::size_t tail = s_first_block + 8 * (14 + 126);
    EXPECT_EQ(copy->get_size(), 4 * GiB);
    EXPECT_EQ(copy->get_committed(), tail + 40);
    EXPECT_EQ(copy.layout(), segment.layout());
    EXPECT_EQ(copy->find_fault(), "");
    EXPECT_EQ(copy.word(4 * GiB - 8), segment.word(4 * GiB - 8)) << "the end block";
}

TEST(Clone, AllocatesAtOnce) {
    RESERVED_SEGMENT segment(4 * GiB);
    segment->allocate(100);
    RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, segment, 4 * GiB);
    void *const ptr = copy->allocate(1000);
    ASSERT_NE(ptr, nullptr);
    std::memset(ptr, 1, copy->size(ptr));
    EXPECT_EQ(copy->get_committed(), (s_first_block + 8 * 14 + 40 + GiB + s_page - 1) / s_page * s_page);
    EXPECT_NE(copy->allocate(2 * GiB), nullptr);
    EXPECT_EQ(copy->find_fault(), "");
    EXPECT_EQ(segment.layout().substr(0, 5), "a14 f") << "the original goes its own way";
}

TEST(Clone, FitsItsBufferExactly) {
    RESERVED_SEGMENT segment(size_for_units(100));
    segment->allocate(100);
    const RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, segment, size_for_units(100));
    EXPECT_EQ(copy->find_fault(), "");
}

TEST(Clone, OfAShrunkSegmentGrows) {
    RESERVED_SEGMENT segment(3 * GiB);
    segment->allocate(100);
    segment->shrink_to_fit();
    RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, segment, 3 * GiB);
    EXPECT_EQ(copy->get_committed(), size_for_units(14));
    copy->grow(GiB);
    EXPECT_EQ(copy->find_fault(), "");
    EXPECT_NE(copy->allocate(GiB / 2), nullptr);
    EXPECT_EQ(copy->find_fault(), "");
}

TEST(Clone, OfAFullSegmentThatGrewByAnAddedBlockIsClonedAgain) {
    RESERVED_SEGMENT segment(s_page, 4 * s_page);
    segment->allocate(s_page - s_first_block - 16 - 8);
    RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, segment, 4 * s_page);
    copy->grow(s_page);
    const RESERVED_SEGMENT again(RESERVED_SEGMENT::CLONE{}, copy, 2 * s_page);
    EXPECT_EQ(again.layout(), "a489 f512");
    EXPECT_EQ(again->find_fault(), "");
}

// ---- post_load

TEST(PostLoad, TakesTheWholeSizeForCommitted) {
    RESERVED_SEGMENT segment(1 << 20);
    segment->allocate(100);
    segment->shrink_to_fit();
    RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 1 << 20);
    loaded->post_load();
    EXPECT_EQ(loaded->get_committed(), size_for_units(14));
    EXPECT_EQ(loaded->find_fault(), "");
}

TEST(PostLoad, TellsOfEveryAllocatedBlockInAddressOrder) {
    RESERVED_SEGMENT segment(size_for_units(100));
    const auto blocks = segment.allocate_all({10, 20, 30, 40});
    segment->deallocate(blocks[1]);
    RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 1 << 16);
    RECORDING_LISTENER listener;
    loaded->post_load();
    EXPECT_EQ(listener.notices(), (std::vector<NOTICE>{{NOTICE::ALLOCATED, loaded.base() + 184, 72, 72},
                                                       {NOTICE::ALLOCATED, loaded.base() + 184 + 240, 232, 232},
                                                       {NOTICE::ALLOCATED, loaded.base() + 184 + 480, 312, 312}}));
}

TEST(PostLoad, OfASegmentWithoutBlocksTellsNothing) {
    RESERVED_SEGMENT segment(1 << 16);
    segment->shrink_to_fit();
    RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 1 << 16);
    RECORDING_LISTENER listener;
    loaded->post_load();
    EXPECT_TRUE(listener.notices().empty());
}

TEST(PostLoad, LoadedImageGrowsAndGoesOn) {
    RESERVED_SEGMENT segment(1 << 20);
    const auto blocks = segment.allocate_all({10, 20, 30});
    segment->deallocate(blocks[1]);
    segment->shrink_to_fit();
    RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 3 * GiB);
    loaded->post_load();
    loaded->grow(3 * GiB - loaded->get_size());
    EXPECT_EQ(loaded->get_size(), 3 * GiB);
    EXPECT_EQ(loaded->find_fault(), "");
    EXPECT_EQ(loaded.offset_of(loaded.allocate_units(20)), segment.offset_of(blocks[1]));
    EXPECT_NE(loaded->allocate(2 * GiB), nullptr);
    EXPECT_EQ(loaded->find_fault(), "");
}

// The span ends inside a page then, and the next commit starts there.
TEST(PostLoad, CommitsFromASpanThatEndsInsideAPage) {
    RESERVED_SEGMENT segment(1 << 16);
    segment->allocate(1);
    segment->shrink_to_fit();
    RESERVED_SEGMENT loaded(RESERVED_SEGMENT::BYTES{}, segment, 1 << 16);
    loaded->post_load();
    loaded->grow((1 << 16) - loaded->get_size());
    void *const ptr = loaded->allocate((1 << 16) - 224 - 16 - 8);
    ASSERT_NE(ptr, nullptr);
    std::memset(ptr, 0xff, loaded->size(ptr));
    EXPECT_GE(loaded->get_committed(), std::size_t(1) << 16);
    const RESERVED_SEGMENT copy(RESERVED_SEGMENT::CLONE{}, loaded, 1 << 16);
    EXPECT_EQ(copy->find_fault(), "");
}

// ---- A system that refuses to commit

// Takes the pages of [begin, end) out of a reservation for its lifetime: to commit any of them fails.
class HOLE {
public:
    HOLE(RESERVED_SEGMENT &segment, std::size_t begin, std::size_t end)
        : m_begin(segment.base() + begin)
        , m_size(end - begin) {
        EXPECT_EQ(munmap(m_begin, m_size), 0);
    }
    ~HOLE() {
        EXPECT_EQ(mmap(m_begin, m_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED, -1, 0),
                  m_begin);
    }

private:
    char *m_begin;
    std::size_t m_size;
};

// What must be as it was when an operation threw.
struct STATE {
    explicit STATE(const RESERVED_SEGMENT &segment)
        : layout(segment.layout())
        , fault(segment->find_fault())
        , size(segment->get_size())
        , allocated(segment->get_allocated())
        , committed(segment->get_committed()) {}
    bool operator==(const STATE &) const = default;

    std::string layout;
    std::string fault;
    std::size_t size;
    std::size_t allocated;
    std::size_t committed;
};

TEST(RefusedCommit, LeavesTheSegmentAsItWas) {
    RESERVED_SEGMENT segment(4 * GiB);
    const auto blocks = segment.allocate_all({20, 10, 20, 10});
    segment->deallocate(blocks[0]);
    segment->deallocate(blocks[2]);
    const STATE before(segment);
    ASSERT_EQ(before.fault, "");
    {
        const HOLE hole(segment, GiB, 4 * GiB - s_page);
        EXPECT_THROW(segment->allocate(2 * GiB), std::bad_alloc);
        EXPECT_THROW(segment->allocate(4 * GiB - 10'000), std::bad_alloc);
        EXPECT_THROW(segment->allocate_aligned(2 * GiB, 4096), std::bad_alloc);
        EXPECT_THROW(segment.command(bi::expand_fwd, 2 * GiB, 2 * GiB, blocks[3]), std::bad_alloc);
        EXPECT_THROW(segment.command(bi::expand_fwd, 2 * GiB, 8 * GiB, blocks[3]), std::bad_alloc);
        EXPECT_THROW(segment.command(bi::expand_fwd | bi::expand_bwd | bi::allocate_new, 2 * GiB, 2 * GiB, blocks[3]),
                     std::bad_alloc);
        EXPECT_EQ(STATE(segment), before);
        EXPECT_NE(segment->allocate(1000), nullptr) << "what is committed is still given out";
        EXPECT_EQ(segment->find_fault(), "");
    }
    EXPECT_NE(segment->allocate(2 * GiB), nullptr);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(RefusedCommit, LeavesNoBlockOfManyBehind) {
    RESERVED_SEGMENT segment(4 * GiB);
    const STATE before(segment);
    const HOLE hole(segment, GiB, 4 * GiB - s_page);
    segment_algorithm::multiallocation_chain chain;
    EXPECT_THROW(segment->allocate_many(GiB / 3, 5, chain), std::bad_alloc);
    EXPECT_EQ(STATE(segment), before);
    const segment_algorithm::size_type sizes[] = {1, 100, 2 * GiB};
    EXPECT_THROW(segment->allocate_many(sizes, 3, 1, chain), std::bad_alloc);
    EXPECT_EQ(STATE(segment), before);
    EXPECT_TRUE(chain.empty());
}

TEST(RefusedCommit, OfTheNewEndBlockLeavesTheSegmentAsItWas) {
    RESERVED_SEGMENT segment(s_page, 4 * s_page);
    segment->allocate(100);
    const STATE before(segment);
    {
        const HOLE hole(segment, s_page, 4 * s_page);
        EXPECT_THROW(segment->grow(3 * s_page), std::bad_alloc);
        EXPECT_EQ(STATE(segment), before);
    }
    segment->grow(3 * s_page);
    EXPECT_EQ(segment->find_fault(), "");
}

TEST(RefusedCommit, OfAnAddedBlockLeavesTheSegmentAsItWas) {
    RESERVED_SEGMENT segment(s_page, 4 * s_page);
    segment->allocate(s_page - s_first_block - 16 - 8);
    const STATE before(segment);
    {
        const HOLE hole(segment, s_page, 2 * s_page);
        EXPECT_THROW(segment->grow(3 * s_page), std::bad_alloc);
        EXPECT_EQ(STATE(segment), before);
    }
    segment->grow(3 * s_page);
    EXPECT_EQ(segment.layout(), "a489 f1536");
    EXPECT_EQ(segment->find_fault(), "");
}

// In a process of its own, since the limit counts what the process has altogether.
TEST(RefusedCommit, ByALimitOfTheProcessLeavesASegmentThatWorks) {
    if (NYX::SANITIZER::s_enabled)
        GTEST_SKIP() << "the sanitizer's own memory counts";
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        RESERVED_SEGMENT segment(4 * GiB);
        void *const small = segment->allocate(1000);
        const rlimit limit{GiB + GiB / 2, RLIM_INFINITY};
        if (setrlimit(RLIMIT_DATA, &limit) != 0)
            _exit(1);
        const STATE before(segment);
        try {
            segment->allocate(2 * GiB);
            _exit(2);
        } catch (const std::bad_alloc &) {
        }
        if (STATE(segment) != before || !before.fault.empty())
            _exit(3);
        void *const other = segment->allocate(1000);
        segment->deallocate(small);
        _exit(other != nullptr && segment->find_fault().empty() ? 0 : 4);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
