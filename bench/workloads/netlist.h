#ifndef NYX_BENCH_NETLIST_H
#define NYX_BENCH_NETLIST_H

/// \file
/// What is done with the flat netlist, for any: over all its modules.

#include <cstdint>
#include <vector>

class NYX_DB;
class NYX_INST_PORT;

/// walk_flat() for each module.
std::uint64_t walk_netlist(NYX_DB *db);

/// Looks `num_finds` instances of any module up by name; gives how many were found. The names are gathered before, and
/// `seconds` are those of the look-ups alone.
std::uint64_t find_in_netlist(NYX_DB *db, unsigned num_finds, double &seconds);

/// Disconnects a picked input pin and connects it again, `num_edits` times, so that the netlist stays what it is. The
/// pins are gathered before, as above.
void edit_netlist(NYX_DB *db, unsigned num_edits, double &seconds);

#endif
