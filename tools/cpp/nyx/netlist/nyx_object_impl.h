#ifndef NYX_OBJECT_IMPL_H
#define NYX_OBJECT_IMPL_H

/// \file
/// Bodies of nyx_object.h over a core that knows no types. Included by the one source per type that instantiates them.

#include "netlist/nyx_schema.h"
#include "nyx/nyx_object.h"

/// The open database of a row, from its address.
NYX_DB *nyx_get_db_of_row(const void *row);

template <class T>
NYX_DB *NYX_OBJECT<T>::get_db() const {
    return nyx_get_db_of_row(this);
}

template <class T>
long NYX_OBJECT<T>::python_hash() const {
    return nyx_hash_address(this);
}

template <class T>
std::uint64_t NYX_OBJECT<T>::get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members) {
    using TRAITS = NYX_OBJECT_TRAITS<T>;
    return nyx_get_class_schema_id(TRAITS::s_name, &TRAITS::table::get_schema_id, nyx_schema_kind<T>, members);
}

#endif
