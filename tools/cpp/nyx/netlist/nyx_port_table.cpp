#include "netlist/nyx_port_table.h"

#include "netlist/nyx_table_impl.h"

NYX_PORT_TABLE::NYX_PORT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_bounds(this, manager)
    , m_bus_ptr(this, manager)
    , m_layer(this, manager)
    , m_re_index(this, manager)
    , m_trait_bits(this, manager)
    , m_properties(nyx_make_property_map<NYX_PORT_ID>(manager)) {}

template class NYX_TABLE<NYX_PORT_TABLE, NYX_PORT_IMPL, NYX_PORT_ID>;
template class NYX_RANGE_TABLE<NYX_PORT_TABLE, NYX_PORT_IMPL, NYX_PORT_ID>;
