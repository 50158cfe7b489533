#ifndef NYX_CONSTRAINT_COLLECTION_IMPL_H
#define NYX_CONSTRAINT_COLLECTION_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_constraint.h"
#include "nyx/nyx_defs.h"

#include <cstdint>
#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_CONSTRAINT_COLLECTION_PRIMARY {
    NYX_OFFSET_PTR<void> m_hier_instances_ptr;
    NYX_OFFSET_PTR<void> m_inst_ports_ptr;
    NYX_OFFSET_PTR<void> m_instances_ptr;
    NYX_OFFSET_PTR<void> m_nets_ptr;
    NYX_OFFSET_PTR<void> m_ports_ptr;
    NYX_OFFSET_PTR<void> m_relative_objects_ptr;
    NYX_OFFSET_PTR<void> m_sdc_clocks_ptr;
};

/// The row behind a NYX_CONSTRAINT_COLLECTION: what lies in the page is this.
class NYX_CONSTRAINT_COLLECTION_IMPL final : public NYX_CONSTRAINT_COLLECTION,
                                             public NYX_CONSTRAINT_COLLECTION_PRIMARY {
public:
    using primary_type = NYX_CONSTRAINT_COLLECTION_PRIMARY;
};

static_assert(sizeof(NYX_CONSTRAINT_COLLECTION_IMPL) == 56 &&
              std::is_standard_layout_v<NYX_CONSTRAINT_COLLECTION_IMPL>);

#endif
