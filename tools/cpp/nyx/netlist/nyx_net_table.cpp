#include "netlist/nyx_net_table.h"

#include "netlist/nyx_table_impl.h"

NYX_NET_TABLE::NYX_NET_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_bus_ptr(this, manager)
    , m_head_inst_port(this, manager)
    , m_head_port(this, manager)
    , m_properties(nyx_make_property_map<NYX_NET_ID>(manager)) {}

template class NYX_TABLE<NYX_NET_TABLE, NYX_NET_IMPL, NYX_NET_ID>;
template class NYX_FREE_LIST_TABLE<NYX_NET_TABLE, NYX_NET_IMPL, NYX_NET_ID>;
