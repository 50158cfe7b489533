#ifndef NYX_INSTANCE_BUS_TABLE_H
#define NYX_INSTANCE_BUS_TABLE_H

#include "netlist/nyx_instance_bus_impl.h"
#include "netlist/nyx_table.h"

class NYX_INSTANCE_BUS_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_INSTANCE_BUS_TABLE, NYX_INSTANCE_BUS_IMPL, NYX_INSTANCE_BUS_ID> {
public:
    static constexpr const char *s_name = "NYX_INSTANCE_BUS_TABLE";
    static constexpr std::uint64_t s_schema_id = 0xc2cb91829456079b;

    NYX_INSTANCE_BUS_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("file_lineno", &NYX_INSTANCE_BUS_TABLE::m_file_lineno);
        visit("file_name_id", &NYX_INSTANCE_BUS_TABLE::m_file_name_id);
    }

    /// Adds the room of the arrays that rows point to.
    void add_array_stats(NYX_TYPE_STATS &stats) const;

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_INSTANCE_BUS_IMPL, NYX_INSTANCE_BUS_ID> m_primary;
    NYX_SECONDARY_COLUMN<std::uint32_t, NYX_INSTANCE_BUS_ID> m_file_lineno;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_INSTANCE_BUS_ID> m_file_name_id;
    NYX_PROPERTY_MAP<NYX_INSTANCE_BUS_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_INSTANCE_BUS_TABLE) == 264);

extern template class NYX_TABLE<NYX_INSTANCE_BUS_TABLE, NYX_INSTANCE_BUS_IMPL, NYX_INSTANCE_BUS_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_INSTANCE_BUS_TABLE, NYX_INSTANCE_BUS_IMPL, NYX_INSTANCE_BUS_ID>;

#endif
