#include "constraints/nyx_relative_object_table.h"
#include "netlist/nyx_object_impl.h"

NYX_RELATIVE_OBJECT_IMPL *NYX_RELATIVE_OBJECT::get_impl() {
    return static_cast<NYX_RELATIVE_OBJECT_IMPL *>(this);
}
const NYX_RELATIVE_OBJECT_IMPL *NYX_RELATIVE_OBJECT::get_impl() const {
    return static_cast<const NYX_RELATIVE_OBJECT_IMPL *>(this);
}

template class NYX_OBJECT<NYX_RELATIVE_OBJECT>;
