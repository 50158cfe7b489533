#ifndef NYX_INTERFACE_TABLE_H
#define NYX_INTERFACE_TABLE_H

#include "netlist/nyx_interface_impl.h"
#include "netlist/nyx_table.h"

class NYX_INTERFACE_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_INTERFACE_TABLE, NYX_INTERFACE_IMPL, NYX_INTERFACE_ID> {
public:
    static constexpr const char *s_name = "NYX_INTERFACE_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x1c0c40d7956997b7;

    NYX_INTERFACE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("file_lineno", &NYX_INTERFACE_TABLE::m_file_lineno);
        visit("file_name_id", &NYX_INTERFACE_TABLE::m_file_name_id);
        visit("name_id", &NYX_INTERFACE_TABLE::m_name_id);
        visit("next_in_module", &NYX_INTERFACE_TABLE::m_next_in_module);
        visit("prev_in_module", &NYX_INTERFACE_TABLE::m_prev_in_module);
    }

    /// Adds the room of the lists that rows point to.
    void add_array_stats(NYX_TYPE_STATS &stats) const;

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_INTERFACE_IMPL, NYX_INTERFACE_ID> m_primary;
    NYX_SECONDARY_COLUMN<std::uint32_t, NYX_INTERFACE_ID> m_file_lineno;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_INTERFACE_ID> m_file_name_id;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_INTERFACE_ID> m_name_id;
    NYX_SECONDARY_COLUMN<NYX_INTERFACE_ID, NYX_INTERFACE_ID> m_next_in_module;
    NYX_SECONDARY_COLUMN<NYX_INTERFACE_ID, NYX_INTERFACE_ID> m_prev_in_module;
    NYX_PROPERTY_MAP<NYX_INTERFACE_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_INTERFACE_TABLE) == 408);

extern template class NYX_TABLE<NYX_INTERFACE_TABLE, NYX_INTERFACE_IMPL, NYX_INTERFACE_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_INTERFACE_TABLE, NYX_INTERFACE_IMPL, NYX_INTERFACE_ID>;

#endif
