#ifndef NYX_PORT_H
#define NYX_PORT_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// A single-bit connection point of a module. A handle is its row's address: it owns nothing, and is valid until the
/// object is deleted or the database closed.
class NYX_API NYX_PORT : public NYX_OBJECT<NYX_PORT> {
public:
    /// \internal The row.
    NYX_PORT_IMPL *get_impl();
    const NYX_PORT_IMPL *get_impl() const;

protected:
    NYX_PORT() = default;
    ~NYX_PORT() = default;
};

#endif
