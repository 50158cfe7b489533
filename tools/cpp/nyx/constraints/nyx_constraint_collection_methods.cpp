#include "constraints/nyx_constraint_collection_table.h"
#include "netlist/nyx_object_impl.h"

NYX_CONSTRAINT_COLLECTION_IMPL *NYX_CONSTRAINT_COLLECTION::get_impl() {
    return static_cast<NYX_CONSTRAINT_COLLECTION_IMPL *>(this);
}
const NYX_CONSTRAINT_COLLECTION_IMPL *NYX_CONSTRAINT_COLLECTION::get_impl() const {
    return static_cast<const NYX_CONSTRAINT_COLLECTION_IMPL *>(this);
}

template class NYX_OBJECT<NYX_CONSTRAINT_COLLECTION>;
