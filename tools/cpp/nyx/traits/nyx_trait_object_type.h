#ifndef NYX_TRAIT_OBJECT_TYPE_H
#define NYX_TRAIT_OBJECT_TYPE_H

#include "nyx/nyx_defs.h"

/// The text of an object type as it stands behind the stored names of traits; empty for a value that is none.
const char *nyx_get_trait_object_type_text(NYX_TRAIT_OBJ_TYPE object_type);

#endif
