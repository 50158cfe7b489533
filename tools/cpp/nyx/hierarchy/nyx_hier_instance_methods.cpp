#include "hierarchy/nyx_hier_instance_table.h"
#include "netlist/nyx_object_impl.h"

NYX_HIER_INSTANCE_IMPL *NYX_HIER_INSTANCE::get_impl() {
    return static_cast<NYX_HIER_INSTANCE_IMPL *>(this);
}
const NYX_HIER_INSTANCE_IMPL *NYX_HIER_INSTANCE::get_impl() const {
    return static_cast<const NYX_HIER_INSTANCE_IMPL *>(this);
}

template class NYX_OBJECT<NYX_HIER_INSTANCE>;
