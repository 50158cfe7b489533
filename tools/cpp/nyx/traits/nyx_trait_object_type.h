#ifndef NYX_TRAIT_OBJECT_TYPE_H
#define NYX_TRAIT_OBJECT_TYPE_H

#include "nyx/nyx_defs.h"

#include <string>

/// The text of an object type as it stands behind the stored names of traits; empty for a value that is none.
const char *nyx_get_trait_object_type_text(NYX_TRAIT_OBJ_TYPE object_type);

/// The name under which a trait is stored: its name with the text of the type of objects behind it. Traits of one name
/// on objects of different types are different traits.
std::string nyx_get_storage_name(const std::string &name, NYX_TRAIT_OBJ_TYPE object_type);

#endif
