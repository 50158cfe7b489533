#ifndef NYX_DB_IMAGE_CHECK_H
#define NYX_DB_IMAGE_CHECK_H

/// \file
/// What a loaded image has to show before anything in it is used: that the root, the tables, the columns with their
/// pages, the containers of the root and the strings of names lie in blocks of their own that are large enough, and
/// that their counts agree. Rows and the values of containers are not looked at; see nyx_db_verify.h.

#include "memory/nyx_segment.h"
#include "nyx/nyx_db.h"

#include <string>

class NYX_DB_PERSISTENT;

/// The root of the database in a segment whose blocks are sound. Null if it isn't a database of that type. `fault`, if
/// given, tells what is wrong in words. Writes nothing. O(blocks + pages + names).
NYX_DB_PERSISTENT *nyx_find_sound_root(NYX_SEGMENT_MANAGER *manager, NYX_DB_TYPE type, std::string *fault = nullptr);

#endif
