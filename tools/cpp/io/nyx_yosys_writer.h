#ifndef NYX_YOSYS_WRITER_H
#define NYX_YOSYS_WRITER_H

#include "io/nyx_text_output.h"
#include "io/nyx_yosys_reader.h"
#include "nyx/nyx.h"

#include <string>
#include <vector>

/// Writes the design, and the modules that it uses in other databases, in Yosys' JSON format. What was imported comes
/// out as it came in, but for the numbers of the bits. Tells the progress in instances. Returns warnings, a line each.
/// Throws NYX_IO_ERROR when the output can't be written; the caller finishes it.
std::vector<std::string> nyx_write_yosys_json(NYX_DB *db, NYX_TEXT_OUTPUT &output,
                                              const NYX_PROGRESS &progress = nullptr);

#endif
