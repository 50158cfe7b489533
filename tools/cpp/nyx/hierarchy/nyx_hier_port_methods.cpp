#include "hierarchy/nyx_hier_port_table.h"
#include "netlist/nyx_object_impl.h"

NYX_HIER_PORT_IMPL *NYX_HIER_PORT::get_impl() {
    return static_cast<NYX_HIER_PORT_IMPL *>(this);
}
const NYX_HIER_PORT_IMPL *NYX_HIER_PORT::get_impl() const {
    return static_cast<const NYX_HIER_PORT_IMPL *>(this);
}

template class NYX_OBJECT<NYX_HIER_PORT>;
