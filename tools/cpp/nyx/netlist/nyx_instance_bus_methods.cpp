#include "netlist/nyx_instance_bus_table.h"
#include "netlist/nyx_object_impl.h"

NYX_INSTANCE_BUS_IMPL *NYX_INSTANCE_BUS::get_impl() {
    return static_cast<NYX_INSTANCE_BUS_IMPL *>(this);
}
const NYX_INSTANCE_BUS_IMPL *NYX_INSTANCE_BUS::get_impl() const {
    return static_cast<const NYX_INSTANCE_BUS_IMPL *>(this);
}

template class NYX_OBJECT<NYX_INSTANCE_BUS>;
