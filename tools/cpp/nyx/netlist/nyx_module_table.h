#ifndef NYX_MODULE_TABLE_H
#define NYX_MODULE_TABLE_H

#include "netlist/nyx_module_impl.h"
#include "netlist/nyx_table.h"
#include "nyx/nyx_geometry.h"

class NYX_MODULE_TABLE final : public NYX_FREE_LIST_TABLE<NYX_MODULE_TABLE, NYX_MODULE_IMPL, NYX_MODULE_ID> {
public:
    static constexpr const char *s_name = "NYX_MODULE_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x1ce310791ac6955a;

    NYX_MODULE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("bounds", &NYX_MODULE_TABLE::m_bounds);
        visit("file_lineno", &NYX_MODULE_TABLE::m_file_lineno);
        visit("file_name_id", &NYX_MODULE_TABLE::m_file_name_id);
        visit("head_instance", &NYX_MODULE_TABLE::m_head_instance);
        visit("head_instance_bus", &NYX_MODULE_TABLE::m_head_instance_bus);
        visit("head_interface", &NYX_MODULE_TABLE::m_head_interface);
        visit("head_net", &NYX_MODULE_TABLE::m_head_net);
        visit("head_net_bus", &NYX_MODULE_TABLE::m_head_net_bus);
        visit("head_port_bus", &NYX_MODULE_TABLE::m_head_port_bus);
        visit("name_id", &NYX_MODULE_TABLE::m_name_id);
        visit("reference_count", &NYX_MODULE_TABLE::m_reference_count);
        visit("tail_instance", &NYX_MODULE_TABLE::m_tail_instance);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_MODULE_IMPL, NYX_MODULE_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_BOX, NYX_MODULE_ID> m_bounds;
    NYX_SECONDARY_COLUMN<std::uint32_t, NYX_MODULE_ID> m_file_lineno;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_MODULE_ID> m_file_name_id;
    NYX_SECONDARY_COLUMN<NYX_INSTANCE_ID, NYX_MODULE_ID> m_head_instance;
    NYX_SECONDARY_COLUMN<NYX_INSTANCE_BUS_ID, NYX_MODULE_ID> m_head_instance_bus;
    NYX_SECONDARY_COLUMN<NYX_INTERFACE_ID, NYX_MODULE_ID> m_head_interface;
    NYX_SECONDARY_COLUMN<NYX_NET_ID, NYX_MODULE_ID> m_head_net;
    NYX_SECONDARY_COLUMN<NYX_NET_BUS_ID, NYX_MODULE_ID> m_head_net_bus;
    NYX_SECONDARY_COLUMN<NYX_PORT_BUS_ID, NYX_MODULE_ID> m_head_port_bus;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_MODULE_ID> m_name_id;
    NYX_SECONDARY_COLUMN<std::uint32_t, NYX_MODULE_ID> m_reference_count;
    NYX_SECONDARY_COLUMN<NYX_INSTANCE_ID, NYX_MODULE_ID> m_tail_instance;
    NYX_PROPERTY_MAP<NYX_MODULE_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_MODULE_TABLE) == 744);

extern template class NYX_TABLE<NYX_MODULE_TABLE, NYX_MODULE_IMPL, NYX_MODULE_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_MODULE_TABLE, NYX_MODULE_IMPL, NYX_MODULE_ID>;

#endif
