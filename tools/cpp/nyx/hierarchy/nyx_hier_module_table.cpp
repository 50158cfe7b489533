#include "hierarchy/nyx_hier_module_table.h"

#include "netlist/nyx_table_impl.h"

NYX_HIER_MODULE_TABLE::NYX_HIER_MODULE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_name_id(this, manager)
    , m_properties(nyx_make_property_map<NYX_HIER_MODULE_ID>(manager)) {}

template class NYX_TABLE<NYX_HIER_MODULE_TABLE, NYX_HIER_MODULE_IMPL, NYX_HIER_MODULE_ID>;
template class NYX_FREE_LIST_TABLE<NYX_HIER_MODULE_TABLE, NYX_HIER_MODULE_IMPL, NYX_HIER_MODULE_ID>;
