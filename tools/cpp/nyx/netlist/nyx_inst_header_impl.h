#ifndef NYX_INST_HEADER_IMPL_H
#define NYX_INST_HEADER_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_inst_header.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_INST_HEADER_PRIMARY {
    NYX_NAME_ID m_db_name_id;            ///< the database that holds the module
    NYX_NAME_ID m_module_name_id;        ///< INVALID on a free row
    std::uint32_t m_num_ports = 0;       ///< of the module when the header was made
    std::uint32_t m_reference_count = 0; ///< instances and relative objects that use the header
};

/// The row behind a NYX_INST_HEADER: what lies in the page is this.
class NYX_INST_HEADER_IMPL final : public NYX_INST_HEADER, public NYX_INST_HEADER_PRIMARY {
public:
    using primary_type = NYX_INST_HEADER_PRIMARY;
};

static_assert(sizeof(NYX_INST_HEADER_IMPL) == 16 && std::is_standard_layout_v<NYX_INST_HEADER_IMPL>);

#endif
