// Random operations on a segment against a model that knows nothing but the live blocks and their bytes. After each
// step the segment is walked for broken invariants and compared with the model.
//
// NYX_MODEL_STEPS=1000000 build/release/tests/memory/nyx_memory_test --gtest_filter='*AllocatorModel*'
//
// runs that many steps of each case in place of the usual ones. A failure shows the case's seed and the step, which
// come back at any number of steps: a run depends on nothing else.
#include "reserved_segment.h"

#include "support/recording_listener.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <random>

namespace bi = boost::interprocess;
using NOTICE = RECORDING_LISTENER::NOTICE;

namespace {

struct CASE {
    const char *name;
    unsigned seed;
    std::size_t size;     ///< at the start
    std::size_t reserved; ///< what it may grow to
    std::size_t largest;  ///< request, a rare one left out
    int steps;
};

int steps_of(const CASE &param) {
    const char *const text = std::getenv("NYX_MODEL_STEPS");
    return text != nullptr && std::atoi(text) > 0 ? std::atoi(text) : param.steps;
}

constexpr std::size_t units_for(std::size_t nbytes) {
    return std::max<std::size_t>(5, nbytes < 8 ? 0 : (nbytes - 1) / 8 + 2);
}

class ALLOCATOR_MODEL {
public:
    explicit ALLOCATOR_MODEL(const CASE &param)
        : m_case(param)
        , m_random(param.seed)
        , m_segment(std::make_unique<RESERVED_SEGMENT>(param.size, param.reserved)) {}

    void step() {
        m_before = free_blocks();
        m_listener.clear();
        const unsigned kind = below(100);
        if (kind < 26)
            allocate();
        else if (kind < 34)
            allocate_aligned();
        else if (kind < 62)
            deallocate();
        else if (kind < 72)
            resize(bi::expand_fwd);
        else if (kind < 78)
            resize(bi::expand_bwd);
        else if (kind < 84)
            resize(below(2) ? bi::expand_fwd | bi::expand_bwd | bi::allocate_new : bi::expand_fwd | bi::expand_bwd);
        else if (kind < 86)
            resize(below(2) ? bi::expand_fwd | bi::allocate_new : bi::expand_bwd | bi::allocate_new);
        else if (kind < 91)
            shrink();
        else if (kind < 93)
            allocate_many();
        else if (kind < 95)
            deallocate_many();
        else if (kind < 96)
            grow();
        else if (kind < 98)
            shrink_to_fit();
        else if (kind < 99)
            copy();
        else
            rare();
        check();
    }

    void free_all() {
        while (!m_live.empty())
            deallocate();
        check();
        EXPECT_TRUE((*m_segment)->all_memory_deallocated());
        EXPECT_EQ(free_blocks().size(), 1u);
    }

private:
    struct LIVE {
        std::size_t usable;
        unsigned char seed;
    };
    using LIVE_BLOCKS = std::map<std::size_t, LIVE>; // by the offset of the user pointer

    // ---- Choices

    std::uint64_t below(std::uint64_t limit) { return limit == 0 ? 0 : m_random() % limit; }

    std::size_t some_size() {
        switch (below(10)) {
        case 0:
            return below(9);
        case 1:
        case 2:
        case 3:
        case 4:
            return below(100);
        case 5:
        case 6:
        case 7:
            return below(std::min<std::size_t>(m_case.largest, 1000));
        case 8:
            return below(m_case.largest);
        default:
            return below(50) == 0 ? m_random() >> below(64) : below(m_case.largest / 4);
        }
    }
    LIVE_BLOCKS::iterator some_block() {
        // By address, so that neighbours are met; a walk of some steps, so that all are.
        auto at = m_live.lower_bound(below((*m_segment)->get_size()));
        return at == m_live.end() ? m_live.begin() : at;
    }

    // ---- Bytes. Large blocks are filled at their ends only.

    static constexpr std::size_t s_filled = 4096;

    static unsigned char byte_of(std::size_t i, unsigned char seed) { return static_cast<unsigned char>(seed + i * 7); }

    template <class VISIT>
    static void for_filled(std::size_t size, VISIT visit) {
        const std::size_t ends = size <= 2 * s_filled ? size : s_filled;
        for (std::size_t i = 0; i < ends; ++i)
            visit(i);
        if (ends != size)
            for (std::size_t i = size - 64; i < size; ++i)
                visit(i);
    }
    void add(void *ptr, std::size_t usable) {
        const LIVE live{usable, static_cast<unsigned char>(m_random())};
        unsigned char *const data = static_cast<unsigned char *>(ptr);
        for_filled(usable, [&](std::size_t i) { data[i] = byte_of(i, live.seed); });
        EXPECT_TRUE(m_live.emplace(m_segment->offset_of(ptr), live).second);
    }
    // The bytes of a block that held `live` and is known to still hold its first `size` bytes.
    void expect_bytes(const char *ptr, const LIVE &live, std::size_t size) const {
        bool same = true;
        for_filled(live.usable, [&](std::size_t i) {
            same = same && (i >= size || static_cast<unsigned char>(ptr[i]) == byte_of(i, live.seed));
        });
        EXPECT_TRUE(same) << "bytes of the block at " << m_segment->offset_of(ptr);
    }

    // ---- What the allocator has, seen from outside

    using FREE_BLOCKS = std::map<std::size_t, std::size_t>; // units by offset

    FREE_BLOCKS free_blocks() const {
        FREE_BLOCKS result;
        m_segment->algorithm().for_each_block([&](const segment_algorithm::BLOCK &block) {
            if (!block.allocated)
                result.emplace(block.offset, block.units);
        });
        return result;
    }
    std::size_t largest_free() const {
        std::size_t result = 0;
        for (const auto &[offset, units] : m_before)
            result = std::max(result, units);
        return result;
    }
    // The units of the smallest block that holds `units`; 0 when there is none.
    std::size_t best_fit(std::size_t units) const {
        std::size_t result = 0;
        for (const auto &[offset, size] : m_before)
            if (size >= units && (result == 0 || size < result))
                result = size;
        return result;
    }
    // Units of the free block that starts at, or ends at, an offset; 0 when there is none.
    std::size_t free_at(std::size_t offset) const {
        const auto at = m_before.find(offset);
        return at == m_before.end() ? 0 : at->second;
    }
    std::size_t free_before(std::size_t offset) const {
        auto at = m_before.lower_bound(offset);
        if (at == m_before.begin())
            return 0;
        --at;
        return at->first + 8 * at->second == offset ? at->second : 0;
    }

    // A new block of a request that had `units`: out of the smallest block that suffices, whole if less than a block
    // would have been left.
    void expect_best_fit(const void *ptr, std::size_t units) {
        const std::size_t best = best_fit(units);
        ASSERT_EQ(ptr != nullptr, best != 0) << units;
        if (ptr == nullptr)
            return;
        EXPECT_EQ(free_at(m_segment->block_of(ptr)), best);
        EXPECT_EQ(m_segment->units_of(ptr), best >= units + 5 ? units : best);
    }

    // ---- Operations

    void allocate() {
        const std::size_t nbytes = some_size();
        void *const ptr = (*m_segment)->allocate(nbytes);
        expect_best_fit(ptr, units_for(nbytes));
        if (ptr != nullptr)
            add(ptr, (*m_segment)->size(ptr));
    }

    void allocate_aligned() {
        const std::size_t nbytes = below(3) == 0 ? 4088 : some_size();
        const std::size_t alignment = below(3) == 0 ? 4096 : std::size_t(1) << below(14);
        void *const ptr = (*m_segment)->allocate_aligned(nbytes, alignment);
        if (alignment <= 8) {
            expect_best_fit(ptr, units_for(nbytes));
        } else {
            const std::size_t n = nbytes >= 9 ? nbytes - 8 : nbytes;
            const bool fits = nbytes <= (*m_segment)->get_size() && alignment <= (*m_segment)->get_size() &&
                              best_fit(units_for(std::max<std::size_t>(alignment + n, 40) + 64)) != 0;
            ASSERT_EQ(ptr != nullptr, fits) << nbytes << '@' << alignment;
        }
        if (ptr == nullptr)
            return;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ptr) % alignment, 0u);
        EXPECT_GE((*m_segment)->size(ptr), nbytes);
        if (nbytes == 4088 && alignment == 4096) {
            // A rest that is too short for a block stays with it.
            EXPECT_GE(m_segment->units_of(ptr), 512u);
            EXPECT_LT(m_segment->units_of(ptr), 512u + 5);
        }
        add(ptr, (*m_segment)->size(ptr));
    }

    void deallocate() {
        if (m_live.empty())
            return (*m_segment)->deallocate(nullptr);
        const auto at = some_block();
        (*m_segment)->deallocate(m_segment->base() + at->first);
        m_live.erase(at);
    }

    void resize(int flags) {
        static constexpr std::size_t s_sizes[] = {1, 2, 4, 8, 12, 24, 40};
        const std::size_t object = s_sizes[below(std::size(s_sizes))];
        if (m_live.empty())
            return;
        const auto at = some_block();
        const LIVE old = at->second;
        void *const reuse = m_segment->base() + at->first;
        const std::size_t held = old.usable / object;
        const std::size_t limit = held + below(2 + some_size() / object);
        const std::size_t preferred = limit + (below(2) ? 0 : below(2 + some_size() / object));

        const std::size_t units = (old.usable + 8) / 8;
        const std::size_t begin = at->first - 16;
        const std::size_t behind = free_at(begin + units * 8);
        const std::size_t in_front = free_before(begin);
        const auto [ptr, received, after] = m_segment->command(flags, limit, preferred, reuse, object);

        // Forwards is tried first and can be told for certain.
        const bool holds = old.usable >= std::min<std::size_t>(preferred, (*m_segment)->get_size() / object) * object;
        if (flags & bi::expand_fwd && limit <= (*m_segment)->get_size() / object) {
            const std::size_t most = 8 * (units + behind) - 8;
            const bool forwards = holds || most >= limit * object;
            if (forwards) {
                EXPECT_EQ(ptr, reuse);
            } else if (flags == bi::expand_fwd) {
                EXPECT_EQ(ptr, nullptr);
            }
        }
        if (ptr == nullptr) {
            EXPECT_EQ(m_before, free_blocks());
            if (flags & bi::allocate_new && limit <= (*m_segment)->get_size() / object) {
                EXPECT_LT(largest_free(), units_for(limit * object));
            }
            return;
        }
        EXPECT_GE(received, limit);
        EXPECT_EQ(received, (*m_segment)->size(ptr) / object);
        if (after == nullptr) { // a new block; the old one is as it was
            EXPECT_TRUE(flags & bi::allocate_new);
            expect_bytes(static_cast<const char *>(reuse), old, old.usable);
            add(ptr, (*m_segment)->size(ptr));
            return;
        }
        EXPECT_EQ(after, reuse);
        expect_bytes(static_cast<const char *>(reuse), old, old.usable);
        const std::size_t moved = static_cast<char *>(reuse) - static_cast<char *>(ptr);
        EXPECT_EQ(moved % std::lcm(object, std::size_t(8)), 0u);
        EXPECT_LE(moved, 8 * in_front);
        EXPECT_TRUE(moved == 0 || (flags & bi::expand_bwd) != 0);
        m_live.erase(at);
        add(ptr, (*m_segment)->size(ptr));
    }

    void shrink() {
        if (m_live.empty())
            return;
        const auto at = some_block();
        LIVE &live = at->second;
        void *const reuse = m_segment->base() + at->first;
        const std::size_t preferred = below(live.usable + 20);
        const std::size_t units = (live.usable + 8) / 8;
        const std::size_t wanted = units_for(preferred);
        const auto [ptr, received, after] =
            m_segment->command(bi::shrink_in_place, below(2) ? live.usable : preferred, preferred, reuse);
        EXPECT_EQ(ptr != nullptr, wanted == units || wanted + 5 <= units) << wanted << " of " << units;
        EXPECT_EQ(received, ptr == nullptr ? live.usable : wanted * 8 - 8);
        EXPECT_EQ(received, (*m_segment)->size(reuse));
        if (received == live.usable)
            return;
        // The last word is the next block's now.
        expect_bytes(static_cast<const char *>(reuse), live, received - 8);
        m_live.erase(at);
        add(reuse, received);
    }

    void allocate_many() {
        segment_algorithm::multiallocation_chain chain;
        const std::size_t count = 1 + below(6);
        std::vector<segment_algorithm::size_type> sizes(count, below(300));
        if (below(2)) {
            (*m_segment)->allocate_many(sizes[0], count, chain);
        } else {
            for (auto &size : sizes)
                size = below(100);
            (*m_segment)->allocate_many(sizes.data(), count, 3, chain);
            for (auto &size : sizes)
                size *= 3;
        }
        ASSERT_TRUE(chain.empty() || chain.size() == count);
        if (chain.empty()) { // what fitted was given back, and merged as before
            EXPECT_EQ(free_blocks(), m_before);
        }
        std::vector<void *> blocks;
        while (!chain.empty())
            blocks.push_back(chain.pop_front().get());
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            EXPECT_GE((*m_segment)->size(blocks[i]), sizes[i]);
            add(blocks[i], (*m_segment)->size(blocks[i]));
        }
    }

    void deallocate_many() {
        segment_algorithm::multiallocation_chain chain;
        for (std::size_t i = below(6); i > 0 && !m_live.empty(); --i) {
            const auto at = some_block();
            chain.push_back(m_segment->base() + at->first);
            m_live.erase(at);
        }
        (*m_segment)->deallocate_many(chain);
        EXPECT_TRUE(chain.empty());
    }

    void grow() {
        const std::size_t room = m_segment->reserved() - (*m_segment)->get_size();
        if (room < 40)
            return;
        const std::size_t extra = std::min(room, 40 + below(room)) & ~std::size_t(7);
        const std::size_t size = (*m_segment)->get_size();
        (*m_segment)->grow(extra);
        EXPECT_EQ((*m_segment)->get_size(), size + extra);
    }

    void shrink_to_fit() {
        const std::size_t size = (*m_segment)->get_size();
        const std::size_t committed = (*m_segment)->get_committed();
        (*m_segment)->shrink_to_fit();
        const std::size_t shrunk = (*m_segment)->get_size();
        EXPECT_LE(shrunk, size);
        check();
        if (m_live.empty()) {
            EXPECT_EQ(shrunk, size < 264 ? size : 224u) << "a block is cut off whole or not at all";
        } else {
            EXPECT_NE(m_segment->word(m_segment->end_offset() + 8) & s_prev_allocated_bit, 0u);
        }
        if (below(4) != 0 && size - shrunk >= 40) {
            (*m_segment)->grow(size - shrunk);
            EXPECT_EQ((*m_segment)->get_size(), size);
            EXPECT_EQ(free_blocks(), m_before);
            EXPECT_GE((*m_segment)->get_committed(), committed);
        }
    }

    void copy() {
        if (m_case.reserved > GiB) { // not gigabytes of nothing
            const auto begin = m_live.lower_bound(std::size_t(64) << 20);
            for (auto at = begin; at != m_live.end(); ++at)
                (*m_segment)->deallocate(m_segment->base() + at->first);
            m_live.erase(begin, m_live.end());
            m_before = free_blocks();
        }
        std::unique_ptr<RESERVED_SEGMENT> result;
        if (below(2) || m_case.reserved > GiB) {
            result = std::make_unique<RESERVED_SEGMENT>(RESERVED_SEGMENT::CLONE{}, *m_segment, m_case.reserved);
            EXPECT_TRUE(m_listener.notices().empty());
        } else {
            // As a file has it: the whole image, without the unused tail.
            (*m_segment)->shrink_to_fit();
            m_before = free_blocks();
            result = std::make_unique<RESERVED_SEGMENT>(RESERVED_SEGMENT::BYTES{}, *m_segment, m_case.reserved);
            (*result)->post_load();
            EXPECT_EQ((*result)->get_committed(), (*result)->get_size());
            std::vector<NOTICE> expected;
            for (const auto &[offset, live] : m_live)
                expected.push_back({NOTICE::ALLOCATED, result->base() + offset, live.usable, live.usable});
            EXPECT_EQ(m_listener.notices(), expected);
            m_listener.clear();
        }
        ASSERT_NE(result->base(), m_segment->base());
        EXPECT_EQ((*m_segment)->find_fault(), "");
        m_segment = std::move(result);
        EXPECT_EQ(free_blocks(), m_before);
        const std::size_t size = (*m_segment)->get_size();
        if (size + 40 <= m_case.size)
            (*m_segment)->grow((m_case.size - size) & ~std::size_t(7));
    }

    void rare() {
        if (m_case.reserved > GiB)
            return;
        if (below(10) == 0) {
            (*m_segment)->zero_free_memory();
            EXPECT_EQ(free_blocks(), m_before);
        } else {
            for (std::size_t i = m_live.size() / 2; i > 0; --i)
                deallocate();
        }
    }

    // ---- Checks after each step

    void check() {
        ASSERT_EQ((*m_segment)->find_fault(), "");
        std::size_t allocated = 0;
        auto at = m_live.begin();
        bool same = true;
        (*m_segment)->for_each_block([&](const segment_algorithm::BLOCK &block) {
            if (!block.allocated)
                return;
            allocated += 8 * block.units;
            same = same && at != m_live.end() && at->first == block.offset + 16 &&
                   at->second.usable == 8 * block.units - 8;
            if (same)
                ++at;
        });
        EXPECT_TRUE(same && at == m_live.end()) << "other blocks are allocated than the model has";
        EXPECT_EQ((*m_segment)->get_allocated(), allocated);
        EXPECT_EQ((*m_segment)->get_free_memory(), (*m_segment)->get_size() - allocated - s_first_block);
        for (const auto &[offset, live] : m_live)
            expect_bytes(m_segment->base() + offset, live, live.usable);
        EXPECT_TRUE(m_listener.notices().empty()) << "the allocator itself tells of nothing";
    }

    const CASE m_case;
    std::mt19937_64 m_random;
    std::unique_ptr<RESERVED_SEGMENT> m_segment;
    LIVE_BLOCKS m_live;
    FREE_BLOCKS m_before;
    RECORDING_LISTENER m_listener;
};

[[maybe_unused]] void PrintTo(const CASE &param, std::ostream *out) {
    *out << param.name << ", seed " << param.seed;
}

class AllocatorModel : public testing::TestWithParam<CASE> {};

TEST_P(AllocatorModel, AgreesAfterEachStep) {
    ALLOCATOR_MODEL model(GetParam());
    const int steps = steps_of(GetParam());
    for (int step = 0; step < steps; ++step) {
        model.step();
        ASSERT_FALSE(HasFailure()) << "seed " << GetParam().seed << ", step " << step;
    }
    model.free_all();
}

// Tiny segments are full most of the time; the large one has committed only some of what it reserved.
INSTANTIATE_TEST_SUITE_P(Seeds, AllocatorModel,
                         testing::Values(CASE{"tiny", 1, 2'000, 4'000, 300, 100'000},
                                         CASE{"small", 2, 30'000, 40'000, 3'000, 50'000},
                                         CASE{"medium", 3, 200'000, 300'000, 10'000, 30'000},
                                         CASE{"unaligned", 4, 20'005, 30'007, 3'000, 30'000},
                                         CASE{"large", 5, 3 * GiB, 4 * GiB, GiB / 2, 2'000}),
                         [](const auto &param) { return param.param.name; });

} // namespace
