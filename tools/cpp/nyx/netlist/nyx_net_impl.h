#ifndef NYX_NET_IMPL_H
#define NYX_NET_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_net.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_NET_PRIMARY {
    NYX_NAME_ID m_name_id;
    NYX_NET_ID m_next_in_module;
    NYX_NET_ID m_prev_in_module;
    std::uint32_t m_unique_suffix = ~0u; ///< number shown behind the name; all ones: none
    std::uint8_t m_bits = 0;             ///< bit 0: power, 1: ground, 2: initial value known, 3: initial value
};

/// The row behind a NYX_NET: what lies in the page is this.
class NYX_NET_IMPL final : public NYX_NET, public NYX_NET_PRIMARY {
public:
    using primary_type = NYX_NET_PRIMARY;
};

static_assert(sizeof(NYX_NET_IMPL) == 20 && std::is_standard_layout_v<NYX_NET_IMPL>);

#endif
