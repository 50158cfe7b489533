#include "netlist/nyx_instance_table.h"

#include "netlist/nyx_table_impl.h"

NYX_INSTANCE_TABLE::NYX_INSTANCE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_bus_ptr(this, manager)
    , m_file_lineno(this, manager)
    , m_file_name_id(this, manager)
    , m_first_inst_port(this, manager)
    , m_hier_instance_ptr(this, manager)
    , m_num_inst_ports(this, manager)
    , m_placement_status(this, manager)
    , m_trait_bits(this, manager)
    , m_transform(this, manager)
    , m_properties(nyx_make_property_map<NYX_INSTANCE_ID>(manager)) {}

template class NYX_TABLE<NYX_INSTANCE_TABLE, NYX_INSTANCE_IMPL, NYX_INSTANCE_ID>;
template class NYX_FREE_LIST_TABLE<NYX_INSTANCE_TABLE, NYX_INSTANCE_IMPL, NYX_INSTANCE_ID>;
