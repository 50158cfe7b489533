#ifndef NYX_SOURCE_FILE_TABLE_H
#define NYX_SOURCE_FILE_TABLE_H

#include "constraints/nyx_source_file_impl.h"
#include "netlist/nyx_table.h"

class NYX_SOURCE_FILE_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_SOURCE_FILE_TABLE, NYX_SOURCE_FILE_IMPL, NYX_SOURCE_FILE_ID> {
public:
    static constexpr const char *s_name = "NYX_SOURCE_FILE_TABLE";
    static constexpr std::uint64_t s_schema_id = 0xb7800d334cdc6052;

    NYX_SOURCE_FILE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("constraint_stmt_id", &NYX_SOURCE_FILE_TABLE::m_constraint_stmt_id);
        visit("path_length", &NYX_SOURCE_FILE_TABLE::m_path_length);
        visit("type", &NYX_SOURCE_FILE_TABLE::m_type);
    }

    /// Adds the room of the arrays that rows point to.
    void add_array_stats(NYX_TYPE_STATS &stats) const;

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_SOURCE_FILE_IMPL, NYX_SOURCE_FILE_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_CONSTRAINT_STMT_ID, NYX_SOURCE_FILE_ID> m_constraint_stmt_id;
    NYX_SECONDARY_COLUMN<unsigned char, NYX_SOURCE_FILE_ID> m_path_length;
    NYX_SECONDARY_COLUMN<unsigned char, NYX_SOURCE_FILE_ID> m_type;
    NYX_PROPERTY_MAP<NYX_SOURCE_FILE_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_SOURCE_FILE_TABLE) == 312);

extern template class NYX_TABLE<NYX_SOURCE_FILE_TABLE, NYX_SOURCE_FILE_IMPL, NYX_SOURCE_FILE_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_SOURCE_FILE_TABLE, NYX_SOURCE_FILE_IMPL, NYX_SOURCE_FILE_ID>;

#endif
