#ifndef NYX_VERILOG_WRITER_H
#define NYX_VERILOG_WRITER_H

#include "io/nyx_text_output.h"
#include "io/nyx_yosys_reader.h"
#include "nyx/nyx.h"

#include <string>
#include <vector>

/// Writes the design, and the modules that it uses in other databases, as structural Verilog: modules, wires, instances
/// and assignments. Attributes and parameters come along; further names of a net are wires that are assigned. Modules
/// that stand for undefined cell types are left out: Yosys' own types need `read_verilog -icells`.
///
/// Tells the progress in instances. Returns warnings, a line each. Throws NYX_IO_ERROR when the output can't be
/// written; the caller finishes it.
std::vector<std::string> nyx_write_verilog(NYX_DB *db, NYX_TEXT_OUTPUT &output, const NYX_PROGRESS &progress = nullptr);

#endif
