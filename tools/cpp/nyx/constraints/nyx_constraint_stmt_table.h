#ifndef NYX_CONSTRAINT_STMT_TABLE_H
#define NYX_CONSTRAINT_STMT_TABLE_H

#include "constraints/nyx_constraint_stmt_impl.h"
#include "netlist/nyx_table.h"

class NYX_CONSTRAINT_STMT_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_STMT_TABLE, NYX_CONSTRAINT_STMT_IMPL, NYX_CONSTRAINT_STMT_ID> {
public:
    static constexpr const char *s_name = "NYX_CONSTRAINT_STMT_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x27d4935d79e781ff;

    NYX_CONSTRAINT_STMT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("file_lineno", &NYX_CONSTRAINT_STMT_TABLE::m_file_lineno);
        visit("file_name_id", &NYX_CONSTRAINT_STMT_TABLE::m_file_name_id);
        visit("name_id", &NYX_CONSTRAINT_STMT_TABLE::m_name_id);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_CONSTRAINT_STMT_IMPL, NYX_CONSTRAINT_STMT_ID> m_primary;
    NYX_SECONDARY_COLUMN<std::uint32_t, NYX_CONSTRAINT_STMT_ID> m_file_lineno;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_CONSTRAINT_STMT_ID> m_file_name_id;
    NYX_SECONDARY_COLUMN<NYX_NAME_ID, NYX_CONSTRAINT_STMT_ID> m_name_id;
    NYX_PROPERTY_MAP<NYX_CONSTRAINT_STMT_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_CONSTRAINT_STMT_TABLE) == 312);

extern template class NYX_TABLE<NYX_CONSTRAINT_STMT_TABLE, NYX_CONSTRAINT_STMT_IMPL, NYX_CONSTRAINT_STMT_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_STMT_TABLE, NYX_CONSTRAINT_STMT_IMPL, NYX_CONSTRAINT_STMT_ID>;

#endif
