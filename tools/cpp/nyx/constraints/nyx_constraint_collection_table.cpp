#include "constraints/nyx_constraint_collection_table.h"

#include "netlist/nyx_table_impl.h"

NYX_CONSTRAINT_COLLECTION_TABLE::NYX_CONSTRAINT_COLLECTION_TABLE(NYX_DB_PERSISTENT *persistent,
                                                                 NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager) {}

template class NYX_TABLE<NYX_CONSTRAINT_COLLECTION_TABLE, NYX_CONSTRAINT_COLLECTION_IMPL, NYX_CONSTRAINT_COLLECTION_ID>;
template class NYX_FREE_LIST_TABLE<NYX_CONSTRAINT_COLLECTION_TABLE, NYX_CONSTRAINT_COLLECTION_IMPL,
                                   NYX_CONSTRAINT_COLLECTION_ID>;
