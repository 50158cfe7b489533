#ifndef NYX_INST_PORT_H
#define NYX_INST_PORT_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// The connection point of one port on one instance. A handle is its row's address: it owns nothing, and is valid until
/// the object is deleted or the database closed.
class NYX_API NYX_INST_PORT : public NYX_OBJECT<NYX_INST_PORT> {
public:
    /// \internal The row.
    NYX_INST_PORT_IMPL *get_impl();
    const NYX_INST_PORT_IMPL *get_impl() const;

protected:
    NYX_INST_PORT() = default;
    ~NYX_INST_PORT() = default;
};

#endif
