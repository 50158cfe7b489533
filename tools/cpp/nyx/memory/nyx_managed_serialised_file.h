#ifndef NYX_MANAGED_SERIALISED_FILE_H
#define NYX_MANAGED_SERIALISED_FILE_H

/// \file
/// The segment of one database, with what a file says about it besides the segment's bytes.

#include "memory/nyx_segment.h"
#include "nyx/nyx_db.h"

#include <cstddef>
#include <memory>
#include <string>

/// Owns the address range of one database and all that lies in it.
class NYX_MANAGED_SERIALISED_FILE {
public:
    /// Reserves `size` bytes and builds an empty segment in them. Raises NYX_RUNTIME_ERROR, "Failed to create managed
    /// segment", when `size` is too small to hold one; a refused reservation ends the run, "Failed to reserve %zu bytes
    /// (%u)".
    NYX_MANAGED_SERIALISED_FILE(std::size_t size, NYX_DB_TYPE type, std::string tag);
    /// A writable copy of `other` at another address, with `extra` more bytes.
    NYX_MANAGED_SERIALISED_FILE(const NYX_MANAGED_SERIALISED_FILE &other, std::size_t extra);
    NYX_MANAGED_SERIALISED_FILE(const NYX_MANAGED_SERIALISED_FILE &) = delete;
    NYX_MANAGED_SERIALISED_FILE &operator=(const NYX_MANAGED_SERIALISED_FILE &) = delete;
    /// Releases the range, without destructors for what lies in it.
    ~NYX_MANAGED_SERIALISED_FILE();

    /// Never null: an object without a segment ends the run with "seg_man != nullptr".
    NYX_SEGMENT_MANAGER *get_segment_manager() const;

    /// Bytes that the segment spans.
    std::size_t get_size() const;
    /// Where the segment begins.
    const char *get_starting_address() const;
    NYX_DB_TYPE get_type() const { return m_type; }
    /// The string that was given at the creation, empty for none.
    const std::string &get_tag() const { return m_tag; }
    /// The range is protected, and a write to it faults.
    bool is_read_only() const { return m_read_only; }

private:
    std::unique_ptr<NYX_SEGMENT> m_segment;
    NYX_DB_TYPE m_type;
    std::string m_tag;
    bool m_read_only = false;
};

#endif
