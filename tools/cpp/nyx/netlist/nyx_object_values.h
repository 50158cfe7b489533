#ifndef NYX_OBJECT_VALUES_H
#define NYX_OBJECT_VALUES_H

/// \file
/// What hangs on an object beside its row and cells: the values that are kept by its identifier. They go with the
/// object, since its identifier is handed out again, and move with its row.

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_object_traits.h"
#include "netlist/nyx_table.h"

/// Removes all values of an object.
template <class T>
void nyx_forget_values(T *object) {
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    auto *const row = object->get_impl();
    TABLE *const table = TABLE::get_table(row);
    if (!table->m_properties.empty())
        table->m_properties.erase(TABLE::get_id(row));
}

/// Moves all values of an identifier to another one of the same table, which has none.
template <class TABLE, class ID>
void nyx_move_values(TABLE &table, ID from, ID to) {
    if (table.m_properties.empty())
        return;
    const auto found = table.m_properties.find(from);
    if (found == table.m_properties.end())
        return;
    // The node itself is entered again, which needs no memory.
    auto node = table.m_properties.extract(found);
    node.key() = to;
    table.m_properties.insert(std::move(node));
}

#endif
