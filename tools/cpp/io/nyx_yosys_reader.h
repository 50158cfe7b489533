#ifndef NYX_YOSYS_READER_H
#define NYX_YOSYS_READER_H

#include "io/nyx_text_input.h"
#include "io/nyx_yosys_netlist.h"

#include <cstdint>
#include <functional>
#include <memory>

/// Told from time to time how many bytes of the source, as they are stored, have been used, and of how many; 0 if that
/// is unknown.
using NYX_PROGRESS = std::function<void(std::uint64_t used, std::uint64_t total)>;

/// Reads a netlist in Yosys' JSON format. The text is read once, from front to back, and never lies in memory as a
/// whole: beside the result it takes a few megabytes, and the longest member of one module if that is longer.
///
/// Throws NYX_IO_ERROR at the first fault, with its line and its JSON pointer. What a module's parts say of one
/// another, such as widths, is for the importer to check.
std::unique_ptr<NYX_YOSYS_NETLIST> nyx_read_yosys_json(NYX_TEXT_INPUT &input, const NYX_PROGRESS &progress = nullptr);

#endif
