#include "netlist/nyx_inst_port_table.h"

#include "netlist/nyx_table_impl.h"

NYX_INST_PORT_TABLE::NYX_INST_PORT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_properties(nyx_make_property_map<NYX_INST_PORT_ID>(manager)) {}

template class NYX_TABLE<NYX_INST_PORT_TABLE, NYX_INST_PORT_IMPL, NYX_INST_PORT_ID>;
template class NYX_RANGE_TABLE<NYX_INST_PORT_TABLE, NYX_INST_PORT_IMPL, NYX_INST_PORT_ID>;
