#ifndef NYX_NET_H
#define NYX_NET_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// A single-bit signal of one module. A handle is its row's address: it owns nothing, and is valid until the object is
/// deleted or the database closed.
class NYX_API NYX_NET : public NYX_OBJECT<NYX_NET> {
public:
    /// \internal The row.
    NYX_NET_IMPL *get_impl();
    const NYX_NET_IMPL *get_impl() const;

protected:
    NYX_NET() = default;
    ~NYX_NET() = default;
};

#endif
