#ifndef NYX_BENCH_DEEP_H
#define NYX_BENCH_DEEP_H

/// \file
/// The deep hierarchy: `levels` levels, each module with `width` instances of the next one and a net from its input
/// through all of them to its output. Few modules, and many paths through them.

#include <cstdint>

class NYX_DB;
class NYX_MODULE;

/// Builds it in an empty database and sets its top module, "level_0".
NYX_MODULE *build_deep(NYX_DB *db, unsigned levels, unsigned width);

/// Visits every path below the module depth first, and the module itself; gives the number of visits.
std::uint64_t walk_paths(NYX_MODULE *module);

#endif
