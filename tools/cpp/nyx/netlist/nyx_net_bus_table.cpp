#include "netlist/nyx_net_bus_table.h"

#include "netlist/nyx_bus_table.h"
#include "netlist/nyx_table_impl.h"

NYX_NET_BUS_TABLE::NYX_NET_BUS_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_file_lineno(this, manager)
    , m_file_name_id(this, manager)
    , m_properties(nyx_make_property_map<NYX_NET_BUS_ID>(manager)) {}

void NYX_NET_BUS_TABLE::add_array_stats(NYX_TYPE_STATS &stats) const {
    nyx_add_bus_array_stats(*this, "*nets", stats);
}

template class NYX_TABLE<NYX_NET_BUS_TABLE, NYX_NET_BUS_IMPL, NYX_NET_BUS_ID>;
template class NYX_FREE_LIST_TABLE<NYX_NET_BUS_TABLE, NYX_NET_BUS_IMPL, NYX_NET_BUS_ID>;
