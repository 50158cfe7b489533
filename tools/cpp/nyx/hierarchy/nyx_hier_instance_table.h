#ifndef NYX_HIER_INSTANCE_TABLE_H
#define NYX_HIER_INSTANCE_TABLE_H

#include "hierarchy/nyx_hier_instance_impl.h"
#include "netlist/nyx_table.h"

class NYX_HIER_INSTANCE_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_HIER_INSTANCE_TABLE, NYX_HIER_INSTANCE_IMPL, NYX_HIER_INSTANCE_ID> {
public:
    static constexpr const char *s_name = "NYX_HIER_INSTANCE_TABLE";
    static constexpr std::uint64_t s_schema_id = 0xb1157d4b3e0b0968;
    static constexpr bool s_has_properties = false;

    NYX_HIER_INSTANCE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("head_child_hier_instance", &NYX_HIER_INSTANCE_TABLE::m_head_child_hier_instance);
        visit("tail_child_hier_instance", &NYX_HIER_INSTANCE_TABLE::m_tail_child_hier_instance);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_HIER_INSTANCE_IMPL, NYX_HIER_INSTANCE_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_HIER_INSTANCE_ID, NYX_HIER_INSTANCE_ID> m_head_child_hier_instance;
    NYX_SECONDARY_COLUMN<NYX_HIER_INSTANCE_ID, NYX_HIER_INSTANCE_ID> m_tail_child_hier_instance;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_HIER_INSTANCE_TABLE) == 200);

extern template class NYX_TABLE<NYX_HIER_INSTANCE_TABLE, NYX_HIER_INSTANCE_IMPL, NYX_HIER_INSTANCE_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_HIER_INSTANCE_TABLE, NYX_HIER_INSTANCE_IMPL, NYX_HIER_INSTANCE_ID>;

#endif
