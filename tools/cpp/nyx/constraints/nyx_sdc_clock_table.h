#ifndef NYX_SDC_CLOCK_TABLE_H
#define NYX_SDC_CLOCK_TABLE_H

#include "constraints/nyx_sdc_clock_impl.h"
#include "netlist/nyx_table.h"

class NYX_SDC_CLOCK_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_SDC_CLOCK_TABLE, NYX_SDC_CLOCK_IMPL, NYX_SDC_CLOCK_ID> {
public:
    static constexpr const char *s_name = "NYX_SDC_CLOCK_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x59c067579519d496;

    NYX_SDC_CLOCK_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    template <class VISIT>
    static void for_each_column(VISIT &&visit) {
        visit("constraint_stmt_id", &NYX_SDC_CLOCK_TABLE::m_constraint_stmt_id);
    }

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_SDC_CLOCK_IMPL, NYX_SDC_CLOCK_ID> m_primary;
    NYX_SECONDARY_COLUMN<NYX_CONSTRAINT_STMT_ID, NYX_SDC_CLOCK_ID> m_constraint_stmt_id;
    NYX_PROPERTY_MAP<NYX_SDC_CLOCK_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_SDC_CLOCK_TABLE) == 216);

extern template class NYX_TABLE<NYX_SDC_CLOCK_TABLE, NYX_SDC_CLOCK_IMPL, NYX_SDC_CLOCK_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_SDC_CLOCK_TABLE, NYX_SDC_CLOCK_IMPL, NYX_SDC_CLOCK_ID>;

#endif
