#ifndef NYX_BEARER_TABLES_H
#define NYX_BEARER_TABLES_H

/// \file
/// The tables of all objects that bear traits, for the sources that go over all of them.

#include "constraints/nyx_constraint_stmt_table.h"
#include "constraints/nyx_entity_table.h"
#include "constraints/nyx_relative_object_table.h"
#include "constraints/nyx_sdc_clock_table.h"
#include "constraints/nyx_source_file_table.h"
#include "hierarchy/nyx_hier_module_table.h"
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

#endif
