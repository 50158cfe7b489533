#ifndef NYX_BYTE8_TRAIT_TABLE_H
#define NYX_BYTE8_TRAIT_TABLE_H

#include "netlist/nyx_table.h"
#include "traits/nyx_byte8_trait_impl.h"

class NYX_BYTE8_TRAIT_TABLE final
    : public NYX_FREE_LIST_TABLE<NYX_BYTE8_TRAIT_TABLE, NYX_BYTE8_TRAIT_IMPL, NYX_BYTE8_TRAIT_ID> {
public:
    static constexpr const char *s_name = "NYX_BYTE8_TRAIT_TABLE";
    static constexpr std::uint64_t s_schema_id = 0xb9da4f81f2e4c05c;
    static constexpr bool s_has_properties = false;

    NYX_BYTE8_TRAIT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager);

    /// What the rows' values take, as "*trait_lookup".
    void add_array_stats(NYX_TYPE_STATS &stats) const;

    // Stored, in this order.
    NYX_FAST_OFFSET_PTR<NYX_DB_PERSISTENT> m_persistent;
    NYX_PRIMARY_COLUMN<NYX_BYTE8_TRAIT_IMPL, NYX_BYTE8_TRAIT_ID> m_primary;
    unsigned m_num_allocated = 0;
    unsigned m_iter_limit = 0;
};

static_assert(sizeof(NYX_BYTE8_TRAIT_TABLE) == 104);

extern template class NYX_TABLE<NYX_BYTE8_TRAIT_TABLE, NYX_BYTE8_TRAIT_IMPL, NYX_BYTE8_TRAIT_ID>;
extern template class NYX_FREE_LIST_TABLE<NYX_BYTE8_TRAIT_TABLE, NYX_BYTE8_TRAIT_IMPL, NYX_BYTE8_TRAIT_ID>;

#endif
