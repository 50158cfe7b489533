#ifndef NYX_SCHEMA_H
#define NYX_SCHEMA_H

/// \file
/// Schema numbers: one 64-bit number for the stored layout of a database, so that a file of another layout is refused.
/// Every table has a constant of its own, to be changed with its columns; the numbers of classes and of the whole are
/// folded from them.

#include "netlist/nyx_object_traits.h"
#include "nyx/nyx_defs.h"

#include <cstdint>
#include <vector>

/// Folds a number into a running one.
constexpr std::uint64_t nyx_hash_combine(std::uint64_t seed, std::uint64_t value) {
    return seed ^ (value + 0x9e3779b9 + (seed << 6) + (seed >> 2));
}

/// Hash of bytes, the 64-bit FNV-1a.
std::uint64_t nyx_hash_bytes(const void *bytes, std::size_t size);

/// Hash of a handle's address.
long nyx_hash_address(const void *address);

/// How a class's number is made of its table's.
enum class NYX_SCHEMA_KIND {
    TABLE_ONLY,  ///< the table's constant
    WITH_TRAITS, ///< the number of the class's traits folded in
    VERSIONED,   ///< the same, on a version of the class
    TRAIT_WIDTH  ///< the version of the values' storage folded in
};

template <class T>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind = NYX_SCHEMA_KIND::WITH_TRAITS;
template <>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind<NYX_MODULE> = NYX_SCHEMA_KIND::VERSIONED;
template <>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind<NYX_HIER_INSTANCE> = NYX_SCHEMA_KIND::TABLE_ONLY;
template <>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind<NYX_HIER_PORT> = NYX_SCHEMA_KIND::TABLE_ONLY;
template <>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind<NYX_CONSTRAINT_ARG> = NYX_SCHEMA_KIND::TABLE_ONLY;
template <>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind<NYX_CONSTRAINT_COLLECTION> = NYX_SCHEMA_KIND::TABLE_ONLY;
template <>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind<NYX_BYTE1_TRAIT> = NYX_SCHEMA_KIND::TRAIT_WIDTH;
template <>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind<NYX_BYTE4_TRAIT> = NYX_SCHEMA_KIND::TRAIT_WIDTH;
template <>
inline constexpr NYX_SCHEMA_KIND nyx_schema_kind<NYX_BYTE8_TRAIT> = NYX_SCHEMA_KIND::TRAIT_WIDTH;

using NYX_TABLE_SCHEMA = std::uint64_t (*)(std::vector<NYX_SCHEMA_MEMBER> *);

/// The number of a class, from its name, its table's get_schema_id and its kind.
std::uint64_t nyx_get_class_schema_id(const char *class_name, NYX_TABLE_SCHEMA table, NYX_SCHEMA_KIND kind,
                                      std::vector<NYX_SCHEMA_MEMBER> *members);

/// The number of the traits of a class. It depends on the storage of the three widths alone, so it is one for all
/// classes.
std::uint64_t nyx_get_trait_schema_id(const char *class_name, std::vector<NYX_SCHEMA_MEMBER> *members);

#endif
