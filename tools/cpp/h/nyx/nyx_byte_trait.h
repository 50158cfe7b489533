#ifndef NYX_BYTE_TRAIT_H
#define NYX_BYTE_TRAIT_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

/// A sparse attribute of 1 bytes, or a byte, on objects of one type. A handle is its row's address: it owns nothing,
/// and is valid until the object is deleted or the database closed.
class NYX_API NYX_BYTE1_TRAIT : public NYX_OBJECT<NYX_BYTE1_TRAIT> {
public:
    /// \internal The row.
    NYX_BYTE1_TRAIT_IMPL *get_impl();
    const NYX_BYTE1_TRAIT_IMPL *get_impl() const;

protected:
    NYX_BYTE1_TRAIT() = default;
    ~NYX_BYTE1_TRAIT() = default;
};

/// A sparse attribute of 4 bytes, or a byte, on objects of one type. A handle is its row's address: it owns nothing,
/// and is valid until the object is deleted or the database closed.
class NYX_API NYX_BYTE4_TRAIT : public NYX_OBJECT<NYX_BYTE4_TRAIT> {
public:
    /// \internal The row.
    NYX_BYTE4_TRAIT_IMPL *get_impl();
    const NYX_BYTE4_TRAIT_IMPL *get_impl() const;

protected:
    NYX_BYTE4_TRAIT() = default;
    ~NYX_BYTE4_TRAIT() = default;
};

/// A sparse attribute of 8 bytes, or a byte, on objects of one type. A handle is its row's address: it owns nothing,
/// and is valid until the object is deleted or the database closed.
class NYX_API NYX_BYTE8_TRAIT : public NYX_OBJECT<NYX_BYTE8_TRAIT> {
public:
    /// \internal The row.
    NYX_BYTE8_TRAIT_IMPL *get_impl();
    const NYX_BYTE8_TRAIT_IMPL *get_impl() const;

protected:
    NYX_BYTE8_TRAIT() = default;
    ~NYX_BYTE8_TRAIT() = default;
};

#endif
