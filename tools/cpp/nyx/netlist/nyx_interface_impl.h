#ifndef NYX_INTERFACE_IMPL_H
#define NYX_INTERFACE_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_interface.h"

#include <cstdint>
#include <type_traits>

class NYX_MODULE_IMPL;

// Stored: the order and the widths of the members are part of the file format.
struct NYX_INTERFACE_PRIMARY {
    NYX_OFFSET_PTR<NYX_MODULE_IMPL> m_parent_ptr;
    NYX_OFFSET_PTR<void> m_ports_ptr;      ///< container of the ports; null before the first
    NYX_OFFSET_PTR<void> m_port_buses_ptr; ///< container of the port buses; null before the first
    std::uint8_t m_bits = 0;               ///< bit 0: end, 1: start
};

/// The row behind a NYX_INTERFACE: what lies in the page is this.
class NYX_INTERFACE_IMPL final : public NYX_INTERFACE, public NYX_INTERFACE_PRIMARY {
public:
    using primary_type = NYX_INTERFACE_PRIMARY;
};

static_assert(sizeof(NYX_INTERFACE_IMPL) == 32 && std::is_standard_layout_v<NYX_INTERFACE_IMPL>);

#endif
