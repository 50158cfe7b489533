#ifndef NYX_PROPERTY_MAP_H
#define NYX_PROPERTY_MAP_H

/// \file
/// The free-form values of the rows of one table: only rows that have a value take room. The order of the variant's
/// types and the containers are part of the file format.

#include "memory/nyx_row_map.h"
#include "memory/nyx_segment.h"
#include "nyx/nyx_defs.h"

#include <boost/container/map.hpp>
#include <boost/variant.hpp>

#include <functional>
#include <utility>

/// A value as it is stored: a text is an interned name, and the bytes of an application lie in a block that the map
/// owns.
using NYX_STORED_PROPERTY =
    boost::variant<bool, int, unsigned int, float, NYX_NAME_ID, double, long long, NYX_OFFSET_PTR<unsigned char>>;

/// The values of one row by name, in the order of the names' identifiers.
using NYX_ROW_PROPERTIES =
    boost::container::map<NYX_NAME_ID, NYX_STORED_PROPERTY, std::less<NYX_NAME_ID>,
                          NYX_SEGMENT_ALLOCATOR<std::pair<const NYX_NAME_ID, NYX_STORED_PROPERTY>>>;

/// The values of a table's rows, by the number of the row. Those of a row are an object of their own in the segment,
/// which the map of rows leads to by its distance from this one.
class NYX_PROPERTY_MAP {
public:
    explicit NYX_PROPERTY_MAP(NYX_SEGMENT_MANAGER *manager) : m_distances(manager) {}
    NYX_PROPERTY_MAP(const NYX_PROPERTY_MAP &) = delete;
    NYX_PROPERTY_MAP &operator=(const NYX_PROPERTY_MAP &) = delete;
    ~NYX_PROPERTY_MAP();

    /// Rows that have had a value since they were made.
    unsigned size() const { return m_distances.size(); }
    bool empty() const { return m_distances.empty(); }

    /// The values of a row; null if it has never had one. O(1).
    const NYX_ROW_PROPERTIES *find(unsigned row) const {
        const long long *const distance = m_distances.find(row);
        return distance != nullptr ? at(*distance) : nullptr;
    }
    NYX_ROW_PROPERTIES *find(unsigned row) { return const_cast<NYX_ROW_PROPERTIES *>(std::as_const(*this).find(row)); }
    /// Makes an object for a row's values if there is none. boost::interprocess::bad_alloc, with nothing changed, when
    /// the segment is full.
    NYX_ROW_PROPERTIES &find_or_make(unsigned row);

    /// Takes all values of a row out, and gives their blocks back.
    void erase(unsigned row);
    /// \name As of a map of rows
    /// \{
    void move(unsigned from, unsigned to) { m_distances.move(from, to); }
    void make_room(unsigned row, unsigned count) { m_distances.make_room(row, count); }
    /// \}

    /// Calls `action(row, values)` for all rows that have an object, in their order.
    template <class ACTION>
    void for_each(ACTION &&action) const {
        m_distances.for_each([&](unsigned row, long long distance) { action(row, *at(distance)); });
    }

    /// What the map takes of the segment besides itself, blocks included.
    long get_bytes() const;

    /// The distances in bytes from this object to those of the rows' values.
    const NYX_ROW_MAP<long long> &distances() const { return m_distances; }

private:
    const NYX_ROW_PROPERTIES *at(long long distance) const {
        return reinterpret_cast<const NYX_ROW_PROPERTIES *>(reinterpret_cast<const char *>(this) + distance);
    }
    void destroy(NYX_ROW_PROPERTIES *values);

    // Stored.
    NYX_ROW_MAP<long long> m_distances;
};

static_assert(sizeof(NYX_STORED_PROPERTY) == 16 && sizeof(NYX_ROW_PROPERTIES) == 40);
static_assert(sizeof(NYX_PROPERTY_MAP) == 24);

#endif
