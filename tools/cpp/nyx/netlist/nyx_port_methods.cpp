#include "netlist/nyx_object_impl.h"
#include "netlist/nyx_port_table.h"

NYX_PORT_IMPL *NYX_PORT::get_impl() {
    return static_cast<NYX_PORT_IMPL *>(this);
}
const NYX_PORT_IMPL *NYX_PORT::get_impl() const {
    return static_cast<const NYX_PORT_IMPL *>(this);
}

template class NYX_OBJECT<NYX_PORT>;
