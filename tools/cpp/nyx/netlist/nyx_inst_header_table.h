#ifndef NYX_INST_HEADER_TABLE_H
#define NYX_INST_HEADER_TABLE_H

#include "netlist/nyx_inst_header_impl.h"
#include "netlist/nyx_table.h"

class NYX_INST_HEADER_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_INST_HEADER_TABLE, NYX_INST_HEADER_IMPL, NYX_INST_HEADER_ID> {
public:
    static constexpr const char *s_name = "NYX_INST_HEADER_TABLE";
    static constexpr std::uint64_t s_schema_id = 0x35b3fbab83e604d0;

    NYX_INST_HEADER_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_INST_HEADER_IMPL, NYX_INST_HEADER_ID> m_primary;
    NYX_PROPERTY_MAP<NYX_INST_HEADER_ID> m_properties;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_INST_HEADER_TABLE) == 168);

extern template class NYX_TABLE<NYX_INST_HEADER_TABLE, NYX_INST_HEADER_IMPL, NYX_INST_HEADER_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_INST_HEADER_TABLE, NYX_INST_HEADER_IMPL, NYX_INST_HEADER_ID>;

#endif
