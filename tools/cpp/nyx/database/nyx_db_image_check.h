#ifndef NYX_DB_IMAGE_CHECK_H
#define NYX_DB_IMAGE_CHECK_H

/// \file
/// What a loaded image has to show before anything in it is used: that the root, the tables, the columns with their
/// pages, the maps of the root and the names lie in blocks of their own that are large enough, and that their counts
/// agree. What rows hold is not looked at; NYX_DB::verify() does that.

#include "memory/nyx_segment.h"
#include "nyx/nyx_db.h"

#include <string>
#include <vector>

class NYX_DB_PERSISTENT;

/// Every fault that is found in a segment whose range is readable: of its blocks and their tree, and if these are
/// sound, of all that nyx_find_sound_root() looks at, of the hashes of all maps, of the properties of rows, of the
/// values of traits, and of the arrays that rows lead to. Writes nothing and always ends. O(blocks + pages + names +
/// values).
std::vector<std::string> nyx_find_image_faults(NYX_SEGMENT_MANAGER *manager, NYX_DB_TYPE type);

/// The root of the database in a segment whose blocks are sound, and `blocks` where those are that are allocated. Null
/// if it isn't a database of that type. The map from texts to names is looked at only if the database `may_change`, for
/// that takes a third of the time to open a large design: look-ups of names expect anything there, and adding one does
/// not. Writes nothing. O(blocks + pages + names).
NYX_DB_PERSISTENT *nyx_find_sound_root(NYX_SEGMENT_MANAGER *manager, NYX_BLOCK_MAP blocks, NYX_DB_TYPE type,
                                       bool may_change);

#endif
