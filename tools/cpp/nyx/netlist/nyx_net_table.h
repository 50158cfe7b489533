#ifndef NYX_NET_TABLE_H
#define NYX_NET_TABLE_H

#include "netlist/nyx_net_impl.h"
#include "netlist/nyx_table.h"

class NYX_NET_BUS_IMPL;

class NYX_NET_TABLE final : public NYX_FREE_LIST_TABLE<NYX_NET_TABLE, NYX_NET_IMPL, NYX_NET_ID> {
public:
    static constexpr const char *s_name = "NYX_NET_TABLE";
    static constexpr std::uint64_t s_schema_id = 0xc92b090e56317483;

    NYX_NET_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("bus_ptr", &NYX_NET_TABLE::m_bus_ptr);
        visit("head_inst_port", &NYX_NET_TABLE::m_head_inst_port);
        visit("head_port", &NYX_NET_TABLE::m_head_port);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_NET_IMPL, NYX_NET_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_OFFSET_PTR<NYX_NET_BUS_IMPL>, NYX_NET_ID> m_bus_ptr;
    NYX_SECONDARY_COLUMN<NYX_INST_PORT_ID, NYX_NET_ID> m_head_inst_port;
    NYX_SECONDARY_COLUMN<NYX_PORT_ID, NYX_NET_ID> m_head_port;
    NYX_PROPERTY_MAP<NYX_NET_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_NET_TABLE) == 312);

extern template class NYX_TABLE<NYX_NET_TABLE, NYX_NET_IMPL, NYX_NET_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_NET_TABLE, NYX_NET_IMPL, NYX_NET_ID>;

#endif
