#include "constraints/nyx_entity_table.h"
#include "netlist/nyx_object_impl.h"

NYX_ENTITY_IMPL *NYX_ENTITY::get_impl() {
    return static_cast<NYX_ENTITY_IMPL *>(this);
}
const NYX_ENTITY_IMPL *NYX_ENTITY::get_impl() const {
    return static_cast<const NYX_ENTITY_IMPL *>(this);
}

template class NYX_OBJECT<NYX_ENTITY>;
