#ifndef NYX_OBJECT_VALUES_H
#define NYX_OBJECT_VALUES_H

/// \file
/// What hangs on an object beside its row and cells: the values of traits and the properties, which are kept by its
/// identifier. They go with the object, since its identifier is handed out again, and move with its row. T is the
/// handle's class throughout, and its table must be known.

#include "traits/nyx_attributes.h"

/// Removes all values of an object.
template <class T>
void nyx_forget_values(T *object) {
    static_assert(nyx_bearer_class<T>.name != nullptr, "the class of the handle, not that of the row");
    nyx_clear_traits<T>(object);
}

/// Moves all values of an identifier to another one of the same table, which has none. Allocates nothing.
template <class TABLE, class T>
void nyx_move_values(TABLE &table, NYX_ID<T, unsigned int> from, NYX_ID<T, unsigned int> to) {
    nyx_move_traits<T>(table.get(from), table.get(to));
}

/// Gives `to` the values that `from` has, which may be in another database, beside those of its own.
template <class T>
void nyx_copy_values(const T *from, T *to) {
    nyx_copy_traits<T>(from, to);
    nyx_copy_properties<T>(from, to);
}

#endif
