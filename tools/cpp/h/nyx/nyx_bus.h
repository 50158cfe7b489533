#ifndef NYX_BUS_H
#define NYX_BUS_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// Ports of one module under one name and an index range. A handle is its row's address: it owns nothing, and is valid
/// until the object is deleted or the database closed.
class NYX_API NYX_PORT_BUS : public NYX_OBJECT<NYX_PORT_BUS> {
public:
    /// \internal The row.
    NYX_PORT_BUS_IMPL *get_impl();
    const NYX_PORT_BUS_IMPL *get_impl() const;

protected:
    NYX_PORT_BUS() = default;
    ~NYX_PORT_BUS() = default;
};

/// Nets of one module under one name and an index range. A handle is its row's address: it owns nothing, and is valid
/// until the object is deleted or the database closed.
class NYX_API NYX_NET_BUS : public NYX_OBJECT<NYX_NET_BUS> {
public:
    /// \internal The row.
    NYX_NET_BUS_IMPL *get_impl();
    const NYX_NET_BUS_IMPL *get_impl() const;

protected:
    NYX_NET_BUS() = default;
    ~NYX_NET_BUS() = default;
};

/// Instances of one module under one name and an index range. A handle is its row's address: it owns nothing, and is
/// valid until the object is deleted or the database closed.
class NYX_API NYX_INSTANCE_BUS : public NYX_OBJECT<NYX_INSTANCE_BUS> {
public:
    /// \internal The row.
    NYX_INSTANCE_BUS_IMPL *get_impl();
    const NYX_INSTANCE_BUS_IMPL *get_impl() const;

protected:
    NYX_INSTANCE_BUS() = default;
    ~NYX_INSTANCE_BUS() = default;
};

#endif
