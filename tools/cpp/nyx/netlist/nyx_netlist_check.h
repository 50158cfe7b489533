#ifndef NYX_NETLIST_CHECK_H
#define NYX_NETLIST_CHECK_H

/// \file
/// The invariants of the netlist in one database, walked one by one.

#include <cstddef>
#include <string>
#include <vector>

class NYX_DB_PERSISTENT;

/// Walks every list, back link, count, run and map of the netlist and tells each fault in words: what is wrong, and
/// where. Empty for a sound netlist; at most `max_faults` texts. Follows no identifier and no pointer that it has not
/// found to be a row of the right table, so it also ends, and without harm, on rows that hold anything at all; the
/// tables themselves, and the arrays that rows of buses and interfaces point to, must be sound. Writes nothing. O(rows
/// and connections), and a bit a row.
std::vector<std::string> nyx_check_netlist(const NYX_DB_PERSISTENT &persistent, std::size_t max_faults = 1000);

/// For an open database whose netlist is sound: looks for inst ports whose port, in the module of another database, was
/// deleted while this one was closed. Modules of databases that are not open are passed over. As above otherwise;
/// O(inst ports).
std::vector<std::string> nyx_check_base_modules(const NYX_DB_PERSISTENT &persistent, std::size_t max_faults = 1000);

#endif
