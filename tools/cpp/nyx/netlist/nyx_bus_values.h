#ifndef NYX_BUS_VALUES_H
#define NYX_BUS_VALUES_H

/// \file
/// What few buses have and none of their columns holds: the dimensions, where there are several, and the interface of a
/// port bus; and the interface of a port, which is kept alike.

#include "netlist/nyx_bus_kind.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_object_values.h"
#include "nyx/nyx_bus_dimension.h"
#include "nyx/nyx_interface.h"

#include <vector>

/// \internal Stored as a property until traits of the library's own can be.
template <class T>
NYX_STORED_PROPERTY *nyx_find_value(const typename NYX_OBJECT_TRAITS<T>::impl *row, const char *name) {
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    TABLE &table = *TABLE::get_table(row);
    const auto values = table.m_properties.find(TABLE::get_id(row));
    if (values == table.m_properties.end())
        return nullptr;
    const auto value = values->second.find(nyx_get_persistent(row)->names().find_id(name));
    return value == values->second.end() ? nullptr : &value->second;
}
template <class T>
void nyx_store_value(typename NYX_OBJECT_TRAITS<T>::impl *row, const char *name, const NYX_STORED_PROPERTY &value) {
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    TABLE &table = *TABLE::get_table(row);
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(row);
    const NYX_NAME_ID name_id = persistent->names().get_id(name);
    auto values = table.m_properties.find(TABLE::get_id(row));
    if (values == table.m_properties.end())
        values =
            table.m_properties.emplace(TABLE::get_id(row), NYX_ROW_PROPERTIES(persistent->get_segment_manager())).first;
    values->second.insert_or_assign(name_id, value);
}
template <class T>
void nyx_drop_value(typename NYX_OBJECT_TRAITS<T>::impl *row, const char *name) {
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    TABLE &table = *TABLE::get_table(row);
    const auto values = table.m_properties.find(TABLE::get_id(row));
    if (values != table.m_properties.end())
        values->second.erase(nyx_get_persistent(row)->names().find_id(name));
}

/// The dimensions of a bus that has several; none for a bus of one.
template <class BUS>
std::vector<NYX_BUS_DIMENSION> nyx_stored_dimensions(const typename NYX_OBJECT_TRAITS<BUS>::impl *bus) {
    const NYX_STORED_PROPERTY *const value = nyx_find_value<BUS>(bus, "dimensions");
    if (value == nullptr)
        return {};
    std::string text;
    nyx_get_persistent(bus)->names().find_name(boost::get<NYX_NAME_ID>(*value), text);
    return NYX_BUS_DIMENSION_UTIL::convert_string_to_query(text).second;
}

/// Stores the dimensions of a bus that has several.
template <class BUS>
void nyx_store_dimensions(typename NYX_OBJECT_TRAITS<BUS>::impl *bus,
                          const std::vector<NYX_BUS_DIMENSION> &dimensions) {
    std::string text = "dimensions";
    for (const NYX_BUS_DIMENSION &dimension : dimensions)
        text += dimension.get_name();
    nyx_store_value<BUS>(bus, "dimensions", nyx_get_persistent(bus)->names().get_id(text.c_str()));
}

/// Makes a bus one of a single dimension.
template <class BUS>
void nyx_drop_dimensions(typename NYX_OBJECT_TRAITS<BUS>::impl *bus) {
    nyx_drop_value<BUS>(bus, "dimensions");
}

/// The interface that a port or port bus was added to, null for none. What is in a bus has none of its own.
template <class T>
NYX_INTERFACE *nyx_own_interface(const T *object) {
    const auto *const row = object->get_impl();
    const NYX_STORED_PROPERTY *const value = nyx_find_value<T>(row, "interface_id");
    if (value == nullptr)
        return nullptr;
    return nyx_get_persistent(row)->template table<NYX_INTERFACE>().get(
        NYX_INTERFACE_ID(static_cast<unsigned>(boost::get<int>(*value))));
}

/// Stores that interface; null for none.
template <class T>
void nyx_set_own_interface(T *object, const NYX_INTERFACE *interface) {
    auto *const row = object->get_impl();
    if (interface == nullptr)
        nyx_drop_value<T>(row, "interface_id");
    else
        nyx_store_value<T>(row, "interface_id",
                           static_cast<int>(NYX_INTERFACE_TABLE::get_id(interface->get_impl()).get()));
}

#endif
