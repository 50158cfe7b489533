#ifndef NYX_PROPERTY_MAP_H
#define NYX_PROPERTY_MAP_H

/// \file
/// The free-form values of the rows of one table: only rows that have a value take room. The order of the variant's
/// types and the containers are part of the file format.

#include "memory/nyx_segment.h"
#include "memory/nyx_stored_map.h"
#include "nyx/nyx_defs.h"

#include <boost/container/map.hpp>
#include <boost/variant.hpp>

#include <functional>

/// A value as it is stored: a text is an interned name, and the bytes of an application lie in a block that the map
/// owns.
using NYX_STORED_PROPERTY =
    boost::variant<bool, int, unsigned int, float, NYX_NAME_ID, double, long long, NYX_OFFSET_PTR<unsigned char>>;

/// The values of one row by name, in the order of the names' identifiers.
using NYX_ROW_PROPERTIES =
    boost::container::map<NYX_NAME_ID, NYX_STORED_PROPERTY, std::less<NYX_NAME_ID>,
                          NYX_SEGMENT_ALLOCATOR<std::pair<const NYX_NAME_ID, NYX_STORED_PROPERTY>>>;

/// The values of a table's rows by row.
template <class ID>
using NYX_PROPERTY_MAP = NYX_SEGMENT_UNORDERED_MAP<ID, NYX_ROW_PROPERTIES, NYX_ROW_HASH<ID>>;

template <class ID>
NYX_PROPERTY_MAP<ID> nyx_make_property_map(NYX_SEGMENT_MANAGER *manager) {
    using MAP = NYX_PROPERTY_MAP<ID>;
    return MAP(NYX_SEGMENT_INITIAL_BUCKETS, typename MAP::hasher(), typename MAP::key_equal(), manager);
}

/// Gives the blocks of a row's values back. The values refer to nothing then.
void nyx_free_property_blocks(NYX_ROW_PROPERTIES &properties);
/// What the values of a row take, blocks included.
long nyx_get_property_bytes(const NYX_ROW_PROPERTIES &properties);

/// Takes all values of a row out.
template <class ID>
void nyx_erase_properties(NYX_PROPERTY_MAP<ID> &map, ID id) {
    const auto found = map.find(id);
    if (found == map.end())
        return;
    nyx_free_property_blocks(found->second);
    map.erase(found);
}

static_assert(sizeof(NYX_STORED_PROPERTY) == 16 && sizeof(NYX_ROW_PROPERTIES) == 40);
static_assert(sizeof(NYX_PROPERTY_MAP<NYX_NET_ID>) == 64);

#endif
