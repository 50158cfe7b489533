#ifndef NYX_BUS_TABLE_H
#define NYX_BUS_TABLE_H

/// \file
/// What the tables of buses have in common.

#include "nyx/nyx_defs.h"
#include "nyx/nyx_stats.h"

/// Adds the room of the arrays that the rows of a table of buses point to, under the name `label`.
template <class TABLE>
void nyx_add_bus_array_stats(const TABLE &table, const char *label, NYX_TYPE_STATS &stats) {
    long bytes = 0;
    for (unsigned i = 0; i < table.iter_limit(); ++i) {
        const auto *const row = table.get(typename TABLE::id_type(i));
        // A free row's first word is partly its link; its name tells.
        if (row->m_name_id != NYX_NAME_ID::INVALID && row->m_members_ptr)
            bytes += static_cast<long>(row->get_size()) * long(sizeof(*row->m_members_ptr));
    }
    stats.add_field_stats(NYX_FIELD_STATS(label, bytes, -1, 0));
}

#endif
