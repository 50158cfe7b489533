#ifndef NYX_ENTITY_TABLE_H
#define NYX_ENTITY_TABLE_H

#include "constraints/nyx_entity_impl.h"
#include "netlist/nyx_table.h"

class NYX_ENTITY_TABLE final : public NYX_FREE_LIST_TABLE<NYX_ENTITY_TABLE, NYX_ENTITY_IMPL, NYX_ENTITY_ID> {
public:
    static constexpr const char *s_name = "NYX_ENTITY_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x8b81383cb2083fca;

    NYX_ENTITY_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("effective_type", &NYX_ENTITY_TABLE::m_effective_type);
        visit("file_lineno", &NYX_ENTITY_TABLE::m_file_lineno);
        visit("name_id", &NYX_ENTITY_TABLE::m_name_id);
        visit("source_file_id", &NYX_ENTITY_TABLE::m_source_file_id);
        visit("type", &NYX_ENTITY_TABLE::m_type);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_ENTITY_IMPL, NYX_ENTITY_ID> m_primary;
    NYX_SECONDARY_COLUMN<unsigned char, NYX_ENTITY_ID> m_effective_type;
    NYX_SECONDARY_COLUMN<std::uint32_t, NYX_ENTITY_ID> m_file_lineno;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_ENTITY_ID> m_name_id;
    NYX_SECONDARY_COLUMN<NYX_SOURCE_FILE_ID, NYX_ENTITY_ID> m_source_file_id;
    NYX_SECONDARY_COLUMN<unsigned char, NYX_ENTITY_ID> m_type;
    NYX_PROPERTY_MAP<NYX_ENTITY_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_ENTITY_TABLE) == 408);

extern template class NYX_TABLE<NYX_ENTITY_TABLE, NYX_ENTITY_IMPL, NYX_ENTITY_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_ENTITY_TABLE, NYX_ENTITY_IMPL, NYX_ENTITY_ID>;

#endif
