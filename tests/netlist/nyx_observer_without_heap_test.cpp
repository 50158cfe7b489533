// Telling an event allocates nothing. The heap of this program can be shut.

#include "netlist/nyx_db_observer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <new>
#include <string>

namespace {

bool s_heap_is_shut = false;

struct COUNTER : NYX_OBSERVER<NYX_NET> {
    using NYX_OBSERVER::NYX_OBSERVER;
    void name_changed(NYX_NET *, const std::string &) override { ++count; }
    int count = 0;
};

struct INTERNAL_COUNTER : NYX_DB_OBSERVER<NYX_NET> {
    using NYX_DB_OBSERVER::enter;
    void name_changed(NYX_NET *, const std::string &) override { ++count; }
    int count = 0;
};

void tell_with_heap_shut() {
    const std::string old_name = "a name that fits into no small string";
    s_heap_is_shut = true;
    nyx_notify<NYX_NET>(&NYX_OBSERVER<NYX_NET>::name_changed, nullptr, old_name);
    s_heap_is_shut = false;
}

} // namespace

// Not inlined, or the compiler sees memory of new given to free, and warns.
[[gnu::noinline]] void *operator new(std::size_t size) {
    if (!s_heap_is_shut) {
        if (void *const ptr = std::malloc(size ? size : 1))
            return ptr;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void *ptr) noexcept {
    std::free(ptr);
}
[[gnu::noinline]] void operator delete(void *ptr, std::size_t) noexcept {
    std::free(ptr);
}

TEST(WithoutHeap, AnEventIsToldToNobody) {
    NYX_OBSERVER<NYX_NET>::set_enabled(true);
    EXPECT_NO_THROW(tell_with_heap_shut());
    NYX_OBSERVER<NYX_NET>::set_enabled(false);
    EXPECT_NO_THROW(tell_with_heap_shut());
}

TEST(WithoutHeap, AnEventIsToldToBothLists) {
    COUNTER one(1), two(2);
    INTERNAL_COUNTER internal;
    internal.enter();
    NYX_OBSERVER<NYX_NET>::set_enabled(true);
    EXPECT_NO_THROW(tell_with_heap_shut());
    NYX_OBSERVER<NYX_NET>::set_enabled(false);
    EXPECT_EQ(one.count, 1);
    EXPECT_EQ(two.count, 1);
    EXPECT_EQ(internal.count, 1);
}

TEST(WithoutHeap, AnInternalObserverEnters) {
    INTERNAL_COUNTER internal;
    s_heap_is_shut = true;
    internal.enter();
    s_heap_is_shut = false;
    EXPECT_TRUE(NYX_DB_OBSERVER<NYX_NET>::is_enabled());
}

TEST(WithoutHeap, APublicObserverIsRefusedAndNotListed) {
    const COUNTER listed(1);
    s_heap_is_shut = true;
    EXPECT_THROW(COUNTER(2), std::bad_alloc);
    s_heap_is_shut = false;
    EXPECT_EQ(std::distance(NYX_OBSERVER<NYX_NET>::begin(), NYX_OBSERVER<NYX_NET>::end()), 1);
}
