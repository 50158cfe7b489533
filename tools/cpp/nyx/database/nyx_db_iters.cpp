#include "database/nyx_db_linker.h"
#include "nyx/nyx_db.h"

#include <tuple>

// A step looks for what lies behind the present root in the table as it is now, so no step meets an entry that is gone.
void NYX_DB_OPEN_DB_ITER::increment() {
    std::tie(m_persistent, m_db) = NYX_DB_LINKER::get().find_next_open_db(m_persistent);
}

NYX_DB_SUB_DB_ITER::NYX_DB_SUB_DB_ITER(const NYX_DB *parent, bool direct)
    : m_parent(parent)
    , m_direct(direct)
    , m_db(NYX_DB_LINKER::get().find_sub_db(parent, direct, 0)) {}

void NYX_DB_SUB_DB_ITER::increment() {
    m_db = NYX_DB_LINKER::get().find_sub_db(m_parent, m_direct, ++m_index);
}

boost::iterator_range<NYX_DB_OPEN_DB_ITER> NYX_DB::iter_open_dbs() {
    const auto [persistent, db] = NYX_DB_LINKER::get().find_next_open_db(nullptr);
    return {NYX_DB_OPEN_DB_ITER(persistent, db), NYX_DB_OPEN_DB_ITER()};
}

boost::iterator_range<NYX_DB_SUB_DB_ITER> NYX_DB::iter_sub_dbs(const NYX_DB *db, bool direct) {
    return {NYX_DB_SUB_DB_ITER(db, direct), NYX_DB_SUB_DB_ITER()};
}

boost::iterator_range<NYX_DB_LEAF_DB_ITER> NYX_DB::iter_leaf_dbs(const NYX_DB *db) {
    return iter_sub_dbs(db, true);
}
