// Columns against simple models of what they hold, over random steps and moves to other addresses.

#include "memory/column_test_support.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <vector>

namespace {

/// A segment with a table at a known offset, that can move.
template <class COLUMN>
class MOVING_TABLE {
public:
    MOVING_TABLE() : m_segment(std::make_unique<NYX_SEGMENT>(std::size_t(1) << 24)) {
        auto *const table = m_segment->get_segment_manager()->template construct<TEST_TABLE<COLUMN>>(
            boost::interprocess::anonymous_instance)(m_segment->get_segment_manager());
        m_offset = reinterpret_cast<char *>(table) - m_segment->data();
        m_column = &table->column;
    }
    COLUMN *operator->() { return m_column; }
    NYX_SEGMENT &segment() { return *m_segment; }

    /// To another address.
    void move() {
        auto there = std::make_unique<NYX_SEGMENT>(*m_segment, 0);
        m_segment = std::move(there);
        m_column = &reinterpret_cast<TEST_TABLE<COLUMN> *>(m_segment->data() + m_offset)->column;
    }

private:
    std::unique_ptr<NYX_SEGMENT> m_segment;
    std::ptrdiff_t m_offset = 0;
    COLUMN *m_column = nullptr;
};

TEST(FreeListColumnModel, HandsOutTheRowsThatTheModelExpects) {
    std::mt19937 random(20240229);
    const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const unsigned steps = model_steps(30000);
    MOVING_TABLE<LIST_COLUMN> table;
    std::map<unsigned, std::uint32_t> live;          // identifier to contents
    std::vector<std::vector<unsigned>> free_of_page; // identifiers, the next one last
    std::vector<unsigned> order;                     // live identifiers, for picking
    std::vector<void *> blocks;                      // holes of a page's size, so that pages don't lie in order
    // Waves: it grows for a while and shrinks for a while.
    for (unsigned step = 0; step < steps; ++step) {
        const bool growing = step / 2000 % 2 == 0;
        const std::size_t action = below(100);
        if (action < (growing ? 70u : 25u)) {
            // The lowest address among the pages with a free row.
            const LIST_PAGE *expected_page = nullptr;
            std::size_t page_number = free_of_page.size();
            for (std::size_t i = 0; i < free_of_page.size(); ++i)
                if (!free_of_page[i].empty() && (expected_page == nullptr || table->get_page(i) < expected_page)) {
                    expected_page = table->get_page(i);
                    page_number = i;
                }
            ASSERT_EQ(table->free_list_empty(), expected_page == nullptr);
            if (expected_page == nullptr) {
                free_of_page.emplace_back();
                for (unsigned slot = 127; slot-- > 0;)
                    free_of_page.back().push_back(static_cast<unsigned>(page_number) * 127 + slot);
            }
            bool fresh_page = false;
            NYX_TEST_ROW *const row = table->allocate(fresh_page);
            const unsigned id = free_of_page[page_number].back();
            free_of_page[page_number].pop_back();
            ASSERT_EQ(fresh_page, expected_page == nullptr);
            ASSERT_EQ(table->get_id(row).get(), id);
            ASSERT_EQ(row->value, 7u);
            ASSERT_EQ(row->name, NYX_NAME_ID::INVALID);
            ASSERT_EQ(row->pointer, nullptr);
            ASSERT_EQ(row->last, 0);
            row->value = static_cast<std::uint32_t>(random());
            row->name = NYX_NAME_ID(row->value ^ 0xABCDEF);
            row->last = static_cast<std::uint16_t>(row->value);
            ASSERT_TRUE(live.emplace(id, row->value).second);
            order.push_back(id);
        } else if (action < 90) {
            if (order.empty())
                continue;
            const std::size_t pick = below(order.size());
            const unsigned id = order[pick];
            order[pick] = order.back();
            order.pop_back();
            live.erase(id);
            free_of_page[id / 127].push_back(id);
            table->deallocate(table->get(NYX_NET_ID(id)));
        } else if (action < 98) {
            if (order.empty())
                continue;
            const unsigned id = order[below(order.size())];
            const NYX_TEST_ROW *const row = table->get(NYX_NET_ID(id));
            ASSERT_EQ(row->value, live[id]);
            ASSERT_EQ(row->name, NYX_NAME_ID(live[id] ^ 0xABCDEF));
            ASSERT_EQ(row->last, static_cast<std::uint16_t>(live[id]));
        } else if (blocks.size() < 8) {
            blocks.push_back(table.segment().algorithm().allocate_aligned(4088, 4096));
        } else {
            for (void *const block : blocks)
                table.segment().algorithm().deallocate(block);
            blocks.clear();
            table.move();
        }
        if (step % 1000 == 0) {
            ASSERT_EQ(table.segment().algorithm().find_fault(), "");
            for (const auto &[id, value] : live)
                ASSERT_EQ(table->get(NYX_NET_ID(id))->value, value);
            std::size_t free_rows = 0;
            for (const auto &page : free_of_page)
                free_rows += page.size();
            ASSERT_EQ(table->get_num_rows() - live.size(), free_rows);
        }
        if (step % 7919 == 7918) {
            table->clear();
            live.clear();
            order.clear();
            free_of_page.clear();
        }
    }
}

/// Best fit over runs that are never merged.
struct RUNS_MODEL {
    std::multimap<int, int> free_runs; // size to start
    int highest = 0;
    int tail = 0;

    /// The start, and how many pages are added.
    int allocate(int size, int &pages) {
        pages = 0;
        const auto best = free_runs.lower_bound(size);
        if (best != free_runs.end()) {
            const auto [held, start] = *best;
            free_runs.erase(best);
            if (held > size)
                free_runs.emplace(held - size, start + size);
            return start;
        }
        while (tail < size) {
            tail += 254;
            ++pages;
        }
        const int start = highest;
        highest += size;
        tail -= size;
        return start;
    }
    int num_free() const {
        int result = tail;
        for (const auto &[size, start] : free_runs)
            result += size;
        return result;
    }
};

TEST(ChunkColumnModel, HandsOutTheRunsThatTheModelExpects) {
    std::mt19937 random(19700101);
    const auto below = [&random](unsigned n) { return static_cast<int>(random() % n); };
    const unsigned steps = model_steps(30000);
    MOVING_TABLE<RUN_COLUMN> table;
    RUNS_MODEL model;
    struct RUN {
        int start;
        int size;
        std::uint64_t stamp; // row i holds stamp + i
    };
    std::vector<RUN> live;
    std::vector<bool> used; // by identifier
    int num_allocated = 0;
    std::size_t pages_so_far = 0;
    for (unsigned step = 0; step < steps; ++step) {
        const int action = below(100);
        const int wanted = step / 3000 % 2 == 0 ? 48 : 38;
        if (action < wanted) {
            const int size = below(20) == 0 ? 1 + below(600) : 1 + below(12);
            int pages = 0;
            const int start = model.allocate(size, pages);
            pages_so_far += static_cast<std::size_t>(pages);
            bool grew = false;
            NYX_TEST_SMALL_ROW *const first = table->allocate_chunk(size, grew);
            ASSERT_EQ(table->get_id(first).get(), static_cast<unsigned>(start));
            ASSERT_EQ(grew, pages != 0);
            ASSERT_EQ(table->get_num_pages(), pages_so_far);
            used.resize(static_cast<std::size_t>(model.highest));
            const RUN run{start, size, random()};
            for (int i = 0; i < size; ++i) {
                ASSERT_FALSE(used[static_cast<std::size_t>(start + i)]);
                used[static_cast<std::size_t>(start + i)] = true;
                table->get(NYX_HIER_PORT_ID(static_cast<unsigned>(start + i)))->first =
                    run.stamp + static_cast<unsigned>(i);
            }
            live.push_back(run);
            num_allocated += size;
        } else if (action < 90) {
            if (live.empty())
                continue;
            const std::size_t pick = static_cast<std::size_t>(below(static_cast<unsigned>(live.size())));
            RUN &run = live[pick];
            for (int i = 0; i < run.size; ++i)
                ASSERT_EQ(table->get(NYX_HIER_PORT_ID(static_cast<unsigned>(run.start + i)))->first,
                          run.stamp + static_cast<unsigned>(i));
            // All of it, or its upper end.
            const int kept = below(4) == 0 ? below(static_cast<unsigned>(run.size)) : 0;
            const int freed = run.size - kept;
            table->deallocate_chunk(run.start + kept, freed);
            model.free_runs.emplace(freed, run.start + kept);
            for (int i = kept; i < run.size; ++i)
                used[static_cast<std::size_t>(run.start + i)] = false;
            num_allocated -= freed;
            run.size = kept;
            if (kept == 0) {
                run = live.back();
                live.pop_back();
            }
        } else if (action < 99) {
            ASSERT_EQ(table->num_free(), model.num_free());
            ASSERT_EQ(table->get_highest_start(), model.highest);
            ASSERT_EQ(table->get_free_tail(), model.tail);
            ASSERT_EQ(num_allocated + table->num_free(), static_cast<int>(table->get_num_rows()));
        } else {
            table.move();
            ASSERT_EQ(table.segment().algorithm().find_fault(), "");
        }
        if (step % 9973 == 9972) {
            table->clear();
            model = RUNS_MODEL();
            live.clear();
            used.clear();
            num_allocated = 0;
            pages_so_far = 0;
        }
    }
}

} // namespace
