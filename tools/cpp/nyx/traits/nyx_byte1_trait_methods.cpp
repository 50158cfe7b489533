#include "netlist/nyx_object_impl.h"
#include "traits/nyx_byte_trait_members.h"

NYX_BYTE1_TRAIT_IMPL *NYX_BYTE1_TRAIT::get_impl() {
    return static_cast<NYX_BYTE1_TRAIT_IMPL *>(this);
}
const NYX_BYTE1_TRAIT_IMPL *NYX_BYTE1_TRAIT::get_impl() const {
    return static_cast<const NYX_BYTE1_TRAIT_IMPL *>(this);
}

template class NYX_OBJECT<NYX_BYTE1_TRAIT>;
template class NYX_BYTE_TRAIT<NYX_BYTE1_TRAIT, signed char>;
#define NYX_TRAIT_KIND(type, one, many, word) template class NYX_TRAIT_OBJECT_ITER<NYX_BYTE1_TRAIT, type>;
#include "traits/nyx_trait_kinds.def"
