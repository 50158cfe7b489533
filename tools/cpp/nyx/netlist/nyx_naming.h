#ifndef NYX_NAMING_H
#define NYX_NAMING_H

/// \file
/// How objects put their printed names together, and their source locations.

#include "names/nyx_name_mgr.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_name_style.h"
#include "nyx_report/nyx_report.h"

#include <cstdint>
#include <string>

/// The unique suffix of an object that has none.
inline constexpr std::uint32_t NYX_NO_SUFFIX = ~std::uint32_t(0);

/// The next number of a name for an object that is to be unique: name and number as it shows them are not a name of
/// their own. 0 at first. NYX_RUNTIME_ERROR when the numbers are used up. O(length of the name), and of the numbers
/// that are passed over.
inline std::uint32_t nyx_next_suffix(NYX_NAME_MANAGER &names, const std::string &name, NYX_NAME_ID name_id) {
    for (;;) {
        const std::uint32_t suffix = names.increase_id_count(name_id).get();
        if (names.find_id((name + '_' + std::to_string(suffix)).c_str()) == NYX_NAME_ID::INVALID)
            return suffix;
    }
}

/// Appends a name, and behind it "_" and its number if it has one.
inline void nyx_append_name(std::string &result, const NYX_NAME_MANAGER &names, NYX_NAME_ID name_id,
                            std::uint32_t suffix = NYX_NO_SUFFIX) {
    std::string name;
    const bool found = names.find_name(name_id, name);
    NYX_CHECK(found);
    result += name;
    if (suffix != NYX_NO_SUFFIX) {
        result += '_';
        result += std::to_string(suffix);
    }
}

/// Replaces `result` by the name of an object in a style. `prefix` is its class's, such as "NET:"; `get_parent` gives
/// the handle of its parent and is called only if the style shows the parent. An object without a parent shows none.
template <class GET_PARENT>
void nyx_write_name(std::string &result, const NYX_NAME_STYLE &style, const char *prefix, const std::string &name,
                    GET_PARENT &&get_parent) {
    result.clear();
    if (style.with_type_prefix)
        result += prefix;
    if (style.with_parent) {
        if (const auto *const parent = get_parent()) {
            result += parent->get_name(style.parent_style());
            result += style.parent_separator;
        }
    }
    result += name;
}

/// The same for a name that is stored.
template <class GET_PARENT>
void nyx_write_name(std::string &result, const NYX_NAME_STYLE &style, const char *prefix, const NYX_NAME_MANAGER &names,
                    NYX_NAME_ID name_id, std::uint32_t suffix, GET_PARENT &&get_parent) {
    nyx_write_name(result, style, prefix, std::string(), get_parent);
    nyx_append_name(result, names, name_id, suffix);
}

/// "FILE:LINE", empty without a file.
inline std::string nyx_format_location(const std::string &file_name, unsigned lineno) {
    return file_name.empty() ? std::string() : file_name + ':' + std::to_string(lineno);
}

#endif
