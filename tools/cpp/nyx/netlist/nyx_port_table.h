#ifndef NYX_PORT_TABLE_H
#define NYX_PORT_TABLE_H

#include "netlist/nyx_port_impl.h"
#include "netlist/nyx_table.h"
#include "nyx/nyx_geometry.h"

class NYX_PORT_BUS_IMPL;

class NYX_PORT_TABLE final : public NYX_RANGE_TABLE<NYX_PORT_TABLE, NYX_PORT_IMPL, NYX_PORT_ID> {
public:
    static constexpr const char *s_name = "NYX_PORT_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x924f439ec6c33ec0;

    NYX_PORT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("bounds", &NYX_PORT_TABLE::m_bounds);
        visit("bus_ptr", &NYX_PORT_TABLE::m_bus_ptr);
        visit("layer", &NYX_PORT_TABLE::m_layer);
        visit("re_index", &NYX_PORT_TABLE::m_re_index);
        visit("trait_bits", &NYX_PORT_TABLE::m_trait_bits);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_RANGE_COLUMN<NYX_PORT_IMPL, NYX_PORT_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_BOX, NYX_PORT_ID> m_bounds;
    NYX_SECONDARY_COLUMN<NYX_OFFSET_PTR<NYX_PORT_BUS_IMPL>, NYX_PORT_ID> m_bus_ptr;
    NYX_SECONDARY_COLUMN<unsigned char, NYX_PORT_ID> m_layer;
    NYX_SECONDARY_COLUMN<int, NYX_PORT_ID> m_re_index;
    NYX_SECONDARY_COLUMN<unsigned char, NYX_PORT_ID> m_trait_bits;
    NYX_PROPERTY_MAP<NYX_PORT_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_PORT_TABLE) == 416);

extern template class NYX_TABLE<NYX_PORT_TABLE, NYX_PORT_IMPL, NYX_PORT_ID>;
extern template class NYX_RANGE_TABLE<NYX_PORT_TABLE, NYX_PORT_IMPL, NYX_PORT_ID>;

#endif
