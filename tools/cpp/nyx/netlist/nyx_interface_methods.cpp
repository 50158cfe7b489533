#include "netlist/nyx_interface_table.h"
#include "netlist/nyx_object_impl.h"

NYX_INTERFACE_IMPL *NYX_INTERFACE::get_impl() {
    return static_cast<NYX_INTERFACE_IMPL *>(this);
}
const NYX_INTERFACE_IMPL *NYX_INTERFACE::get_impl() const {
    return static_cast<const NYX_INTERFACE_IMPL *>(this);
}

template class NYX_OBJECT<NYX_INTERFACE>;
