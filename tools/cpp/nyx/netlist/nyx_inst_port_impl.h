#ifndef NYX_INST_PORT_IMPL_H
#define NYX_INST_PORT_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_inst_port.h"

#include <cstdint>
#include <type_traits>

class NYX_INSTANCE_IMPL;
class NYX_NET_IMPL;

// Stored: the order and the widths of the members are part of the file format.
struct NYX_INST_PORT_PRIMARY {
    NYX_OFFSET_PTR<NYX_INSTANCE_IMPL> m_inst_ptr; ///< null marks a row of the run that is not allocated
    NYX_OFFSET_PTR<NYX_NET_IMPL> m_net_ptr;       ///< null when unconnected
    NYX_INST_PORT_ID m_next_on_net;
    NYX_INST_PORT_ID m_prev_on_net;
};

/// The row behind a NYX_INST_PORT: what lies in the page is this.
class NYX_INST_PORT_IMPL final : public NYX_INST_PORT, public NYX_INST_PORT_PRIMARY {
public:
    using primary_type = NYX_INST_PORT_PRIMARY;
};

static_assert(sizeof(NYX_INST_PORT_IMPL) == 24 && std::is_standard_layout_v<NYX_INST_PORT_IMPL>);

#endif
