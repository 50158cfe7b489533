#ifndef NYX_DB_TABLE_ITERS_H
#define NYX_DB_TABLE_ITERS_H

/// \file
/// Walks over all objects of one type that a database has, in the order of their identifiers.

#include "nyx/nyx_api.h"
#include "nyx/nyx_db.h"
#include "nyx/nyx_fwd.h"

#include <boost/iterator/iterator_facade.hpp>

#include <cstdint>

/// What these walks share. ITER is the derived class, T the object. A walk that is not of one database alone goes on
/// with the databases that it refers to itself. A step is O(1) but for free rows, which are passed over. Objects may be
/// made and deleted during a walk, the present one included; those that are made during it may be missed.
template <class ITER, class T>
class NYX_API NYX_HIER_DB_TABLE_ITER : public boost::iterator_facade<ITER, T *, boost::forward_traversal_tag, T *> {
public:
    virtual ~NYX_HIER_DB_TABLE_ITER() = default;

protected:
    /// The end of any walk.
    NYX_HIER_DB_TABLE_ITER() = default;
    NYX_HIER_DB_TABLE_ITER(const NYX_HIER_DB_TABLE_ITER &) = default;
    NYX_HIER_DB_TABLE_ITER &operator=(const NYX_HIER_DB_TABLE_ITER &) = default;

    /// Stands on the first row, be it free: the derived class's constructor calls adjust_begin().
    NYX_HIER_DB_TABLE_ITER(const NYX_DB *db, bool this_db_only, bool at_end);

    /// True for a free row.
    virtual bool should_skip() const = 0;

    /// From a free first row to the first object.
    void adjust_begin();

    // The table of the present database, and the row in it; past the last row the walk is at its end.
    void *m_table = nullptr;
    std::uint32_t m_current = ~std::uint32_t(0);
    std::uint32_t m_last = ~std::uint32_t(0);

private:
    friend class boost::iterator_core_access;

    void setup(const NYX_DB *db);
    void setup_leaf_dbs_iter(const NYX_DB *db);
    bool increment_local_db();
    void increment();
    bool valid() const;
    void set_to_end();
    template <class OTHER>
    bool equal(const OTHER &other) const {
        const NYX_HIER_DB_TABLE_ITER &that = other;
        return m_table == that.m_table && m_current == that.m_current;
    }
    T *dereference() const;

    bool m_walks_leaf_dbs = false;
    NYX_DB_SUB_DB_ITER m_leaf_db;
    NYX_DB_SUB_DB_ITER m_leaf_dbs_end;
};

/// Walks the modules of a database.
class NYX_API NYX_DB_MODULE_ITER final : public NYX_HIER_DB_TABLE_ITER<NYX_DB_MODULE_ITER, NYX_MODULE> {
public:
    NYX_DB_MODULE_ITER() = default;
    NYX_DB_MODULE_ITER(const NYX_DB *db, bool this_db_only, bool at_end);

private:
    bool should_skip() const override;
};

/// Walks the interfaces of all modules of a database.
class NYX_API NYX_DB_INTERFACE_ITER final : public NYX_HIER_DB_TABLE_ITER<NYX_DB_INTERFACE_ITER, NYX_INTERFACE> {
public:
    NYX_DB_INTERFACE_ITER() = default;
    NYX_DB_INTERFACE_ITER(const NYX_DB *db, bool this_db_only, bool at_end);

private:
    bool should_skip() const override;
};

extern template class NYX_HIER_DB_TABLE_ITER<NYX_DB_MODULE_ITER, NYX_MODULE>;
extern template class NYX_HIER_DB_TABLE_ITER<NYX_DB_INTERFACE_ITER, NYX_INTERFACE>;

#endif
