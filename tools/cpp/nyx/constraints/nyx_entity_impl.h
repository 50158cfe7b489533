#ifndef NYX_ENTITY_IMPL_H
#define NYX_ENTITY_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_design_entry.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_ENTITY_PRIMARY {
    NYX_NAME_ID m_library_name_id;
};

/// The row behind a NYX_ENTITY: what lies in the page is this.
class NYX_ENTITY_IMPL final : public NYX_ENTITY, public NYX_ENTITY_PRIMARY {
public:
    using primary_type = NYX_ENTITY_PRIMARY;
};

static_assert(sizeof(NYX_ENTITY_IMPL) == 4 && std::is_standard_layout_v<NYX_ENTITY_IMPL>);

#endif
