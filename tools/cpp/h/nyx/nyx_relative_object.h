#ifndef NYX_RELATIVE_OBJECT_H
#define NYX_RELATIVE_OBJECT_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// An object in a design that need not be loaded, named by its path. A handle is its row's address: it owns nothing,
/// and is valid until the object is deleted or the database closed.
class NYX_API NYX_RELATIVE_OBJECT : public NYX_OBJECT<NYX_RELATIVE_OBJECT> {
public:
    /// \internal The row.
    NYX_RELATIVE_OBJECT_IMPL *get_impl();
    const NYX_RELATIVE_OBJECT_IMPL *get_impl() const;

protected:
    NYX_RELATIVE_OBJECT() = default;
    ~NYX_RELATIVE_OBJECT() = default;
};

#endif
