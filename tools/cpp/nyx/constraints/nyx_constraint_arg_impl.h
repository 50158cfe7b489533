#ifndef NYX_CONSTRAINT_ARG_IMPL_H
#define NYX_CONSTRAINT_ARG_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_constraint.h"
#include "nyx/nyx_defs.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_CONSTRAINT_ARG_PRIMARY {
    NYX_NAME_ID m_name_id;
    NYX_CONSTRAINT_ARG_ID m_next; ///< in the statement
    NYX_CONSTRAINT_ARG_ID m_prev;
    std::uint32_t m_value_repr = 0; ///< the value, as the value type says
};

/// The row behind a NYX_CONSTRAINT_ARG: what lies in the page is this.
class NYX_CONSTRAINT_ARG_IMPL final : public NYX_CONSTRAINT_ARG, public NYX_CONSTRAINT_ARG_PRIMARY {
public:
    using primary_type = NYX_CONSTRAINT_ARG_PRIMARY;
};

static_assert(sizeof(NYX_CONSTRAINT_ARG_IMPL) == 16 && std::is_standard_layout_v<NYX_CONSTRAINT_ARG_IMPL>);

#endif
