#include "memory/nyx_stored_map.h"
#include "memory/segment_image.h"
#include "nyx/nyx_defs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace {

/// A value of N bytes, so that elements have several widths.
template <std::size_t N>
struct WIDE_VALUE {
    unsigned char bytes[N];
};

/// Everything in one of two buckets.
struct COLLIDING_HASH {
    std::size_t operator()(NYX_NET_ID id) const { return id.get() & 1; }
};

template <class VALUE, class HASH = boost::hash<NYX_NET_ID>>
class MAP_IN_SEGMENT {
public:
    using MAP = NYX_SEGMENT_UNORDERED_MAP<NYX_NET_ID, VALUE, HASH>;

    MAP_IN_SEGMENT()
        : m_map(m_segment.get_segment_manager()->template construct<MAP>(boost::interprocess::anonymous_instance)(
              NYX_SEGMENT_INITIAL_BUCKETS, HASH(), std::equal_to<NYX_NET_ID>(), m_segment.get_segment_manager())) {}
    MAP *operator->() { return m_map; }
    NYX_SEGMENT &segment() { return m_segment; }
    MAP &map() { return *m_map; }

    /// Both ways to look an identifier up give the same element.
    void expect_same(unsigned id) const { expect_same(*m_map, id); }
    static void expect_same(const MAP &map, unsigned id) {
        const auto found = map.find(NYX_NET_ID(id));
        const auto *const stored = nyx_find_stored(map, nyx_mix_hash(HASH()(NYX_NET_ID(id))),
                                                   [id](const auto &element) { return element.first.get() == id; });
        if (found == map.end())
            ASSERT_EQ(stored, nullptr) << id;
        else
            ASSERT_EQ(stored, &*found) << id;
    }

private:
    NYX_SEGMENT m_segment{std::size_t(1) << 22};
    MAP *m_map;
};

template <class MAP>
class StoredMap : public testing::Test {};

using MAPS = testing::Types<MAP_IN_SEGMENT<NYX_PORT_ID>, MAP_IN_SEGMENT<WIDE_VALUE<1>>, MAP_IN_SEGMENT<std::uint64_t>,
                            MAP_IN_SEGMENT<WIDE_VALUE<33>>, MAP_IN_SEGMENT<NYX_PORT_ID, COLLIDING_HASH>,
                            MAP_IN_SEGMENT<std::uint64_t, NYX_ROW_HASH<NYX_NET_ID>>>;
TYPED_TEST_SUITE(StoredMap, MAPS);

TYPED_TEST(StoredMap, MixesAsTheMapDoes) {
    TypeParam map;
    for (unsigned id = 0; id < 40; ++id)
        map->try_emplace(NYX_NET_ID(id));
    for (unsigned id = 0; id < 40; ++id)
        EXPECT_EQ(nyx_mix_hash(map->hash_function()(NYX_NET_ID(id))) & (map->bucket_count() - 1),
                  map->bucket(NYX_NET_ID(id)));
}

TYPED_TEST(StoredMap, AMapWithoutElementsHasNone) {
    TypeParam map;
    map.expect_same(0);
    map->try_emplace(NYX_NET_ID(0));
    map->clear();
    map.expect_same(0);
}

TYPED_TEST(StoredMap, FindsWhatTheMapFinds) {
    std::mt19937 random(161803);
    TypeParam map;
    for (unsigned step = 0; step < 4000; ++step) {
        const unsigned id = static_cast<unsigned>(random() % 400);
        if (random() % 5 < 3)
            map->try_emplace(NYX_NET_ID(id));
        else
            map->erase(NYX_NET_ID(id));
        map.expect_same(id);
        map.expect_same(static_cast<unsigned>(random() % 500));
        if (step % 1500 == 1499)
            map->clear();
    }
    const IMAGE_COPY copy(map.segment());
    for (unsigned id = 0; id < 500; ++id)
        TypeParam::expect_same(*copy.at(&map.map()), id);
}

/// What a walk over a map comes to, and from which buckets.
template <class MAP>
std::vector<std::pair<unsigned, std::size_t>> order_of(const MAP &map) {
    std::vector<std::pair<unsigned, std::size_t>> result;
    for (const auto &element : map)
        result.emplace_back(element.first.get(), map.bucket(element.first));
    return result;
}

TYPED_TEST(StoredMap, InsertsAsTheMapDoes) {
    using MAP = typename TypeParam::MAP;
    using VALUE = typename MAP::mapped_type;
    // The orders that a map went through.
    const auto change = [](MAP &map, auto &&insert) {
        std::vector<std::vector<std::pair<unsigned, std::size_t>>> orders;
        std::mt19937 random(271828);
        for (unsigned step = 0; step < 3000; ++step) {
            const NYX_NET_ID id(static_cast<unsigned>(random() % 600));
            if (random() % 3 == 0) {
                map.erase(id);
            } else if (map.find(id) == map.end()) {
                VALUE value{};
                std::memset(static_cast<void *>(&value), static_cast<int>(step), sizeof(value));
                insert(id, value);
                EXPECT_EQ(std::memcmp(&map.at(id), &value, sizeof(value)), 0);
            }
            if (step % 16 == 0)
                orders.push_back(order_of(map));
            if (step % 1000 == 999)
                map.clear();
        }
        return orders;
    };
    TypeParam theirs;
    TypeParam ours;
    const auto expected = change(theirs.map(), [&](NYX_NET_ID id, const VALUE &value) { theirs->emplace(id, value); });
    const BLOCK_LEDGER ledger(ours.segment());
    EXPECT_EQ(change(ours.map(),
                     [&](NYX_NET_ID id, const VALUE &value) {
                         nyx_insert_stored(ours.map(), nyx_mix_hash(typename MAP::hasher()(id)), id, value);
                     }),
              expected);
    EXPECT_EQ(ours->bucket_count(), theirs->bucket_count());
    ledger.expect_balanced();
}

TYPED_TEST(StoredMap, InsertingIntoAFullSegmentChangesNothing) {
    using HASH = typename TypeParam::MAP::hasher;
    using VALUE = typename TypeParam::MAP::mapped_type;
    TypeParam map;
    const auto insert = [&](unsigned id) {
        nyx_insert_stored(map.map(), nyx_mix_hash(HASH()(NYX_NET_ID(id))), NYX_NET_ID(id), VALUE{});
    };
    // The first element comes with buckets, and the 17th with more of them: room for the node alone is not enough.
    for (unsigned id = 0; id < 20; ++id) {
        const auto before = order_of(map.map());
        const unsigned failures = with_growing_room([&](std::size_t left) {
            const JUNK junk(map.segment(), left);
            try {
                insert(id);
                return true;
            } catch (const boost::interprocess::bad_alloc &) {
                EXPECT_EQ(order_of(map.map()), before);
                return false;
            }
        });
        EXPECT_GE(failures, id == 0 || id == 16 ? 2u : 1u) << id;
        EXPECT_EQ(map->size(), id + 1);
        EXPECT_EQ(map.segment().algorithm().find_fault(), "");
    }
}

TEST(RowHash, IsWhatMixingMakesOfIt) {
    std::mt19937_64 random(577215);
    for (unsigned i = 0; i < 1000; ++i) {
        const std::uint64_t word = random();
        EXPECT_EQ(nyx_mix_hash(nyx_unmix_hash(word)), word);
        EXPECT_EQ(nyx_unmix_hash(nyx_mix_hash(word)), word);
        const NYX_NET_ID id(static_cast<unsigned>(word));
        EXPECT_EQ(nyx_mix_hash(NYX_ROW_HASH<NYX_NET_ID>()(id)), nyx_spread_row(id.get()));
    }
}

TEST(RowHash, RowsFromZeroOnFillBucketsEvenly) {
    for (unsigned bits = 0; bits <= 16; ++bits) {
        std::vector<bool> used(std::size_t(1) << bits);
        for (unsigned row = 0; row < used.size(); ++row) {
            const std::size_t bucket = nyx_spread_row(row) & (used.size() - 1);
            ASSERT_FALSE(used[bucket]) << row << " of " << used.size();
            used[bucket] = true;
        }
    }
}

TEST(RowHash, NeighboursStayTogether) {
    for (unsigned row = 0; row < 1000; ++row)
        EXPECT_EQ(nyx_spread_row(row * 64) / 64, nyx_spread_row(row * 64 + 63) / 64);
}

// Rows at regular distances, as the members of arrays are.
TEST(RowHash, DistancesDoNotCrowdBuckets) {
    for (unsigned bits = 4; bits <= 14; ++bits)
        for (unsigned shift = 0; shift + bits <= 24; ++shift) {
            std::vector<unsigned> used(std::size_t(1) << bits);
            for (unsigned i = 0; i < used.size(); ++i)
                ++used[nyx_spread_row(i << shift) & (used.size() - 1)];
            EXPECT_LE(*std::max_element(used.begin(), used.end()), 8u)
                << used.size() << " rows, each the " << (1u << shift) << "th";
        }
    for (unsigned bits = 4; bits <= 12; ++bits)
        for (unsigned distance = 1; distance < 1500; ++distance) {
            std::vector<unsigned> used(std::size_t(1) << bits);
            unsigned num_met = 0; // pairs of rows in one bucket
            for (unsigned i = 0; i < used.size(); ++i)
                num_met += used[nyx_spread_row(i * distance) & (used.size() - 1)]++;
            EXPECT_LE(num_met, used.size() * 2) << used.size() << " rows, each the " << distance << "th";
        }
}

} // namespace
