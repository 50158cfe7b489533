#include "netlist/nyx_object_impl.h"
#include "netlist/nyx_port_bus_table.h"

NYX_PORT_BUS_IMPL *NYX_PORT_BUS::get_impl() {
    return static_cast<NYX_PORT_BUS_IMPL *>(this);
}
const NYX_PORT_BUS_IMPL *NYX_PORT_BUS::get_impl() const {
    return static_cast<const NYX_PORT_BUS_IMPL *>(this);
}

template class NYX_OBJECT<NYX_PORT_BUS>;
