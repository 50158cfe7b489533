#ifndef NYX_HIER_MODULE_TABLE_H
#define NYX_HIER_MODULE_TABLE_H

#include "hierarchy/nyx_hier_module_impl.h"
#include "netlist/nyx_table.h"

class NYX_HIER_MODULE_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_HIER_MODULE_TABLE, NYX_HIER_MODULE_IMPL, NYX_HIER_MODULE_ID> {
public:
    static constexpr const char *s_name = "NYX_HIER_MODULE_TABLE";
    static constexpr std::uint64_t s_schema_id = 0xd457e44f0790fd19;

    NYX_HIER_MODULE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("name_id", &NYX_HIER_MODULE_TABLE::m_name_id);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_HIER_MODULE_IMPL, NYX_HIER_MODULE_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_HIER_MODULE_ID> m_name_id;
    NYX_PROPERTY_MAP<NYX_HIER_MODULE_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_HIER_MODULE_TABLE) == 216);

extern template class NYX_TABLE<NYX_HIER_MODULE_TABLE, NYX_HIER_MODULE_IMPL, NYX_HIER_MODULE_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_HIER_MODULE_TABLE, NYX_HIER_MODULE_IMPL, NYX_HIER_MODULE_ID>;

#endif
