#include "traits/nyx_byte1_trait_table.h"

#include "netlist/nyx_table_impl.h"
#include "traits/nyx_trait_row.h"

NYX_BYTE1_TRAIT_TABLE::NYX_BYTE1_TRAIT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager) {}

void NYX_BYTE1_TRAIT_TABLE::add_array_stats(NYX_TYPE_STATS &stats) const {
    for (unsigned i = 0; i < iter_limit(); ++i) {
        const NYX_BYTE1_TRAIT_IMPL *const row = get(NYX_BYTE1_TRAIT_ID(i));
        if (!nyx_is_live_trait(*row))
            continue;
        stats.add_sub_field_stats("*trait_lookup", row->m_trait_lookup_ptr->get_stats());
    }
}

template class NYX_TABLE<NYX_BYTE1_TRAIT_TABLE, NYX_BYTE1_TRAIT_IMPL, NYX_BYTE1_TRAIT_ID>;
template class NYX_FREE_LIST_TABLE<NYX_BYTE1_TRAIT_TABLE, NYX_BYTE1_TRAIT_IMPL, NYX_BYTE1_TRAIT_ID>;
