#include "traits/nyx_byte8_trait_table.h"

#include "netlist/nyx_table_impl.h"

NYX_BYTE8_TRAIT_TABLE::NYX_BYTE8_TRAIT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager) {}

template class NYX_TABLE<NYX_BYTE8_TRAIT_TABLE, NYX_BYTE8_TRAIT_IMPL, NYX_BYTE8_TRAIT_ID>;
template class NYX_FREE_LIST_TABLE<NYX_BYTE8_TRAIT_TABLE, NYX_BYTE8_TRAIT_IMPL, NYX_BYTE8_TRAIT_ID>;
