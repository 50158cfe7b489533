#ifndef NYX_RELATIVE_OBJECT_IMPL_H
#define NYX_RELATIVE_OBJECT_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_relative_object.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_RELATIVE_OBJECT_PRIMARY {
    NYX_OFFSET_PTR<NYX_NAME_ID> m_path_segment_ids_ptr; ///< array of path_length names; null for an empty path
    std::uint8_t m_object_type = 0;
};

/// The row behind a NYX_RELATIVE_OBJECT: what lies in the page is this.
class NYX_RELATIVE_OBJECT_IMPL final : public NYX_RELATIVE_OBJECT, public NYX_RELATIVE_OBJECT_PRIMARY {
public:
    using primary_type = NYX_RELATIVE_OBJECT_PRIMARY;
};

static_assert(sizeof(NYX_RELATIVE_OBJECT_IMPL) == 16 && std::is_standard_layout_v<NYX_RELATIVE_OBJECT_IMPL>);

#endif
