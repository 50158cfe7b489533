#include "constraints/nyx_entity_table.h"

#include "netlist/nyx_table_impl.h"

NYX_ENTITY_TABLE::NYX_ENTITY_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_effective_type(this, manager)
    , m_file_lineno(this, manager)
    , m_name_id(this, manager)
    , m_source_file_id(this, manager)
    , m_type(this, manager)
    , m_properties(nyx_make_property_map<NYX_ENTITY_ID>(manager)) {}

template class NYX_TABLE<NYX_ENTITY_TABLE, NYX_ENTITY_IMPL, NYX_ENTITY_ID>;
template class NYX_FREE_LIST_TABLE<NYX_ENTITY_TABLE, NYX_ENTITY_IMPL, NYX_ENTITY_ID>;
