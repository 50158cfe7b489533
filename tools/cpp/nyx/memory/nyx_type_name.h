#ifndef NYX_TYPE_NAME_H
#define NYX_TYPE_NAME_H

/// \file
/// Names of types in the texts of failed checks, and the check of an identifier that carries one. No run-time type
/// information is involved: identifiers are named by the list of object types, everything else as the compiler spells
/// it.

#include "nyx/nyx_defs.h"
#include "nyx_report/nyx_report.h"

#include <cstddef>
#include <string>
#include <string_view>

template <class T>
constexpr std::string_view nyx_type_name() {
    // "... nyx_type_name() [with T = NAME; ...]" or "... nyx_type_name() [T = NAME]".
    constexpr std::string_view text = __PRETTY_FUNCTION__;
    constexpr std::size_t begin = text.find("T = ") + 4;
    constexpr std::size_t end = text.find(';', begin);
    return text.substr(begin, (end != text.npos ? end : text.size() - 1) - begin);
}

// A row is named by its stored part; the handle in front of it has no bytes.
#define NYX_OBJECT_TYPE(type)                                                                                          \
    class type##_IMPL;                                                                                                 \
    template <>                                                                                                        \
    constexpr std::string_view nyx_type_name<type##_ID>() {                                                            \
        return #type "_ID";                                                                                            \
    }                                                                                                                  \
    template <>                                                                                                        \
    constexpr std::string_view nyx_type_name<type##_IMPL>() {                                                          \
        return #type "_PRIMARY";                                                                                       \
    }
#include "memory/nyx_object_types.def"
template <>
constexpr std::string_view nyx_type_name<NYX_NAME_ID>() {
    return "NYX_NAME_ID";
}

template <class ID>
[[noreturn, gnu::cold, gnu::noinline]] void nyx_fail_id(const char *variable) {
    const std::string expression = std::string(variable).append(" != ").append(nyx_type_name<ID>()).append("::INVALID");
    NYX_REPORT::detail::assert_at_line(expression.c_str(), __FILE__, __LINE__);
}

/// Ends the run with "id != NYX_X_ID::INVALID" if `id` refers to no row. Every accessor by identifier starts with it.
template <class ID>
inline void nyx_check_id(ID id, const char *variable = "id") {
    if (id == ID::INVALID) [[unlikely]]
        nyx_fail_id<ID>(variable);
}

#endif
