#include "netlist/nyx_object_impl.h"
#include "traits/nyx_byte1_trait_table.h"

NYX_BYTE1_TRAIT_IMPL *NYX_BYTE1_TRAIT::get_impl() {
    return static_cast<NYX_BYTE1_TRAIT_IMPL *>(this);
}
const NYX_BYTE1_TRAIT_IMPL *NYX_BYTE1_TRAIT::get_impl() const {
    return static_cast<const NYX_BYTE1_TRAIT_IMPL *>(this);
}

template class NYX_OBJECT<NYX_BYTE1_TRAIT>;
