#include "memory/nyx_virtual_memory.h"

#include "support/capturing_sink.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include <sys/mman.h>
#include <sys/resource.h>

namespace VM = NYX::VIRTUAL_MEMORY;

namespace {

const std::size_t s_page = VM::page_size();

std::string number(std::size_t value) {
    return std::to_string(value);
}

void limit(int resource, std::size_t bytes) {
    const rlimit value{bytes, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(static_cast<__rlimit_resource>(resource), &value), 0);
}

TEST(VirtualMemoryDeathTest, RefusedReservationsEndTheRun) {
    const std::string head = "check failed: result != nullptr: Failed to reserve ";
    EXPECT_DEATH(VM::reserve_and_commit(0, 0), head + "0 bytes \\(" + number(EINVAL) + "\\)");
    for (const std::size_t size : {~std::size_t(0), ~std::size_t(0) - s_page, ~std::size_t(0) - 2 * s_page,
                                   ~std::size_t(0) - 3 * s_page, std::size_t(1) << 60})
        EXPECT_DEATH(VM::reserve_and_commit(size, 0), head + number(size) + " bytes \\(" + number(ENOMEM) + "\\)");
}

TEST(VirtualMemoryDeathTest, ReservationBeyondTheProcesssLimitEndsTheRun) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own memory counts";
#endif
    const std::size_t size = std::size_t(1) << 40;
    EXPECT_DEATH(
        {
            limit(RLIMIT_AS, std::size_t(1) << 36);
            VM::reserve_and_commit(size, 0);
        },
        "Failed to reserve 1099511627776 bytes \\(" + number(ENOMEM) + "\\)");
}

TEST(VirtualMemoryDeathTest, CommittingMoreThanIsReservedEndsTheRun) {
    EXPECT_DEATH(VM::reserve_and_commit(s_page, s_page + 1),
                 "check failed: commit <= size: Committed must be less or equal to size \\[");
}

TEST(VirtualMemoryDeathTest, RefusedFirstCommitEndsTheRun) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own memory counts";
#endif
    EXPECT_DEATH(
        {
            limit(RLIMIT_DATA, 1 << 28);
            VM::reserve_and_commit(std::size_t(1) << 32, std::size_t(1) << 31);
        },
        "check failed: result: Failed to commit 2147483648 bytes \\(" + number(ENOMEM) + "\\)");
}

TEST(VirtualMemoryDeathTest, CommittingNothingEndsTheRun) {
    char *const base = VM::reserve_and_commit(s_page, 0);
    EXPECT_DEATH(VM::commit(base, 0), "check failed: size > 0 \\[");
    VM::release(base, s_page);
}

TEST(VirtualMemoryDeathTest, WhatIsNotCommittedFaults) {
    char *const base = VM::reserve_and_commit(4 * s_page, s_page);
    EXPECT_DEATH(base[s_page] = 1, "");
    VM::release(base, 4 * s_page);
}

TEST(VirtualMemoryDeathTest, RangeEndsInAPageThatIsNeverAccessible) {
    char *const base = VM::reserve_and_commit(4 * s_page, 4 * s_page);
    EXPECT_DEATH(base[4 * s_page] = 1, "");
    VM::release(base, 4 * s_page);
}

TEST(VirtualMemoryDeathTest, WritingToAProtectedRangeFaults) {
    char *const base = VM::reserve_and_commit(s_page + 1, s_page + 1);
    VM::protect(base, s_page + 1, false);
    EXPECT_DEATH(base[0] = 1, "");
    EXPECT_DEATH(base[s_page] = 1, "");
    VM::protect(base, s_page + 1, true);
    base[0] = 1;
    VM::release(base, s_page + 1);
}

TEST(VirtualMemoryDeathTest, RefusedProtectionEndsTheRun) {
    char *const base = VM::reserve_and_commit(4 * s_page, 4 * s_page);
    ASSERT_EQ(munmap(base + s_page, s_page), 0);
    EXPECT_DEATH(VM::protect(base, 4 * s_page, false), "check failed: result: Failed to change memory permissions on " +
                                                           number(4 * s_page) + " bytes \\(" + number(ENOMEM) + "\\)");
    VM::release(base, 4 * s_page);
}

TEST(VirtualMemoryFailure, RefusedReleaseIsOnlyWarnedOf) {
    char *const base = VM::reserve_and_commit(s_page, 0);
    {
        CAPTURING_SINK reports;
        EXPECT_FALSE(VM::release(base + 1, s_page));
        EXPECT_EQ(reports.texts(NYX_REPORT::SEVERITY::WARNING),
                  std::vector<std::string>{"Failed to free allocation of " + number(s_page) + " bytes (" +
                                           number(EINVAL) + ")"});
        reports.clear();
        EXPECT_FALSE(VM::release(base, 0));
        EXPECT_EQ(reports.texts(NYX_REPORT::SEVERITY::WARNING).size(), 1u);
    }
    EXPECT_TRUE(VM::release(base, s_page));
}

} // namespace
