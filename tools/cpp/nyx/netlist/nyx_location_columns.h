#ifndef NYX_LOCATION_COLUMNS_H
#define NYX_LOCATION_COLUMNS_H

/// \file
/// The file names of objects whose tables have columns for the source location.

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"

#include <string>

/// Empty if the object has none.
template <class T>
std::string nyx_stored_file_name(const typename NYX_OBJECT_TRAITS<T>::impl *row) {
    std::string file_name;
    const NYX_NAME_ID name_id = nyx_cell(&NYX_OBJECT_TRAITS<T>::table::m_file_name_id, row);
    if (name_id != NYX_NAME_ID::INVALID)
        NYX_CHECK(nyx_get_persistent(row)->names().find_name(name_id, file_name));
    return file_name;
}

/// The empty name for none.
template <class T>
void nyx_store_file_name(typename NYX_OBJECT_TRAITS<T>::impl *row, const char *file_name) {
    nyx_cell(&NYX_OBJECT_TRAITS<T>::table::m_file_name_id, row) =
        *file_name != '\0' ? nyx_get_persistent(row)->names().get_id(file_name) : NYX_NAME_ID::INVALID;
}

#endif
