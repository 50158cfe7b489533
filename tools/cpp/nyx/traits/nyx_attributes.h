#ifndef NYX_ATTRIBUTES_H
#define NYX_ATTRIBUTES_H

/// \file
/// What becomes of an object's traits and properties when the object goes, moves or is copied. For the members of
/// handles: the templates need the table of T, and objects may be any rows of it, live or not.
///
///     nyx_clear_traits(object)       before its row is given back, for the identifier is handed out again
///     nyx_make_room_for_traits<T>    before rows move within their table
///     nyx_move_traits(from, to)      when one does
///     nyx_copy_traits(from, to)      when an object is made after the image of another one

#include "traits/nyx_bearer.h"
#include "traits/nyx_builtin_traits.h"
#include "traits/nyx_property_core.h"

/// Takes the values of all traits from an object, those for objects of another type included. No look-up in a trait
/// that no object of this type has a value of.
void nyx_clear_trait_values(NYX_BEARER object);

/// Gives `to` the values that `from` has, for the traits that `to` has, those of which `from` has the default left as
/// they are. `from` may be in another database. The object types are equal.
void nyx_copy_trait_values(NYX_BEARER from, NYX_BEARER to);

/// Moves the values of one row to another one of the same table, in place of those that it has. Values may take
/// room where they come to: boost::interprocess::bad_alloc when the segment is full.
void nyx_move_trait_values(NYX_BEARER from, NYX_BEARER to);

/// Whether an object of that type has a value of some trait.
bool nyx_has_trait_values(NYX_DB_PERSISTENT *root, NYX_TRAIT_OBJ_TYPE kind);

/// Sees to it that these moves of rows of one table, in order of where they go to, need no allocation for their values.
/// boost::interprocess::bad_alloc, with no value changed, when the segment is full.
void nyx_make_room_for_trait_values(NYX_DB_PERSISTENT *root, NYX_TRAIT_OBJ_TYPE kind, const NYX_ROW_MOVES &moves);

/// Takes all values of traits and all properties from an object, and gives their blocks back.
template <class T>
void nyx_clear_traits(T *object) {
    nyx_clear_trait_values(nyx_bearer(object));
    nyx_object_properties(object).clear();
}

/// Gives `to` the values of traits that `from` has, as nyx_copy_trait_values.
template <class T>
void nyx_copy_traits(const T *from, T *to) {
    nyx_copy_trait_values(nyx_bearer(from), nyx_bearer(to));
}

/// Gives `to` the properties that `from` has, beside those of its own. `from` may be in another database.
template <class T>
void nyx_copy_properties(const T *from, T *to) {
    nyx_object_properties(to).copy_from(nyx_object_properties(from));
}

/// Makes room as nyx_make_room_for_trait_values, for rows of T's table. Properties move without.
template <class T>
void nyx_make_room_for_traits(NYX_DB_PERSISTENT *root, const NYX_ROW_MOVES &moves) {
    nyx_make_room_for_trait_values(root, nyx_bearer_class<T>.kind, moves);
}

/// Moves values of traits and properties from one row to another one of the same table. What the other one had is gone
/// and what the first one had, too. Allocates nothing if there is room.
template <class T>
void nyx_move_traits(T *from, T *to) {
    nyx_move_trait_values(nyx_bearer(from), nyx_bearer(to));
    nyx_object_properties(to).move_from(nyx_bearer(from).id);
}

/// The handles of the traits of the library's own in an object's database.
template <class T>
const NYX_BUILTIN_TRAITS &nyx_builtin_traits(const T *object) {
    return NYX_BUILTIN_TRAITS::of(nyx_get_db_of_root(nyx_bearer(object).root));
}

#endif
