#include "reserved_segment.h"

#include "nyx_report/nyx_report_exception.h"
#include "support/recording_listener.h"

#include <gtest/gtest.h>

#include <boost/interprocess/containers/list.hpp>
#include <boost/interprocess/containers/map.hpp>
#include <boost/interprocess/containers/set.hpp>
#include <boost/interprocess/containers/string.hpp>
#include <boost/interprocess/containers/vector.hpp>

#include <algorithm>
#include <map>
#include <numeric>

namespace bi = boost::interprocess;
using NOTICE = RECORDING_LISTENER::NOTICE;

template <class T>
using VECTOR = bi::vector<T, NYX_SEGMENT_ALLOCATOR<T>>;
using SET = bi::set<int, std::less<int>, NYX_SEGMENT_ALLOCATOR<int>>;
using STRING = bi::basic_string<char, std::char_traits<char>, NYX_SEGMENT_ALLOCATOR<char>>;

namespace {

// ---- The segment

TEST(Segment, OfTheLeastSizeHoldsOneBlock) {
    NYX_SEGMENT segment(224);
    EXPECT_EQ(segment.size(), 224u);
    EXPECT_EQ(segment.algorithm().get_size(), 224u);
    EXPECT_NE(segment.algorithm().allocate(32), nullptr);
    EXPECT_EQ(segment.algorithm().allocate(1), nullptr);
}

TEST(Segment, OfLessIsRefused) {
    for (const std::size_t size : {0u, 1u, 168u, 223u}) {
        try {
            const NYX_SEGMENT segment(size);
            ADD_FAILURE() << size;
        } catch (const NYX_RUNTIME_ERROR &error) {
            const std::string expected = "Failed to create managed segment from function NYX_SEGMENT::NYX_SEGMENT in ";
            EXPECT_EQ(std::string(error.what()).substr(0, expected.size()), expected);
        }
    }
}

TEST(Segment, ReservesWithoutTouching) {
    NYX_SEGMENT segment(std::size_t(1) << 40);
    EXPECT_EQ(segment.algorithm().get_committed(), GiB);
    EXPECT_EQ(static_cast<void *>(segment.data()), segment.get_segment_manager());
    EXPECT_EQ(static_cast<void *>(&segment.algorithm()), segment.data());
}

TEST(Segment, FullOneThrowsOutOfTheManager) {
    NYX_SEGMENT segment(1 << 12);
    EXPECT_THROW(segment.get_segment_manager()->allocate(1 << 12), bi::bad_alloc);
    EXPECT_EQ(segment.get_segment_manager()->allocate(1 << 12, std::nothrow), nullptr);
    EXPECT_THROW(NYX_SEGMENT_ALLOCATOR<int>(segment.get_segment_manager()).allocate(1 << 12), bi::bad_alloc);
    try {
        segment.get_segment_manager()->allocate(1 << 12);
    } catch (const NYX_EXCEPTION &) {
        FAIL() << "a full segment is none of the library's own exceptions";
    } catch (const std::exception &) {
    }
}

TEST(Segment, NamedObjectIsFound) {
    NYX_SEGMENT segment(1 << 16);
    int *const object = segment.get_segment_manager()->construct<int>("NYX")(42);
    EXPECT_EQ(segment.get_segment_manager()->find<int>("NYX").first, object);
    EXPECT_EQ(segment.get_segment_manager()->find<int>("OTHER").first, nullptr);
    EXPECT_TRUE(segment.get_segment_manager()->destroy<int>("NYX"));
    EXPECT_TRUE(segment.algorithm().all_memory_deallocated());
    EXPECT_EQ(segment.algorithm().find_fault(), "");
}

TEST(Segment, CopyStandsElsewhereWithTheSameObjects) {
    NYX_SEGMENT segment(1 << 20);
    auto *const numbers = segment.get_segment_manager()->construct<SET>("NYX")(segment.get_segment_manager());
    for (int i = 0; i < 1000; ++i)
        numbers->insert(i * 7 % 1000);
    NYX_SEGMENT copy(segment, 0);
    SET *const copied = copy.get_segment_manager()->find<SET>("NYX").first;
    ASSERT_NE(copied, nullptr);
    EXPECT_NE(copied, numbers);
    EXPECT_EQ(copied->get_allocator().get_segment_manager(), copy.get_segment_manager());
    EXPECT_TRUE(std::equal(numbers->begin(), numbers->end(), copied->begin(), copied->end()));
    copied->insert(5000);
    copied->erase(3);
    EXPECT_EQ(numbers->count(5000), 0u);
    EXPECT_EQ(numbers->count(3), 1u);
    EXPECT_EQ(copy.algorithm().find_fault(), "");
    EXPECT_EQ(segment.algorithm().find_fault(), "");
}

TEST(Segment, CopyIsLargerByTheExtraBytes) {
    NYX_SEGMENT segment(1 << 16);
    NYX_SEGMENT copy(segment, 1 << 16);
    EXPECT_EQ(copy.size(), std::size_t(2) << 16);
    EXPECT_EQ(copy.algorithm().get_size(), std::size_t(2) << 16);
    EXPECT_EQ(copy.algorithm().find_fault(), "");
    EXPECT_NE(copy.algorithm().allocate(100'000), nullptr);
}

TEST(Segment, CopyLeavesOutExtraBytesThatHoldNoBlock) {
    for (std::size_t odd = 0; odd < 8; ++odd) {
        NYX_SEGMENT segment((1 << 16) + odd);
        for (const std::size_t extra : {0u, 1u, 4u, 5u, 39u, 40u, 47u}) {
            NYX_SEGMENT copy(segment, extra);
            EXPECT_EQ(copy.algorithm().get_size(), segment.size() + (extra < 40 ? 0 : extra));
            EXPECT_EQ(copy.algorithm().find_fault(), "");
        }
    }
}

TEST(Segment, CopyOfAFullOneGrows) {
    NYX_SEGMENT segment(1 << 12);
    segment.algorithm().allocate((1 << 12) - 168 - 16 - 8);
    ASSERT_EQ(segment.algorithm().allocate(1), nullptr);
    NYX_SEGMENT copy(segment, 3 * GiB);
    EXPECT_NE(copy.algorithm().allocate(2 * GiB), nullptr);
    EXPECT_EQ(copy.algorithm().find_fault(), "");
}

TEST(Segment, DetachedRangeIsTheCallers) {
    NYX_SEGMENT_MANAGER *manager = nullptr;
    {
        NYX_SEGMENT segment(1 << 16);
        manager = segment.detach();
        EXPECT_EQ(segment.get_segment_manager(), nullptr);
        EXPECT_EQ(segment.data(), nullptr);
    }
    EXPECT_EQ(nyx_get_algorithm(manager)->get_size(), std::size_t(1) << 16);
    EXPECT_NE(manager->allocate(100), nullptr);
    NYX_SEGMENT::release_range(manager, 1 << 16);
}

TEST(Segment, ReleaseTellsTheNotifierNothing) {
    RECORDING_LISTENER listener;
    {
        NYX_SEGMENT segment(1 << 16);
        segment.get_segment_manager()->construct<int>("NYX")(1);
    }
    EXPECT_TRUE(listener.notices().empty());
}

// ---- Containers and their notices

struct SegmentAllocatorNotices : testing::Test {
    NYX_SEGMENT segment{1 << 20};
    NYX_SEGMENT_MANAGER *const manager = segment.get_segment_manager();
    RECORDING_LISTENER listener;
};

TEST_F(SegmentAllocatorNotices, AllocationTellsWhatWasAskedAndWhatTheBlockHolds) {
    NYX_SEGMENT_ALLOCATOR<std::uint64_t> allocator(manager);
    const auto ptr = allocator.allocate(5);
    EXPECT_EQ(listener.notices(), (std::vector<NOTICE>{{NOTICE::ALLOCATED, ptr.get(), 40, 40}}));
    const auto small = allocator.allocate(1);
    EXPECT_EQ(listener.notices().back(), (NOTICE{NOTICE::ALLOCATED, small.get(), 8, 32}));
    listener.clear();
    allocator.deallocate(ptr, 5);
    allocator.deallocate_one(small);
    EXPECT_EQ(listener.notices(), (std::vector<NOTICE>{{NOTICE::DEALLOCATED, ptr.get(), 40, 40},
                                                       {NOTICE::DEALLOCATED, small.get(), 32, 32}}));
    EXPECT_TRUE(segment.algorithm().all_memory_deallocated());
}

TEST_F(SegmentAllocatorNotices, NullAndFailuresAreNotTold) {
    NYX_SEGMENT_ALLOCATOR<int> allocator(manager);
    allocator.deallocate(nullptr, 0);
    EXPECT_THROW(allocator.allocate(1 << 20), bi::bad_alloc);
    NYX_SEGMENT_ALLOCATOR<int>::multiallocation_chain chain;
    EXPECT_THROW(allocator.allocate_many(1 << 16, 10, chain), bi::bad_alloc);
    EXPECT_TRUE(listener.notices().empty());
    EXPECT_TRUE(segment.algorithm().all_memory_deallocated());
}

TEST_F(SegmentAllocatorNotices, ManyBlocksAreToldOneByOne) {
    NYX_SEGMENT_ALLOCATOR<std::uint64_t> allocator(manager);
    NYX_SEGMENT_ALLOCATOR<std::uint64_t>::multiallocation_chain chain;
    allocator.allocate_many(10, 2, chain);
    const NYX_SEGMENT_ALLOCATOR<std::uint64_t>::size_type sizes[] = {1, 20};
    allocator.allocate_many(sizes, 2, chain);
    allocator.allocate_individual(1, chain);
    ASSERT_EQ(chain.size(), 5u);
    std::vector<std::size_t> asked, usable;
    for (const NOTICE &notice : listener.notices(NOTICE::ALLOCATED)) {
        asked.push_back(notice.requested);
        usable.push_back(notice.usable);
    }
    EXPECT_EQ(asked, (std::vector<std::size_t>{80, 80, 8, 160, 8}));
    EXPECT_EQ(usable, (std::vector<std::size_t>{80, 80, 32, 160, 32}));
    std::vector<const void *> told;
    for (const NOTICE &notice : listener.notices())
        told.push_back(notice.ptr);
    listener.clear();
    allocator.deallocate_many(chain);
    std::vector<const void *> freed;
    for (const NOTICE &notice : listener.notices(NOTICE::DEALLOCATED)) {
        freed.push_back(notice.ptr);
        EXPECT_EQ(notice.requested, notice.usable);
    }
    EXPECT_EQ(freed, told);
    EXPECT_TRUE(chain.empty());
    EXPECT_TRUE(segment.algorithm().all_memory_deallocated());
}

TEST_F(SegmentAllocatorNotices, BlockThatGrowsInPlaceIsNotToldAgain) {
    VECTOR<int> numbers(manager);
    numbers.reserve(10);
    listener.clear();
    const int *const data = numbers.data();
    numbers.reserve(1000); // nothing but free memory is behind it
    EXPECT_EQ(numbers.data(), data);
    EXPECT_TRUE(listener.notices().empty());
}

TEST_F(SegmentAllocatorNotices, VectorThatMovesGivesItsOldBlockBackOnce) {
    VECTOR<int> numbers(manager);
    numbers.reserve(10);
    const void *const old = numbers.data();
    NYX_SEGMENT_ALLOCATOR<int>(manager).allocate(1);
    listener.clear();
    numbers.reserve(1000);
    ASSERT_NE(numbers.data(), old);
    EXPECT_EQ(listener.notices(), (std::vector<NOTICE>{{NOTICE::ALLOCATED, numbers.data(), 4000, 4000},
                                                       {NOTICE::DEALLOCATED, old, 40, 40}}));
}

TEST_F(SegmentAllocatorNotices, BlockThatMovedBackwardsIsGivenBackAndToldAnew) {
    NYX_SEGMENT_ALLOCATOR<std::uint64_t> allocator(manager);
    const auto front = allocator.allocate(100);
    auto block = allocator.allocate(10);
    allocator.allocate(1);
    allocator.deallocate(front, 100);
    listener.clear();
    const auto old = block;
    NYX_SEGMENT_ALLOCATOR<std::uint64_t>::size_type size = 20;
    const auto moved = allocator.allocation_command(bi::expand_bwd, 20, size, block);
    ASSERT_EQ(moved, old - 10);
    EXPECT_EQ(size, 20u);
    EXPECT_EQ(listener.notices(), (std::vector<NOTICE>{{NOTICE::DEALLOCATED, old.get(), 80, 80},
                                                       {NOTICE::ALLOCATED, moved.get(), 160, 160}}));
}

TEST_F(SegmentAllocatorNotices, VectorThatMovedBackwardsKeepsItsElements) {
    const auto front = NYX_SEGMENT_ALLOCATOR<int>(manager).allocate(500);
    VECTOR<int> numbers(manager);
    numbers.resize(100);
    std::iota(numbers.begin(), numbers.end(), 0);
    NYX_SEGMENT_ALLOCATOR<int>(manager).allocate(1);
    NYX_SEGMENT_ALLOCATOR<int>(manager).deallocate(front, 500);
    for (int i = 100; i < 400; ++i)
        numbers.push_back(i);
    for (int i = 0; i < 400; ++i)
        ASSERT_EQ(numbers[i], i);
    EXPECT_EQ(segment.algorithm().find_fault(), "");
}

TEST_F(SegmentAllocatorNotices, VectorTakesTheLastOfASegmentAlthoughItPrefersMoreThanThereIs) {
    NYX_SEGMENT small(size_for_units(200));
    VECTOR<char> bytes(small.get_segment_manager());
    while (bytes.size() < bytes_for_units(200))
        ASSERT_NO_THROW(bytes.push_back('x')) << bytes.size();
    EXPECT_THROW(bytes.push_back('x'), bi::bad_alloc);
    EXPECT_EQ(bytes.size(), bytes_for_units(200));
    EXPECT_EQ(small.algorithm().find_fault(), "");
}

TEST_F(SegmentAllocatorNotices, VectorShrinksToFit) {
    VECTOR<int> numbers(manager);
    numbers.reserve(1000);
    numbers.resize(10, 7);
    numbers.shrink_to_fit();
    EXPECT_LT(numbers.capacity(), 20u);
    EXPECT_EQ(std::count(numbers.begin(), numbers.end(), 7), 10);
    EXPECT_EQ(segment.algorithm().find_fault(), "");
}

TEST_F(SegmentAllocatorNotices, ContainersGiveBackWhatTheyTook) {
    {
        VECTOR<STRING> texts(manager);
        for (int i = 0; i < 300; ++i)
            texts.emplace_back(std::string(i, 'x').c_str(), manager);
        SET numbers(manager);
        for (int i = 0; i < 300; ++i)
            numbers.insert(i);
        SET copy(numbers);
        copy = numbers;
        numbers.clear();
        bi::list<int, NYX_SEGMENT_ALLOCATOR<int>> list(manager);
        list.assign(100, 1);
        list.resize(50);
        bi::map<int, STRING, std::less<int>, NYX_SEGMENT_ALLOCATOR<std::pair<const int, STRING>>> map(manager);
        for (int i = 0; i < 100; ++i)
            map.try_emplace(i, "a text that is too long for the string itself", manager);
        EXPECT_EQ(segment.algorithm().find_fault(), "");
    }
    EXPECT_TRUE(segment.algorithm().all_memory_deallocated());
    // Each block that was told of is given back once, before it is told of again.
    std::map<const void *, int> live;
    for (const NOTICE &notice : listener.notices()) {
        EXPECT_LE(notice.requested, notice.usable);
        int &count = live[notice.ptr];
        count += notice.kind == NOTICE::ALLOCATED ? 1 : -1;
        ASSERT_TRUE(count == 0 || count == 1);
    }
    EXPECT_TRUE(std::all_of(live.begin(), live.end(), [](const auto &entry) { return entry.second == 0; }));
}

} // namespace
