#ifndef NYX_NAME_MGR_H
#define NYX_NAME_MGR_H

/// \file
/// The interned names of one database. What a reader can't guess:
///
///  - There are two namespaces with unrelated numbering. A name in the shape of a bus bit, `data[7]`, is not interned
///  as a
///    whole: its base `data` goes in the bus namespace and the bit goes in the identifier, so all bits of a bus share
///    one string. Consequently `data[4]` is found as soon as any bit of `data` is, and `data[007]` is `data[7]`.
///  - NYX_NAME_ID::INVALID has the bus bit set: it is tested for before that bit is.
///  - Strings and identifiers are never given up one by one; clear() alone empties all.

#include "memory/nyx_segment.h"
#include "memory/nyx_serialization.h"
#include "nyx/nyx_api.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_stats.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <vector>

struct NYX_NAME_MANAGER_IMPL;

/// A counter that belongs to a name.
using NYX_NAME_COUNT = NYX_ID<unsigned int, unsigned int>;

/// Handle of the table in the segment: one offset pointer. Owns the table: its destructor gives all of it back, while a
/// segment that is released takes the table with it and needs no destructor.
class NYX_API NYX_NAME_MANAGER {
public:
    /// Builds an empty table in the segment. boost::interprocess::bad_alloc when it is full.
    explicit NYX_NAME_MANAGER(NYX_SEGMENT_MANAGER *segment_manager);
    ~NYX_NAME_MANAGER();
    NYX_NAME_MANAGER(const NYX_NAME_MANAGER &) = delete;
    NYX_NAME_MANAGER &operator=(const NYX_NAME_MANAGER &) = delete;

    /// The identifier of a name, interning it if it is new. Names are NUL-terminated bytes, compared byte by byte; the
    /// empty name is one. boost::interprocess::bad_alloc when the segment is full: the name isn't interned then. Ends
    /// the run with "Bus id overflow" at the 8,388,608th bus base name. Amortised O(length).
    NYX_NAME_ID get_id(const char *name);

    /// The identifier of a name, INVALID if it isn't interned. Writes nothing. O(length).
    NYX_NAME_ID find_id(const char *name) const;

    /// The string of an identifier. False if there is none: `name` is then left as it was, and cleared for INVALID.
    bool find_name(NYX_NAME_ID id, std::string &name) const;

    /// The counter of a name, 0 if it has none. Each bit of a bus has a counter of its own. Ends the run on INVALID.
    NYX_NAME_COUNT get_id_count(NYX_NAME_ID id) const;

    /// Adds 1 to the counter of a name and returns its old value; the first call for a name returns 0. Throws
    /// NYX_RUNTIME_ERROR, "Name index overflow for name: ...", when the old value is the last one, and changes nothing.
    NYX_NAME_COUNT increase_id_count(NYX_NAME_ID id);

    /// Empties all; identifiers handed out before mean nothing any more.
    void clear();

    /// Gives back what the tables from identifiers to strings hold in reserve.
    void shrink_to_fit();

    /// Bytes of each member, with no pages.
    NYX_TYPE_STATS get_stats() const;

    /// Number of strings: plain names and bus base names.
    std::size_t get_size() const;

    /// Writes every plain name, one a line, and then every bus base name with "BUS: " in front, in the order of their
    /// identifiers. Creates the file's directory if that alone is missing. False, with a log line, when it can't.
    bool ascii_dump(const std::string &path) const;

    /// The version of the stored layout: 3. Appended to `members` under the class's name when that is given.
    static std::uint64_t get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members);

    /// A manager in a segment of its own of `size` bytes, for stand-alone use. `delete` gives it and the segment back.
    static NYX_NAME_MANAGER *test_manager(std::size_t size);

    /// `delete` of a manager that lies in the segment that it manages releases that segment, as test_manager promises;
    /// one from the heap goes back there.
    static void operator delete(NYX_NAME_MANAGER *manager, std::destroying_delete_t);

    /// \internal For statistics, checks and tests.
    NYX_NAME_MANAGER_IMPL &get_impl() { return *nyx_get_not_null(m_impl); }
    const NYX_NAME_MANAGER_IMPL &get_impl() const { return *nyx_get_not_null(m_impl); }

private:
    NYX_OFFSET_PTR<NYX_NAME_MANAGER_IMPL> m_impl;
};

static_assert(sizeof(NYX_NAME_MANAGER) == 8);

/// If `name` has the shape of a bus bit, BASE[DIGITS] with at least 4 characters and a value below 256, gives the base,
/// which may be empty, and the bit. Everything else is a plain name.
NYX_API bool nyx_split_bus_bit(std::string_view name, std::string_view &base, unsigned &bit);

#endif
