#include "memory/column_test_support.h"
#include "memory/nyx_page.h"
#include "nyx/nyx_geometry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace {

/// Storage for one page, with an owner behind it, in one image as in a segment.
struct alignas(4096) FRAME {
    unsigned char page[4088];
    std::uint64_t owner;
};
static_assert(sizeof(FRAME) == 4096);

template <class PAGE>
class PAGE_IN_FRAME {
public:
    explicit PAGE_IN_FRAME(unsigned first_row_index = 0) : m_frame(std::make_unique<FRAME>()) {
        std::memset(static_cast<void *>(m_frame.get()), 0xAA, sizeof(FRAME));
        m_page = PAGE::construct(m_frame->page, NYX_FAST_OFFSET_PTR<void>(&m_frame->owner), first_row_index);
    }
    PAGE *operator->() { return m_page; }
    PAGE *page() { return m_page; }
    FRAME &frame() { return *m_frame; }

private:
    std::unique_ptr<FRAME> m_frame;
    PAGE *m_page;
};

template <std::size_t WIDTH>
constexpr unsigned capacity_of_width = NYX_PAGE<TEST_BYTES<WIDTH>, NYX_NET_ID, false>::s_capacity;

std::uint16_t link_of(const void *row) {
    return stored<std::uint16_t>(row, 0);
}

TEST(Page, CapacityFollowsFromTheWidthOfARow) {
    EXPECT_EQ(capacity_of_width<56>, 72u);
    EXPECT_EQ(capacity_of_width<40>, 101u);
    EXPECT_EQ(capacity_of_width<32>, 127u);
    EXPECT_EQ(capacity_of_width<24>, 169u);
    EXPECT_EQ(capacity_of_width<20>, 203u);
    EXPECT_EQ(capacity_of_width<16>, 254u);
    EXPECT_EQ(capacity_of_width<12>, 339u);
    EXPECT_EQ(capacity_of_width<8>, 509u);
    EXPECT_EQ(capacity_of_width<4>, 1018u);
    EXPECT_EQ(capacity_of_width<1>, 4072u);
}

TEST(Page, CapacityOfTheTypesOfSecondaryColumns) {
    EXPECT_EQ((NYX_PAGE<unsigned char, NYX_NET_ID, false>::s_capacity), 4072u);
    EXPECT_EQ((NYX_PAGE<unsigned, NYX_NET_ID, false>::s_capacity), 1018u);
    EXPECT_EQ((NYX_PAGE<NYX_PORT_ID, NYX_NET_ID, false>::s_capacity), 1018u);
    EXPECT_EQ((NYX_PAGE<NYX_OFFSET_PTR<int>, NYX_NET_ID, false>::s_capacity), 509u);
    EXPECT_EQ((NYX_PAGE<NYX_BOX, NYX_NET_ID, false>::s_capacity), 254u);
    EXPECT_EQ((NYX_PAGE<NYX_TRANSFORM, NYX_NET_ID, false>::s_capacity), 339u);
}

template <std::size_t WIDTH>
void expect_page_numbers() {
    using WIDE_PAGE = NYX_PAGE<TEST_BYTES<WIDTH>, NYX_NET_ID, false>;
    const auto expect_number = [](std::uint64_t id) {
        ASSERT_EQ(WIDE_PAGE::page_number_of(NYX_NET_ID(static_cast<std::uint32_t>(id))), id / WIDE_PAGE::s_capacity)
            << id << " of rows of " << WIDTH;
    };
    // Around the ends of pages a wrong reciprocal shows first, and with large identifiers.
    constexpr std::uint64_t pages = 0xFFFFFFFFu / WIDE_PAGE::s_capacity;
    for (std::uint64_t page = 0; page <= pages; page += page < 1000 || page + 1000 > pages ? 1 : pages / 1000 + 1) {
        const std::uint64_t first = page * WIDE_PAGE::s_capacity;
        for (const std::uint64_t id : {first, first + 1, first + WIDE_PAGE::s_capacity - 1})
            if (id <= 0xFFFFFFFFu)
                expect_number(id);
    }
    expect_number(0xFFFFFFFEu);
    expect_number(0xFFFFFFFFu);
}

TEST(Page, NumberOfTheIdentifiersPageIsExactForEveryWidth) {
    [&]<std::size_t... WIDTHS>(std::index_sequence<WIDTHS...>) {
        (expect_page_numbers<WIDTHS + 1>(), ...);
    }
    (std::make_index_sequence<128>());
    expect_page_numbers<1000>();
    expect_page_numbers<1357>();
    expect_page_numbers<2036>();
}

TEST(Page, ConstantsAreThoseOfTheFormat) {
    EXPECT_EQ(LIST_PAGE::s_alignment, 4096u);
    EXPECT_EQ(LIST_PAGE::s_storage_size, 4088u);
    EXPECT_EQ(LIST_PAGE::s_head_size, 16u);
    EXPECT_LE(sizeof(LIST_PAGE), 4088u);
    EXPECT_LE(sizeof(NYX_PAGE<unsigned char, NYX_NET_ID, false>), 4088u);
}

TEST(Page, HeadHoldsOwnerFirstRowAndFirstFreeSlot) {
    PAGE_IN_FRAME<LIST_PAGE> page(127 * 3);
    EXPECT_EQ(stored<std::int64_t>(page.page(), 0), std::int64_t(offsetof(FRAME, owner)));
    EXPECT_EQ(stored<std::uint32_t>(page.page(), 8), 127u * 3);
    EXPECT_EQ(stored<std::uint32_t>(page.page(), 12), 0u);
    EXPECT_EQ(static_cast<void *>(page->get(0)), page.frame().page + 16);
    EXPECT_EQ(static_cast<void *>(page->get(126)), page.frame().page + 16 + 126 * 32);
    EXPECT_EQ(page->owner(), &page.frame().owner);
    EXPECT_EQ(page->first_row_index(), 127u * 3);
}

TEST(Page, FirstFreeSlotIsStoredAtOffset12) {
    PAGE_IN_FRAME<LIST_PAGE> page;
    for (std::uint32_t taken = 1; taken <= LIST_PAGE::s_capacity; ++taken) {
        EXPECT_TRUE(page->has_free_row());
        page->allocate();
        ASSERT_EQ(stored<std::uint32_t>(page.page(), 12), taken);
    }
    EXPECT_FALSE(page->has_free_row());
}

TEST(Page, FreshPageIsChainedFromSlotToSlot) {
    PAGE_IN_FRAME<LIST_PAGE> page;
    for (unsigned slot = 0; slot < 127; ++slot)
        ASSERT_EQ(link_of(page.frame().page + 16 + slot * 32), slot + 1) << slot;
}

TEST(Page, FreshPageWithoutAFreeListHasNoLinks) {
    PAGE_IN_FRAME<PLAIN_PAGE> page;
    for (unsigned slot = 0; slot < 127; ++slot)
        ASSERT_EQ(page->get(static_cast<int>(slot))->name, NYX_NAME_ID::INVALID) << slot;
    EXPECT_EQ(stored<std::uint32_t>(page.page(), 12), 0u);
}

// The expected bytes of a NYX_TEST_ROW in its initial state, padding included.
std::vector<unsigned char> initial_row() {
    std::vector<unsigned char> bytes(32, 0);
    std::memset(&bytes[0], 0xFF, 4);  // name
    bytes[8] = 1;                     // pointer: null
    std::memset(&bytes[16], 0xFF, 4); // port
    bytes[20] = 7;                    // value
    return bytes;
}

std::vector<unsigned char> bytes_of(const void *row, std::size_t size = 32) {
    const auto *const begin = static_cast<const unsigned char *>(row);
    return std::vector<unsigned char>(begin, begin + size);
}

TEST(Page, RowsStartInTheirInitialStateWithZeroPadding) {
    PAGE_IN_FRAME<PLAIN_PAGE> page;
    for (int slot = 0; slot < 127; ++slot)
        ASSERT_EQ(bytes_of(page->get(slot)), initial_row()) << slot;
}

TEST(Page, FreeRowsAreInTheirInitialStateBehindTheLink) {
    PAGE_IN_FRAME<LIST_PAGE> page;
    auto expected = initial_row();
    for (unsigned slot = 0; slot < 127; ++slot) {
        const std::uint16_t link = static_cast<std::uint16_t>(slot + 1);
        std::memcpy(expected.data(), &link, 2);
        ASSERT_EQ(bytes_of(page.frame().page + 16 + slot * 32), expected) << slot;
    }
}

TEST(Page, BytesBehindTheLastRowAreZero) {
    PAGE_IN_FRAME<PLAIN_PAGE> page;
    EXPECT_EQ(bytes_of(page.frame().page + 16 + 127 * 32, 4088 - 16 - 127 * 32),
              std::vector<unsigned char>(4088 - 16 - 127 * 32, 0));
}

TEST(Page, ScalarRowsStartAsZeroInvalidOrNull) {
    PAGE_IN_FRAME<NYX_PAGE<unsigned char, NYX_NET_ID, false>> bytes;
    PAGE_IN_FRAME<NYX_PAGE<int, NYX_NET_ID, false>> numbers;
    PAGE_IN_FRAME<NYX_PAGE<NYX_PORT_ID, NYX_NET_ID, false>> ids;
    PAGE_IN_FRAME<NYX_PAGE<NYX_OFFSET_PTR<int>, NYX_NET_ID, false>> pointers;
    PAGE_IN_FRAME<NYX_PAGE<NYX_BOX, NYX_NET_ID, false>> boxes;
    for (const int slot : {0, 1, 253}) {
        EXPECT_EQ(*bytes->get(slot), 0);
        EXPECT_EQ(*numbers->get(slot), 0);
        EXPECT_EQ(*ids->get(slot), NYX_PORT_ID::INVALID);
        EXPECT_EQ(pointers->get(slot)->get(), nullptr);
        EXPECT_EQ(stored<std::int64_t>(pointers->get(slot), 0), 1);
        EXPECT_EQ(*boxes->get(slot), NYX_BOX());
    }
    EXPECT_EQ(*bytes->get(4071), 0);
    EXPECT_EQ(*numbers->get(1017), 0);
    EXPECT_EQ(*ids->get(1017), NYX_PORT_ID::INVALID);
    EXPECT_EQ(pointers->get(508)->get(), nullptr);
}

TEST(Page, RowsAreHandedOutInTheOrderOfTheirSlots) {
    PAGE_IN_FRAME<LIST_PAGE> page;
    for (int slot = 0; slot < 127; ++slot) {
        NYX_TEST_ROW *const row = page->allocate();
        ASSERT_EQ(row, page->get(slot));
        ASSERT_EQ(bytes_of(row), initial_row());
    }
}

TEST(Page, FreedRowHoldsTheSlotThatWasFirst) {
    PAGE_IN_FRAME<LIST_PAGE> page;
    for (int slot = 0; slot < 10; ++slot)
        page->allocate();
    page->deallocate(page->get(4));
    EXPECT_EQ(link_of(page->get(4)), 10u);
    EXPECT_EQ(stored<std::uint32_t>(page.page(), 12), 4u);
    page->deallocate(page->get(7));
    EXPECT_EQ(link_of(page->get(7)), 4u);
    EXPECT_EQ(stored<std::uint32_t>(page.page(), 12), 7u);
}

TEST(Page, FreeingLeavesTheRowInItsInitialStateBehindTheLink) {
    PAGE_IN_FRAME<LIST_PAGE> page;
    NYX_TEST_ROW *const row = page->allocate();
    std::memset(static_cast<void *>(row), 0x55, sizeof(*row));
    page->deallocate(row);
    EXPECT_EQ(link_of(row), 1u);
    std::vector<unsigned char> initial(sizeof(NYX_TEST_ROW));
    ::new (static_cast<void *>(initial.data())) NYX_TEST_ROW();
    initial.erase(initial.begin(), initial.begin() + 2);
    EXPECT_EQ(bytes_of(reinterpret_cast<unsigned char *>(row) + 2, 30), initial);
}

TEST(Page, TheRowFreedLastIsTheNextOneAndStartsAfresh) {
    PAGE_IN_FRAME<LIST_PAGE> page;
    std::vector<NYX_TEST_ROW *> rows;
    for (int slot = 0; slot < 20; ++slot)
        rows.push_back(page->allocate());
    for (NYX_TEST_ROW *const row : rows)
        std::memset(static_cast<void *>(row), 0x55, sizeof(*row));
    page->deallocate(rows[3]);
    page->deallocate(rows[11]);
    EXPECT_EQ(page->allocate(), rows[11]);
    EXPECT_EQ(bytes_of(rows[11]), initial_row());
    EXPECT_EQ(page->allocate(), rows[3]);
    EXPECT_EQ(page->allocate(), page->get(20));
}

TEST(Page, LastRowFreedOfAFullPageEndsTheChain) {
    PAGE_IN_FRAME<LIST_PAGE> page;
    for (int slot = 0; slot < 127; ++slot)
        page->allocate();
    page->deallocate(page->get(60));
    EXPECT_EQ(link_of(page->get(60)), 127u);
    EXPECT_TRUE(page->has_free_row());
    page->allocate();
    EXPECT_FALSE(page->has_free_row());
}

TEST(Page, RowsTellTheirSlotIdentifierAndPage) {
    PAGE_IN_FRAME<PLAIN_PAGE> page(127 * 5);
    for (const int slot : {0, 1, 63, 126}) {
        const NYX_TEST_ROW *const row = page->get(slot);
        EXPECT_EQ(page->get_index(row), static_cast<unsigned>(slot));
        EXPECT_EQ(page->get_id(row), NYX_NET_ID(127 * 5 + static_cast<unsigned>(slot)));
        EXPECT_EQ(PLAIN_PAGE::from_row(row), page.page());
    }
}

TEST(Page, OddWidthsTellTheirSlotsToo) {
    using ODD_PAGE = NYX_PAGE<TEST_BYTES<20>, NYX_NET_ID, true>;
    PAGE_IN_FRAME<ODD_PAGE> page;
    for (unsigned slot = 0; slot < ODD_PAGE::s_capacity; ++slot) {
        auto *const row = page->allocate();
        ASSERT_EQ(page->get_index(row), slot);
        ASSERT_EQ(reinterpret_cast<unsigned char *>(row) - page.frame().page, 16 + 20 * std::ptrdiff_t(slot));
    }
}

TEST(Page, StaysWithinItsStorage) {
    PAGE_IN_FRAME<NYX_PAGE<TEST_BYTES<8>, NYX_NET_ID, true>> page; // 8 bytes: 509 rows fill it to the last byte
    EXPECT_EQ(page.frame().owner, 0xAAAAAAAAAAAAAAAAu);
    while (page->has_free_row())
        std::memset(page->allocate()->bytes, 0xFF, 8);
    EXPECT_EQ(page.frame().owner, 0xAAAAAAAAAAAAAAAAu);
}

} // namespace
