#ifndef NYX_PORT_IMPL_H
#define NYX_PORT_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_port.h"

#include <cstdint>
#include <type_traits>

class NYX_MODULE_IMPL;
class NYX_NET_IMPL;

// Stored: the order and the widths of the members are part of the file format.
struct NYX_PORT_PRIMARY {
    NYX_OFFSET_PTR<NYX_NET_IMPL> m_net_ptr;       ///< null when unconnected
    NYX_OFFSET_PTR<NYX_MODULE_IMPL> m_parent_ptr; ///< null marks a row of the run that is not allocated
    NYX_NAME_ID m_name_id;
    NYX_PORT_ID m_next_on_net;
    NYX_PORT_ID m_prev_on_net;
};

/// The row behind a NYX_PORT: what lies in the page is this.
class NYX_PORT_IMPL final : public NYX_PORT, public NYX_PORT_PRIMARY {
public:
    using primary_type = NYX_PORT_PRIMARY;

    NYX_NET_IMPL *get_net_ptr() const { return m_net_ptr.get(); }
};

static_assert(sizeof(NYX_PORT_IMPL) == 32 && std::is_standard_layout_v<NYX_PORT_IMPL>);

#endif
