#include "netlist/nyx_instance_bus_table.h"

#include "netlist/nyx_table_impl.h"

#include <cstdlib>

NYX_INSTANCE_BUS_TABLE::NYX_INSTANCE_BUS_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_file_lineno(this, manager)
    , m_file_name_id(this, manager)
    , m_properties(nyx_make_property_map<NYX_INSTANCE_BUS_ID>(manager)) {}

void NYX_INSTANCE_BUS_TABLE::add_array_stats(NYX_TYPE_STATS &stats) const {
    long members = 0;
    for (unsigned i = 0; i < iter_limit(); ++i) {
        const NYX_INSTANCE_BUS_IMPL *const row = get(NYX_INSTANCE_BUS_ID(i));
        // A free row's first word is partly its link; its name tells.
        if (row->m_name_id != NYX_NAME_ID::INVALID && row->m_members_ptr)
            members += std::labs(long(row->m_left_index) - long(row->m_right_index)) + 1;
    }
    stats.add_field_stats(NYX_FIELD_STATS("*instances", members * long(sizeof(NYX_INSTANCE_ID)), -1, 0));
}

template class NYX_TABLE<NYX_INSTANCE_BUS_TABLE, NYX_INSTANCE_BUS_IMPL, NYX_INSTANCE_BUS_ID>;
template class NYX_FREE_LIST_TABLE<NYX_INSTANCE_BUS_TABLE, NYX_INSTANCE_BUS_IMPL, NYX_INSTANCE_BUS_ID>;
