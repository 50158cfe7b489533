#ifndef NYX_STATS_H
#define NYX_STATS_H

/// \file
/// How a segment is spent: value objects on the heap that are made on request, can be summed up and printed. They don't
/// touch the segment once they are made.

#include "nyx/nyx_api.h"

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

/// One column of a table, or one member that keeps its data in blocks of its own.
class NYX_API NYX_FIELD_STATS {
public:
    /// `page_capacity` is the number of rows in a page, -1 when the field has no pages.
    NYX_FIELD_STATS(std::string type, long bytes, int page_capacity, int num_pages);

    /// The field's name.
    const std::string &get_type() const { return m_type; }
    long get_bytes() const { return m_bytes; }
    int get_page_capacity() const { return m_page_capacity; }
    int get_num_pages() const { return m_num_pages; }

    /// Adds the other's bytes and pages. Ends the run when the page capacities differ: the two have other rows.
    void accumulate(const NYX_FIELD_STATS &stat);

    /// Writes the printed form through the reporting library.
    void dump() const;

private:
    std::string m_type;
    long m_bytes;
    int m_page_capacity;
    int m_num_pages;
};

/// One table, or the name manager.
class NYX_API NYX_TYPE_STATS {
public:
    /// The counts of free and live rows are -1 where they mean nothing.
    NYX_TYPE_STATS(const std::string &type, int num_free, int num_allocated);

    const std::string &get_type() const { return m_type; }
    int get_num_free() const { return m_num_free; }
    int get_num_allocated() const { return m_num_allocated; }

    /// The fields in the order of their names.
    std::vector<NYX_FIELD_STATS> get_field_stats() const;

    /// Adds a field; its figures merge with those of a field of the same name.
    void add_field_stats(const NYX_FIELD_STATS &stat);

    /// Adds each field of a sub-record under the name PREFIX/NAME, merging likewise.
    void add_sub_field_stats(const std::string &prefix, const NYX_TYPE_STATS &stats);

    /// Adds the other's fields, merging likewise. The counts of rows stay as they are.
    void accumulate(const NYX_TYPE_STATS &stats);

    void dump() const;

private:
    std::map<std::string, NYX_FIELD_STATS> m_fields;
    std::string m_type;
    int m_num_free;
    int m_num_allocated;
};

/// One segment.
class NYX_API NYX_STATS {
public:
    /// Bytes of the segment, and those of them that are free.
    NYX_STATS(unsigned long long size, unsigned long long free);

    /// In the order in which they were added.
    const std::vector<NYX_TYPE_STATS> &get_type_stats() const { return m_types; }
    unsigned long long get_size() const { return m_size; }
    unsigned long long get_free() const { return m_free; }
    /// Size less free bytes. Ends the run when more is free than there is.
    unsigned long long get_used() const;

    void add_type_stats(const NYX_TYPE_STATS &stats);

    void dump() const;

private:
    std::vector<NYX_TYPE_STATS> m_types;
    unsigned long long m_size;
    unsigned long long m_free;
};

NYX_API std::ostream &operator<<(std::ostream &out, const NYX_FIELD_STATS &stat);
NYX_API std::ostream &operator<<(std::ostream &out, const NYX_TYPE_STATS &stats);
NYX_API std::ostream &operator<<(std::ostream &out, const NYX_STATS &stats);

#endif
