#include "netlist/nyx_net_table.h"
#include "netlist/nyx_object_impl.h"

NYX_NET_IMPL *NYX_NET::get_impl() {
    return static_cast<NYX_NET_IMPL *>(this);
}
const NYX_NET_IMPL *NYX_NET::get_impl() const {
    return static_cast<const NYX_NET_IMPL *>(this);
}

template class NYX_OBJECT<NYX_NET>;
