#ifndef NYX_CONSTRAINT_STMT_IMPL_H
#define NYX_CONSTRAINT_STMT_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_constraint.h"
#include "nyx/nyx_defs.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_CONSTRAINT_STMT_PRIMARY {
    NYX_CONSTRAINT_ARG_ID m_head_arg;
};

/// The row behind a NYX_CONSTRAINT_STMT: what lies in the page is this.
class NYX_CONSTRAINT_STMT_IMPL final : public NYX_CONSTRAINT_STMT, public NYX_CONSTRAINT_STMT_PRIMARY {
public:
    using primary_type = NYX_CONSTRAINT_STMT_PRIMARY;
};

static_assert(sizeof(NYX_CONSTRAINT_STMT_IMPL) == 4 && std::is_standard_layout_v<NYX_CONSTRAINT_STMT_IMPL>);

#endif
