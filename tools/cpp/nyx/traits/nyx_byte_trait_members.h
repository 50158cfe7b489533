#ifndef NYX_BYTE_TRAIT_MEMBERS_H
#define NYX_BYTE_TRAIT_MEMBERS_H

/// \file
/// Bodies of nyx_byte_trait.h. Included by the one source per width that instantiates them.

#include "database/nyx_db_linker.h"
#include "nyx/nyx_byte_trait.h"
#include "nyx_report/nyx_report.h"
#include "traits/nyx_bearer_tables.h"
#include "traits/nyx_trait_core.h"
#include "traits/nyx_trait_object_type.h"

#include <string>

template <class TRAIT, class T>
NYX_TRAIT_OBJECT_ITER<TRAIT, T>::NYX_TRAIT_OBJECT_ITER(const TRAIT *trait, bool this_db_only)
    : m_trait(trait)
    , m_walked(trait) {
    if (!this_db_only)
        m_leaf = NYX_DB::iter_leaf_dbs(nyx_get_db_of_root(nyx_get_persistent(trait))).begin();
    constexpr NYX_TRAIT_OBJ_TYPE kind = nyx_bearer_class<T>.kind;
    m_object = nyx_get_bearer<T>(nyx_get_persistent(trait), nyx_values_of(trait).begin(kind));
    if (m_object == nullptr)
        enter_next_leaf();
}

template <class TRAIT, class T>
void NYX_TRAIT_OBJECT_ITER<TRAIT, T>::increment() {
    NYX_CHECK(m_object != nullptr);
    const NYX_BEARER at = nyx_bearer(m_object);
    m_object = nyx_get_bearer<T>(at.root, nyx_values_of(m_walked).next(at.kind, at.id));
    if (m_object == nullptr)
        enter_next_leaf();
}

// The first object of the next database that has one, else null.
template <class TRAIT, class T>
void NYX_TRAIT_OBJECT_ITER<TRAIT, T>::enter_next_leaf() {
    for (; m_object == nullptr && m_leaf != NYX_DB_LEAF_DB_ITER(); ++m_leaf) {
        NYX_DB_PERSISTENT *const root = nyx_get_root_of_db(*m_leaf);
        m_walked = NYX_DB_LINKER::get().find_corresponding_trait(m_trait, root);
        if (m_walked != nullptr)
            m_object = nyx_get_bearer<T>(root, nyx_values_of(m_walked).begin(nyx_bearer_class<T>.kind));
    }
}

template <class TRAIT, class RAW>
RAW NYX_BYTE_TRAIT<TRAIT, RAW>::get_default_value() const {
    return nyx_values_of(static_cast<const TRAIT *>(this)).m_default_value;
}

// The name behind an identifier, empty for INVALID.
template <class TRAIT>
std::string nyx_text_of(const TRAIT *trait, NYX_NAME_ID id) {
    std::string text;
    nyx_get_persistent(trait)->names().find_name(id, text);
    return text;
}

// A stored name without the text of the type of objects behind it.
inline std::string nyx_cut_storage_name(std::string name, NYX_TRAIT_OBJ_TYPE kind) {
    const std::size_t pos = name.rfind(nyx_get_trait_object_type_text(kind));
    NYX_CHECK(pos != std::string::npos);
    return name.erase(pos);
}

template <class TRAIT, class RAW>
std::string NYX_BYTE_TRAIT<TRAIT, RAW>::get_name() const {
    const TRAIT *const trait = static_cast<const TRAIT *>(this);
    return nyx_cut_storage_name(nyx_text_of(trait, nyx_row_of(trait)->m_storage_name_id), get_object_type());
}

template <class TRAIT, class RAW>
std::string NYX_BYTE_TRAIT<TRAIT, RAW>::get_description() const {
    const TRAIT *const trait = static_cast<const TRAIT *>(this);
    return nyx_text_of(trait, nyx_row_of(trait)->m_description_id);
}

template <class TRAIT, class RAW>
std::string NYX_BYTE_TRAIT<TRAIT, RAW>::get_group() const {
    const TRAIT *const trait = static_cast<const TRAIT *>(this);
    return nyx_text_of(trait, nyx_row_of(trait)->m_group_id);
}

template <class TRAIT, class RAW>
bool NYX_BYTE_TRAIT<TRAIT, RAW>::is_internal() const {
    return nyx_row_of(static_cast<const TRAIT *>(this))->m_internal_storage_name_id != NYX_NAME_ID::INVALID;
}

template <class TRAIT, class RAW>
std::string NYX_BYTE_TRAIT<TRAIT, RAW>::get_internal_name() const {
    const TRAIT *const trait = static_cast<const TRAIT *>(this);
    if (!is_internal())
        return std::string();
    return nyx_cut_storage_name(nyx_text_of(trait, nyx_row_of(trait)->m_internal_storage_name_id), get_object_type());
}

template <class TRAIT, class RAW>
NYX_TRAIT_OBJ_TYPE NYX_BYTE_TRAIT<TRAIT, RAW>::get_object_type() const {
    return nyx_values_of(static_cast<const TRAIT *>(this)).m_object_type;
}

template <class TRAIT, class RAW>
bool NYX_BYTE_TRAIT<TRAIT, RAW>::is_empty() const {
    return nyx_values_of(static_cast<const TRAIT *>(this)).is_empty();
}

template <class TRAIT, class RAW>
void NYX_BYTE_TRAIT<TRAIT, RAW>::reset_all_objects_having_this_trait() {
    nyx_values_of(static_cast<TRAIT *>(this)).reset_all_objects_having_this_trait();
}

#define NYX_TRAIT_KIND(type, one, many, word)                                                                          \
    template <class TRAIT, class RAW>                                                                                  \
    boost::iterator_range<NYX_TRAIT_OBJECT_ITER<TRAIT, type>> NYX_BYTE_TRAIT<TRAIT, RAW>::iter_##many(                 \
        bool this_db_only) const {                                                                                     \
        using ITER = NYX_TRAIT_OBJECT_ITER<TRAIT, type>;                                                               \
        return {ITER(static_cast<const TRAIT *>(this), this_db_only), ITER()};                                         \
    }
#include "traits/nyx_trait_kinds.def"

#endif
