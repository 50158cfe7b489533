#include "netlist/nyx_module_table.h"
#include "netlist/nyx_object_impl.h"

NYX_MODULE_IMPL *NYX_MODULE::get_impl() {
    return static_cast<NYX_MODULE_IMPL *>(this);
}
const NYX_MODULE_IMPL *NYX_MODULE::get_impl() const {
    return static_cast<const NYX_MODULE_IMPL *>(this);
}

template class NYX_OBJECT<NYX_MODULE>;
