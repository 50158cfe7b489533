#ifndef NYX_DB_PERSISTENT_H
#define NYX_DB_PERSISTENT_H

#include "memory/nyx_segment.h"
#include "nyx/nyx_db.h"

/// The root of a database: the named object "NYX" of its segment.
class NYX_DB_PERSISTENT {
public:
    NYX_DB_PERSISTENT(NYX_SEGMENT_MANAGER *, NYX_DB_TYPE type) : m_type(type) {}

    NYX_DB_TYPE get_type() const { return m_type; }

private:
    NYX_DB_TYPE m_type;
};

#endif
