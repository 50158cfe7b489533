#ifndef NYX_OBJECT_H
#define NYX_OBJECT_H

/// \file
/// What every object of a database offers.

#include "nyx/nyx_api.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_fwd.h"

#include <cstdint>
#include <vector>

/// Base of all handles; T is the handle. A handle has no members: its address is its row's, and row number, table and
/// database follow from the address. Handles are not made, copied or destroyed by callers. Two handles are the same
/// object if their addresses are equal.
template <class T>
class NYX_API NYX_OBJECT {
public:
    NYX_OBJECT(const NYX_OBJECT &) = delete;
    NYX_OBJECT &operator=(const NYX_OBJECT &) = delete;

    /// The database that holds the object. O(log of the number of open databases).
    NYX_DB *get_db() const;

    /// A hash of the object's identity, for script bindings. It changes when the database is loaded again.
    long python_hash() const;

    /// The number of the stored layout of T's table and traits; it changes whenever one of them does. The parts that
    /// went into it are appended to `members` when that is given.
    static std::uint64_t get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members);

protected:
    NYX_OBJECT() = default;
    ~NYX_OBJECT() = default;
};

#endif
