#ifndef NYX_OBJECT_VALUES_H
#define NYX_OBJECT_VALUES_H

/// \file
/// What hangs on an object beside its row and cells: the values that are kept by its identifier. They go with the
/// object, since its identifier is handed out again, and move with its row.

#include "netlist/nyx_inst_port_table.h"
#include "netlist/nyx_port_table.h"
#include "traits/nyx_attributes.h"

/// Removes all values of an object.
template <class T>
void nyx_forget_values(T *object) {
    nyx_clear_traits<T>(object);
}

/// Moves all values of an identifier to another one of the same table.
template <class T>
void nyx_move_values_of(typename NYX_OBJECT_TRAITS<T>::table &table, typename NYX_OBJECT_TRAITS<T>::id from,
                        typename NYX_OBJECT_TRAITS<T>::id to) {
    nyx_move_traits<T>(table.get(from), table.get(to));
}
inline void nyx_move_values(NYX_PORT_TABLE &table, NYX_PORT_ID from, NYX_PORT_ID to) {
    nyx_move_values_of<NYX_PORT>(table, from, to);
}
inline void nyx_move_values(NYX_INST_PORT_TABLE &table, NYX_INST_PORT_ID from, NYX_INST_PORT_ID to) {
    nyx_move_values_of<NYX_INST_PORT>(table, from, to);
}

#endif
