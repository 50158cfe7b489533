#ifndef NYX_BYTE8_TRAIT_IMPL_H
#define NYX_BYTE8_TRAIT_IMPL_H

#include "memory/nyx_serialization.h"
#include "nyx/nyx_byte_trait.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_traits.h"
#include "traits/nyx_trait_lookup.h"

#include <type_traits>

// Stored: the order and the widths of the members are part of the file format.
struct NYX_BYTE8_TRAIT_PRIMARY {
    NYX_OFFSET_PTR<NYX_BYTE8_TRAIT_LOOKUP> m_trait_lookup_ptr; ///< the values by object; owned by the row
    NYX_NAME_ID m_description_id;
    NYX_NAME_ID m_group_id;
    NYX_NAME_ID m_internal_storage_name_id; ///< INVALID: no internal name
    NYX_NAME_ID m_storage_name_id;
    NYX_TRAIT_VALUE_TYPE m_value_type{}; ///< the typed view that owns the row
};

/// The row behind a NYX_BYTE8_TRAIT: what lies in the page is this.
class NYX_BYTE8_TRAIT_IMPL final : public NYX_BYTE8_TRAIT, public NYX_BYTE8_TRAIT_PRIMARY {
public:
    using primary_type = NYX_BYTE8_TRAIT_PRIMARY;
};

static_assert(sizeof(NYX_BYTE8_TRAIT_IMPL) == 32 && std::is_standard_layout_v<NYX_BYTE8_TRAIT_IMPL>);

#endif
