#ifndef NYX_MODULE_H
#define NYX_MODULE_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// One cell or block of a design: its ports, and what is inside it. A handle is its row's address: it owns nothing, and
/// is valid until the object is deleted or the database closed.
class NYX_API NYX_MODULE : public NYX_OBJECT<NYX_MODULE> {
public:
    /// \internal The row.
    NYX_MODULE_IMPL *get_impl();
    const NYX_MODULE_IMPL *get_impl() const;

protected:
    NYX_MODULE() = default;
    ~NYX_MODULE() = default;
};

#endif
