#ifndef NYX_BEARER_H
#define NYX_BEARER_H

/// \file
/// Objects as the storage of traits and properties sees them, and the way from handles there and back. The type of a
/// handle ends here: everything behind goes by kind and identifier.

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_object_traits.h"
#include "netlist/nyx_property_map.h"
#include "netlist/nyx_table.h"
#include "nyx/nyx_defs.h"
#include "traits/nyx_trait_lookup.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

/// A type of objects that bear traits: the name of the handle's class, for texts, and the kind.
struct NYX_BEARER_CLASS {
    const char *name;
    NYX_TRAIT_OBJ_TYPE kind;
};

template <class T>
inline constexpr NYX_BEARER_CLASS nyx_bearer_class{nullptr, NYX_TRAIT_OBJ_TYPE::ALL_SPARSE};
#define NYX_TRAIT_KIND(type, one, many, word)                                                                          \
    template <>                                                                                                        \
    inline constexpr NYX_BEARER_CLASS nyx_bearer_class<type>{#type, NYX_TRAIT_OBJ_TYPE::word##_SPARSE};
#include "traits/nyx_trait_kinds.def"

/// The free-form values of the rows of a table, whatever its type.
using NYX_ANY_PROPERTY_MAP = NYX_PROPERTY_MAP<NYX_ANY_ID>;

/// An object that bears traits.
struct NYX_BEARER {
    NYX_DB_PERSISTENT *root; ///< null for a null handle
    NYX_ANY_ID id;
    NYX_TRAIT_OBJ_TYPE kind;
};

/// The root and the open database of each other; in a source of its own, for NYX_DB is not a row.
NYX_DB_PERSISTENT *nyx_get_root_of_db(const NYX_DB *db);
NYX_DB *nyx_get_db_of_root(const NYX_DB_PERSISTENT *root);

/// The identifier of an object that is there. Needs the type's table for all but NYX_DB.
template <class T>
[[gnu::always_inline]] inline NYX_ANY_ID nyx_bearer_id(const T *object) {
    if constexpr (std::is_same_v<T, NYX_DB>) {
        return s_nyx_db_id;
    } else {
        using TRAITS = NYX_OBJECT_TRAITS<T>;
        return NYX_ANY_ID(TRAITS::table::get_id(static_cast<const typename TRAITS::impl *>(object)).get());
    }
}

/// The address of a row's root, to be compared with others in half the time of nyx_get_persistent. Of a page or a table
/// whose link was never set it is an address that no root has.
[[gnu::always_inline]] inline std::uintptr_t nyx_find_persistent(const void *row) {
    const auto follow = [](std::uintptr_t link) {
        std::int64_t distance;
        std::memcpy(&distance, reinterpret_cast<const void *>(link), sizeof(distance));
        return link + static_cast<std::uintptr_t>(distance);
    };
    return follow(follow(reinterpret_cast<std::uintptr_t>(row) & ~std::uintptr_t(4095)));
}

/// The object of a handle. Needs the type's table for all but NYX_DB.
template <class T>
inline NYX_BEARER nyx_bearer(const T *object) {
    constexpr NYX_TRAIT_OBJ_TYPE kind = nyx_bearer_class<T>.kind;
    static_assert(kind != NYX_TRAIT_OBJ_TYPE::ALL_SPARSE, "a handle that bears traits, not its row");
    if (object == nullptr)
        return NYX_BEARER{nullptr, NYX_ANY_ID::INVALID, kind};
    if constexpr (std::is_same_v<T, NYX_DB>)
        return NYX_BEARER{nyx_get_root_of_db(object), nyx_bearer_id(object), kind};
    else
        return NYX_BEARER{nyx_get_persistent(static_cast<const typename NYX_OBJECT_TRAITS<T>::impl *>(object)),
                          nyx_bearer_id(object), kind};
}

/// The handle of an object; null for INVALID.
template <class T>
inline T *nyx_get_bearer(NYX_DB_PERSISTENT *root, NYX_ANY_ID id) {
    if (id == NYX_ANY_ID::INVALID)
        return nullptr;
    if constexpr (std::is_same_v<T, NYX_DB>)
        return nyx_get_db_of_root(root);
    else
        return root->table<T>().get(typename NYX_OBJECT_TRAITS<T>::id(id.get()));
}

/// The properties of the rows of T's table.
template <class T>
inline NYX_ANY_PROPERTY_MAP &nyx_properties_of(NYX_DB_PERSISTENT *root) {
    auto &properties = root->table<T>().m_properties;
    static_assert(sizeof(properties) == sizeof(NYX_ANY_PROPERTY_MAP));
    return reinterpret_cast<NYX_ANY_PROPERTY_MAP &>(properties);
}

#endif
