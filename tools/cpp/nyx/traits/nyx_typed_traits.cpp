// The classes of traits by the type of their values: what they offer beside their width.
#include "nyx/nyx_traits.h"

#include "traits/nyx_bearer_tables.h"
#include "traits/nyx_trait_core.h"

bool NYX_BOOL_TRAIT::get_default_value() const {
    return NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::get_default_value(this);
}
std::string NYX_BOOL_TRAIT::output_to_str() const {
    return NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::output_to_str(this);
}
template <class T>
std::string NYX_BOOL_TRAIT::output_to_str(const T *obj) const {
    return NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::output_to_str(this, nyx_bearer(obj));
}

int NYX_INT_TRAIT::get_default_value() const {
    return NYX_TRAIT_CORE<NYX_INT_TRAIT>::get_default_value(this);
}
std::string NYX_INT_TRAIT::output_to_str() const {
    return NYX_TRAIT_CORE<NYX_INT_TRAIT>::output_to_str(this);
}
template <class T>
std::string NYX_INT_TRAIT::output_to_str(const T *obj) const {
    return NYX_TRAIT_CORE<NYX_INT_TRAIT>::output_to_str(this, nyx_bearer(obj));
}

std::string NYX_STRING_TRAIT::get_default_value() const {
    return NYX_TRAIT_CORE<NYX_STRING_TRAIT>::get_default_value(this);
}
std::string NYX_STRING_TRAIT::output_to_str() const {
    return NYX_TRAIT_CORE<NYX_STRING_TRAIT>::output_to_str(this);
}
template <class T>
std::string NYX_STRING_TRAIT::output_to_str(const T *obj) const {
    return NYX_TRAIT_CORE<NYX_STRING_TRAIT>::output_to_str(this, nyx_bearer(obj));
}

float NYX_FLOAT_TRAIT::get_default_value() const {
    return NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::get_default_value(this);
}
std::string NYX_FLOAT_TRAIT::output_to_str() const {
    return NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::output_to_str(this);
}
template <class T>
std::string NYX_FLOAT_TRAIT::output_to_str(const T *obj) const {
    return NYX_TRAIT_CORE<NYX_FLOAT_TRAIT>::output_to_str(this, nyx_bearer(obj));
}

double NYX_DOUBLE_TRAIT::get_default_value() const {
    return NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::get_default_value(this);
}
std::string NYX_DOUBLE_TRAIT::output_to_str() const {
    return NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::output_to_str(this);
}
template <class T>
std::string NYX_DOUBLE_TRAIT::output_to_str(const T *obj) const {
    return NYX_TRAIT_CORE<NYX_DOUBLE_TRAIT>::output_to_str(this, nyx_bearer(obj));
}

long long NYX_TIME_TRAIT::get_default_value() const {
    return NYX_TRAIT_CORE<NYX_TIME_TRAIT>::get_default_value(this);
}
std::string NYX_TIME_TRAIT::output_to_str() const {
    return NYX_TRAIT_CORE<NYX_TIME_TRAIT>::output_to_str(this);
}
template <class T>
std::string NYX_TIME_TRAIT::output_to_str(const T *obj) const {
    return NYX_TRAIT_CORE<NYX_TIME_TRAIT>::output_to_str(this, nyx_bearer(obj));
}

NYX_APP_DATA NYX_APP_TRAIT::get_default_value() const {
    return NYX_TRAIT_CORE<NYX_APP_TRAIT>::get_default_value(this);
}
std::string NYX_APP_TRAIT::output_to_str() const {
    return NYX_TRAIT_CORE<NYX_APP_TRAIT>::output_to_str(this);
}
template <class T>
std::string NYX_APP_TRAIT::output_to_str(const T *obj) const {
    return NYX_TRAIT_CORE<NYX_APP_TRAIT>::output_to_str(this, nyx_bearer(obj));
}

#define NYX_TRAIT_KIND(type, one, many, word)                                                                          \
    template NYX_API std::string NYX_BOOL_TRAIT::output_to_str(const type *) const;                                    \
    template NYX_API std::string NYX_INT_TRAIT::output_to_str(const type *) const;                                     \
    template NYX_API std::string NYX_STRING_TRAIT::output_to_str(const type *) const;                                  \
    template NYX_API std::string NYX_FLOAT_TRAIT::output_to_str(const type *) const;                                   \
    template NYX_API std::string NYX_DOUBLE_TRAIT::output_to_str(const type *) const;                                  \
    template NYX_API std::string NYX_TIME_TRAIT::output_to_str(const type *) const;                                    \
    template NYX_API std::string NYX_APP_TRAIT::output_to_str(const type *) const;
#include "traits/nyx_trait_kinds.def"
