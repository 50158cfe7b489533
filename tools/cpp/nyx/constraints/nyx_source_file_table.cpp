#include "constraints/nyx_source_file_table.h"

#include "netlist/nyx_table_impl.h"

NYX_SOURCE_FILE_TABLE::NYX_SOURCE_FILE_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_constraint_stmt_id(this, manager)
    , m_path_length(this, manager)
    , m_type(this, manager)
    , m_properties(nyx_make_property_map<NYX_SOURCE_FILE_ID>(manager)) {}

void NYX_SOURCE_FILE_TABLE::add_array_stats(NYX_TYPE_STATS &stats) const {
    long segments = 0;
    for (unsigned i = 0; i < iter_limit(); ++i)
        segments += *m_path_length.get(NYX_SOURCE_FILE_ID(i));
    stats.add_field_stats(NYX_FIELD_STATS("*path_segment_ids", segments * long(sizeof(NYX_NAME_ID)), -1, 0));
}

template class NYX_TABLE<NYX_SOURCE_FILE_TABLE, NYX_SOURCE_FILE_IMPL, NYX_SOURCE_FILE_ID>;
template class NYX_FREE_LIST_TABLE<NYX_SOURCE_FILE_TABLE, NYX_SOURCE_FILE_IMPL, NYX_SOURCE_FILE_ID>;
