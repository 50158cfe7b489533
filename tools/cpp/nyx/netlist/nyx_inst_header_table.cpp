#include "netlist/nyx_inst_header_table.h"

#include "netlist/nyx_table_impl.h"

NYX_INST_HEADER_TABLE::NYX_INST_HEADER_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_properties(nyx_make_property_map<NYX_INST_HEADER_ID>(manager)) {}

template class NYX_TABLE<NYX_INST_HEADER_TABLE, NYX_INST_HEADER_IMPL, NYX_INST_HEADER_ID>;
template class NYX_FREE_LIST_TABLE<NYX_INST_HEADER_TABLE, NYX_INST_HEADER_IMPL, NYX_INST_HEADER_ID>;
