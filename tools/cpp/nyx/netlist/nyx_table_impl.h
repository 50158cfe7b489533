#ifndef NYX_TABLE_IMPL_H
#define NYX_TABLE_IMPL_H

/// \file
/// Bodies of nyx_table.h. Included by the one source per table that instantiates them.

#include "netlist/nyx_table.h"

#include <cstring>
#include <new>
#include <type_traits>

template <class TABLE, class ROW, class ID>
void NYX_TABLE<TABLE, ROW, ID>::move(ID from, ID to) {
    nyx_check_id(from, "from");
    nyx_check_id(to, "to");
    // The handle in front of a row has no state and no assignment.
    using PRIMARY = typename ROW::primary_type;
    static_cast<PRIMARY &>(*get(to)) = static_cast<const PRIMARY &>(*get(from));
    TABLE::for_each_column([this, from, to](const char *, auto column) {
        auto &cells = self().*column;
        *cells.get(to) = *cells.get(from);
    });
}

template <class TABLE, class ROW, class ID>
int NYX_TABLE<TABLE, ROW, ID>::num_free() const {
    if constexpr (requires { self().m_primary.num_free(); })
        return self().m_primary.num_free();
    else
        return static_cast<int>(self().m_primary.get_num_rows() - num_allocated());
}

template <class TABLE, class ROW, class ID>
NYX_TYPE_STATS NYX_TABLE<TABLE, ROW, ID>::get_stats() const {
    NYX_TYPE_STATS stats(TABLE::s_name, num_free(), static_cast<int>(num_allocated()));
    const auto add_column = [&stats](const char *name, const auto &column) {
        stats.add_field_stats(NYX_FIELD_STATS(name, static_cast<long>(column.get_bytes()),
                                              static_cast<int>(std::decay_t<decltype(column)>::page_type::s_capacity),
                                              static_cast<int>(column.get_num_pages())));
    };
    add_column("primary", self().m_primary);
    TABLE::for_each_column([&](const char *name, auto column) { add_column(name, self().*column); });
    if constexpr (TABLE::s_has_properties) {
        // The map's own room, and that of the values of each row.
        long bytes = nyx_stored_map_bytes(self().m_properties);
        for (const auto &[id, values] : self().m_properties)
            bytes += nyx_get_property_bytes(values);
        stats.add_field_stats(NYX_FIELD_STATS("properties", bytes, -1, 0));
    }
    if constexpr (requires { self().add_array_stats(stats); })
        self().add_array_stats(stats);
    return stats;
}

template <class TABLE, class ROW, class ID>
ROW *NYX_FREE_LIST_TABLE<TABLE, ROW, ID>::allocate() {
    auto &primary = self().m_primary;
    // The secondary columns first: once the primary one has a free row, every column has a cell for it.
    if (primary.free_list_empty())
        this->grow_to(primary.get_num_rows() + std::remove_reference_t<decltype(primary)>::page_type::s_capacity,
                      [&primary] { primary.grow(); });
    ROW *const row = primary.allocate_from_free_list();
    this->count_allocated(this->get_id(row), 1);
    return row;
}

template <class TABLE, class ROW, class ID>
void NYX_FREE_LIST_TABLE<TABLE, ROW, ID>::deallocate(ROW *row) {
    const ID id = this->get_id(row);
    self().m_primary.deallocate(row);
    this->reset_cells(id);
    --self().m_num_allocated;
}

template <class TABLE, class ROW, class ID>
ROW *NYX_RANGE_TABLE<TABLE, ROW, ID>::allocate(unsigned num_rows) {
    auto &primary = self().m_primary;
    const int size = boost::numeric_cast<int>(num_rows);
    ROW *const row = this->grow_to(primary.get_num_rows_after(size), [&primary, size] {
        bool grew = false;
        return primary.allocate_chunk(size, grew);
    });
    this->count_allocated(this->get_id(row), num_rows);
    return row;
}

template <class TABLE, class ROW, class ID>
void NYX_RANGE_TABLE<TABLE, ROW, ID>::deallocate(ID start, unsigned num_rows) {
    self().m_primary.deallocate_chunk(boost::numeric_cast<int>(start.get()), boost::numeric_cast<int>(num_rows));
    for (unsigned i = 0; i < num_rows; ++i)
        reset(ID(start.get() + i));
    self().m_num_allocated -= num_rows;
}

template <class TABLE, class ROW, class ID>
void NYX_RANGE_TABLE<TABLE, ROW, ID>::reset(ID id) {
    // Padding included: what a row doesn't use is zero in the image.
    ROW *const row = this->get(id);
    std::memset(static_cast<void *>(row), 0, sizeof(ROW));
    ::new (static_cast<void *>(row)) ROW();
    this->reset_cells(id);
}

#endif
