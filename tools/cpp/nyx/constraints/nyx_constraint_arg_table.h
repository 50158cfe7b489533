#ifndef NYX_CONSTRAINT_ARG_TABLE_H
#define NYX_CONSTRAINT_ARG_TABLE_H

#include "constraints/nyx_constraint_arg_impl.h"
#include "netlist/nyx_table.h"

class NYX_CONSTRAINT_ARG_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_ARG_TABLE, NYX_CONSTRAINT_ARG_IMPL, NYX_CONSTRAINT_ARG_ID> {
public:
    static constexpr const char *s_name = "NYX_CONSTRAINT_ARG_TABLE";
    static constexpr std::uint64_t s_schema_id = 0xba0287720fbe8e42;
    static constexpr bool s_has_properties = false;

    NYX_CONSTRAINT_ARG_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("value_type", &NYX_CONSTRAINT_ARG_TABLE::m_value_type);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_CONSTRAINT_ARG_IMPL, NYX_CONSTRAINT_ARG_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_CONSTRAINT_ARG::VALUE_TYPE, NYX_CONSTRAINT_ARG_ID> m_value_type;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_CONSTRAINT_ARG_TABLE) == 152);

extern template class NYX_TABLE<NYX_CONSTRAINT_ARG_TABLE, NYX_CONSTRAINT_ARG_IMPL, NYX_CONSTRAINT_ARG_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_ARG_TABLE, NYX_CONSTRAINT_ARG_IMPL, NYX_CONSTRAINT_ARG_ID>;

#endif
