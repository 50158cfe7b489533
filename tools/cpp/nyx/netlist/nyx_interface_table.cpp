#include "netlist/nyx_interface_table.h"

#include "netlist/nyx_interface_members.h"
#include "netlist/nyx_table_impl.h"

namespace {

// A list and the room that it has taken; what it holds of that now makes no difference.
template <class T>
long bytes_of_members(const NYX_INTERFACE_IMPL *row) {
    const auto *const members = nyx_interface_members<T>(row);
    return members == nullptr ? 0 : long(sizeof(*members) + members->capacity() * sizeof((*members)[0]));
}

} // namespace

NYX_INTERFACE_TABLE::NYX_INTERFACE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_file_lineno(this, manager)
    , m_file_name_id(this, manager)
    , m_name_id(this, manager)
    , m_next_in_module(this, manager)
    , m_prev_in_module(this, manager)
    , m_properties(nyx_make_property_map<NYX_INTERFACE_ID>(manager)) {}

void NYX_INTERFACE_TABLE::add_array_stats(NYX_TYPE_STATS &stats) const {
    long ports = 0, port_buses = 0;
    for (unsigned i = 0; i < iter_limit(); ++i) {
        const NYX_INTERFACE_ID id(i);
        if (*m_name_id.get(id) == NYX_NAME_ID::INVALID)
            continue; // free: what its first field reads as means nothing
        ports += bytes_of_members<NYX_PORT>(get(id));
        port_buses += bytes_of_members<NYX_PORT_BUS>(get(id));
    }
    stats.add_field_stats(NYX_FIELD_STATS("*port_buses", port_buses, -1, 0));
    stats.add_field_stats(NYX_FIELD_STATS("*ports", ports, -1, 0));
}

template class NYX_TABLE<NYX_INTERFACE_TABLE, NYX_INTERFACE_IMPL, NYX_INTERFACE_ID>;
template class NYX_FREE_LIST_TABLE<NYX_INTERFACE_TABLE, NYX_INTERFACE_IMPL, NYX_INTERFACE_ID>;
