#ifndef NYX_TEST_COLUMN_SUPPORT_H
#define NYX_TEST_COLUMN_SUPPORT_H

#include "memory/nyx_column.h"
#include "memory/segment_image.h"
#include "nyx/nyx_defs.h"

#include <cstddef>
#include <cstdint>

/// A row of N bytes.
template <std::size_t N>
struct TEST_BYTES {
    unsigned char bytes[N];
};

/// A row with every kind of field and padding in two places. At namespace scope: its name stands in texts.
struct NYX_TEST_ROW {
    NYX_NAME_ID name;
    unsigned char flag;
    NYX_OFFSET_PTR<int> pointer;
    NYX_PORT_ID port;
    std::uint32_t value = 7;
    std::uint16_t last;
};
static_assert(sizeof(NYX_TEST_ROW) == 32);

/// Rows of 16 bytes, 254 a page, that are allocated one by one, and in runs.
struct NYX_TEST_SMALL_ROW {
    std::uint64_t first;
    NYX_NET_ID net;
    std::uint32_t second;
};
static_assert(sizeof(NYX_TEST_SMALL_ROW) == 16);

using LIST_PAGE = NYX_PAGE<NYX_TEST_ROW, NYX_NET_ID, true>;
using PLAIN_PAGE = NYX_PAGE<NYX_TEST_ROW, NYX_NET_ID, false>;
using RUN_PAGE = NYX_PAGE<NYX_TEST_SMALL_ROW, NYX_HIER_PORT_ID, false>;
using LIST_COLUMN = NYX_FREE_LIST_COLUMN<LIST_PAGE>;
using PLAIN_COLUMN = NYX_COLUMN<PLAIN_PAGE>;
using RUN_COLUMN = NYX_CHUNK_COLUMN<RUN_PAGE>;

/// Stands for a table: lies in the segment and owns a column.
template <class COLUMN>
struct TEST_TABLE {
    explicit TEST_TABLE(NYX_SEGMENT_MANAGER *manager) : column(this, manager) {}

    std::uint64_t word = 0;
    COLUMN column;
};

/// A table in a segment of its own, which goes with it. The table's destructor is not run unless destroy() is called.
template <class COLUMN>
class TABLE_IN_SEGMENT {
public:
    explicit TABLE_IN_SEGMENT(std::size_t size = std::size_t(1) << 20)
        : m_segment(size)
        , m_empty_bytes(m_segment.algorithm().get_allocated())
        , m_table(m_segment.get_segment_manager()->template construct<TEST_TABLE<COLUMN>>(
              boost::interprocess::anonymous_instance)(m_segment.get_segment_manager())) {}

    NYX_SEGMENT &segment() { return m_segment; }
    TEST_TABLE<COLUMN> *table() { return m_table; }
    COLUMN &column() { return m_table->column; }
    COLUMN *operator->() { return &m_table->column; }

    /// Runs the table's destructor and expects all of the segment's memory back.
    void destroy() {
        m_segment.get_segment_manager()->destroy_ptr(m_table);
        EXPECT_EQ(m_segment.algorithm().get_allocated(), m_empty_bytes);
        EXPECT_EQ(m_segment.algorithm().find_fault(), "");
    }

private:
    NYX_SEGMENT m_segment;
    std::size_t m_empty_bytes;
    TEST_TABLE<COLUMN> *m_table;
};

/// Allocates a row and gives its identifier.
template <class COLUMN>
unsigned allocate_id(COLUMN &column) {
    bool fresh_page;
    return column.get_id(column.allocate(fresh_page)).get();
}

/// Allocates a run and gives its first identifier.
template <class COLUMN>
int allocate_run(COLUMN &column, int size) {
    bool grew;
    return static_cast<int>(column.get_id(column.allocate_chunk(size, grew)).get());
}

#endif
