#ifndef NYX_INST_HEADER_H
#define NYX_INST_HEADER_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// Stands in a database for a module that lies in another one. A handle is its row's address: it owns nothing, and is
/// valid until the object is deleted or the database closed.
class NYX_API NYX_INST_HEADER : public NYX_OBJECT<NYX_INST_HEADER> {
public:
    /// \internal The row.
    NYX_INST_HEADER_IMPL *get_impl();
    const NYX_INST_HEADER_IMPL *get_impl() const;

protected:
    NYX_INST_HEADER() = default;
    ~NYX_INST_HEADER() = default;
};

#endif
