#ifndef NYX_TRAIT_ROW_H
#define NYX_TRAIT_ROW_H

#include "nyx/nyx_defs.h"

/// Whether a row of a table of traits holds one. A row whose trait could not be completed is free again, and begins
/// with the link of the free rows in place of that to its values, so who goes over a table asks this before all else.
template <class ROW>
bool nyx_is_live_trait(const ROW &row) {
    return row.m_storage_name_id != NYX_NAME_ID::INVALID && row.m_trait_lookup_ptr;
}

#endif
