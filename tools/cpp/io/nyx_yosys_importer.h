#ifndef NYX_YOSYS_IMPORTER_H
#define NYX_YOSYS_IMPORTER_H

#include "io/nyx_yosys_netlist.h"
#include "io/nyx_yosys_plan.h"
#include "io/nyx_yosys_reader.h"
#include "nyx/nyx.h"

#include <string>
#include <vector>

/// Makes the netlist in the database `design`, which should be new, and its top module. Black boxes and modules for
/// undefined cell types go to `library` if that is given, a new component library, to which the design is linked then;
/// but a black box that no cell uses stays in the design, for nothing would lead from there to the library.
///
/// - Modules, cells and nets keep their names, escaped as nyx_encode_name() tells. Vectors become buses; their bits are
///   named NAME[INDEX]. A port of one bit that is counted from 0 is a port, and so with nets.
/// - A net takes the best of its names: a port's, else one that is not hidden, else a hidden one, the first of each.
///   Further names are net buses whose trait "netlist.bits" tells what they name.
/// - The constants 0, 1, x and z become nets named 1'b0, 1'b1, 1'bx and 1'bz, or what is free; the first is a ground
///   net, the second a power net. The trait "netlist.constant" tells them from nets that happen to be supplies.
/// - Parameters and attributes become properties, "src" the source location: see nyx_netlist_text.h.
///
/// Tells the progress in cells. Nothing in the netlist can fail by now; boost::interprocess::bad_alloc when a database
/// is full. Returns warnings, a line each.
std::vector<std::string> nyx_import_yosys(const NYX_YOSYS_NETLIST &netlist, const NYX_YOSYS_PLAN &plan, NYX_DB *design,
                                          NYX_DB *library, const NYX_PROGRESS &progress = nullptr);

/// A size in MiB in which the netlist's database has ample room. Only what is filled takes memory.
unsigned long long nyx_estimate_size(const NYX_YOSYS_NETLIST &netlist);

#endif
