#include "hierarchy/nyx_hier_instance_table.h"

#include "netlist/nyx_table_impl.h"

NYX_HIER_INSTANCE_TABLE::NYX_HIER_INSTANCE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_head_child_hier_instance(this, manager)
    , m_tail_child_hier_instance(this, manager) {}

template class NYX_TABLE<NYX_HIER_INSTANCE_TABLE, NYX_HIER_INSTANCE_IMPL, NYX_HIER_INSTANCE_ID>;
template class NYX_FREE_LIST_TABLE<NYX_HIER_INSTANCE_TABLE, NYX_HIER_INSTANCE_IMPL, NYX_HIER_INSTANCE_ID>;
