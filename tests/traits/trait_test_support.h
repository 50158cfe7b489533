#ifndef NYX_TRAIT_TEST_SUPPORT_H
#define NYX_TRAIT_TEST_SUPPORT_H

/// \file
/// What the tests of traits and properties share: the types of objects, rows to stand for objects, and the members of
/// all types of values under one name.

#include "database/database_test_support.h"
#include "nyx/nyx.h"
#include "traits/nyx_attributes.h"
#include "traits/nyx_bearer_tables.h"
#include "traits/nyx_trait_core.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// How a failed comparison shows a property.
namespace boost {
inline void PrintTo(const NYX_PROPERTY_VALUE &value, std::ostream *out) {
    *out << "alternative " << value.which();
}
} // namespace boost

using BEARER_TYPES =
    testing::Types<NYX_MODULE, NYX_PORT, NYX_NET, NYX_INSTANCE, NYX_INSTANCE_BUS, NYX_INST_PORT, NYX_PORT_BUS,
                   NYX_NET_BUS, NYX_INTERFACE, NYX_INST_HEADER, NYX_RELATIVE_OBJECT, NYX_CONSTRAINT_STMT,
                   NYX_SOURCE_FILE, NYX_ENTITY, NYX_SDC_CLOCK, NYX_HIER_MODULE, NYX_DB>;

/// A bare row; the database itself for NYX_DB.
template <class T>
T *add_object(NYX_DB *db) {
    if constexpr (std::is_same_v<T, NYX_DB>) {
        return db;
    } else {
        auto &table = root_of(db)->template table<T>();
        if constexpr (std::is_same_v<T, NYX_PORT> || std::is_same_v<T, NYX_INST_PORT>)
            return table.allocate(1);
        else
            return table.allocate();
    }
}

inline NYX_APP_DATA bytes(std::string_view text) {
    return NYX_APP_DATA(static_cast<unsigned>(text.size()), reinterpret_cast<const unsigned char *>(text.data()));
}

/// A type of values: its word, a default, and two values that are neither the default nor equal.
template <class TRAIT>
struct VALUES;
#define VALUES_OF(trait, word, value_type, default_value, other_value, third_value)                                    \
    template <>                                                                                                        \
    struct VALUES<trait> {                                                                                             \
        using TYPE = value_type;                                                                                       \
        static constexpr const char *s_word = #word;                                                                   \
        static TYPE by_default() { return default_value; }                                                             \
        static TYPE other() { return other_value; }                                                                    \
        static TYPE third() { return third_value; }                                                                    \
        template <class T>                                                                                             \
        static trait *create(NYX_DB *db, const std::string &name, const std::string &internal_name = "") {             \
            return T::create_##word##_trait(db, name, by_default(), "a group", "a description", internal_name);        \
        }                                                                                                              \
        template <class T>                                                                                             \
        static trait *find(const NYX_DB *db, const std::string &name) {                                                \
            return T::find_##word##_trait(db, name);                                                                   \
        }                                                                                                              \
        template <class T>                                                                                             \
        static trait *find_or_create(NYX_DB *db, const std::string &name, const TYPE &value,                           \
                                     const std::string &internal_name = "") {                                          \
            return T::find_or_create_##word##_trait(db, name, value, "another group", "another description",           \
                                                    internal_name);                                                    \
        }                                                                                                              \
    }
VALUES_OF(NYX_BOOL_TRAIT, bool, bool, false, true, true);
VALUES_OF(NYX_INT_TRAIT, int, int, -1, 2147483647, 0);
VALUES_OF(NYX_STRING_TRAIT, string, std::string, "default", "other", "");
VALUES_OF(NYX_FLOAT_TRAIT, float, float, 0.5f, -3.25f, 0.1f);
VALUES_OF(NYX_DOUBLE_TRAIT, double, double, 0.5, -3.25, 0.1);
VALUES_OF(NYX_TIME_TRAIT, time, long long, 7, -9223372036854775807LL, 0);
VALUES_OF(NYX_APP_TRAIT, app, NYX_APP_DATA, bytes("def"), bytes("other"), bytes(""));
#undef VALUES_OF

template <class... TRAITS, class ACTION>
void for_each_trait_type_of(ACTION &&action) {
    (action.template operator()<TRAITS>(), ...);
}
/// action<TRAIT>() for the seven classes of traits.
template <class ACTION>
void for_each_trait_type(ACTION &&action) {
    for_each_trait_type_of<NYX_BOOL_TRAIT, NYX_INT_TRAIT, NYX_STRING_TRAIT, NYX_FLOAT_TRAIT, NYX_DOUBLE_TRAIT,
                           NYX_TIME_TRAIT, NYX_APP_TRAIT>(action);
}

#endif
