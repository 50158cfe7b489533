#include "hierarchy/nyx_hier_module_table.h"
#include "netlist/nyx_object_impl.h"

NYX_HIER_MODULE_IMPL *NYX_HIER_MODULE::get_impl() {
    return static_cast<NYX_HIER_MODULE_IMPL *>(this);
}
const NYX_HIER_MODULE_IMPL *NYX_HIER_MODULE::get_impl() const {
    return static_cast<const NYX_HIER_MODULE_IMPL *>(this);
}

template class NYX_OBJECT<NYX_HIER_MODULE>;
