#include "constraints/nyx_relative_object_table.h"

#include "netlist/nyx_table_impl.h"

NYX_RELATIVE_OBJECT_TABLE::NYX_RELATIVE_OBJECT_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_base_module_or_inst_header_id(this, manager)
    , m_path_length(this, manager)
    , m_properties(nyx_make_property_map<NYX_RELATIVE_OBJECT_ID>(manager)) {}

void NYX_RELATIVE_OBJECT_TABLE::add_array_stats(NYX_TYPE_STATS &stats) const {
    long segments = 0;
    for (unsigned i = 0; i < iter_limit(); ++i)
        segments += *m_path_length.get(NYX_RELATIVE_OBJECT_ID(i));
    stats.add_field_stats(NYX_FIELD_STATS("*path_segment_ids", segments * long(sizeof(NYX_NAME_ID)), -1, 0));
}

template class NYX_TABLE<NYX_RELATIVE_OBJECT_TABLE, NYX_RELATIVE_OBJECT_IMPL, NYX_RELATIVE_OBJECT_ID>;
template class NYX_FREE_LIST_TABLE<NYX_RELATIVE_OBJECT_TABLE, NYX_RELATIVE_OBJECT_IMPL, NYX_RELATIVE_OBJECT_ID>;
