#ifndef NYX_INSTANCE_TABLE_H
#define NYX_INSTANCE_TABLE_H

#include "netlist/nyx_instance_impl.h"
#include "netlist/nyx_table.h"
#include "nyx/nyx_geometry.h"

class NYX_HIER_INSTANCE_IMPL;
class NYX_INSTANCE_BUS_IMPL;

class NYX_INSTANCE_TABLE final : public NYX_FREE_LIST_TABLE<NYX_INSTANCE_TABLE, NYX_INSTANCE_IMPL, NYX_INSTANCE_ID> {
public:
    static constexpr const char *s_name = "NYX_INSTANCE_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x3f59204f1c89d0db;

    NYX_INSTANCE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("bus_ptr", &NYX_INSTANCE_TABLE::m_bus_ptr);
        visit("file_lineno", &NYX_INSTANCE_TABLE::m_file_lineno);
        visit("file_name_id", &NYX_INSTANCE_TABLE::m_file_name_id);
        visit("first_inst_port", &NYX_INSTANCE_TABLE::m_first_inst_port);
        visit("hier_instance_ptr", &NYX_INSTANCE_TABLE::m_hier_instance_ptr);
        visit("num_inst_ports", &NYX_INSTANCE_TABLE::m_num_inst_ports);
        visit("placement_status", &NYX_INSTANCE_TABLE::m_placement_status);
        visit("trait_bits", &NYX_INSTANCE_TABLE::m_trait_bits);
        visit("transform", &NYX_INSTANCE_TABLE::m_transform);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_INSTANCE_IMPL, NYX_INSTANCE_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_OFFSET_PTR<NYX_INSTANCE_BUS_IMPL>, NYX_INSTANCE_ID> m_bus_ptr;
    NYX_SECONDARY_COLUMN<std::uint32_t, NYX_INSTANCE_ID> m_file_lineno;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_INSTANCE_ID> m_file_name_id;
    NYX_SECONDARY_COLUMN<NYX_INST_PORT_ID, NYX_INSTANCE_ID> m_first_inst_port;
    NYX_SECONDARY_COLUMN<NYX_OFFSET_PTR<NYX_HIER_INSTANCE_IMPL>, NYX_INSTANCE_ID> m_hier_instance_ptr;
    NYX_SECONDARY_COLUMN<std::uint32_t, NYX_INSTANCE_ID> m_num_inst_ports;
    NYX_SECONDARY_COLUMN<NYX_INSTANCE::PLACEMENT_STATUS, NYX_INSTANCE_ID> m_placement_status;
    NYX_SECONDARY_COLUMN<unsigned char, NYX_INSTANCE_ID> m_trait_bits;
    NYX_SECONDARY_COLUMN<NYX_TRANSFORM, NYX_INSTANCE_ID> m_transform;
    NYX_PROPERTY_MAP<NYX_INSTANCE_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_INSTANCE_TABLE) == 600);

extern template class NYX_TABLE<NYX_INSTANCE_TABLE, NYX_INSTANCE_IMPL, NYX_INSTANCE_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_INSTANCE_TABLE, NYX_INSTANCE_IMPL, NYX_INSTANCE_ID>;

#endif
