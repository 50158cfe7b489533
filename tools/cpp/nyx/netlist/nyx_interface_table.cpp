#include "netlist/nyx_interface_table.h"

#include "netlist/nyx_table_impl.h"

NYX_INTERFACE_TABLE::NYX_INTERFACE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_file_lineno(this, manager)
    , m_file_name_id(this, manager)
    , m_name_id(this, manager)
    , m_next_in_module(this, manager)
    , m_prev_in_module(this, manager)
    , m_properties(nyx_make_property_map<NYX_INTERFACE_ID>(manager)) {}

template class NYX_TABLE<NYX_INTERFACE_TABLE, NYX_INTERFACE_IMPL, NYX_INTERFACE_ID>;
template class NYX_FREE_LIST_TABLE<NYX_INTERFACE_TABLE, NYX_INTERFACE_IMPL, NYX_INTERFACE_ID>;
