#include "constraints/nyx_source_file_table.h"
#include "netlist/nyx_object_impl.h"

NYX_SOURCE_FILE_IMPL *NYX_SOURCE_FILE::get_impl() {
    return static_cast<NYX_SOURCE_FILE_IMPL *>(this);
}
const NYX_SOURCE_FILE_IMPL *NYX_SOURCE_FILE::get_impl() const {
    return static_cast<const NYX_SOURCE_FILE_IMPL *>(this);
}

template class NYX_OBJECT<NYX_SOURCE_FILE>;
