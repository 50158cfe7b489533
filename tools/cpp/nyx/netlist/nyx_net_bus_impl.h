#ifndef NYX_NET_BUS_IMPL_H
#define NYX_NET_BUS_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_defs.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_NET_BUS_PRIMARY {
    NYX_OFFSET_PTR<NYX_NET_ID> m_members_ptr; ///< array of one identifier a position; INVALID in an empty one
    std::int32_t m_left_index = 0;            ///< index of position 0
    NYX_NAME_ID m_name_id;
    NYX_NET_BUS_ID m_next_in_module;
    NYX_NET_BUS_ID m_prev_in_module;
    std::int32_t m_right_index = 0; ///< index of the last position
};

/// The row behind a NYX_NET_BUS: what lies in the page is this.
class NYX_NET_BUS_IMPL final : public NYX_NET_BUS, public NYX_NET_BUS_PRIMARY {
public:
    using primary_type = NYX_NET_BUS_PRIMARY;
};

static_assert(sizeof(NYX_NET_BUS_IMPL) == 32 && std::is_standard_layout_v<NYX_NET_BUS_IMPL>);

#endif
