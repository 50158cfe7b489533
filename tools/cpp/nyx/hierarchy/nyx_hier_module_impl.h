#ifndef NYX_HIER_MODULE_IMPL_H
#define NYX_HIER_MODULE_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_hierarchy.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_HIER_MODULE_PRIMARY {
    NYX_HIER_PORT_ID m_first_port;
    std::uint32_t m_num_ports = 0;
};

/// The row behind a NYX_HIER_MODULE: what lies in the page is this.
class NYX_HIER_MODULE_IMPL final : public NYX_HIER_MODULE, public NYX_HIER_MODULE_PRIMARY {
public:
    using primary_type = NYX_HIER_MODULE_PRIMARY;
};

static_assert(sizeof(NYX_HIER_MODULE_IMPL) == 8 && std::is_standard_layout_v<NYX_HIER_MODULE_IMPL>);

#endif
