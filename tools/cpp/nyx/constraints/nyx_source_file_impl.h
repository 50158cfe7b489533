#ifndef NYX_SOURCE_FILE_IMPL_H
#define NYX_SOURCE_FILE_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_design_entry.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_SOURCE_FILE_PRIMARY {
    NYX_OFFSET_PTR<NYX_NAME_ID> m_path_segment_ids_ptr; ///< array of path_length names; null for an empty path
};

/// The row behind a NYX_SOURCE_FILE: what lies in the page is this.
class NYX_SOURCE_FILE_IMPL final : public NYX_SOURCE_FILE, public NYX_SOURCE_FILE_PRIMARY {
public:
    using primary_type = NYX_SOURCE_FILE_PRIMARY;
};

static_assert(sizeof(NYX_SOURCE_FILE_IMPL) == 8 && std::is_standard_layout_v<NYX_SOURCE_FILE_IMPL>);

#endif
