#ifndef NYX_HIERARCHY_H
#define NYX_HIERARCHY_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// One node of the unfolded design. A handle is its row's address: it owns nothing, and is valid until the object is
/// deleted or the database closed.
class NYX_API NYX_HIER_INSTANCE : public NYX_OBJECT<NYX_HIER_INSTANCE> {
public:
    /// \internal The row.
    NYX_HIER_INSTANCE_IMPL *get_impl();
    const NYX_HIER_INSTANCE_IMPL *get_impl() const;

protected:
    NYX_HIER_INSTANCE() = default;
    ~NYX_HIER_INSTANCE() = default;
};

/// The module of nodes of the unfolded design. A handle is its row's address: it owns nothing, and is valid until the
/// object is deleted or the database closed.
class NYX_API NYX_HIER_MODULE : public NYX_OBJECT<NYX_HIER_MODULE> {
public:
    /// \internal The row.
    NYX_HIER_MODULE_IMPL *get_impl();
    const NYX_HIER_MODULE_IMPL *get_impl() const;

protected:
    NYX_HIER_MODULE() = default;
    ~NYX_HIER_MODULE() = default;
};

/// A port of a module of the unfolded design. A handle is its row's address: it owns nothing, and is valid until the
/// object is deleted or the database closed.
class NYX_API NYX_HIER_PORT : public NYX_OBJECT<NYX_HIER_PORT> {
public:
    /// \internal The row.
    NYX_HIER_PORT_IMPL *get_impl();
    const NYX_HIER_PORT_IMPL *get_impl() const;

protected:
    NYX_HIER_PORT() = default;
    ~NYX_HIER_PORT() = default;
};

#endif
