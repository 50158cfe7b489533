#ifndef NYX_SDC_CLOCK_IMPL_H
#define NYX_SDC_CLOCK_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_design_entry.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_SDC_CLOCK_PRIMARY {
    NYX_NAME_ID m_name_id;
};

/// The row behind a NYX_SDC_CLOCK: what lies in the page is this.
class NYX_SDC_CLOCK_IMPL final : public NYX_SDC_CLOCK, public NYX_SDC_CLOCK_PRIMARY {
public:
    using primary_type = NYX_SDC_CLOCK_PRIMARY;
};

static_assert(sizeof(NYX_SDC_CLOCK_IMPL) == 4 && std::is_standard_layout_v<NYX_SDC_CLOCK_IMPL>);

#endif
