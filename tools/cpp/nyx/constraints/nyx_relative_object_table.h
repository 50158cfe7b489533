#ifndef NYX_RELATIVE_OBJECT_TABLE_H
#define NYX_RELATIVE_OBJECT_TABLE_H

#include "constraints/nyx_relative_object_impl.h"
#include "netlist/nyx_table.h"

class NYX_RELATIVE_OBJECT_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_RELATIVE_OBJECT_TABLE, NYX_RELATIVE_OBJECT_IMPL, NYX_RELATIVE_OBJECT_ID> {
public:
    static constexpr const char *s_name = "NYX_RELATIVE_OBJECT_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x1f806019bce14512;

    NYX_RELATIVE_OBJECT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("base_module_or_inst_header_id", &NYX_RELATIVE_OBJECT_TABLE::m_base_module_or_inst_header_id);
        visit("path_length", &NYX_RELATIVE_OBJECT_TABLE::m_path_length);
    }

    /// Adds the room of the arrays that rows point to.
    void add_array_stats(NYX_TYPE_STATS &stats) const;

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_RELATIVE_OBJECT_IMPL, NYX_RELATIVE_OBJECT_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_MODULE_ID, NYX_RELATIVE_OBJECT_ID> m_base_module_or_inst_header_id;
    NYX_SECONDARY_COLUMN<unsigned char, NYX_RELATIVE_OBJECT_ID> m_path_length;
    NYX_PROPERTY_MAP<NYX_RELATIVE_OBJECT_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_RELATIVE_OBJECT_TABLE) == 264);

extern template class NYX_TABLE<NYX_RELATIVE_OBJECT_TABLE, NYX_RELATIVE_OBJECT_IMPL, NYX_RELATIVE_OBJECT_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_RELATIVE_OBJECT_TABLE, NYX_RELATIVE_OBJECT_IMPL, NYX_RELATIVE_OBJECT_ID>;

#endif
