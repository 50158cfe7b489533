#ifndef NYX_OBJECT_TRAITS_H
#define NYX_OBJECT_TRAITS_H

/// \file
/// From a handle's type to its row, its table, its identifier and its name.

#include "nyx/nyx_defs.h"

/// The types that go with the handle T.
template <class T>
struct NYX_OBJECT_TRAITS;

#define NYX_OBJECT_TYPE(type)                                                                                          \
    class type##_IMPL;                                                                                                 \
    class type##_TABLE;                                                                                                \
    template <>                                                                                                        \
    struct NYX_OBJECT_TRAITS<type> {                                                                                   \
        using impl = type##_IMPL;                                                                                      \
        using table = type##_TABLE;                                                                                    \
        using id = type##_ID;                                                                                          \
        static constexpr const char *s_name = #type;                                                                   \
    };
#include "memory/nyx_object_types.def"

#endif
