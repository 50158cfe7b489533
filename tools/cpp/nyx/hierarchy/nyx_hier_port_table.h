#ifndef NYX_HIER_PORT_TABLE_H
#define NYX_HIER_PORT_TABLE_H

#include "hierarchy/nyx_hier_port_impl.h"
#include "netlist/nyx_table.h"

class NYX_HIER_PORT_TABLE final : public NYX_RANGE_TABLE<NYX_HIER_PORT_TABLE, NYX_HIER_PORT_IMPL, NYX_HIER_PORT_ID> {
public:
    static constexpr const char *s_name = "NYX_HIER_PORT_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x36b531ae39ed1d85;
    static constexpr bool s_has_properties = false;

    NYX_HIER_PORT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_RANGE_COLUMN<NYX_HIER_PORT_IMPL, NYX_HIER_PORT_ID> m_primary;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_HIER_PORT_TABLE) == 112);

extern template class NYX_TABLE<NYX_HIER_PORT_TABLE, NYX_HIER_PORT_IMPL, NYX_HIER_PORT_ID>;
extern template class NYX_RANGE_TABLE<NYX_HIER_PORT_TABLE, NYX_HIER_PORT_IMPL, NYX_HIER_PORT_ID>;

#endif
