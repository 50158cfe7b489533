#ifndef NYX_TESTS_OBJECT_TYPES_H
#define NYX_TESTS_OBJECT_TYPES_H

/// \file
/// All object types, for typed suites, and a root in a segment of its own.

#include "constraints/nyx_constraint_arg_table.h"
#include "constraints/nyx_constraint_collection_table.h"
#include "constraints/nyx_constraint_stmt_table.h"
#include "constraints/nyx_entity_table.h"
#include "constraints/nyx_relative_object_table.h"
#include "constraints/nyx_sdc_clock_table.h"
#include "constraints/nyx_source_file_table.h"
#include "database/nyx_db_persistent.h"
#include "hierarchy/nyx_hier_instance_table.h"
#include "hierarchy/nyx_hier_module_table.h"
#include "hierarchy/nyx_hier_port_table.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_inst_port_table.h"
#include "netlist/nyx_instance_bus_table.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_interface_table.h"
#include "netlist/nyx_module_table.h"
#include "netlist/nyx_net_bus_table.h"
#include "netlist/nyx_net_table.h"
#include "netlist/nyx_port_bus_table.h"
#include "netlist/nyx_port_table.h"
#include "nyx/nyx_db.h"
#include "traits/nyx_byte1_trait_table.h"
#include "traits/nyx_byte4_trait_table.h"
#include "traits/nyx_byte8_trait_table.h"

#include <gtest/gtest.h>

using OBJECT_TYPES =
    testing::Types<NYX_MODULE, NYX_INSTANCE, NYX_PORT, NYX_NET, NYX_INST_PORT, NYX_INST_HEADER, NYX_PORT_BUS,
                   NYX_NET_BUS, NYX_INSTANCE_BUS, NYX_INTERFACE, NYX_HIER_INSTANCE, NYX_HIER_MODULE, NYX_HIER_PORT,
                   NYX_CONSTRAINT_ARG, NYX_CONSTRAINT_COLLECTION, NYX_CONSTRAINT_STMT, NYX_ENTITY, NYX_RELATIVE_OBJECT,
                   NYX_SDC_CLOCK, NYX_SOURCE_FILE, NYX_BYTE1_TRAIT, NYX_BYTE4_TRAIT, NYX_BYTE8_TRAIT>;

/// An empty root.
struct ROOT {
    explicit ROOT(std::size_t size = std::size_t(64) << 20, NYX_DB_TYPE type = NYX_DB_TYPE::USER)
        : segment(size)
        , root(segment.get_segment_manager()->construct<NYX_DB_PERSISTENT>(NYX_DB_PERSISTENT::s_object_name)(
              segment.get_segment_manager(), type)) {}

    NYX_SEGMENT segment;
    NYX_DB_PERSISTENT *root;
};

/// What the suites need to know of an object type.
template <class T>
struct OBJECT {
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    using IMPL = typename NYX_OBJECT_TRAITS<T>::impl;
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    using PRIMARY_PAGE = typename decltype(TABLE::m_primary)::page_type;
    static constexpr bool s_is_range = !PRIMARY_PAGE::s_has_free_list;

    static IMPL *allocate(TABLE &table) {
        if constexpr (s_is_range)
            return table.allocate(1);
        else
            return table.allocate();
    }
    static void deallocate(TABLE &table, IMPL *row) {
        if constexpr (s_is_range)
            table.deallocate(TABLE::get_id(row), 1);
        else
            table.deallocate(row);
    }
};

#endif
