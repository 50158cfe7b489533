#include "constraints/nyx_sdc_clock_table.h"

#include "netlist/nyx_table_impl.h"

NYX_SDC_CLOCK_TABLE::NYX_SDC_CLOCK_TABLE(NYX_DB_PERSISTENT *persistent, NYX_SEGMENT_MANAGER *manager)
    : m_persistent(persistent)
    , m_primary(this, manager)
    , m_constraint_stmt_id(this, manager)
    , m_properties(nyx_make_property_map<NYX_SDC_CLOCK_ID>(manager)) {}

template class NYX_TABLE<NYX_SDC_CLOCK_TABLE, NYX_SDC_CLOCK_IMPL, NYX_SDC_CLOCK_ID>;
template class NYX_FREE_LIST_TABLE<NYX_SDC_CLOCK_TABLE, NYX_SDC_CLOCK_IMPL, NYX_SDC_CLOCK_ID>;
