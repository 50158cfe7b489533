#ifndef NYX_OBJECT_VALUES_H
#define NYX_OBJECT_VALUES_H

/// \file
/// What hangs on an object beside its row and cells: the values that are kept by its identifier. They go with the
/// object, since its identifier is handed out again, and move with its row.

#include "netlist/nyx_object_traits.h"
#include "traits/nyx_attributes.h"

/// Removes all values of an object.
template <class T>
void nyx_forget_values(T *object) {
    nyx_clear_traits<T>(object);
}

/// Moves all values of an identifier to another one of the same table, which has none. Allocates nothing.
template <class TABLE, class T>
void nyx_move_values(TABLE &table, NYX_ID<T, unsigned> from, NYX_ID<T, unsigned> to) {
    nyx_move_traits<T>(table.get(from), table.get(to));
}

#endif
