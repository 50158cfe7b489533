// A check that fails because, or while, memory has run out must still say so. The heap of this program can be shut.

#include "nyx_report/nyx_report.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {

bool s_heap_is_shut = false;

} // namespace

// Not inlined, or the compiler sees memory of new given to free, and warns.
[[gnu::noinline]] void *operator new(std::size_t size) {
    if (!s_heap_is_shut) {
        if (void *const ptr = std::malloc(size ? size : 1)) {
            return ptr;
        }
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void *ptr) noexcept {
    std::free(ptr);
}
[[gnu::noinline]] void operator delete(void *ptr, std::size_t) noexcept {
    std::free(ptr);
}

TEST(WithoutHeap, AFailedCheckShowsExpressionTextAndPlace) {
    EXPECT_EXIT(
        {
            s_heap_is_shut = true;
            NYX_REPORT::detail::assert_at_line("a expression of some length", "memory/some_file.cpp", 7,
                                               "text %d of %s", 5, "a length that fits no small string");
        },
        testing::KilledBySignal(SIGABRT),
        "check failed: a expression of some length: text 5 of a length that fits no small string "
        "\\[memory/some_file\\.cpp@7\\]\n");
}

TEST(WithoutHeap, AFailedCheckWithoutATextShowsExpressionAndPlace) {
    EXPECT_EXIT(
        {
            s_heap_is_shut = true;
            NYX_REPORT::detail::assert_at_line("a expression of some length", "memory/some_file.cpp", 7);
        },
        testing::KilledBySignal(SIGABRT), "check failed: a expression of some length \\[memory/some_file\\.cpp@7\\]\n");
}

TEST(WithoutHeap, AStateWithoutAWayOnShowsTextAndPlace) {
    EXPECT_EXIT(
        {
            s_heap_is_shut = true;
            NYX_REPORT::detail::fatal_exit_at_line("memory/some_file.cpp", 7, "%zu bytes are not to be had",
                                                   sizeof(int));
        },
        testing::KilledBySignal(SIGABRT), "no way on: 4 bytes are not to be had \\[memory/some_file\\.cpp@7\\]\n");
}

TEST(WithoutHeap, ALogLineShowsItsFormatAtLeast) {
    EXPECT_EXIT(
        {
            s_heap_is_shut = true;
            NYX_REPORT::warn("a line of a length that fits no small string: %d", 5);
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "a line of a length that fits no small string: %d\n");
}
