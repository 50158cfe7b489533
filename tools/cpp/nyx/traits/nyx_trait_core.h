#ifndef NYX_TRAIT_CORE_H
#define NYX_TRAIT_CORE_H

/// \file
/// What stands behind the trait members of all classes, written once for each type of values: the classes of objects
/// come as NYX_BEARER_CLASS, the objects as NYX_BEARER.

#include "nyx/nyx_traits.h"
#include "traits/nyx_bearer.h"
#include "traits/nyx_byte1_trait_table.h"
#include "traits/nyx_byte4_trait_table.h"
#include "traits/nyx_byte8_trait_table.h"

#include <bit>
#include <string>
#include <type_traits>

/// A width of stored values.
template <class WIDTH>
struct NYX_TRAIT_WIDTH;
template <>
struct NYX_TRAIT_WIDTH<NYX_BYTE1_TRAIT> {
    using raw = signed char;
    static constexpr const char *s_name = "NYX_BYTE1_TRAIT";
};
template <>
struct NYX_TRAIT_WIDTH<NYX_BYTE4_TRAIT> {
    using raw = int;
    static constexpr const char *s_name = "NYX_BYTE4_TRAIT";
};
template <>
struct NYX_TRAIT_WIDTH<NYX_BYTE8_TRAIT> {
    using raw = long long;
    static constexpr const char *s_name = "NYX_BYTE8_TRAIT";
};

/// A type of values: as callers give and get it, how it is stored, and the words for it.
template <class TRAIT>
struct NYX_TRAIT_TYPE;

template <class WIDTH, class VALUE, class PARAMETER, NYX_TRAIT_VALUE_TYPE VALUE_TYPE>
struct NYX_TRAIT_TYPE_BASE {
    using width = WIDTH;
    using raw = typename NYX_TRAIT_WIDTH<WIDTH>::raw;
    using value = VALUE;
    using parameter = PARAMETER;
    static constexpr NYX_TRAIT_VALUE_TYPE s_value_type = VALUE_TYPE;
};
template <>
struct NYX_TRAIT_TYPE<NYX_INT_TRAIT>
    : NYX_TRAIT_TYPE_BASE<NYX_BYTE4_TRAIT, int, int, NYX_TRAIT_VALUE_TYPE::INT_TRAIT_VALUE> {
    static constexpr const char *s_name = "NYX_INT_TRAIT";
    static constexpr const char *s_text = "int";
};
template <>
struct NYX_TRAIT_TYPE<NYX_BOOL_TRAIT>
    : NYX_TRAIT_TYPE_BASE<NYX_BYTE1_TRAIT, bool, bool, NYX_TRAIT_VALUE_TYPE::BOOL_TRAIT_VALUE> {
    static constexpr const char *s_name = "NYX_BOOL_TRAIT";
    static constexpr const char *s_text = "bool";
};
template <>
struct NYX_TRAIT_TYPE<NYX_STRING_TRAIT>
    : NYX_TRAIT_TYPE_BASE<NYX_BYTE4_TRAIT, std::string, const std::string &, NYX_TRAIT_VALUE_TYPE::STRING_TRAIT_VALUE> {
    static constexpr const char *s_name = "NYX_STRING_TRAIT";
    static constexpr const char *s_text = "string";
};
template <>
struct NYX_TRAIT_TYPE<NYX_FLOAT_TRAIT>
    : NYX_TRAIT_TYPE_BASE<NYX_BYTE4_TRAIT, float, float, NYX_TRAIT_VALUE_TYPE::FLOAT_TRAIT_VALUE> {
    static constexpr const char *s_name = "NYX_FLOAT_TRAIT";
    static constexpr const char *s_text = "float";
};
template <>
struct NYX_TRAIT_TYPE<NYX_DOUBLE_TRAIT>
    : NYX_TRAIT_TYPE_BASE<NYX_BYTE8_TRAIT, double, double, NYX_TRAIT_VALUE_TYPE::DOUBLE_TRAIT_VALUE> {
    static constexpr const char *s_name = "NYX_DOUBLE_TRAIT";
    static constexpr const char *s_text = "double";
};
template <>
struct NYX_TRAIT_TYPE<NYX_TIME_TRAIT>
    : NYX_TRAIT_TYPE_BASE<NYX_BYTE8_TRAIT, long long, long long, NYX_TRAIT_VALUE_TYPE::TIME_TRAIT_VALUE> {
    static constexpr const char *s_name = "NYX_TIME_TRAIT";
    static constexpr const char *s_text = "time";
};
template <>
struct NYX_TRAIT_TYPE<NYX_APP_TRAIT>
    : NYX_TRAIT_TYPE_BASE<NYX_BYTE8_TRAIT, NYX_APP_DATA, const NYX_APP_DATA &, NYX_TRAIT_VALUE_TYPE::APP_TRAIT_VALUE> {
    static constexpr const char *s_name = "NYX_APP_TRAIT";
    static constexpr const char *s_text = "app";
};

/// A trait's row.
template <class WIDTH>
auto *nyx_row_of(const WIDTH *trait) {
    return static_cast<typename NYX_OBJECT_TRAITS<WIDTH>::impl *>(const_cast<WIDTH *>(trait));
}

/// The values of a trait. They are not part of the row.
template <class WIDTH>
NYX_TRAIT_LOOKUP<typename NYX_TRAIT_WIDTH<WIDTH>::raw> &nyx_values_of(const WIDTH *trait) {
    return *nyx_get_not_null(nyx_row_of(trait)->m_trait_lookup_ptr);
}

/// \name Values as they are stored
/// They go to the map of the object's kind, whatever kind the trait is for.
/// \{

/// The value of an object; the default for a null object.
template <class WIDTH>
typename NYX_TRAIT_WIDTH<WIDTH>::raw nyx_get_raw(const WIDTH *trait, NYX_BEARER object) {
    const auto &values = nyx_values_of(trait);
    const auto *const found = object.root != nullptr ? values.find(object.kind, object.id) : nullptr;
    return found != nullptr ? *found : values.m_default_value;
}
/// Raises NYX_INVALID_ARGUMENT "Obj cannot be NULL".
template <class WIDTH>
void nyx_set_raw(WIDTH *trait, NYX_BEARER object, typename NYX_TRAIT_WIDTH<WIDTH>::raw value);
/// Whether no value is stored. Raises NYX_INVALID_ARGUMENT "Obj cannot be NULL".
template <class WIDTH>
bool nyx_is_default_raw(const WIDTH *trait, NYX_BEARER object);
/// \}

/// The row number `id` of a root's table. Null for INVALID; ends the run behind the last row, "trait_id <
/// table->num_allocated()".
template <class WIDTH>
WIDTH *nyx_get_width_trait(NYX_DB_PERSISTENT *root, typename NYX_OBJECT_TRAITS<WIDTH>::id id);

template <class TRAIT>
struct NYX_TRAIT_CORE {
    using TYPE = NYX_TRAIT_TYPE<TRAIT>;
    using VALUE = typename TYPE::value;
    using PARAMETER = typename TYPE::parameter;
    using WIDTH = typename TYPE::width;
    using WIDTH_ID = typename NYX_OBJECT_TRAITS<WIDTH>::id;

    /// \name Without the checks that callers get
    /// \{

    /// A row with its values, entered in the name map. All or nothing.
    static TRAIT *allocate(NYX_DB_PERSISTENT *root, const std::string &name, PARAMETER default_value,
                           const std::string &group, const std::string &description, const std::string &internal_name,
                           NYX_TRAIT_OBJ_TYPE kind);
    /// Null if the name is not known, or its row has values of another type.
    static TRAIT *find_trait(const NYX_DB_PERSISTENT *root, const std::string &name, NYX_TRAIT_OBJ_TYPE kind);
    static TRAIT *get_trait(NYX_DB_PERSISTENT *root, WIDTH_ID id);

    static VALUE get_default_value(const TRAIT *trait);
    /// The default for a null object, and for one of a database that has no such trait.
    static VALUE get_value(const TRAIT *trait, NYX_BEARER object);
    static void set_value(TRAIT *trait, NYX_BEARER object, PARAMETER value);
    static bool is_default_value(const TRAIT *trait, NYX_BEARER object);
    static std::string output_to_str(const TRAIT *trait);
    static std::string output_to_str(const TRAIT *trait, NYX_BEARER object);
    /// \}

    /// From what is stored to a value.
    static VALUE decode(const TRAIT *trait, typename TYPE::raw raw) {
        if constexpr (std::is_same_v<TRAIT, NYX_STRING_TRAIT> || std::is_same_v<TRAIT, NYX_APP_TRAIT>)
            return decode_linked(trait, raw);
        else if constexpr (std::is_same_v<TRAIT, NYX_BOOL_TRAIT>)
            return raw != 0;
        else
            return std::bit_cast<VALUE>(raw);
    }

    /// \name What the members of objects do
    /// \{
    static TRAIT *create(const NYX_BEARER_CLASS &objects, NYX_DB *db, const std::string &name, PARAMETER default_value,
                         const std::string &group, const std::string &description, const std::string &internal_name);
    static TRAIT *find(const NYX_BEARER_CLASS &objects, const NYX_DB *db, const std::string &name);
    static TRAIT *find_or_create(const NYX_BEARER_CLASS &objects, NYX_DB *db, const std::string &name,
                                 PARAMETER default_value, const std::string &group, const std::string &description,
                                 const std::string &internal_name);
    static bool is_empty(const NYX_BEARER_CLASS &objects, const TRAIT *trait);
    static VALUE get(const NYX_BEARER_CLASS &objects, const TRAIT *trait, NYX_BEARER object);
    [[gnu::flatten]] static void set(const NYX_BEARER_CLASS &objects, TRAIT *trait, NYX_BEARER object, PARAMETER value);
    static bool is_default(const NYX_BEARER_CLASS &objects, const TRAIT *trait, NYX_BEARER object);
    static std::string to_str(const NYX_BEARER_CLASS &objects, const TRAIT *trait, NYX_BEARER object);
    /// \}

private:
    // A text is among the names, and bytes of an application in a block.
    static VALUE decode_linked(const TRAIT *trait, typename TYPE::raw raw);
    static bool is_own(NYX_BEARER object, const TRAIT *trait);
    // For a null object, or one of another database.
    static VALUE get_elsewhere(const TRAIT *trait, NYX_BEARER object);
    static bool is_default_elsewhere(const TRAIT *trait, NYX_BEARER object);
    static void check_trait(const NYX_BEARER_CLASS &objects, const char *function, const TRAIT *trait);
};

/// Whether both are there and in one database.
template <class T, class TRAIT>
[[gnu::always_inline]] inline bool nyx_is_of_traits_db(const T *object, const TRAIT *trait) {
    if constexpr (std::is_same_v<T, NYX_DB>)
        return trait != nullptr && nyx_bearer(object).root == nyx_get_persistent(trait);
    else
        return __builtin_expect(trait != nullptr && nyx_find_persistent(object) == nyx_find_persistent(trait), 1);
}

/// \name Reads as members of objects do them
/// In one piece for each class of objects, down to the value: a read is a few loads, and calls would take more of its
/// time than they. What is no object of the trait's own database goes the long way.
/// \{
template <class T, class TRAIT>
[[gnu::always_inline]] inline auto nyx_get_trait_value(const T *object, const TRAIT *trait) {
    using CORE = NYX_TRAIT_CORE<TRAIT>;
    if (!nyx_is_of_traits_db(object, trait))
        return CORE::get(nyx_bearer_class<T>, trait, nyx_bearer(object));
    const auto &values = nyx_values_of<typename CORE::WIDTH>(trait);
    const auto *const found = values.find(nyx_bearer_class<T>.kind, nyx_bearer_id(object));
    return CORE::decode(trait, found != nullptr ? *found : values.m_default_value);
}
template <class T, class TRAIT>
[[gnu::always_inline]] inline bool nyx_is_default_trait_value(const T *object, const TRAIT *trait) {
    using CORE = NYX_TRAIT_CORE<TRAIT>;
    if (!nyx_is_of_traits_db(object, trait))
        return CORE::is_default(nyx_bearer_class<T>, trait, nyx_bearer(object));
    return nyx_values_of<typename CORE::WIDTH>(trait).find(nyx_bearer_class<T>.kind, nyx_bearer_id(object)) == nullptr;
}
/// \}

/// Raises NYX_INVALID_ARGUMENT "Input database cannot be NULL" from a member of the class. With a `type` of values the
/// member is `function` with that and "_trait" behind it; nothing is composed before it is needed.
void nyx_check_db(const NYX_BEARER_CLASS &objects, const char *function, const NYX_DB *db, const char *type = "");

/// Whether a trait of that name stands on these objects. Raises as the member of objects does.
bool nyx_trait_exists(const NYX_BEARER_CLASS &objects, const NYX_DB *db, const std::string &name);

extern template struct NYX_TRAIT_CORE<NYX_BOOL_TRAIT>;
extern template struct NYX_TRAIT_CORE<NYX_INT_TRAIT>;
extern template struct NYX_TRAIT_CORE<NYX_STRING_TRAIT>;
extern template struct NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>;
extern template struct NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>;
extern template struct NYX_TRAIT_CORE<NYX_TIME_TRAIT>;
extern template struct NYX_TRAIT_CORE<NYX_APP_TRAIT>;

#endif
