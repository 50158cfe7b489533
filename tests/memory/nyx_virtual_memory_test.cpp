#include "memory/nyx_virtual_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VM = NYX::VIRTUAL_MEMORY;

namespace {

constexpr std::size_t GiB = std::size_t(1) << 30;

struct VirtualMemory : testing::Test {
    void TearDown() override { EXPECT_TRUE(VM::release(base, size)); }

    const std::size_t page = VM::page_size();
    const std::size_t size = 16 * page;
    char *const base = VM::reserve_and_commit(size, 0);
};

TEST_F(VirtualMemory, PageSizeIsTheSystems) {
    EXPECT_EQ(page, static_cast<std::size_t>(sysconf(_SC_PAGESIZE)));
}

TEST_F(VirtualMemory, RoundsUpToWholePages) {
    EXPECT_EQ(VM::round_up_to_pages(0), 0u);
    EXPECT_EQ(VM::round_up_to_pages(1), page);
    EXPECT_EQ(VM::round_up_to_pages(page), page);
    EXPECT_EQ(VM::round_up_to_pages(page + 1), 2 * page);
}

TEST_F(VirtualMemory, ReservationStartsAtAPage) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(base) % page, 0u);
}

TEST_F(VirtualMemory, ReservesMoreThanThereIsMemory) {
    char *const large = VM::reserve_and_commit(1024 * GiB, page);
    large[page - 1] = 1;
    EXPECT_TRUE(VM::release(large, 1024 * GiB));
}

TEST_F(VirtualMemory, CommitsTheFirstBytesWithTheReservation) {
    char *const range = VM::reserve_and_commit(4 * page, page + 1);
    std::memset(range, 1, 2 * page);
    EXPECT_TRUE(VM::release(range, 4 * page));
}

TEST_F(VirtualMemory, CommitsAllOfAReservation) {
    char *const range = VM::reserve_and_commit(page + 1, page + 1);
    std::memset(range, 1, 2 * page);
    EXPECT_TRUE(VM::release(range, page + 1));
}

TEST_F(VirtualMemory, CommittedPagesAreZero) {
    VM::commit(base, 2 * page);
    EXPECT_TRUE(std::all_of(base, base + 2 * page, [](char byte) { return byte == 0; }));
}

TEST_F(VirtualMemory, CommitGivesTheEndOfTheLastPage) {
    EXPECT_EQ(VM::commit(base, 1), base + page);
    EXPECT_EQ(VM::commit(base, page), base + page);
    EXPECT_EQ(VM::commit(base + page, page + 1), base + 3 * page);
    // Counted from the address and not from its page, so that the last byte is always below the end.
    EXPECT_EQ(VM::commit(base + 1, page), base + 2 * page);
    EXPECT_EQ(VM::commit(base + page - 8, 16), base + 2 * page);
}

TEST_F(VirtualMemory, CommitCoversBothPagesThatBytesLieOn) {
    VM::commit(base + 4 * page - 8, 16);
    std::memset(base + 3 * page, 1, 2 * page);
}

TEST_F(VirtualMemory, CommittingAgainKeepsTheContent) {
    VM::commit(base, page);
    std::memset(base, 7, page);
    VM::commit(base, 2 * page);
    EXPECT_TRUE(std::all_of(base, base + page, [](char byte) { return byte == 7; }));
}

TEST_F(VirtualMemory, ProtectedPagesAreReadAndCanBeMadeWritableAgain) {
    VM::commit(base, size);
    base[5] = 9;
    VM::protect(base, size, false);
    EXPECT_EQ(base[5], 9);
    VM::protect(base, size, true);
    base[5] = 10;
    EXPECT_EQ(base[5], 10);
}

TEST_F(VirtualMemory, ZeroClearsPartsOfPagesAndWholeOnes) {
    VM::commit(base, size);
    for (const auto &[begin, end] : {std::pair{0 * page, 4 * page},
                                     {10, 20},
                                     {10, 3 * page + 10},
                                     {page, page + 7},
                                     {page - 7, page},
                                     {100, page},
                                     {page - 1, page + 1},
                                     {50, 50}}) {
        std::memset(base, 3, 4 * page);
        VM::zero(base + begin, end - begin);
        EXPECT_TRUE(std::all_of(base, base + begin, [](char byte) { return byte == 3; })) << begin;
        EXPECT_TRUE(std::all_of(base + begin, base + end, [](char byte) { return byte == 0; })) << begin << ' ' << end;
        EXPECT_TRUE(std::all_of(base + end, base + 4 * page, [](char byte) { return byte == 3; })) << end;
    }
}

TEST_F(VirtualMemory, RefusedCommitThrows) {
    ASSERT_EQ(munmap(base + 8 * page, page), 0);
    EXPECT_THROW(VM::commit(base + 7 * page, 2 * page), std::bad_alloc);
    EXPECT_THROW(VM::commit(base + 8 * page + 8, 8), std::bad_alloc);
    EXPECT_EQ(VM::commit(base, page), base + page);
}

// In a process of its own, since the limit counts what the process has altogether.
TEST_F(VirtualMemory, CommitBeyondTheProcesssLimitThrows) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own memory counts";
#endif
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const rlimit limit{GiB / 2, RLIM_INFINITY};
        char *const range = VM::reserve_and_commit(2 * GiB, 0);
        if (setrlimit(RLIMIT_DATA, &limit) != 0)
            _exit(1);
        try {
            VM::commit(range, GiB);
            _exit(2);
        } catch (const std::bad_alloc &) {
            VM::commit(range, page)[-1] = 1;
            _exit(0);
        }
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
