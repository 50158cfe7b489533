#ifndef NYX_HIER_INSTANCE_IMPL_H
#define NYX_HIER_INSTANCE_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_hierarchy.h"

#include <cstdint>
#include <type_traits>

class NYX_HIER_MODULE_IMPL;
class NYX_INST_HEADER_IMPL;
class NYX_HIER_INSTANCE_IMPL;

// Stored: the order and the widths of the members are part of the file format.
struct NYX_HIER_INSTANCE_PRIMARY {
    NYX_OFFSET_PTR<NYX_HIER_MODULE_IMPL> m_hier_module_ptr; ///< null on a boundary node
    NYX_OFFSET_PTR<NYX_INST_HEADER_IMPL> m_inst_header_ptr; ///< of a boundary node; null on a node in the same database
    NYX_OFFSET_PTR<NYX_HIER_INSTANCE_IMPL> m_parent_ptr;    ///< null on the top node
    NYX_NAME_ID m_name_id;
    NYX_HIER_INSTANCE_ID m_next_sibling;
    NYX_HIER_INSTANCE_ID m_prev_sibling;
};

/// The row behind a NYX_HIER_INSTANCE: what lies in the page is this.
class NYX_HIER_INSTANCE_IMPL final : public NYX_HIER_INSTANCE, public NYX_HIER_INSTANCE_PRIMARY {
public:
    using primary_type = NYX_HIER_INSTANCE_PRIMARY;
};

static_assert(sizeof(NYX_HIER_INSTANCE_IMPL) == 40 && std::is_standard_layout_v<NYX_HIER_INSTANCE_IMPL>);

#endif
