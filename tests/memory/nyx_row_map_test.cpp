#include "memory/nyx_row_map.h"
#include "memory/segment_image.h"
#include "support/recording_listener.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <random>
#include <utility>
#include <vector>

namespace {

template <class VALUE>
class RowMap : public testing::Test {
protected:
    using MAP = NYX_ROW_MAP<VALUE>;

    // Made in the segment, for links to be short enough for an image.
    MAP &make_map() {
        return *m_segment.get_segment_manager()->template construct<MAP>(boost::interprocess::anonymous_instance)(
            m_segment.get_segment_manager());
    }
    // By the links that are stored.
    static const NYX_ROW_LEAF *leaf_of(const MAP &map, unsigned row) {
        const char *const link =
            reinterpret_cast<const char *>(&map) + 8 + stored<long long>(&map, 8) + row / s_nyx_leaf_rows * 8;
        return reinterpret_cast<const NYX_ROW_LEAF *>(link + stored<long long>(link, 0));
    }

    NYX_SEGMENT m_segment{std::size_t(4) << 20};
};

using VALUES = testing::Types<signed char, int, long long>;
TYPED_TEST_SUITE(RowMap, VALUES);

template <class MAP, class VALUE>
void expect_same(const MAP &map, const std::map<unsigned, VALUE> &expected) {
    ASSERT_EQ(map.size(), expected.size());
    EXPECT_EQ(map.empty(), expected.empty());
    auto at = expected.begin();
    map.for_each([&](unsigned row, VALUE value) {
        ASSERT_NE(at, expected.end());
        EXPECT_EQ(row, at->first);
        EXPECT_EQ(value, at->second);
        ++at;
    });
    EXPECT_EQ(at, expected.end());
    unsigned row = map.find_from(0);
    for (const auto &[expected_row, value] : expected) {
        ASSERT_EQ(row, expected_row);
        ASSERT_NE(map.find(row), nullptr);
        EXPECT_EQ(*map.find(row), value);
        row = map.find_from(row + 1);
    }
    EXPECT_EQ(row, MAP::s_no_row);
}

TYPED_TEST(RowMap, BehavesLikeAMapAtAnyAddress) {
    std::mt19937 random(7);
    // Few rows of many, all of a few, and runs of them.
    for (const unsigned num_rows : {3000u, 100000u}) {
        auto &map = this->make_map();
        std::map<unsigned, TypeParam> expected;
        const auto any_row = [&] {
            const unsigned row = static_cast<unsigned>(random() % num_rows);
            return random() % 4 == 0 ? row : row / 5000 * 5000 + row % 700;
        };
        const unsigned steps = model_steps(20000);
        for (unsigned step = 0; step < steps; ++step) {
            const unsigned row = any_row();
            switch (random() % 8) {
            case 0:
            case 1:
                map.erase(row);
                expected.erase(row);
                break;
            case 2: {
                const unsigned to = any_row();
                if (to == row)
                    break;
                map.move(row, to);
                if (const auto found = expected.find(row); found != expected.end()) {
                    expected[to] = found->second;
                    expected.erase(row);
                }
                break;
            }
            case 3:
                map.make_room(row, static_cast<unsigned>(random() % 8));
                break;
            default:
                // Values that say where they belong; a row without a value must not be told by it.
                const auto value = static_cast<TypeParam>(random() % 3 == 0 ? 0 : random());
                map.insert_or_assign(row, value);
                expected[row] = value;
            }
            const unsigned asked = any_row();
            const auto found = expected.find(asked);
            ASSERT_EQ(map.find(asked) != nullptr, found != expected.end()) << asked;
            if (found != expected.end()) {
                ASSERT_EQ(*map.find(asked), found->second) << asked;
            }
            if (step % (steps / 4 + 1) == steps / 8) {
                expect_same(map, expected);
                IMAGE_COPY image(this->m_segment);
                image.set_writable(false);
                expect_same(*image.at(&map), expected);
            }
        }
        expect_same(map, expected);
        this->m_segment.get_segment_manager()->destroy_ptr(&map);
    }
}

TYPED_TEST(RowMap, KeepsRowsInTheirOrder) {
    auto &map = this->make_map();
    for (const unsigned row : {70000u, 3u, 1023u, 1024u, 64u, 63u, 0u})
        map.insert_or_assign(row, static_cast<TypeParam>(row % 100));
    std::vector<unsigned> rows;
    map.for_each([&](unsigned row, TypeParam) { rows.push_back(row); });
    EXPECT_EQ(rows, (std::vector<unsigned>{0, 3, 63, 64, 1023, 1024, 70000}));
    EXPECT_EQ(map.find_from(4), 63u);
    EXPECT_EQ(map.find_from(1025), 70000u);
    EXPECT_EQ(map.find_from(70001), map.s_no_row);
    EXPECT_EQ(map.find_from(std::numeric_limits<unsigned>::max()), map.s_no_row);
}

TYPED_TEST(RowMap, StoresPackedValuesAsDescribed) {
    auto &map = this->make_map();
    map.insert_or_assign(1024 + 70, 5);
    map.insert_or_assign(1024 + 6, 3);
    map.insert_or_assign(1024 + 1000, 7);
    EXPECT_EQ(stored<std::uint32_t>(&map, 16), 2u);
    EXPECT_EQ(stored<std::uint32_t>(&map, 20), 3u);
    const NYX_ROW_LEAF *const leaf = this->leaf_of(map, 1024);
    EXPECT_EQ(stored<std::uint64_t>(leaf, 0), std::uint64_t(1) << 6);
    EXPECT_EQ(stored<std::uint64_t>(leaf, 8), std::uint64_t(1) << 6);
    EXPECT_EQ(stored<std::uint64_t>(leaf, 120), std::uint64_t(1) << 40);
    for (unsigned word = 0; word < 16; ++word)
        EXPECT_EQ(stored<std::uint16_t>(leaf, 128 + word * 2), word == 0 ? 0 : word == 1 ? 1 : 2) << word;
    EXPECT_EQ(stored<std::uint16_t>(leaf, 160), 3u);
    EXPECT_EQ(stored<std::uint16_t>(leaf, 162), sizeof(TypeParam) == 1 ? 8u : 4u);
    for (unsigned i = 0; i < 4; ++i)
        EXPECT_EQ(stored<TypeParam>(leaf, 168 + i * sizeof(TypeParam)), i == 3 ? 0 : 3 + 2 * int(i)) << i;
}

TYPED_TEST(RowMap, StoresValuesOfMostRowsAtTheirPlaces) {
    auto &map = this->make_map();
    for (unsigned row = 0; row < 256; ++row)
        map.insert_or_assign(row * 4, 1);
    EXPECT_EQ(this->leaf_of(map, 0)->m_capacity, 256u);
    map.insert_or_assign(1, 9);
    const NYX_ROW_LEAF *const leaf = this->leaf_of(map, 0);
    EXPECT_EQ(leaf->m_capacity, 1024u);
    EXPECT_EQ(leaf->m_size, 257u);
    for (unsigned word = 0; word < 16; ++word)
        EXPECT_EQ(leaf->m_num_before[word], 0u);
    for (unsigned row = 0; row < 1024; ++row)
        EXPECT_EQ(stored<TypeParam>(leaf, 168 + row * sizeof(TypeParam)), row == 1 ? 9 : row % 4 == 0 ? 1 : 0) << row;
    map.erase(1);
    EXPECT_EQ(stored<TypeParam>(leaf, 168 + sizeof(TypeParam)), 0);
}

TYPED_TEST(RowMap, ANewLeafHasTheRoomThatItsNeighbourNeeds) {
    auto &map = this->make_map();
    for (unsigned row = 0; row < 100; ++row)
        map.insert_or_assign(row, 1);
    map.insert_or_assign(1024, 1);
    EXPECT_EQ(this->leaf_of(map, 1024)->m_capacity, 128u);
    for (unsigned row = 100; row < 1024; ++row)
        map.insert_or_assign(row, 1);
    map.insert_or_assign(4096, 1);
    EXPECT_LE(this->leaf_of(map, 4096)->m_capacity, 8u);
    // A walk over all rows takes one block for each leaf.
    for (unsigned row = 2048; row < 4096; ++row) {
        const RECORDING_LISTENER notices;
        map.insert_or_assign(row, 1);
        if (row >= 3072) {
            EXPECT_EQ(notices.notices().size(), row == 3072 ? 1u : 0u) << row;
        }
    }
}

TYPED_TEST(RowMap, ErasedValuesLeaveTheirRoomAndAClearedMapNone) {
    const BLOCK_LEDGER before(this->m_segment);
    {
        NYX_ROW_MAP<TypeParam> map(this->m_segment.get_segment_manager());
        EXPECT_EQ(map.get_bytes(), 0u);
        for (unsigned row = 0; row < 3000; ++row)
            map.insert_or_assign(row, 1);
        const std::size_t bytes = map.get_bytes();
        EXPECT_EQ(bytes, 4 * 8 + 3 * (168 + 1024 * sizeof(TypeParam)));
        for (unsigned row = 0; row < 3000; ++row)
            map.erase(row);
        EXPECT_TRUE(map.empty());
        EXPECT_EQ(map.get_bytes(), bytes);
        EXPECT_EQ(map.find_from(0), map.s_no_row);
        map.clear();
        EXPECT_EQ(map.get_bytes(), 0u);
        before.expect_balanced();
        map.insert_or_assign(5, 1);
        EXPECT_EQ(*map.find(5), 1);
    }
    before.expect_balanced();
}

TYPED_TEST(RowMap, IsCopiedMovedAndSwapped) {
    const BLOCK_LEDGER before(this->m_segment);
    {
        NYX_ROW_MAP<TypeParam> map(this->m_segment.get_segment_manager());
        std::map<unsigned, TypeParam> expected;
        for (unsigned i = 0; i < 600; ++i) {
            const unsigned row = i < 300 ? i : i * 100;
            map.insert_or_assign(row, static_cast<TypeParam>(i));
            expected[row] = static_cast<TypeParam>(i);
        }
        NYX_ROW_MAP<TypeParam> copy(map);
        copy.insert_or_assign(299, 77);
        expect_same(map, expected);
        map = copy;
        EXPECT_EQ(*map.find(299), 77);
        expected[299] = 77;
        NYX_ROW_MAP<TypeParam> moved(std::move(copy));
        expect_same(moved, expected);
        EXPECT_TRUE(copy.empty()); // NOLINT(bugprone-use-after-move): a moved-from map is empty
        moved.swap(copy);
        expect_same(copy, expected);
        EXPECT_TRUE(moved.empty());
        const NYX_ROW_MAP<TypeParam> copy_of_none(moved);
        EXPECT_EQ(copy_of_none.get_bytes(), 0u);
    }
    before.expect_balanced();
}

TYPED_TEST(RowMap, HasRoomForTheLastRowThereCanBe) {
    NYX_SEGMENT segment(std::size_t(200) << 20);
    NYX_ROW_MAP<TypeParam> map(segment.get_segment_manager());
    // The directory doubles, but never beyond the leaves that there are rows for.
    for (const unsigned row : {2147483648u, 3221225472u, 4294967294u})
        map.insert_or_assign(row, 5);
    EXPECT_EQ(stored<std::uint32_t>(&map, 16), 1u << 22);
    EXPECT_EQ(map.find_from(3221225473u), 4294967294u);
    EXPECT_EQ(map.find_from(4294967295u), map.s_no_row);
    EXPECT_EQ(map.find(4294967295u), nullptr);
    map.move(4294967294u, 0);
    EXPECT_EQ(*map.find(0), 5);
}

TYPED_TEST(RowMap, ValuesMoveWithoutAnAllocationWhereRoomWasMade) {
    for (const unsigned run : {3u, 300u, 700u}) {
        auto &map = this->make_map();
        // From one run of rows to another one, both of which share a leaf.
        NYX_ROW_MOVES moves;
        for (unsigned i = 0; i < run; ++i) {
            map.insert_or_assign(900 + i, static_cast<TypeParam>(i));
            moves.emplace_back(900 + i, 900 + run + i);
        }
        nyx_make_room_for_moves(map, moves);
        const RECORDING_LISTENER notices;
        for (const auto &[from, to] : moves)
            map.move(from, to);
        EXPECT_TRUE(notices.notices().empty()) << run;
        for (unsigned i = 0; i < run; ++i)
            EXPECT_EQ(*map.find(900 + run + i), static_cast<TypeParam>(i));
        EXPECT_EQ(map.size(), run);
    }
}

TYPED_TEST(RowMap, MovesWithinALeafNeedNoRoom) {
    auto &map = this->make_map();
    NYX_ROW_MOVES moves;
    for (unsigned row = 2; row < 258; ++row) {
        map.insert_or_assign(row, static_cast<TypeParam>(row));
        moves.emplace_back(row, row - 1);
    }
    ASSERT_EQ(this->leaf_of(map, 0)->m_capacity, 256u);
    const RECORDING_LISTENER notices;
    nyx_make_room_for_moves(map, moves);
    for (const auto &[from, to] : moves)
        map.move(from, to);
    EXPECT_TRUE(notices.notices().empty());
    EXPECT_EQ(this->leaf_of(map, 0)->m_capacity, 256u);
    for (unsigned row = 1; row < 257; ++row)
        EXPECT_EQ(*map.find(row), static_cast<TypeParam>(row + 1));
}

TYPED_TEST(RowMap, RoomIsMadeForAsManyAsALeafHasRows) {
    auto &map = this->make_map();
    map.make_room(5, 0);
    EXPECT_EQ(map.get_bytes(), 0u);
    for (unsigned row = 0; row < 4; ++row)
        map.insert_or_assign(row, 1);
    map.make_room(5, ~0u);
    EXPECT_EQ(this->leaf_of(map, 0)->m_capacity, 1024u);
    map.make_room(5000, ~0u);
    EXPECT_EQ(this->leaf_of(map, 5000)->m_capacity, 1024u);
    EXPECT_EQ(map.size(), 4u);
    for (const unsigned out_of_order : {9u, 3000u})
        EXPECT_DEATH(nyx_make_room_for_moves(map, {{0, 10}, {1, 5000}, {2, out_of_order}}), "at->second >= previous");
}

TYPED_TEST(RowMap, MovingTakesThePlaceOfAnotherValue) {
    auto &map = this->make_map();
    map.insert_or_assign(1, 11);
    map.insert_or_assign(5000, 22);
    map.move(1, 5000);
    EXPECT_EQ(map.find(1), nullptr);
    EXPECT_EQ(*map.find(5000), 11);
    map.move(1, 5000);
    EXPECT_EQ(*map.find(5000), 11);
    EXPECT_EQ(map.size(), 1u);
    EXPECT_DEATH(map.move(1, 1), "from != to");
}

TYPED_TEST(RowMap, AFullSegmentChangesNoValueAndLosesNoBlock) {
    using OWN_MAP = NYX_ROW_MAP<TypeParam>;
    const std::vector<std::pair<const char *, void (*)(OWN_MAP &)>> operations = {
        {"a value in a larger directory", [](OWN_MAP &map) { map.insert_or_assign(200000, 4); }},
        {"a value in a full leaf", [](OWN_MAP &map) { map.insert_or_assign(1, 4); }},
        {"a value that moves to another leaf", [](OWN_MAP &map) { map.move(0, 200000); }},
        {"room", [](OWN_MAP &map) { map.make_room(0, 1024); }},
        {"a copy", [](OWN_MAP &map) { const OWN_MAP copy(map); }},
    };
    for (const unsigned num_values : {8u, 64u, 256u})
        for (const auto &[what, operation] : operations) {
            SCOPED_TRACE(what);
            const unsigned failures = with_growing_room([&, &change = operation](std::size_t left) {
                NYX_SEGMENT segment(std::size_t(1) << 16);
                const BLOCK_LEDGER ledger(segment);
                bool done = false;
                {
                    OWN_MAP map(segment.get_segment_manager());
                    std::map<unsigned, TypeParam> expected;
                    for (unsigned i = 0; i < num_values; ++i) {
                        map.insert_or_assign(2 * i, 3);
                        expected[2 * i] = 3;
                    }
                    {
                        const JUNK junk(segment, left);
                        try {
                            change(map);
                            done = true;
                        } catch (const boost::interprocess::bad_alloc &) {
                            expect_same(map, expected);
                        }
                    }
                    EXPECT_EQ(segment.algorithm().find_fault(), "");
                }
                ledger.expect_balanced();
                return done;
            });
            EXPECT_GT(failures, 0u) << num_values;
        }
}

TEST(RowLeaf, CountsBits) {
    for (unsigned bits = 0; bits <= 64; ++bits)
        EXPECT_EQ(nyx_count_bits(bits == 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << bits) - 1), bits);
    EXPECT_EQ(nyx_count_bits(0xa5a5a5a5a5a5a5a5), 32u);
}

TEST(RowLeaf, FindsTheNextRowWithAValue) {
    NYX_ROW_LEAF leaf;
    leaf.m_capacity = 8;
    EXPECT_EQ(leaf.find_from(0), s_nyx_leaf_rows);
    for (const unsigned place : {0u, 63u, 64u, 500u, 1023u})
        leaf.set(place);
    EXPECT_EQ(leaf.find_from(0), 0u);
    EXPECT_EQ(leaf.find_from(1), 63u);
    EXPECT_EQ(leaf.find_from(64), 64u);
    EXPECT_EQ(leaf.find_from(65), 500u);
    EXPECT_EQ(leaf.find_from(501), 1023u);
    leaf.reset(1023);
    EXPECT_EQ(leaf.find_from(501), s_nyx_leaf_rows);
    EXPECT_EQ(leaf.index(500), 3u);
}

} // namespace
