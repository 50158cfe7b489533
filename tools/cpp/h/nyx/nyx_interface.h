#ifndef NYX_INTERFACE_H
#define NYX_INTERFACE_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// A named group of ports and port buses of one module, one end of a link between instances. A handle is its row's
/// address: it owns nothing, and is valid until the object is deleted or the database closed.
class NYX_API NYX_INTERFACE : public NYX_OBJECT<NYX_INTERFACE> {
public:
    /// \internal The row.
    NYX_INTERFACE_IMPL *get_impl();
    const NYX_INTERFACE_IMPL *get_impl() const;

protected:
    NYX_INTERFACE() = default;
    ~NYX_INTERFACE() = default;
};

#endif
