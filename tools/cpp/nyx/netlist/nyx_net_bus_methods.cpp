#include "netlist/nyx_net_bus_table.h"
#include "netlist/nyx_object_impl.h"

NYX_NET_BUS_IMPL *NYX_NET_BUS::get_impl() {
    return static_cast<NYX_NET_BUS_IMPL *>(this);
}
const NYX_NET_BUS_IMPL *NYX_NET_BUS::get_impl() const {
    return static_cast<const NYX_NET_BUS_IMPL *>(this);
}

template class NYX_OBJECT<NYX_NET_BUS>;
