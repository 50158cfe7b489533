// The trait and property members of all classes: one line each, over cores that know no classes. Instantiated here for
// all of them, so that every body is compiled once.
#include "nyx/nyx_object.h"

#include "netlist/nyx_schema.h"
#include "nyx/nyx.h"
#include "nyx/nyx_trait_visitors.h"
#include "traits/nyx_bearer_tables.h"
#include "traits/nyx_property_core.h"
#include "traits/nyx_trait_core.h"

#include <sstream>
#include <type_traits>

namespace {

// What an object is called in the head of a table.
template <class T>
std::string name_of([[maybe_unused]] const T *object) {
    if constexpr (requires {
                      { object->get_name() } -> std::convertible_to<std::string>;
                  }) {
        return object->get_name();
    } else {
        using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
        const auto *const row = static_cast<const typename NYX_OBJECT_TRAITS<T>::impl *>(object);
        NYX_NAME_ID name_id;
        if constexpr (requires { row->m_name_id; })
            name_id = row->m_name_id;
        else if constexpr (requires { TABLE::get_table(row)->m_name_id; })
            name_id = *TABLE::get_table(row)->m_name_id.get(TABLE::get_id(row));
        std::string name;
        nyx_get_persistent(row)->names().find_name(name_id, name);
        return name;
    }
}

} // namespace

// ---- Traits

template <class T>
NYX_BOOL_TRAIT *NYX_TRAIT_BEARER<T>::create_bool_trait(NYX_DB *db, const std::string &name, bool default_value,
                                                       const std::string &group, const std::string &description,
                                                       const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::create(nyx_bearer_class<T>, db, name, default_value, group, description,
                                                  internal_name);
}
template <class T>
NYX_BOOL_TRAIT *NYX_TRAIT_BEARER<T>::find_bool_trait(const NYX_DB *db, const std::string &name) {
    return NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::find(nyx_bearer_class<T>, db, name);
}
template <class T>
NYX_BOOL_TRAIT *NYX_TRAIT_BEARER<T>::find_or_create_bool_trait(NYX_DB *db, const std::string &name, bool default_value,
                                                               const std::string &group, const std::string &description,
                                                               const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::find_or_create(nyx_bearer_class<T>, db, name, default_value, group,
                                                          description, internal_name);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::trait_is_empty(NYX_BOOL_TRAIT *trait) {
    return NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::is_empty(nyx_bearer_class<T>, trait);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::get_value(const NYX_BOOL_TRAIT *trait) const {
    return nyx_get_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
void NYX_TRAIT_BEARER<T>::set_value(NYX_BOOL_TRAIT *trait, bool value) {
    NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::set(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)), value);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::is_default_value(const NYX_BOOL_TRAIT *trait) const {
    return nyx_is_default_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
std::string NYX_TRAIT_BEARER<T>::convert_value_to_str(const NYX_BOOL_TRAIT *trait) const {
    return NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::to_str(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)));
}

template <class T>
NYX_INT_TRAIT *NYX_TRAIT_BEARER<T>::create_int_trait(NYX_DB *db, const std::string &name, int default_value,
                                                     const std::string &group, const std::string &description,
                                                     const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_INT_TRAIT>::create(nyx_bearer_class<T>, db, name, default_value, group, description,
                                                 internal_name);
}
template <class T>
NYX_INT_TRAIT *NYX_TRAIT_BEARER<T>::find_int_trait(const NYX_DB *db, const std::string &name) {
    return NYX_TRAIT_CORE<NYX_INT_TRAIT>::find(nyx_bearer_class<T>, db, name);
}
template <class T>
NYX_INT_TRAIT *NYX_TRAIT_BEARER<T>::find_or_create_int_trait(NYX_DB *db, const std::string &name, int default_value,
                                                             const std::string &group, const std::string &description,
                                                             const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_INT_TRAIT>::find_or_create(nyx_bearer_class<T>, db, name, default_value, group,
                                                         description, internal_name);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::trait_is_empty(NYX_INT_TRAIT *trait) {
    return NYX_TRAIT_CORE<NYX_INT_TRAIT>::is_empty(nyx_bearer_class<T>, trait);
}
template <class T>
int NYX_TRAIT_BEARER<T>::get_value(const NYX_INT_TRAIT *trait) const {
    return nyx_get_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
void NYX_TRAIT_BEARER<T>::set_value(NYX_INT_TRAIT *trait, int value) {
    NYX_TRAIT_CORE<NYX_INT_TRAIT>::set(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)), value);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::is_default_value(const NYX_INT_TRAIT *trait) const {
    return nyx_is_default_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
std::string NYX_TRAIT_BEARER<T>::convert_value_to_str(const NYX_INT_TRAIT *trait) const {
    return NYX_TRAIT_CORE<NYX_INT_TRAIT>::to_str(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)));
}

template <class T>
NYX_STRING_TRAIT *NYX_TRAIT_BEARER<T>::create_string_trait(NYX_DB *db, const std::string &name,
                                                           const std::string &default_value, const std::string &group,
                                                           const std::string &description,
                                                           const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_STRING_TRAIT>::create(nyx_bearer_class<T>, db, name, default_value, group, description,
                                                    internal_name);
}
template <class T>
NYX_STRING_TRAIT *NYX_TRAIT_BEARER<T>::find_string_trait(const NYX_DB *db, const std::string &name) {
    return NYX_TRAIT_CORE<NYX_STRING_TRAIT>::find(nyx_bearer_class<T>, db, name);
}
template <class T>
NYX_STRING_TRAIT *
NYX_TRAIT_BEARER<T>::find_or_create_string_trait(NYX_DB *db, const std::string &name, const std::string &default_value,
                                                 const std::string &group, const std::string &description,
                                                 const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_STRING_TRAIT>::find_or_create(nyx_bearer_class<T>, db, name, default_value, group,
                                                            description, internal_name);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::trait_is_empty(NYX_STRING_TRAIT *trait) {
    return NYX_TRAIT_CORE<NYX_STRING_TRAIT>::is_empty(nyx_bearer_class<T>, trait);
}
template <class T>
std::string NYX_TRAIT_BEARER<T>::get_value(const NYX_STRING_TRAIT *trait) const {
    return nyx_get_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
void NYX_TRAIT_BEARER<T>::set_value(NYX_STRING_TRAIT *trait, const std::string &value) {
    NYX_TRAIT_CORE<NYX_STRING_TRAIT>::set(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)), value);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::is_default_value(const NYX_STRING_TRAIT *trait) const {
    return nyx_is_default_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
std::string NYX_TRAIT_BEARER<T>::convert_value_to_str(const NYX_STRING_TRAIT *trait) const {
    return NYX_TRAIT_CORE<NYX_STRING_TRAIT>::to_str(nyx_bearer_class<T>, trait,
                                                    nyx_bearer(static_cast<const T *>(this)));
}

template <class T>
NYX_FLOAT_TRAIT *NYX_TRAIT_BEARER<T>::create_float_trait(NYX_DB *db, const std::string &name, float default_value,
                                                         const std::string &group, const std::string &description,
                                                         const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::create(nyx_bearer_class<T>, db, name, default_value, group, description,
                                                   internal_name);
}
template <class T>
NYX_FLOAT_TRAIT *NYX_TRAIT_BEARER<T>::find_float_trait(const NYX_DB *db, const std::string &name) {
    return NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::find(nyx_bearer_class<T>, db, name);
}
template <class T>
NYX_FLOAT_TRAIT *NYX_TRAIT_BEARER<T>::find_or_create_float_trait(NYX_DB *db, const std::string &name,
                                                                 float default_value, const std::string &group,
                                                                 const std::string &description,
                                                                 const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::find_or_create(nyx_bearer_class<T>, db, name, default_value, group,
                                                           description, internal_name);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::trait_is_empty(NYX_FLOAT_TRAIT *trait) {
    return NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::is_empty(nyx_bearer_class<T>, trait);
}
template <class T>
float NYX_TRAIT_BEARER<T>::get_value(const NYX_FLOAT_TRAIT *trait) const {
    return nyx_get_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
void NYX_TRAIT_BEARER<T>::set_value(NYX_FLOAT_TRAIT *trait, float value) {
    NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::set(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)), value);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::is_default_value(const NYX_FLOAT_TRAIT *trait) const {
    return nyx_is_default_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
std::string NYX_TRAIT_BEARER<T>::convert_value_to_str(const NYX_FLOAT_TRAIT *trait) const {
    return NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::to_str(nyx_bearer_class<T>, trait,
                                                   nyx_bearer(static_cast<const T *>(this)));
}

template <class T>
NYX_DOUBLE_TRAIT *NYX_TRAIT_BEARER<T>::create_double_trait(NYX_DB *db, const std::string &name, double default_value,
                                                           const std::string &group, const std::string &description,
                                                           const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::create(nyx_bearer_class<T>, db, name, default_value, group, description,
                                                    internal_name);
}
template <class T>
NYX_DOUBLE_TRAIT *NYX_TRAIT_BEARER<T>::find_double_trait(const NYX_DB *db, const std::string &name) {
    return NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::find(nyx_bearer_class<T>, db, name);
}
template <class T>
NYX_DOUBLE_TRAIT *NYX_TRAIT_BEARER<T>::find_or_create_double_trait(NYX_DB *db, const std::string &name,
                                                                   double default_value, const std::string &group,
                                                                   const std::string &description,
                                                                   const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::find_or_create(nyx_bearer_class<T>, db, name, default_value, group,
                                                            description, internal_name);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::trait_is_empty(NYX_DOUBLE_TRAIT *trait) {
    return NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::is_empty(nyx_bearer_class<T>, trait);
}
template <class T>
double NYX_TRAIT_BEARER<T>::get_value(const NYX_DOUBLE_TRAIT *trait) const {
    return nyx_get_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
void NYX_TRAIT_BEARER<T>::set_value(NYX_DOUBLE_TRAIT *trait, double value) {
    NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::set(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)), value);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::is_default_value(const NYX_DOUBLE_TRAIT *trait) const {
    return nyx_is_default_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
std::string NYX_TRAIT_BEARER<T>::convert_value_to_str(const NYX_DOUBLE_TRAIT *trait) const {
    return NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::to_str(nyx_bearer_class<T>, trait,
                                                    nyx_bearer(static_cast<const T *>(this)));
}

template <class T>
NYX_TIME_TRAIT *NYX_TRAIT_BEARER<T>::create_time_trait(NYX_DB *db, const std::string &name, long long default_value,
                                                       const std::string &group, const std::string &description,
                                                       const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_TIME_TRAIT>::create(nyx_bearer_class<T>, db, name, default_value, group, description,
                                                  internal_name);
}
template <class T>
NYX_TIME_TRAIT *NYX_TRAIT_BEARER<T>::find_time_trait(const NYX_DB *db, const std::string &name) {
    return NYX_TRAIT_CORE<NYX_TIME_TRAIT>::find(nyx_bearer_class<T>, db, name);
}
template <class T>
NYX_TIME_TRAIT *NYX_TRAIT_BEARER<T>::find_or_create_time_trait(NYX_DB *db, const std::string &name,
                                                               long long default_value, const std::string &group,
                                                               const std::string &description,
                                                               const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_TIME_TRAIT>::find_or_create(nyx_bearer_class<T>, db, name, default_value, group,
                                                          description, internal_name);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::trait_is_empty(NYX_TIME_TRAIT *trait) {
    return NYX_TRAIT_CORE<NYX_TIME_TRAIT>::is_empty(nyx_bearer_class<T>, trait);
}
template <class T>
long long NYX_TRAIT_BEARER<T>::get_value(const NYX_TIME_TRAIT *trait) const {
    return nyx_get_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
void NYX_TRAIT_BEARER<T>::set_value(NYX_TIME_TRAIT *trait, long long value) {
    NYX_TRAIT_CORE<NYX_TIME_TRAIT>::set(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)), value);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::is_default_value(const NYX_TIME_TRAIT *trait) const {
    return nyx_is_default_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
std::string NYX_TRAIT_BEARER<T>::convert_value_to_str(const NYX_TIME_TRAIT *trait) const {
    return NYX_TRAIT_CORE<NYX_TIME_TRAIT>::to_str(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)));
}

template <class T>
NYX_APP_TRAIT *NYX_TRAIT_BEARER<T>::create_app_trait(NYX_DB *db, const std::string &name,
                                                     const NYX_APP_DATA &default_value, const std::string &group,
                                                     const std::string &description, const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_APP_TRAIT>::create(nyx_bearer_class<T>, db, name, default_value, group, description,
                                                 internal_name);
}
template <class T>
NYX_APP_TRAIT *NYX_TRAIT_BEARER<T>::find_app_trait(const NYX_DB *db, const std::string &name) {
    return NYX_TRAIT_CORE<NYX_APP_TRAIT>::find(nyx_bearer_class<T>, db, name);
}
template <class T>
NYX_APP_TRAIT *NYX_TRAIT_BEARER<T>::find_or_create_app_trait(NYX_DB *db, const std::string &name,
                                                             const NYX_APP_DATA &default_value,
                                                             const std::string &group, const std::string &description,
                                                             const std::string &internal_name) {
    return NYX_TRAIT_CORE<NYX_APP_TRAIT>::find_or_create(nyx_bearer_class<T>, db, name, default_value, group,
                                                         description, internal_name);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::trait_is_empty(NYX_APP_TRAIT *trait) {
    return NYX_TRAIT_CORE<NYX_APP_TRAIT>::is_empty(nyx_bearer_class<T>, trait);
}
template <class T>
NYX_APP_DATA NYX_TRAIT_BEARER<T>::get_value(const NYX_APP_TRAIT *trait) const {
    return nyx_get_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
void NYX_TRAIT_BEARER<T>::set_value(NYX_APP_TRAIT *trait, const NYX_APP_DATA &value) {
    NYX_TRAIT_CORE<NYX_APP_TRAIT>::set(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)), value);
}
template <class T>
bool NYX_TRAIT_BEARER<T>::is_default_value(const NYX_APP_TRAIT *trait) const {
    return nyx_is_default_trait_value(static_cast<const T *>(this), trait);
}
template <class T>
std::string NYX_TRAIT_BEARER<T>::convert_value_to_str(const NYX_APP_TRAIT *trait) const {
    return NYX_TRAIT_CORE<NYX_APP_TRAIT>::to_str(nyx_bearer_class<T>, trait, nyx_bearer(static_cast<const T *>(this)));
}

template <class T>
bool NYX_TRAIT_BEARER<T>::trait_exists(NYX_DB *db, const std::string &name) {
    return nyx_trait_exists(nyx_bearer_class<T>, db, name);
}

template <class T>
void NYX_TRAIT_BEARER<T>::visit_sparse_traits(const NYX_DB *db, NYX_SPARSE_TRAIT_VISITOR *visitor,
                                              bool include_internal) {
    nyx_check_db(nyx_bearer_class<T>, "visit_sparse_traits", db);
    nyx_get_root_of_db(db)->visit(nyx_bearer_class<T>.kind, visitor, include_internal);
}

template <class T>
void NYX_TRAIT_BEARER<T>::output_sparse_traits(std::ostream &stream, bool show_defaults, bool include_internal) const {
    const T *const object = static_cast<const T *>(this);
    nyx_sparse_trait_output_header(stream, name_of(object).c_str(), true);
    NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<T> visitor(stream, object, show_defaults);
    nyx_bearer(object).root->visit(nyx_bearer_class<T>.kind, &visitor, include_internal);
}

template <class T>
void NYX_TRAIT_BEARER<T>::output_sparse_traits(bool show_defaults, bool include_internal) const {
    std::ostringstream text;
    output_sparse_traits(text, show_defaults, include_internal);
    NYX_REPORT::info("%s", text.str().c_str());
}

template <class T>
void NYX_TRAIT_BEARER<T>::output_all_sparse_traits(std::ostream &stream, const NYX_DB *db, bool include_internal) {
    nyx_check_db(nyx_bearer_class<T>, "output_all_sparse_traits", db);
    nyx_sparse_trait_output_header(stream, nyx_bearer_class<T>.name, false);
    NYX_SPARSE_TRAIT_OUTPUT_VISITOR visitor(stream);
    visit_sparse_traits(db, &visitor, include_internal);
}

template <class T>
void NYX_TRAIT_BEARER<T>::output_all_sparse_traits(const NYX_DB *db, bool include_internal) {
    std::ostringstream text;
    output_all_sparse_traits(text, db, include_internal);
    NYX_REPORT::info("%s", text.str().c_str());
}

template <class T>
std::uint64_t NYX_TRAIT_BEARER<T>::get_trait_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members) {
    return nyx_get_trait_schema_id(nyx_bearer_class<T>.name, members);
}

#define NYX_TRAIT_KIND(type, one, many, word) template class NYX_TRAIT_BEARER<type>;
#include "traits/nyx_trait_kinds.def"
