#ifndef NYX_DESIGN_ENTRY_H
#define NYX_DESIGN_ENTRY_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// A design unit in a source file. A handle is its row's address: it owns nothing, and is valid until the object is
/// deleted or the database closed.
class NYX_API NYX_ENTITY : public NYX_OBJECT<NYX_ENTITY> {
public:
    /// \internal The row.
    NYX_ENTITY_IMPL *get_impl();
    const NYX_ENTITY_IMPL *get_impl() const;

protected:
    NYX_ENTITY() = default;
    ~NYX_ENTITY() = default;
};

/// A clock of a constraint script. A handle is its row's address: it owns nothing, and is valid until the object is
/// deleted or the database closed.
class NYX_API NYX_SDC_CLOCK : public NYX_OBJECT<NYX_SDC_CLOCK> {
public:
    /// \internal The row.
    NYX_SDC_CLOCK_IMPL *get_impl();
    const NYX_SDC_CLOCK_IMPL *get_impl() const;

protected:
    NYX_SDC_CLOCK() = default;
    ~NYX_SDC_CLOCK() = default;
};

/// A file that the design came from. A handle is its row's address: it owns nothing, and is valid until the object is
/// deleted or the database closed.
class NYX_API NYX_SOURCE_FILE : public NYX_OBJECT<NYX_SOURCE_FILE> {
public:
    /// \internal The row.
    NYX_SOURCE_FILE_IMPL *get_impl();
    const NYX_SOURCE_FILE_IMPL *get_impl() const;

protected:
    NYX_SOURCE_FILE() = default;
    ~NYX_SOURCE_FILE() = default;
};

#endif
