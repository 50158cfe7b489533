#include "constraints/nyx_constraint_arg_table.h"
#include "netlist/nyx_object_impl.h"

NYX_CONSTRAINT_ARG_IMPL *NYX_CONSTRAINT_ARG::get_impl() {
    return static_cast<NYX_CONSTRAINT_ARG_IMPL *>(this);
}
const NYX_CONSTRAINT_ARG_IMPL *NYX_CONSTRAINT_ARG::get_impl() const {
    return static_cast<const NYX_CONSTRAINT_ARG_IMPL *>(this);
}

template class NYX_OBJECT<NYX_CONSTRAINT_ARG>;
