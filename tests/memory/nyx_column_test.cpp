#include "memory/column_test_support.h"
#include "support/recording_listener.h"

#include <boost/interprocess/exceptions.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

using NOTICE = RECORDING_LISTENER::NOTICE;

static_assert(sizeof(PLAIN_COLUMN) == 48 && sizeof(LIST_COLUMN) == 88 && sizeof(RUN_COLUMN) == 96,
              "columns are stored in tables, and so in files");
static_assert(!std::is_copy_constructible_v<PLAIN_COLUMN> && !std::is_copy_assignable_v<LIST_COLUMN>);

// Offsets of the members of the stored containers: a vector's and a set's size.
constexpr std::size_t s_pages_size_offset = 8 + 16;
constexpr std::size_t s_pages_data_offset = 8 + 8;
constexpr std::size_t s_set_size_offset = 48 + 8;
constexpr std::size_t s_highest_start_offset = 88;
constexpr std::size_t s_free_tail_offset = 92;

std::uint64_t pages_in_set(const LIST_COLUMN &column) {
    return stored<std::uint64_t>(&column, s_set_size_offset);
}

// ---- All columns

TEST(Column, ComesToLifeEmpty) {
    TABLE_IN_SEGMENT<PLAIN_COLUMN> table;
    EXPECT_EQ(table->get_num_pages(), 0u);
    EXPECT_EQ(table->get_num_rows(), 0u);
    EXPECT_EQ(table->get_bytes(), 0u);
    EXPECT_EQ(table->owner(), table.table());
    EXPECT_EQ(table->get_segment_manager(), table.segment().get_segment_manager());
    table.destroy();
}

TEST(Column, MembersStandWhereTheFormatHasThem) {
    TABLE_IN_SEGMENT<PLAIN_COLUMN> table;
    table->grow();
    table->grow();
    const char *const column = reinterpret_cast<const char *>(&table.column());
    EXPECT_EQ(column + stored<std::int64_t>(column, 0), reinterpret_cast<const char *>(table.table()));
    EXPECT_EQ(stored<std::uint64_t>(column, s_pages_size_offset), 2u);
    const char *const data = column + s_pages_data_offset;
    const char *const pages = data + stored<std::int64_t>(data, 0);
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(pages + i * 8 + stored<std::int64_t>(pages, i * 8),
                  reinterpret_cast<const char *>(table->get_page(i)));
    EXPECT_EQ(column + 40 + stored<std::int64_t>(column, 40), table.segment().data());
}

TEST(Column, FreePageSetStandsBehindTheCommonMembers) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    EXPECT_EQ(pages_in_set(table.column()), 0u);
    table->grow();
    table->grow();
    EXPECT_EQ(pages_in_set(table.column()), 2u);
}

TEST(Column, RunsMembersStandBehindTheCommonOnes) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 10);
    table->deallocate_chunk(2, 3);
    EXPECT_EQ(stored<std::uint64_t>(&table.column(), s_set_size_offset), 1u);
    EXPECT_EQ(stored<int>(&table.column(), s_highest_start_offset), 10);
    EXPECT_EQ(stored<int>(&table.column(), s_free_tail_offset), 244);
}

TEST(Column, PageHoldsItsShareOfTheIdentifiers) {
    TABLE_IN_SEGMENT<PLAIN_COLUMN> table;
    for (unsigned i = 0; i < 5; ++i) {
        table->grow();
        const PLAIN_PAGE *const page = table->get_page(i);
        EXPECT_EQ(page->first_row_index(), i * 127);
        EXPECT_EQ(page->owner(), table.table());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(page) % 4096, 0u);
    }
    EXPECT_EQ(table->get_num_pages(), 5u);
    EXPECT_EQ(table->get_num_rows(), 635u);
    EXPECT_EQ(table->get_bytes(), 5u * 4088);
    for (unsigned id = 0; id < 635; ++id) {
        NYX_TEST_ROW *const row = table->get(NYX_NET_ID(id));
        ASSERT_EQ(row, table->get_page(id / 127)->get(static_cast<int>(id % 127)));
        ASSERT_EQ(table->get_id(row), NYX_NET_ID(id));
        ASSERT_EQ(table->get_page_from_row(row), table->get_page(id / 127));
    }
    const PLAIN_COLUMN &readable = table.column();
    EXPECT_EQ(readable.get(NYX_NET_ID(300)), table->get(NYX_NET_ID(300)));
    table.destroy();
}

TEST(Column, PagesStackAtAStrideOf4096) {
    TABLE_IN_SEGMENT<NYX_COLUMN<NYX_PAGE<TEST_BYTES<8>, NYX_NET_ID, false>>> table;
    // The vector of pages takes its blocks in front, where the alignment of the first page leaves room.
    for (int i = 0; i < 4; ++i)
        table->grow();
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_EQ(reinterpret_cast<char *>(table->get_page(i)) - reinterpret_cast<char *>(table->get_page(i - 1)),
                  4096);
    for (unsigned id = 0; id < 4 * 509; ++id)
        std::memset(table->get(NYX_NET_ID(id))->bytes, 0xFF, 8);
    EXPECT_EQ(table.segment().algorithm().find_fault(), "");
}

TEST(Column, PageIsToldOfBeforeItsPlaceInTheVector) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    RECORDING_LISTENER notices;
    bool fresh_page = false;
    table->allocate(fresh_page);
    ASSERT_EQ(notices.notices().size(), 3u); // page, vector, node of the free-page set
    const LIST_PAGE *const page = table->get_page(0);
    EXPECT_EQ(notices.notices()[0],
              (NOTICE{NOTICE::ALLOCATED, page, 4088, table.segment().get_segment_manager()->size(page)}));
    EXPECT_GE(notices.notices()[0].usable, 4088u);
    EXPECT_EQ(notices.notices()[2].requested, 32u);
}

TEST(Column, RowsOfAGrownColumnCostNoNotice) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    allocate_id(table.column());
    RECORDING_LISTENER notices;
    for (int i = 1; i < 126; ++i)
        allocate_id(table.column());
    for (unsigned i = 0; i < 126; ++i)
        table->deallocate(table->get(NYX_NET_ID(i)));
    EXPECT_TRUE(notices.notices().empty());
}

TEST(Column, ClearGivesThePagesBackInOrder) {
    TABLE_IN_SEGMENT<PLAIN_COLUMN> table;
    std::vector<NOTICE> expected;
    for (unsigned i = 0; i < 3; ++i) {
        table->grow();
        const PLAIN_PAGE *const page = table->get_page(i);
        const std::size_t usable = table.segment().get_segment_manager()->size(page);
        expected.push_back(NOTICE{NOTICE::DEALLOCATED, page, usable, usable});
    }
    RECORDING_LISTENER notices;
    table->clear();
    EXPECT_EQ(notices.notices(), expected);
    EXPECT_EQ(table->get_num_pages(), 0u);
    table->grow();
    EXPECT_EQ(table->get_page(0)->first_row_index(), 0u);
    table.destroy();
}

TEST(Column, DestructionGivesEverythingBack) {
    TABLE_IN_SEGMENT<LIST_COLUMN> list;
    for (int i = 0; i < 1000; ++i)
        allocate_id(list.column());
    list.destroy();
    TABLE_IN_SEGMENT<RUN_COLUMN> runs;
    allocate_run(runs.column(), 1000);
    runs->deallocate_chunk(5, 17);
    runs->deallocate_chunk(500, 100);
    runs.destroy();
}

TEST(Column, IdentifiersEndBeforeInvalid) {
    // 254 rows a page: 16909320 pages are 4294967280 rows, and one more page would reach past INVALID.
    EXPECT_EQ(RUN_COLUMN::first_row_index_of(16909319), 16909319u * 254);
    EXPECT_THROW(RUN_COLUMN::first_row_index_of(16909320), boost::numeric::positive_overflow);
    using ID_COLUMN = NYX_COLUMN<NYX_PAGE<NYX_PORT_ID, NYX_NET_ID, false>>;
    EXPECT_EQ(ID_COLUMN::first_row_index_of(4219023), 4219023u * 1018);
    EXPECT_THROW(ID_COLUMN::first_row_index_of(4219024), boost::numeric::positive_overflow);
    EXPECT_THROW(ID_COLUMN::first_row_index_of(std::numeric_limits<std::uint32_t>::max()),
                 boost::numeric::positive_overflow);
}

TEST(Column, InvalidIsNeverTheIdentifierOfARow) {
    // Three rows a page divide 0xFFFFFFFF: the last page's end is just before INVALID, and the next page would start
    // there.
    using THREE_ROWS = NYX_COLUMN<NYX_PAGE<TEST_BYTES<1200>, NYX_NET_ID, false>>;
    static_assert(THREE_ROWS::page_type::s_capacity == 3);
    const std::uint64_t last_page = 0xFFFFFFFFu / 3 - 1; // its rows end at 0xFFFFFFFE
    EXPECT_EQ(THREE_ROWS::first_row_index_of(last_page), 0xFFFFFFFCu);
    EXPECT_THROW(THREE_ROWS::first_row_index_of(last_page + 1), boost::numeric::positive_overflow);
}

TEST(Column, PageCountsFitAnInt) {
    // The widest rows, two a page: the count of pages and the identifiers end together.
    using TWO_ROWS = NYX_COLUMN<NYX_PAGE<TEST_BYTES<2036>, NYX_NET_ID, false>>;
    static_assert(TWO_ROWS::page_type::s_capacity == 2);
    EXPECT_EQ(TWO_ROWS::first_row_index_of(0x7FFFFFFE), 0xFFFFFFFCu);
    EXPECT_THROW(TWO_ROWS::first_row_index_of(0x7FFFFFFF), boost::numeric::positive_overflow);
    EXPECT_THROW(TWO_ROWS::first_row_index_of(0xFFFFFFFF), boost::numeric::positive_overflow);
    EXPECT_THROW(TWO_ROWS::first_row_index_of(0x1FFFFFFFFu), boost::numeric::positive_overflow);
}

// ---- Rows one by one

TEST(FreeListColumn, FirstAllocationMakesAPageAndGivesRowZero) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    EXPECT_TRUE(table->free_list_empty());
    bool fresh_page = false;
    NYX_TEST_ROW *const row = table->allocate(fresh_page);
    EXPECT_TRUE(fresh_page);
    EXPECT_EQ(table->get_id(row), NYX_NET_ID(0));
    EXPECT_EQ(row->name, NYX_NAME_ID::INVALID);
    EXPECT_EQ(row->pointer, nullptr);
    EXPECT_EQ(row->port, NYX_PORT_ID::INVALID);
    EXPECT_EQ(row->value, 7u);
    EXPECT_FALSE(table->free_list_empty());
    table->allocate(fresh_page);
    EXPECT_FALSE(fresh_page);
    EXPECT_EQ(table->get_num_pages(), 1u);
}

TEST(FreeListColumn, IdentifiersComeInOrderAndAPageIsMadeWhenTheLastIsFull) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    for (unsigned id = 0; id < 127 * 3 + 1; ++id) {
        bool fresh_page = false;
        NYX_TEST_ROW *const row = table->allocate(fresh_page);
        ASSERT_EQ(table->get_id(row).get(), id);
        ASSERT_EQ(fresh_page, id % 127 == 0) << id;
    }
}

TEST(FreeListColumn, TakingTheLastRowOfAPageTakesItOffTheSetAndFreeingOnePutsItBack) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    for (int i = 0; i < 126; ++i)
        allocate_id(table.column());
    EXPECT_EQ(pages_in_set(table.column()), 1u);
    allocate_id(table.column());
    EXPECT_EQ(pages_in_set(table.column()), 0u);
    EXPECT_TRUE(table->free_list_empty());
    table->deallocate(table->get(NYX_NET_ID(77)));
    EXPECT_EQ(pages_in_set(table.column()), 1u);
    EXPECT_FALSE(table->free_list_empty());
    table->deallocate(table->get(NYX_NET_ID(78)));
    EXPECT_EQ(pages_in_set(table.column()), 1u);
    EXPECT_EQ(allocate_id(table.column()), 78u);
    EXPECT_EQ(allocate_id(table.column()), 77u);
    EXPECT_TRUE(table->free_list_empty());
}

TEST(FreeListColumn, FreeingAllRowsKeepsThePageAndTheLastFreedComesFirst) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    for (int i = 0; i < 127; ++i)
        allocate_id(table.column());
    for (unsigned i = 0; i < 127; ++i)
        table->deallocate(table->get(NYX_NET_ID(i * 5 % 127)));
    EXPECT_EQ(table->get_num_pages(), 1u);
    for (unsigned i = 127; i-- > 0;) {
        bool fresh_page = true;
        ASSERT_EQ(table->get_id(table->allocate(fresh_page)).get(), i * 5 % 127);
        ASSERT_FALSE(fresh_page);
    }
}

TEST(FreeListColumn, ThePageWithTheLowestAddressComesFirst) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    NYX_SEGMENT_MANAGER *const manager = table.segment().get_segment_manager();
    // A hole that the second page fits in puts it in front of the first.
    void *const hole = manager->allocate_aligned(3 * 4096 - 8, 4096);
    for (int i = 0; i < 127; ++i)
        allocate_id(table.column());
    manager->deallocate(hole);
    for (int i = 0; i < 127; ++i)
        allocate_id(table.column());
    ASSERT_LT(table->get_page(1), table->get_page(0));
    table->deallocate(table->get(NYX_NET_ID(3)));
    table->deallocate(table->get(NYX_NET_ID(127 + 9)));
    table->deallocate(table->get(NYX_NET_ID(4)));
    EXPECT_EQ(allocate_id(table.column()), 127u + 9);
    EXPECT_EQ(allocate_id(table.column()), 4u);
    EXPECT_EQ(allocate_id(table.column()), 3u);
}

TEST(FreeListColumn, GrowAddsAPageOfFreeRows) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    table->grow();
    EXPECT_FALSE(table->free_list_empty());
    bool fresh_page = true;
    EXPECT_EQ(table->get_id(table->allocate(fresh_page)), NYX_NET_ID(0));
    EXPECT_FALSE(fresh_page);
    EXPECT_EQ(table->get_id(table->allocate_from_free_list()), NYX_NET_ID(1));
}

TEST(FreeListColumn, ClearForgetsTheFreePages) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    for (int i = 0; i < 300; ++i)
        allocate_id(table.column());
    BLOCK_LEDGER ledger(table.segment());
    table->clear();
    EXPECT_EQ(table->get_num_pages(), 0u);
    EXPECT_TRUE(table->free_list_empty());
    ledger.expect_balanced();
    EXPECT_EQ(allocate_id(table.column()), 0u);
    ledger.expect_balanced();
}

// ---- Runs

TEST(ChunkColumn, ARunOfMoreThanAPageAppendsTwo) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    bool grew = false;
    NYX_TEST_SMALL_ROW *const row = table->allocate_chunk(255, grew);
    EXPECT_TRUE(grew);
    EXPECT_EQ(table->get_id(row), NYX_HIER_PORT_ID(0));
    EXPECT_EQ(table->get_num_pages(), 2u);
    EXPECT_EQ(table->get_highest_start(), 255);
    EXPECT_EQ(table->get_free_tail(), 253);
    EXPECT_EQ(table->num_free(), 253);
}

TEST(ChunkColumn, GrowsByWhatTheTailLacks) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    EXPECT_EQ(allocate_run(table.column(), 254), 0);
    EXPECT_EQ(table->get_num_pages(), 1u);
    EXPECT_EQ(table->get_free_tail(), 0);
    EXPECT_EQ(allocate_run(table.column(), 1), 254);
    EXPECT_EQ(table->get_num_pages(), 2u);
    bool grew = true;
    EXPECT_EQ(table->get_id(table->allocate_chunk(253, grew)), NYX_HIER_PORT_ID(255));
    EXPECT_FALSE(grew);
    EXPECT_EQ(allocate_run(table.column(), 10), 508);
    EXPECT_EQ(allocate_run(table.column(), 244 + 254), 518); // 244 are there, 254 are a page
    EXPECT_EQ(table->get_num_pages(), 4u);
    EXPECT_EQ(table->get_free_tail(), 0);
    EXPECT_EQ(table->num_free(), 0);
}

TEST(ChunkColumn, RowsOfARunAreConsecutiveInIdentifierAndFresh) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    const int start = allocate_run(table.column(), 700);
    for (unsigned i = 0; i < 700; ++i) {
        const NYX_TEST_SMALL_ROW *const row = table->get(NYX_HIER_PORT_ID(static_cast<unsigned>(start) + i));
        ASSERT_EQ(row->first, 0u);
        ASSERT_EQ(row->net, NYX_NET_ID::INVALID);
        ASSERT_EQ(row->second, 0u);
    }
}

TEST(ChunkColumn, AChunkOfTheSameSizeIsTakenWhole) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 30);
    table->deallocate_chunk(10, 5);
    EXPECT_EQ(table->num_free(), 224 + 5);
    bool grew = true;
    EXPECT_EQ(table->get_id(table->allocate_chunk(5, grew)), NYX_HIER_PORT_ID(10));
    EXPECT_FALSE(grew);
    EXPECT_EQ(table->num_free(), 224);
    EXPECT_EQ(allocate_run(table.column(), 1), 30);
}

TEST(ChunkColumn, ALargerChunkLeavesItsUpperEnd) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 30);
    table->deallocate_chunk(10, 8);
    EXPECT_EQ(allocate_run(table.column(), 3), 10);
    EXPECT_EQ(table->num_free(), 224 + 5);
    EXPECT_EQ(allocate_run(table.column(), 5), 13);
    EXPECT_EQ(table->num_free(), 224);
    EXPECT_EQ(table->get_highest_start(), 30);
}

TEST(ChunkColumn, TheSmallestSufficientChunkIsTaken) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 100);
    table->deallocate_chunk(0, 20);
    table->deallocate_chunk(40, 6);
    table->deallocate_chunk(60, 10);
    table->deallocate_chunk(80, 6);
    EXPECT_EQ(allocate_run(table.column(), 5), 40); // the first of the two of 6; 45 is left
    EXPECT_EQ(allocate_run(table.column(), 6), 80);
    EXPECT_EQ(allocate_run(table.column(), 6), 60); // 66..69 are left
    EXPECT_EQ(allocate_run(table.column(), 1), 45);
    EXPECT_EQ(allocate_run(table.column(), 4), 66);
    EXPECT_EQ(allocate_run(table.column(), 20), 0);
    EXPECT_EQ(allocate_run(table.column(), 1), 100);
}

TEST(ChunkColumn, NeighboursAreNotMerged) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 6);
    table->deallocate_chunk(0, 3);
    table->deallocate_chunk(3, 3);
    EXPECT_EQ(table->num_free(), 248 + 6);
    EXPECT_EQ(allocate_run(table.column(), 6), 6);
    EXPECT_EQ(table->get_highest_start(), 12);
    EXPECT_EQ(allocate_run(table.column(), 3), 0);
    EXPECT_EQ(allocate_run(table.column(), 3), 3);
}

TEST(ChunkColumn, TheHighestStartNeverFalls) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 50);
    table->deallocate_chunk(0, 50);
    EXPECT_EQ(table->get_highest_start(), 50);
    EXPECT_EQ(table->get_free_tail(), 204);
    EXPECT_EQ(table->num_free(), 254);
    EXPECT_EQ(allocate_run(table.column(), 51), 50);
}

TEST(ChunkColumn, RowsOfAChunkThatIsUsedAgainAreAsTheyWereLeft) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 10);
    table->get(NYX_HIER_PORT_ID(4))->first = 99;
    table->deallocate_chunk(0, 10);
    EXPECT_EQ(table->get(NYX_HIER_PORT_ID(4))->first, 99u);
    EXPECT_EQ(allocate_run(table.column(), 10), 0);
    EXPECT_EQ(table->get(NYX_HIER_PORT_ID(4))->first, 99u);
}

TEST(ChunkColumn, GrowAddsAPageToTheTail) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 4);
    table->grow();
    EXPECT_EQ(table->get_free_tail(), 504);
    EXPECT_EQ(table->get_highest_start(), 4);
    bool grew = true;
    EXPECT_EQ(table->get_id(table->allocate_chunk(504, grew)), NYX_HIER_PORT_ID(4));
    EXPECT_FALSE(grew);
}

TEST(ChunkColumn, ClearForgetsRunsAndTail) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 300);
    table->deallocate_chunk(3, 4);
    BLOCK_LEDGER ledger(table.segment());
    table->clear();
    EXPECT_EQ(table->get_num_pages(), 0u);
    EXPECT_EQ(table->num_free(), 0);
    EXPECT_EQ(table->get_highest_start(), 0);
    EXPECT_EQ(table->get_free_tail(), 0);
    ledger.expect_balanced();
    EXPECT_EQ(allocate_run(table.column(), 4), 0);
}

TEST(ChunkColumn, IdentifiersStayWithinAnInt) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    // As if two thousand million rows had been handed out: no page is made for rows that could not be counted.
    constexpr int highest = std::numeric_limits<int>::max() - 100;
    store(&table.column(), s_highest_start_offset, highest);
    bool grew = false;
    BLOCK_LEDGER ledger(table.segment());
    EXPECT_THROW(table->allocate_chunk(101, grew), boost::numeric::positive_overflow);
    EXPECT_THROW(table->allocate_chunk(std::numeric_limits<int>::max(), grew), boost::numeric::positive_overflow);
    // Rows beyond an int would come into the tail, where later runs find them.
    EXPECT_THROW(table->allocate_chunk(50, grew), boost::numeric::positive_overflow);
    EXPECT_THROW(table->grow(), boost::numeric::positive_overflow);
    ledger.expect_balanced();
    EXPECT_EQ(table->get_num_pages(), 0u);
    EXPECT_EQ(table->get_highest_start(), highest);
    EXPECT_EQ(table->get_free_tail(), 0);
}

// ---- Images

template <class COLUMN>
void expect_same_answers(TABLE_IN_SEGMENT<COLUMN> &table, const IMAGE_COPY &copy) {
    TEST_TABLE<COLUMN> *const there = copy.at(table.table());
    EXPECT_EQ(there->column.owner(), there);
    ASSERT_EQ(there->column.get_num_pages(), table->get_num_pages());
    for (unsigned id = 0; id < table->get_num_rows(); ++id) {
        const auto row_id = typename COLUMN::id_type(id);
        const COLUMN &column = there->column;
        const auto *const row = column.get(row_id);
        ASSERT_EQ(row, copy.at(table->get(row_id)));
        ASSERT_EQ(COLUMN::get_id(row), row_id);
        ASSERT_EQ(COLUMN::get_page_from_row(row)->owner(), there);
    }
}

TEST(ColumnImage, AnswersTheSameAtAnotherAddress) {
    TABLE_IN_SEGMENT<LIST_COLUMN> list;
    for (int i = 0; i < 500; ++i)
        allocate_id(list.column());
    list->deallocate(list->get(NYX_NET_ID(200)));
    list->deallocate(list->get(NYX_NET_ID(20)));
    const IMAGE_COPY list_copy(list.segment());
    expect_same_answers(list, list_copy);
    LIST_COLUMN &column = list_copy.at(list.table())->column;
    EXPECT_EQ(allocate_id(column), 20u);
    EXPECT_EQ(allocate_id(column), 200u);
    EXPECT_EQ(allocate_id(column), 500u);

    TABLE_IN_SEGMENT<RUN_COLUMN> runs;
    allocate_run(runs.column(), 600);
    runs->deallocate_chunk(100, 7);
    const IMAGE_COPY run_copy(runs.segment());
    expect_same_answers(runs, run_copy);
    EXPECT_EQ(allocate_run(run_copy.at(runs.table())->column, 7), 100);
    EXPECT_EQ(allocate_run(run_copy.at(runs.table())->column, 7), 600);
}

TEST(ColumnImage, GoesOnInACloneAndAtATwofoldMove) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    for (int i = 0; i < 127 * 2; ++i)
        allocate_id(table.column());
    table->deallocate(table->get(NYX_NET_ID(5)));
    NYX_SEGMENT once(table.segment(), 4096);
    NYX_SEGMENT twice(once, 40000);
    auto *const there = reinterpret_cast<TEST_TABLE<LIST_COLUMN> *>(
        twice.data() + (reinterpret_cast<char *>(table.table()) - table.segment().data()));
    EXPECT_EQ(allocate_id(there->column), 5u);
    EXPECT_EQ(allocate_id(there->column), 254u);
    EXPECT_EQ(there->column.get_page(2)->owner(), there);
    EXPECT_EQ(twice.algorithm().find_fault(), "");
}

TEST(ColumnImage, ReadingWritesNothing) {
    TABLE_IN_SEGMENT<LIST_COLUMN> list;
    for (int i = 0; i < 200; ++i)
        allocate_id(list.column());
    list->deallocate(list->get(NYX_NET_ID(3)));
    IMAGE_COPY list_copy(list.segment());
    list_copy.set_writable(false);
    expect_same_answers(list, list_copy);
    const LIST_COLUMN &column = list_copy.at(list.table())->column;
    EXPECT_FALSE(column.free_list_empty());
    EXPECT_EQ(column.get_bytes(), 2u * 4088);
    EXPECT_EQ(column.get_num_rows(), 254u);
    EXPECT_EQ(column.get_segment_manager(), list_copy.manager());
    EXPECT_EQ(column.get_page(1)->first_row_index(), 127u);
    EXPECT_TRUE(column.get_page(1)->has_free_row());

    TABLE_IN_SEGMENT<RUN_COLUMN> runs;
    allocate_run(runs.column(), 300);
    runs->deallocate_chunk(3, 4);
    IMAGE_COPY run_copy(runs.segment());
    run_copy.set_writable(false);
    expect_same_answers(runs, run_copy);
    EXPECT_EQ(run_copy.at(runs.table())->column.num_free(), 208 + 4);
}

// ---- A full segment: an operation succeeds or leaves everything as it was

TEST(ColumnInAFullSegment, GrowingLeavesTheColumnAsItWas) {
    for (const unsigned pages_before : {0u, 1u, 2u, 4u}) {
        const unsigned failures = with_growing_room([&](std::size_t left) {
            TABLE_IN_SEGMENT<PLAIN_COLUMN> table(1 << 17);
            for (unsigned i = 0; i < pages_before; ++i)
                table->grow();
            const JUNK junk(table.segment(), left);
            BLOCK_LEDGER ledger(table.segment());
            bool failed = false;
            try {
                table->grow();
            } catch (const boost::interprocess::bad_alloc &) {
                failed = true;
            }
            EXPECT_EQ(table->get_num_pages(), pages_before + !failed);
            if (!failed) {
                EXPECT_EQ(table->get_page(pages_before)->first_row_index(), pages_before * 127);
            }
            ledger.expect_balanced();
            return !failed;
        });
        EXPECT_GT(failures, 500u);
    }
}

TEST(ColumnInAFullSegment, AllocatingARowLeavesTheColumnAsItWas) {
    for (const unsigned rows_before : {0u, 127u, 254u}) {
        unsigned behind_the_page = 0; // failures with room enough for the page
        const unsigned failures = with_growing_room([&](std::size_t left) {
            TABLE_IN_SEGMENT<LIST_COLUMN> table(1 << 17);
            for (unsigned i = 0; i < rows_before; ++i)
                allocate_id(table.column());
            bool failed = false;
            {
                const JUNK junk(table.segment(), left);
                BLOCK_LEDGER ledger(table.segment());
                try {
                    EXPECT_EQ(allocate_id(table.column()), rows_before);
                } catch (const boost::interprocess::bad_alloc &) {
                    failed = true;
                    behind_the_page += table.segment().algorithm().get_free_memory() >= 8192;
                }
                ledger.expect_balanced();
            }
            if (failed) {
                EXPECT_EQ(table->get_num_pages(), rows_before / 127);
                EXPECT_TRUE(table->free_list_empty());
                EXPECT_EQ(allocate_id(table.column()), rows_before);
            }
            EXPECT_EQ(table->get_num_pages(), rows_before / 127 + 1);
            return !failed;
        });
        EXPECT_GT(failures, 500u);
        EXPECT_GT(behind_the_page, 0u);
    }
}

TEST(ColumnInAFullSegment, FreeingARowLeavesItAllocatedWhenItsPageCannotEnterTheSet) {
    const unsigned failures = with_growing_room([&](std::size_t left) {
        TABLE_IN_SEGMENT<LIST_COLUMN> table(1 << 17);
        for (int i = 0; i < 127 * 2; ++i)
            allocate_id(table.column());
        NYX_TEST_ROW *const row = table->get(NYX_NET_ID(130));
        row->value = 123;
        row->name = NYX_NAME_ID(0x01020304);
        bool failed = false;
        const JUNK junk(table.segment(), left);
        BLOCK_LEDGER ledger(table.segment());
        try {
            table->deallocate(row);
        } catch (const boost::interprocess::bad_alloc &) {
            failed = true;
            EXPECT_EQ(row->value, 123u);
            EXPECT_EQ(row->name, NYX_NAME_ID(0x01020304));
            EXPECT_FALSE(table->get_page(1)->has_free_row());
            EXPECT_TRUE(table->free_list_empty());
        }
        if (!failed) {
            EXPECT_EQ(allocate_id(table.column()), 130u);
        }
        ledger.expect_balanced();
        return !failed;
    });
    EXPECT_GT(failures, 0u);
}

TEST(ColumnInAFullSegment, FreeingARowOfAPageWithFreeRowsNeedsNoMemory) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table(1 << 17);
    for (int i = 0; i < 120; ++i)
        allocate_id(table.column());
    const JUNK junk(table.segment(), 0);
    for (unsigned i = 0; i < 120; ++i)
        table->deallocate(table->get(NYX_NET_ID(i)));
    EXPECT_EQ(allocate_id(table.column()), 119u);
}

TEST(ColumnInAFullSegment, AllocatingARunLeavesNoPageBehind) {
    unsigned failures_behind_a_page = 0;
    with_growing_room([&](std::size_t left) {
        TABLE_IN_SEGMENT<RUN_COLUMN> table(1 << 17);
        allocate_run(table.column(), 200);
        table->deallocate_chunk(10, 20);
        bool failed = false;
        {
            const JUNK junk(table.segment(), left);
            BLOCK_LEDGER ledger(table.segment());
            bool grew = false;
            try {
                table->allocate_chunk(700, grew); // 54 in the tail, and 3 pages
                EXPECT_TRUE(grew);
            } catch (const boost::interprocess::bad_alloc &) {
                failed = true;
                failures_behind_a_page += left > 10000;
            }
            ledger.expect_balanced();
        }
        EXPECT_EQ(table->get_num_pages(), failed ? 1u : 4u);
        EXPECT_EQ(table->get_highest_start(), failed ? 200 : 900);
        EXPECT_EQ(table->get_free_tail(), failed ? 54 : 116);
        EXPECT_EQ(table->num_free(), table->get_free_tail() + 20);
        if (failed) {
            EXPECT_EQ(allocate_run(table.column(), 700), 200);
        }
        return !failed;
    });
    EXPECT_GT(failures_behind_a_page, 0u);
}

TEST(ColumnInAFullSegment, SplittingAChunkNeedsNoMemory) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table(1 << 17);
    allocate_run(table.column(), 200);
    table->deallocate_chunk(10, 20);
    const JUNK junk(table.segment(), 0);
    BLOCK_LEDGER ledger(table.segment());
    EXPECT_EQ(allocate_run(table.column(), 5), 10);
    EXPECT_EQ(allocate_run(table.column(), 5), 15);
    EXPECT_EQ(table->num_free(), 54 + 10);
    ledger.expect_balanced();
    EXPECT_EQ(allocate_run(table.column(), 10), 20);
    EXPECT_EQ(allocate_run(table.column(), 54), 200);
    EXPECT_EQ(table->num_free(), 0);
    ledger.expect_balanced();
}

TEST(ColumnInAFullSegment, GivingAChunkBackLeavesTheColumnAsItWas) {
    const unsigned failures = with_growing_room([&](std::size_t left) {
        TABLE_IN_SEGMENT<RUN_COLUMN> table(1 << 17);
        allocate_run(table.column(), 200);
        const JUNK junk(table.segment(), left);
        BLOCK_LEDGER ledger(table.segment());
        bool failed = false;
        try {
            table->deallocate_chunk(10, 20);
        } catch (const boost::interprocess::bad_alloc &) {
            failed = true;
        }
        EXPECT_EQ(table->num_free(), failed ? 54 : 74);
        ledger.expect_balanced();
        return !failed;
    });
    EXPECT_GT(failures, 0u);
}

} // namespace
