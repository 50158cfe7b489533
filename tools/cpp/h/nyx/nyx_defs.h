#ifndef NYX_DEFS_H
#define NYX_DEFS_H

/// \file
/// Row identifiers, the typed 32-bit numbers by which the rows of a database refer to one another, and what goes with
/// them.

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>

/// The identifier of a row: row N of the table for T has identifier N. T is a tag that keeps the identifiers of
/// different tables from mixing; it is never instantiated. Stored in rows, so its width is part of the file format.
///
/// An identifier means something in its own database only, and outlives neither the row (a freed row's number is handed
/// out again) nor a row move. It does outlive a save and a load.
template <class T, class U>
class NYX_API NYX_ID {
    static_assert(std::is_unsigned_v<U>, "an identifier is an index");

public:
    using value_type = U;

    /// All ones: refers to no row. Ends chains of identifiers, and every table refuses it.
    static const NYX_ID INVALID;

    constexpr NYX_ID() noexcept : m_value(std::numeric_limits<U>::max()) {}
    explicit constexpr NYX_ID(U value) noexcept : m_value(value) {}

    /// The bare number.
    constexpr U get() const noexcept { return m_value; }
    explicit constexpr operator U() const noexcept { return m_value; }

    friend constexpr bool operator==(NYX_ID a, NYX_ID b) noexcept { return a.get() == b.get(); }
    friend constexpr auto operator<=>(NYX_ID a, NYX_ID b) noexcept { return a.get() <=> b.get(); }

    /// Found by boost::hash. The number itself: the hash tables that are keyed by identifiers mix it.
    friend std::size_t hash_value(NYX_ID id) noexcept { return id.get(); }

private:
    U m_value;
};

/// The identifier of an interned name. Two namespaces share its 32 bits: a plain name is an index into one table; a
/// bus-bit name such as `data[7]` is the index of its base `data` in another table, together with the bit. Stored in
/// rows.
template <>
class NYX_API NYX_ID<NYX_NAME, unsigned int> {
public:
    using value_type = unsigned int;

    static const NYX_ID INVALID;

    /// The number and its parts. Low bits first.
    union FIELDS {
        unsigned int value;
        struct {
            unsigned int name_index : 23; ///< place of the base in the table of bus names; plain names use bits 0 to 30
            unsigned int bus_index : 8;   ///< the bit, 0 to 255
            unsigned int is_bus : 1;      ///< set: a bus-bit name
        } bus;
    };

    constexpr NYX_ID() noexcept : fields{std::numeric_limits<unsigned int>::max()} {}
    explicit constexpr NYX_ID(unsigned int value) noexcept : fields{value} {}

    constexpr unsigned int get() const noexcept { return fields.value; }
    explicit constexpr operator unsigned int() const noexcept { return fields.value; }

    friend constexpr bool operator==(NYX_ID a, NYX_ID b) noexcept { return a.get() == b.get(); }
    friend constexpr auto operator<=>(NYX_ID a, NYX_ID b) noexcept { return a.get() <=> b.get(); }
    friend std::size_t hash_value(NYX_ID id) noexcept { return id.get(); }

    /// The parts in place. INVALID has every bit set, the bus bit included: compare with INVALID first.
    FIELDS fields;
};

template <class T, class U>
inline constexpr NYX_ID<T, U> NYX_ID<T, U>::INVALID{};
inline constexpr NYX_ID<NYX_NAME, unsigned int> NYX_ID<NYX_NAME, unsigned int>::INVALID{};

template <class T, class U>
struct std::hash<NYX_ID<T, U>> {
    std::size_t operator()(NYX_ID<T, U> id) const noexcept { return hash_value(id); }
};

using NYX_MODULE_ID = NYX_ID<NYX_MODULE, unsigned int>;
using NYX_PORT_ID = NYX_ID<NYX_PORT, unsigned int>;
using NYX_NET_ID = NYX_ID<NYX_NET, unsigned int>;
using NYX_INSTANCE_ID = NYX_ID<NYX_INSTANCE, unsigned int>;
using NYX_INST_PORT_ID = NYX_ID<NYX_INST_PORT, unsigned int>;
using NYX_INST_HEADER_ID = NYX_ID<NYX_INST_HEADER, unsigned int>;
using NYX_PORT_BUS_ID = NYX_ID<NYX_PORT_BUS, unsigned int>;
using NYX_NET_BUS_ID = NYX_ID<NYX_NET_BUS, unsigned int>;
using NYX_INSTANCE_BUS_ID = NYX_ID<NYX_INSTANCE_BUS, unsigned int>;
using NYX_INTERFACE_ID = NYX_ID<NYX_INTERFACE, unsigned int>;
using NYX_RELATIVE_OBJECT_ID = NYX_ID<NYX_RELATIVE_OBJECT, unsigned int>;
using NYX_CONSTRAINT_STMT_ID = NYX_ID<NYX_CONSTRAINT_STMT, unsigned int>;
using NYX_CONSTRAINT_ARG_ID = NYX_ID<NYX_CONSTRAINT_ARG, unsigned int>;
using NYX_CONSTRAINT_COLLECTION_ID = NYX_ID<NYX_CONSTRAINT_COLLECTION, unsigned int>;
using NYX_SOURCE_FILE_ID = NYX_ID<NYX_SOURCE_FILE, unsigned int>;
using NYX_ENTITY_ID = NYX_ID<NYX_ENTITY, unsigned int>;
using NYX_SDC_CLOCK_ID = NYX_ID<NYX_SDC_CLOCK, unsigned int>;
using NYX_HIER_MODULE_ID = NYX_ID<NYX_HIER_MODULE, unsigned int>;
using NYX_HIER_INSTANCE_ID = NYX_ID<NYX_HIER_INSTANCE, unsigned int>;
using NYX_HIER_PORT_ID = NYX_ID<NYX_HIER_PORT, unsigned int>;
using NYX_BYTE1_TRAIT_ID = NYX_ID<NYX_BYTE1_TRAIT, unsigned int>;
using NYX_BYTE4_TRAIT_ID = NYX_ID<NYX_BYTE4_TRAIT, unsigned int>;
using NYX_BYTE8_TRAIT_ID = NYX_ID<NYX_BYTE8_TRAIT, unsigned int>;
using NYX_NAME_ID = NYX_ID<NYX_NAME, unsigned int>;

/// The type of objects that a trait stands on. Stored in a byte, and by its text in the stored names of traits.
enum class NYX_TRAIT_OBJ_TYPE : unsigned char {
    MODULE_SPARSE = 0,
    PORT_SPARSE = 1,
    NET_SPARSE = 2,
    INSTANCE_SPARSE = 3,
    INSTANCE_BUS_SPARSE = 4,
    INST_PORT_SPARSE = 5,
    PORT_BUS_SPARSE = 6,
    NET_BUS_SPARSE = 7,
    RELATIVE_OBJECT_SPARSE = 8,
    DB_SPARSE = 9,
    CONSTRAINT_STMT_SPARSE = 10,
    SOURCE_FILE_SPARSE = 11,
    ENTITY_SPARSE = 12,
    SDC_CLOCK_SPARSE = 13,
    INST_HEADER_SPARSE = 14,
    HIER_MODULE_SPARSE = 15,
    INTERFACE_SPARSE = 16,
    ALL_SPARSE = 17 ///< no type: every one, for walks over traits
};

/// One part of a stored layout: the number of its version, or a hash of them, and its name.
struct NYX_API NYX_SCHEMA_MEMBER {
    std::uint64_t id;
    std::string name;
};

static_assert(sizeof(NYX_NET_ID) == 4 && sizeof(NYX_NAME_ID) == 4);
static_assert(std::is_trivially_copyable_v<NYX_NET_ID> && std::is_trivially_copyable_v<NYX_NAME_ID>);

#endif
