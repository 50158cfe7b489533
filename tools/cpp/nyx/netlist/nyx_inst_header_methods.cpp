#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_object_impl.h"

NYX_INST_HEADER_IMPL *NYX_INST_HEADER::get_impl() {
    return static_cast<NYX_INST_HEADER_IMPL *>(this);
}
const NYX_INST_HEADER_IMPL *NYX_INST_HEADER::get_impl() const {
    return static_cast<const NYX_INST_HEADER_IMPL *>(this);
}

template class NYX_OBJECT<NYX_INST_HEADER>;
