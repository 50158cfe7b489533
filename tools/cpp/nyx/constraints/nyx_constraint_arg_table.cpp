#include "constraints/nyx_constraint_arg_table.h"

#include "netlist/nyx_table_impl.h"

NYX_CONSTRAINT_ARG_TABLE::NYX_CONSTRAINT_ARG_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_value_type(this, manager) {}

template class NYX_TABLE<NYX_CONSTRAINT_ARG_TABLE, NYX_CONSTRAINT_ARG_IMPL, NYX_CONSTRAINT_ARG_ID>;
template class NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_ARG_TABLE, NYX_CONSTRAINT_ARG_IMPL, NYX_CONSTRAINT_ARG_ID>;
