#include "memory/column_test_support.h"
#include "memory/nyx_page.h"

#include <gtest/gtest.h>

namespace {

class PageDeathTest : public testing::Test {
protected:
    static constexpr std::string_view s_index_check = "index_within_page >= 0 && index_within_page < s_capacity";
    static constexpr std::string_view s_bounds_check =
        "(intptr_t)this->m_data <= (const intptr_t) data && (const intptr_t) data < "
        "(intptr_t)(&this->m_data[s_capacity])";

    PageDeathTest() : m_owner(0), m_page(LIST_PAGE::construct(m_storage, NYX_FAST_OFFSET_PTR<void>(&m_owner), 0)) {}

    NYX_TEST_ROW *row_at(std::ptrdiff_t offset) { return reinterpret_cast<NYX_TEST_ROW *>(m_storage + offset); }

    alignas(4096) unsigned char m_storage[8192];
    std::uint64_t m_owner;
    LIST_PAGE *m_page;
};

TEST_F(PageDeathTest, SlotBehindTheLastEndsTheRun) {
    EXPECT_DEATH(m_page->get(127), failed_check(s_index_check));
    const LIST_PAGE *const page = m_page;
    EXPECT_DEATH(page->get(127), failed_check(s_index_check));
}

TEST_F(PageDeathTest, NegativeSlotEndsTheRun) {
    EXPECT_DEATH(m_page->get(-1), failed_check(s_index_check));
}

TEST_F(PageDeathTest, PopFromAPageWithoutFreeRowsEndsTheRun) {
    while (m_page->has_free_row())
        m_page->allocate();
    EXPECT_DEATH(m_page->allocate(), failed_check("m_first_free < s_capacity"));
}

TEST_F(PageDeathTest, AddressInTheHeadEndsTheRun) {
    const std::string said =
        failed_check(s_bounds_check, "Indexing data out of bounds in NYX_PAGE<NYX_TEST_ROW,NYX_NET_ID>");
    EXPECT_DEATH(m_page->get_index(row_at(0)), said);
    EXPECT_DEATH(m_page->get_index(row_at(8)), said);
    EXPECT_DEATH(m_page->get_id(row_at(8)), said);
    EXPECT_DEATH(m_page->deallocate(row_at(8)), said);
}

TEST_F(PageDeathTest, AddressBehindTheLastRowEndsTheRun) {
    const std::string said =
        failed_check(s_bounds_check, "Indexing data out of bounds in NYX_PAGE<NYX_TEST_ROW,NYX_NET_ID>");
    EXPECT_EQ(m_page->get_index(row_at(16 + 126 * 32)), 126u);
    EXPECT_DEATH(m_page->get_index(row_at(16 + 127 * 32)), said);
    EXPECT_DEATH(m_page->deallocate(row_at(16 + 127 * 32)), said);
    EXPECT_DEATH(m_page->get_index(row_at(4096 + 16)), said);
}

TEST_F(PageDeathTest, TextNamesTheTypesAsTheyAreWritten) {
    using ID_PAGE = NYX_PAGE<NYX_PORT_ID, NYX_CONSTRAINT_ARG_ID, false>;
    ID_PAGE *const page = ID_PAGE::construct(m_storage, NYX_FAST_OFFSET_PTR<void>(&m_owner), 0);
    EXPECT_DEATH(page->get_index(reinterpret_cast<NYX_PORT_ID *>(m_storage + 4088)),
                 literally("Indexing data out of bounds in NYX_PAGE<NYX_PORT_ID,NYX_CONSTRAINT_ARG_ID> ["));
}

TEST_F(PageDeathTest, MisalignedStorageEndsTheRun) {
    const NYX_FAST_OFFSET_PTR<void> owner(&m_owner);
    EXPECT_DEATH(LIST_PAGE::construct(m_storage + 8, owner, 0), failed_check("(intptr_t)storage % s_alignment == 0"));
    EXPECT_DEATH(LIST_PAGE::construct(m_storage + 2048, owner, 0),
                 failed_check("(intptr_t)storage % s_alignment == 0"));
}

TEST_F(PageDeathTest, PageOfNobodyHasNoOwnerToGive) {
    const NYX_FAST_OFFSET_PTR<void> nobody;
    const LIST_PAGE *const page = LIST_PAGE::construct(m_storage, nobody, 0);
    EXPECT_DEATH(page->owner(), failed_check("m_offset != 0", "This pointer was never assigned a valid value"));
}

} // namespace
