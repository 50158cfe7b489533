#include "nyx/nyx_db_table_iters.h"

#include "database/nyx_db_impl.h"
#include "memory/nyx_type_name.h"
#include "netlist/nyx_interface_table.h"
#include "netlist/nyx_module_table.h"

namespace {

// Types whose name is a column have it INVALID on a free row.
template <class T>
bool has_no_name(const void *table, std::uint32_t row) {
    using TRAITS = NYX_OBJECT_TRAITS<T>;
    const auto &names = static_cast<const typename TRAITS::table *>(table)->m_name_id;
    return *names.get(typename TRAITS::id(row)) == NYX_NAME_ID::INVALID;
}

} // namespace

template <class ITER, class T>
NYX_HIER_DB_TABLE_ITER<ITER, T>::NYX_HIER_DB_TABLE_ITER(const NYX_DB *db, bool this_db_only, bool at_end) {
    if (at_end)
        return;
    setup(db);
    if (!this_db_only)
        setup_leaf_dbs_iter(db);
}

template <class ITER, class T>
void NYX_HIER_DB_TABLE_ITER<ITER, T>::setup(const NYX_DB *db) {
    auto &table = NYX_DB_IMPL::of(*db).m_persistent->table<T>();
    m_table = &table;
    m_current = table.iter_limit() > 0 ? 0 : ~std::uint32_t(0);
    m_last = table.iter_limit() - 1;
}

template <class ITER, class T>
void NYX_HIER_DB_TABLE_ITER<ITER, T>::setup_leaf_dbs_iter(const NYX_DB *db) {
    const auto leaf_dbs = NYX_DB::iter_leaf_dbs(db);
    m_leaf_db = leaf_dbs.begin();
    m_leaf_dbs_end = leaf_dbs.end();
    m_walks_leaf_dbs = true;
}

template <class ITER, class T>
bool NYX_HIER_DB_TABLE_ITER<ITER, T>::valid() const {
    return m_current != ~std::uint32_t(0) && m_current <= m_last;
}

template <class ITER, class T>
void NYX_HIER_DB_TABLE_ITER<ITER, T>::set_to_end() {
    m_table = nullptr;
    m_current = ~std::uint32_t(0);
    m_leaf_db = m_leaf_dbs_end;
}

template <class ITER, class T>
bool NYX_HIER_DB_TABLE_ITER<ITER, T>::increment_local_db() {
    while (++m_current <= m_last) {
        if (!should_skip())
            return true;
    }
    return false;
}

template <class ITER, class T>
void NYX_HIER_DB_TABLE_ITER<ITER, T>::adjust_begin() {
    if (m_table != nullptr && (!valid() || should_skip()))
        increment();
}

template <class ITER, class T>
void NYX_HIER_DB_TABLE_ITER<ITER, T>::increment() {
    if (valid() && increment_local_db())
        return;
    while (m_walks_leaf_dbs && m_leaf_db != m_leaf_dbs_end) {
        setup(*m_leaf_db++);
        if (valid() && (!should_skip() || increment_local_db()))
            return;
    }
    set_to_end();
}

template <class ITER, class T>
T *NYX_HIER_DB_TABLE_ITER<ITER, T>::dereference() const {
    using TRAITS = NYX_OBJECT_TRAITS<T>;
    using ID = typename TRAITS::id;
    nyx_check_id(ID(m_current), "m_index");
    return static_cast<typename TRAITS::table *>(m_table)->get(ID(m_current));
}

NYX_DB_MODULE_ITER::NYX_DB_MODULE_ITER(const NYX_DB *db, bool this_db_only, bool at_end)
    : NYX_HIER_DB_TABLE_ITER(db, this_db_only, at_end) {
    adjust_begin();
}
bool NYX_DB_MODULE_ITER::should_skip() const {
    return has_no_name<NYX_MODULE>(m_table, m_current);
}

NYX_DB_INTERFACE_ITER::NYX_DB_INTERFACE_ITER(const NYX_DB *db, bool this_db_only, bool at_end)
    : NYX_HIER_DB_TABLE_ITER(db, this_db_only, at_end) {
    adjust_begin();
}
bool NYX_DB_INTERFACE_ITER::should_skip() const {
    return has_no_name<NYX_INTERFACE>(m_table, m_current);
}

template class NYX_HIER_DB_TABLE_ITER<NYX_DB_MODULE_ITER, NYX_MODULE>;
template class NYX_HIER_DB_TABLE_ITER<NYX_DB_INTERFACE_ITER, NYX_INTERFACE>;

boost::iterator_range<NYX_DB_MODULE_ITER> NYX_DB::iter_modules(bool this_db_only) const {
    return {NYX_DB_MODULE_ITER(this, this_db_only, false), NYX_DB_MODULE_ITER()};
}

boost::iterator_range<NYX_DB_INTERFACE_ITER> NYX_DB::iter_interfaces(bool this_db_only) const {
    return {NYX_DB_INTERFACE_ITER(this, this_db_only, false), NYX_DB_INTERFACE_ITER()};
}
