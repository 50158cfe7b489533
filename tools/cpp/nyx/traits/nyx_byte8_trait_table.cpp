#include "traits/nyx_byte8_trait_table.h"

#include "memory/nyx_app_block.h"
#include "netlist/nyx_table_impl.h"
#include "traits/nyx_trait_row.h"

namespace {

// What the blocks of a trait's values and of its default take. A value is the distance from the row to its block.
long app_block_bytes(const NYX_BYTE8_TRAIT_IMPL &row) {
    const NYX_BYTE8_TRAIT_LOOKUP &values = *row.m_trait_lookup_ptr;
    const auto bytes = [&row](long long distance) {
        const auto *const block = reinterpret_cast<const unsigned char *>(&row) + distance;
        return static_cast<long>(s_nyx_app_block_head + nyx_view_app_block(block).get_size());
    };
    long result = bytes(values.m_default_value);
    for (unsigned kind = 0; kind < NYX_BYTE8_TRAIT_LOOKUP::s_num_kinds; ++kind)
        values.map(NYX_TRAIT_OBJ_TYPE(kind)).for_each([&](unsigned, long long distance) { result += bytes(distance); });
    return result;
}

} // namespace

NYX_BYTE8_TRAIT_TABLE::NYX_BYTE8_TRAIT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager) {}

void NYX_BYTE8_TRAIT_TABLE::add_array_stats(NYX_TYPE_STATS &stats) const {
    for (unsigned i = 0; i < iter_limit(); ++i) {
        const NYX_BYTE8_TRAIT_IMPL *const row = get(NYX_BYTE8_TRAIT_ID(i));
        if (!nyx_is_live_trait(*row))
            continue;
        stats.add_sub_field_stats("*trait_lookup", row->m_trait_lookup_ptr->get_stats());
        if (row->m_value_type == NYX_TRAIT_VALUE_TYPE::APP_TRAIT_VALUE)
            stats.add_field_stats(NYX_FIELD_STATS("*trait_lookup/self", app_block_bytes(*row), -1, 0));
    }
}

template class NYX_TABLE<NYX_BYTE8_TRAIT_TABLE, NYX_BYTE8_TRAIT_IMPL, NYX_BYTE8_TRAIT_ID>;
template class NYX_FREE_LIST_TABLE<NYX_BYTE8_TRAIT_TABLE, NYX_BYTE8_TRAIT_IMPL, NYX_BYTE8_TRAIT_ID>;
