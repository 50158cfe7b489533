#ifndef NYX_INSTANCE_IMPL_H
#define NYX_INSTANCE_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_instance.h"

#include <cstdint>
#include <type_traits>

class NYX_INST_HEADER_IMPL;
class NYX_MODULE_IMPL;

// Stored: the order and the widths of the members are part of the file format.
struct NYX_INSTANCE_PRIMARY {
    NYX_OFFSET_PTR<NYX_INST_HEADER_IMPL>
        m_inst_header_ptr;                        ///< the way to the base module when that lies in another database
    NYX_OFFSET_PTR<NYX_MODULE_IMPL> m_module_ptr; ///< the base module when it lies in this database
    NYX_OFFSET_PTR<NYX_MODULE_IMPL> m_parent_ptr; ///< the module that contains the instance; null in none
    NYX_NAME_ID m_name_id;
    NYX_INSTANCE_ID m_next_in_module;
    NYX_INSTANCE_ID m_prev_in_module;
    std::uint32_t m_unique_suffix = ~0u; ///< number shown behind the name; all ones: none
};

/// The row behind a NYX_INSTANCE: what lies in the page is this.
class NYX_INSTANCE_IMPL final : public NYX_INSTANCE, public NYX_INSTANCE_PRIMARY {
public:
    using primary_type = NYX_INSTANCE_PRIMARY;
};

static_assert(sizeof(NYX_INSTANCE_IMPL) == 40 && std::is_standard_layout_v<NYX_INSTANCE_IMPL>);

#endif
