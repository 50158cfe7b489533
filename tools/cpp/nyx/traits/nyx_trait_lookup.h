#ifndef NYX_TRAIT_LOOKUP_H
#define NYX_TRAIT_LOOKUP_H

/// \file
/// Where the values of a trait are stored: maps from the rows of objects to values, one map for each type of object,
/// though a trait stands on objects of one type and leaves the others empty. Layout, for the three widths:
///
///        0  24 x 17  the maps, in the order of nyx_trait_kinds.def
///      408  1, 4, 8  the default
///      + 0     + 1   the type of the trait's objects
///
/// Invariant: no map holds the default, so an object that is in none has it.

#include "memory/nyx_row_map.h"
#include "memory/nyx_segment.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_stats.h"

#include <array>
#include <cstdint>
#include <vector>

class NYX_DB;
class NYX_DB_PERSISTENT;

/// The identifier of a row of whatever table. All identifiers are stored alike, so one type of map serves
/// for the objects of all types.
class NYX_ANY_OBJECT;
using NYX_ANY_ID = NYX_ID<NYX_ANY_OBJECT, unsigned int>;
/// A database has no row; it is one object of its own.
inline constexpr NYX_ANY_ID s_nyx_db_id{0};

/// Where the map of a kind of objects stands among the seventeen, by the kind's number.
inline constexpr auto s_nyx_map_index = [] {
    std::array<unsigned char, unsigned(NYX_TRAIT_OBJ_TYPE::ALL_SPARSE)> index{};
    unsigned char next = 0;
#define NYX_TRAIT_KIND(type, one, many, word) index[unsigned(NYX_TRAIT_OBJ_TYPE::word##_SPARSE)] = next++;
#include "traits/nyx_trait_kinds.def"
    return index;
}();

/// RAW is the value as it is stored.
template <class RAW>
class NYX_TRAIT_LOOKUP {
public:
    using MAP = NYX_ROW_MAP<RAW>;
    static constexpr unsigned s_num_kinds = unsigned(NYX_TRAIT_OBJ_TYPE::ALL_SPARSE);

    explicit NYX_TRAIT_LOOKUP(NYX_SEGMENT_MANAGER *manager);

    /// The values of the objects of one kind, not necessarily the trait's own.
    MAP &map(NYX_TRAIT_OBJ_TYPE kind) { return m_maps[s_nyx_map_index[unsigned(kind)]]; }
    const MAP &map(NYX_TRAIT_OBJ_TYPE kind) const { return m_maps[s_nyx_map_index[unsigned(kind)]]; }

    /// The value of an object, null if it is the default. Writes nothing.
    [[gnu::always_inline]] const RAW *find(NYX_TRAIT_OBJ_TYPE kind, NYX_ANY_ID id) const {
        return map(kind).find(id.get());
    }

    /// Stores the value, or takes the object out if it is the default. boost::interprocess::bad_alloc, with nothing
    /// changed, when the segment is full.
    void set(NYX_TRAIT_OBJ_TYPE kind, NYX_ANY_ID id, RAW value) {
        if (value == m_default_value)
            map(kind).erase(id.get());
        else
            map(kind).insert_or_assign(id.get(), value);
    }

    /// Whether no object of any kind has a value.
    bool is_empty() const;

    /// Empties the map of the trait's own kind, and gives back all that it took. Ends the run with "Invalid object
    /// type" if that is none.
    void reset_all_objects_having_this_trait();

    /// \name Objects that have a value, in the order of their identifiers
    /// INVALID if there is none, or none behind `id`.
    /// \{
    NYX_ANY_ID begin(NYX_TRAIT_OBJ_TYPE kind) const;
    NYX_ANY_ID next(NYX_TRAIT_OBJ_TYPE kind, NYX_ANY_ID id) const;
#define NYX_TRAIT_KIND(type, one, many, word)                                                                          \
    type *one##_lookup_begin(NYX_DB_PERSISTENT *persistent) const;                                                     \
    type *one##_lookup_increment(NYX_DB_PERSISTENT *persistent, type *object) const;
#include "traits/nyx_trait_kinds.def"
    /// \}

    /// "self", then the maps.
    NYX_TYPE_STATS get_stats() const;

    /// The version of the stored layout. Appended to `members` under the class's name when that is given.
    static std::uint64_t get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members);

private:
    // Stored, in this order.
    std::array<MAP, s_num_kinds> m_maps;

public:
    RAW m_default_value = 0;
    NYX_TRAIT_OBJ_TYPE m_object_type = NYX_TRAIT_OBJ_TYPE::ALL_SPARSE;
};

using NYX_BYTE1_TRAIT_LOOKUP = NYX_TRAIT_LOOKUP<signed char>;
using NYX_BYTE4_TRAIT_LOOKUP = NYX_TRAIT_LOOKUP<int>;
using NYX_BYTE8_TRAIT_LOOKUP = NYX_TRAIT_LOOKUP<long long>;

static_assert(sizeof(NYX_BYTE1_TRAIT_LOOKUP) == 416 && sizeof(NYX_BYTE4_TRAIT_LOOKUP) == 416 &&
              sizeof(NYX_BYTE8_TRAIT_LOOKUP) == 424);

extern template class NYX_TRAIT_LOOKUP<signed char>;
extern template class NYX_TRAIT_LOOKUP<int>;
extern template class NYX_TRAIT_LOOKUP<long long>;

#endif
