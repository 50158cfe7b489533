#ifndef NYX_HIER_PORT_IMPL_H
#define NYX_HIER_PORT_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_hierarchy.h"

#include <cstdint>
#include <type_traits>

class NYX_HIER_MODULE_IMPL;

// Stored: the order and the widths of the members are part of the file format.
struct NYX_HIER_PORT_PRIMARY {
    NYX_OFFSET_PTR<NYX_HIER_MODULE_IMPL> m_parent_ptr; ///< null marks a row that is not allocated
    NYX_NAME_ID m_name_id;
};

/// The row behind a NYX_HIER_PORT: what lies in the page is this.
class NYX_HIER_PORT_IMPL final : public NYX_HIER_PORT, public NYX_HIER_PORT_PRIMARY {
public:
    using primary_type = NYX_HIER_PORT_PRIMARY;
};

static_assert(sizeof(NYX_HIER_PORT_IMPL) == 16 && std::is_standard_layout_v<NYX_HIER_PORT_IMPL>);

#endif
