#ifndef NYX_CONSTRAINT_COLLECTION_TABLE_H
#define NYX_CONSTRAINT_COLLECTION_TABLE_H

#include "constraints/nyx_constraint_collection_impl.h"
#include "netlist/nyx_table.h"

class NYX_CONSTRAINT_COLLECTION_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_COLLECTION_TABLE, NYX_CONSTRAINT_COLLECTION_IMPL,
                                 NYX_CONSTRAINT_COLLECTION_ID> {
public:
    static constexpr const char *s_name = "NYX_CONSTRAINT_COLLECTION_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x6a21b1799761e94e;
    static constexpr bool s_has_properties = false;

    NYX_CONSTRAINT_COLLECTION_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_CONSTRAINT_COLLECTION_IMPL, NYX_CONSTRAINT_COLLECTION_ID> m_primary;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_CONSTRAINT_COLLECTION_TABLE) == 104);

extern template class NYX_TABLE<NYX_CONSTRAINT_COLLECTION_TABLE, NYX_CONSTRAINT_COLLECTION_IMPL,
                                NYX_CONSTRAINT_COLLECTION_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_COLLECTION_TABLE, NYX_CONSTRAINT_COLLECTION_IMPL,
                                          NYX_CONSTRAINT_COLLECTION_ID>;

#endif
