#include "constraints/nyx_constraint_stmt_table.h"

#include "netlist/nyx_table_impl.h"

NYX_CONSTRAINT_STMT_TABLE::NYX_CONSTRAINT_STMT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_file_lineno(this, manager)
    , m_file_name_id(this, manager)
    , m_name_id(this, manager)
    , m_properties(nyx_make_property_map<NYX_CONSTRAINT_STMT_ID>(manager)) {}

template class NYX_TABLE<NYX_CONSTRAINT_STMT_TABLE, NYX_CONSTRAINT_STMT_IMPL, NYX_CONSTRAINT_STMT_ID>;
template class NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_STMT_TABLE, NYX_CONSTRAINT_STMT_IMPL, NYX_CONSTRAINT_STMT_ID>;
