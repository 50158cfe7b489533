#ifndef NYX_INSTANCE_H
#define NYX_INSTANCE_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// One use of a module inside another one. A handle is its row's address: it owns nothing, and is valid until the
/// object is deleted or the database closed.
class NYX_API NYX_INSTANCE : public NYX_OBJECT<NYX_INSTANCE> {
public:
    /// Whether and how the placement holds. Stored in a byte; values other than UNPLACED are the callers'.
    enum PLACEMENT_STATUS : unsigned char { UNPLACED = 0 };

    /// \internal The row.
    NYX_INSTANCE_IMPL *get_impl();
    const NYX_INSTANCE_IMPL *get_impl() const;

protected:
    NYX_INSTANCE() = default;
    ~NYX_INSTANCE() = default;
};

#endif
