#ifndef NYX_CONSTRAINT_H
#define NYX_CONSTRAINT_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// One argument of a constraint statement. A handle is its row's address: it owns nothing, and is valid until the
/// object is deleted or the database closed.
class NYX_API NYX_CONSTRAINT_ARG : public NYX_OBJECT<NYX_CONSTRAINT_ARG> {
public:
    /// What the value is. Stored in a byte.
    enum class VALUE_TYPE : unsigned char {
        INVALID = 0, ///< of a free row only
        NO_ARG = 1,
        BOOL = 2,
        INT = 3,
        FLOAT = 4,
        STRING = 5,
        COLLECTION = 6
    };

    /// \internal The row.
    NYX_CONSTRAINT_ARG_IMPL *get_impl();
    const NYX_CONSTRAINT_ARG_IMPL *get_impl() const;

protected:
    NYX_CONSTRAINT_ARG() = default;
    ~NYX_CONSTRAINT_ARG() = default;
};

/// A set of objects that a constraint names. A handle is its row's address: it owns nothing, and is valid until the
/// object is deleted or the database closed.
class NYX_API NYX_CONSTRAINT_COLLECTION : public NYX_OBJECT<NYX_CONSTRAINT_COLLECTION> {
public:
    /// \internal The row.
    NYX_CONSTRAINT_COLLECTION_IMPL *get_impl();
    const NYX_CONSTRAINT_COLLECTION_IMPL *get_impl() const;

protected:
    NYX_CONSTRAINT_COLLECTION() = default;
    ~NYX_CONSTRAINT_COLLECTION() = default;
};

/// One command of a constraint script. A handle is its row's address: it owns nothing, and is valid until the object is
/// deleted or the database closed.
class NYX_API NYX_CONSTRAINT_STMT : public NYX_OBJECT<NYX_CONSTRAINT_STMT> {
public:
    /// \internal The row.
    NYX_CONSTRAINT_STMT_IMPL *get_impl();
    const NYX_CONSTRAINT_STMT_IMPL *get_impl() const;

protected:
    NYX_CONSTRAINT_STMT() = default;
    ~NYX_CONSTRAINT_STMT() = default;
};

#endif
