#include "netlist/nyx_module_table.h"

#include "netlist/nyx_table_impl.h"

NYX_MODULE_TABLE::NYX_MODULE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_bounds(this, manager)
    , m_file_lineno(this, manager)
    , m_file_name_id(this, manager)
    , m_head_instance(this, manager)
    , m_head_instance_bus(this, manager)
    , m_head_interface(this, manager)
    , m_head_net(this, manager)
    , m_head_net_bus(this, manager)
    , m_head_port_bus(this, manager)
    , m_name_id(this, manager)
    , m_reference_count(this, manager)
    , m_tail_instance(this, manager)
    , m_properties(nyx_make_property_map<NYX_MODULE_ID>(manager)) {}

template class NYX_TABLE<NYX_MODULE_TABLE, NYX_MODULE_IMPL, NYX_MODULE_ID>;
template class NYX_FREE_LIST_TABLE<NYX_MODULE_TABLE, NYX_MODULE_IMPL, NYX_MODULE_ID>;
