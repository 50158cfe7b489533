#include "memory/column_test_support.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(ColumnDeathTest, IdentifierBehindTheLastPageEndsTheRun) {
    TABLE_IN_SEGMENT<PLAIN_COLUMN> table;
    EXPECT_DEATH(table->get(NYX_NET_ID(0)), failed_check("page_index < m_pages.size()"));
    table->grow();
    EXPECT_EQ(table->get_id(table->get(NYX_NET_ID(126))), NYX_NET_ID(126));
    EXPECT_DEATH(table->get(NYX_NET_ID(127)), failed_check("page_index < m_pages.size()"));
    EXPECT_DEATH(table->get(NYX_NET_ID::INVALID), failed_check("page_index < m_pages.size()"));
    const PLAIN_COLUMN &column = table.column();
    EXPECT_DEATH(column.get(NYX_NET_ID(127)), failed_check("page_index < m_pages.size()"));
}

TEST(ColumnDeathTest, IdentifierOfAClearedColumnEndsTheRun) {
    TABLE_IN_SEGMENT<PLAIN_COLUMN> table;
    table->grow();
    table->clear();
    EXPECT_DEATH(table->get(NYX_NET_ID(0)), failed_check("page_index < m_pages.size()"));
}

TEST(ColumnDeathTest, AddressOutsideThePagesRowsEndsTheRun) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    table->grow();
    const std::string said = literally("Indexing data out of bounds in NYX_PAGE<NYX_TEST_ROW,NYX_NET_ID> [");
    char *const page = reinterpret_cast<char *>(table->get_page(0));
    EXPECT_DEATH(table->get_id(reinterpret_cast<NYX_TEST_ROW *>(page + 8)), said);
    EXPECT_DEATH(table->get_id(reinterpret_cast<NYX_TEST_ROW *>(page + 16 + 127 * 32)), said);
    EXPECT_DEATH(table->deallocate(reinterpret_cast<NYX_TEST_ROW *>(page)), said);
    EXPECT_DEATH(table->deallocate(reinterpret_cast<NYX_TEST_ROW *>(page + 4088)), said);
}

TEST(ColumnDeathTest, AllocatingFromAnEmptyFreeListEndsTheRun) {
    TABLE_IN_SEGMENT<LIST_COLUMN> table;
    const std::string said = failed_check("!free_list_empty()", "Attempt to allocate from empty free list");
    EXPECT_DEATH(table->allocate_from_free_list(), said);
    for (int i = 0; i < 127; ++i)
        allocate_id(table.column());
    EXPECT_DEATH(table->allocate_from_free_list(), said);
}

TEST(ColumnDeathTest, ARunOfNoRowsEndsTheRun) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    bool grew = false;
    const std::string said = failed_check("size > 0", "Allocation size is not greater than zero");
    EXPECT_DEATH(table->allocate_chunk(0, grew), said);
    EXPECT_DEATH(table->allocate_chunk(-1, grew), said);
    EXPECT_DEATH(table->allocate_chunk(std::numeric_limits<int>::min(), grew), said);
}

TEST(ColumnDeathTest, AChunkThatWasNeverHandedOutEndsTheRunWhenItIsTaken) {
    TABLE_IN_SEGMENT<RUN_COLUMN> table;
    allocate_run(table.column(), 10);
    bool grew = false;
    const std::string said = failed_check("chunk_start + chunk_size <= m_highest_start", "Chunk higher than highest?");
    table->deallocate_chunk(8, 3);
    EXPECT_DEATH(table->allocate_chunk(3, grew), said);
    table->deallocate_chunk(std::numeric_limits<int>::max(), 30);
    EXPECT_DEATH(table->allocate_chunk(30, grew), said);
}

TEST(ColumnDeathTest, AColumnBelongsToATable) {
    NYX_SEGMENT segment(1 << 16);
    EXPECT_DEATH(PLAIN_COLUMN(nullptr, segment.get_segment_manager()),
                 failed_check("ptr != nullptr", "This pointer should never be null"));
}

} // namespace
