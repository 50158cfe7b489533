#ifndef NYX_TABLE_H
#define NYX_TABLE_H

/// \file
/// What all tables do alike. A table is a plain object in the segment: its data members stand in the derived class in
/// the order in which they are stored, and the bases here have no state.
///
///     class NYX_NET_TABLE final : public NYX_FREE_LIST_TABLE<NYX_NET_TABLE, NYX_NET_IMPL, NYX_NET_ID>
///         m_persistent      link to the root that owns the table; a row's page leads here, and on to the database
///         m_primary         the rows
///         m_bus_ptr ...     secondary columns, in the alphabetical order of their names
///         m_properties      where the type has properties
///         m_num_allocated   live rows
///         m_iter_limit      one above the highest identifier ever handed out
///
/// A table lists its secondary columns once, in for_each_column; growth, resets, row moves and statistics go over that
/// list.
///
/// Invariants:
///  1. Every secondary column covers all rows of the primary one, so an identifier indexes any column without a test.
///  2. A free row and its cells in all secondary columns are in their initial state, but for the free link.
///  3. m_num_allocated <= m_iter_limit, and m_iter_limit never falls.

#include "memory/nyx_column.h"
#include "memory/nyx_type_name.h"
#include "netlist/nyx_property_map.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_stats.h"

#include <boost/numeric/conversion/cast.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

class NYX_DB_PERSISTENT;

/// A cell for each row of a table: one field of its objects.
template <class CELL, class ID>
using NYX_SECONDARY_COLUMN = NYX_COLUMN<NYX_PAGE<CELL, ID, false>>;
/// Rows that are allocated one at a time.
template <class ROW, class ID>
using NYX_PRIMARY_COLUMN = NYX_FREE_LIST_COLUMN<NYX_PAGE<ROW, ID, true>>;
/// Rows that are allocated in runs.
template <class ROW, class ID>
using NYX_PRIMARY_RANGE_COLUMN = NYX_CHUNK_COLUMN<NYX_PAGE<ROW, ID, false>>;

/// The root that a row of any table belongs to, from the row's address: its page links to the table, whose first member
/// links to the root.
[[gnu::always_inline]] inline NYX_DB_PERSISTENT *nyx_get_persistent(const void *row) {
    using LINK = NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT>;
    const auto page = reinterpret_cast<std::uintptr_t>(row) & ~std::uintptr_t(4095);
    const void *const table = reinterpret_cast<const NYX_FAST_OFFSET_PTR<void> *>(page)->get();
    return static_cast<const LINK *>(table)->get();
}

template <class TABLE, class ROW, class ID>
class NYX_TABLE {
public:
    using row_type = ROW;
    using id_type = ID;

    /// The root that owns the table.
    NYX_DB_PERSISTENT *get_persistent() const { return self().m_persistent.get(); }

    /// The row of an identifier, live or free; ends the run on INVALID. O(1).
    ROW *get(ID id) {
        nyx_check_id(id);
        return self().m_primary.get(id);
    }
    const ROW *get(ID id) const { return const_cast<NYX_TABLE *>(this)->get(id); }

    /// The identifier of a row, from its address alone. O(1).
    static ID get_id(const ROW *row) { return NYX_PAGE_OF::get_id_of(row); }

    /// The table of a row, from its address alone. O(1).
    static TABLE *get_table(const ROW *row) { return static_cast<TABLE *>(NYX_PAGE_OF::owner_of(row)); }

    unsigned num_allocated() const { return self().m_num_allocated; }
    unsigned iter_limit() const { return self().m_iter_limit; }

    /// Copies a row and its cells in all secondary columns to another identifier. Self-relative pointers are re-based,
    /// null stays null. Properties and the links of other rows stay as they are: the caller's business.
    void move(ID from, ID to);

    /// The table's columns in bytes and pages.
    NYX_TYPE_STATS get_stats() const;

    /// The number of the stored layout. Appended to `members` under the table's name when that is given.
    static std::uint64_t get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members) {
        if (members != nullptr)
            members->push_back(NYX_SCHEMA_MEMBER{TABLE::s_schema_id, TABLE::s_name});
        return TABLE::s_schema_id;
    }

    // Some tables have neither; theirs say otherwise.
    template <class VISIT>
    static void for_each_column(VISIT &&) {}
    static constexpr bool s_has_properties = true;

protected:
    NYX_TABLE() = default;
    ~NYX_TABLE() = default;

    TABLE &self() { return static_cast<TABLE &>(*this); }
    const TABLE &self() const { return static_cast<const TABLE &>(*this); }

    // Brings every secondary column up to `rows` rows and calls `grow_primary`, which adds as many to the primary one.
    // When one of them can't be extended, the pages that the others got go back: a run that is too long for the segment
    // must not fill it for good.
    template <class GROW_PRIMARY>
    auto grow_to(std::uint64_t rows, GROW_PRIMARY &&grow_primary) {
        const auto pages_for = [](std::uint64_t num_rows, const auto &cells) {
            constexpr unsigned capacity = std::remove_reference_t<decltype(cells)>::page_type::s_capacity;
            return boost::numeric_cast<int>((num_rows + capacity - 1) / capacity);
        };
        try {
            TABLE::for_each_column([&](const char *, auto column) {
                auto &cells = self().*column;
                while (static_cast<int>(cells.get_num_pages()) < pages_for(rows, cells))
                    cells.grow();
            });
            return grow_primary();
        } catch (...) {
            TABLE::for_each_column([&](const char *, auto column) {
                auto &cells = self().*column;
                while (static_cast<int>(cells.get_num_pages()) > pages_for(self().m_primary.get_num_rows(), cells))
                    cells.shrink();
            });
            throw;
        }
    }

    // Puts what a row has outside its primary row in its initial state.
    void reset_cells(ID id) {
        TABLE::for_each_column([this, id](const char *, auto column) {
            auto *const cell = (self().*column).get(id);
            *cell = std::remove_pointer_t<decltype(cell)>();
        });
        if constexpr (TABLE::s_has_properties)
            nyx_erase_properties(self().m_properties, id);
    }

    void count_allocated(ID first, unsigned rows) {
        self().m_num_allocated += rows;
        self().m_iter_limit = std::max(self().m_iter_limit, first.get() + rows);
    }

    // Rows in the pages that aren't live.
    int num_free() const;

private:
    struct NYX_PAGE_OF {
        static ID get_id_of(const ROW *row) { return page_of(row)->get_id(row); }
        static void *owner_of(const ROW *row) { return page_of(row)->owner(); }

    private:
        // Whether a page has a free list makes no difference to its head.
        static const NYX_PAGE<ROW, ID, false> *page_of(const ROW *row) {
            return NYX_PAGE<ROW, ID, false>::from_row(row);
        }
    };
};

/// A table of objects that are allocated one at a time.
template <class TABLE, class ROW, class ID>
class NYX_FREE_LIST_TABLE : public NYX_TABLE<TABLE, ROW, ID> {
public:
    /// A row in its initial state; so are its cells. Failures as those of a column's growth; nothing has changed then.
    ROW *allocate();

    /// Frees a row and puts all that belongs to it in its initial state. The row's identifier is handed out again.
    /// boost::interprocess::bad_alloc, with nothing changed, when the segment is full and the row's page had no free
    /// row.
    void deallocate(ROW *row);

protected:
    NYX_FREE_LIST_TABLE() = default;
    ~NYX_FREE_LIST_TABLE() = default;
    using NYX_TABLE<TABLE, ROW, ID>::self;
};

/// A table of objects that are allocated in runs of consecutive identifiers.
template <class TABLE, class ROW, class ID>
class NYX_RANGE_TABLE : public NYX_TABLE<TABLE, ROW, ID> {
public:
    /// The first row of a run of `num_rows` rows, which may lie on several pages: go from row to row by identifier.
    /// Rows and cells are in their initial state. Failures as those of a column's growth; nothing has changed then.
    ROW *allocate(unsigned num_rows);

    /// Gives a run, or a part of one, back and puts all that belongs to its rows in its initial state.
    /// boost::interprocess::bad_alloc, with nothing changed, when the segment is full.
    void deallocate(ID start, unsigned num_rows);

    /// Puts a row that stays in its run in its initial state.
    void reset(ID id);

protected:
    NYX_RANGE_TABLE() = default;
    ~NYX_RANGE_TABLE() = default;
    using NYX_TABLE<TABLE, ROW, ID>::self;
};

#endif
