#ifndef NYX_MODULE_IMPL_H
#define NYX_MODULE_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_module.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_MODULE_PRIMARY {
    std::uint32_t m_type_data =
        ~0u; ///< client type of an sgate, or the name identifier of an atom's type; all ones: not specified
    NYX_PORT_ID m_first_port;      ///< first row of the run of ports; INVALID with no ports
    std::uint32_t m_num_ports = 0; ///< length of that run
    std::uint8_t m_type_bits = 0;  ///< bit 0: sgate, bit 1: atom; neither: hierarchy
};

/// The row behind a NYX_MODULE: what lies in the page is this.
class NYX_MODULE_IMPL final : public NYX_MODULE, public NYX_MODULE_PRIMARY {
public:
    using primary_type = NYX_MODULE_PRIMARY;
};

static_assert(sizeof(NYX_MODULE_IMPL) == 16 && std::is_standard_layout_v<NYX_MODULE_IMPL>);

#endif
