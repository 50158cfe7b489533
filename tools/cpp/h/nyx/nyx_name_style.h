#ifndef NYX_NAME_STYLE_H
#define NYX_NAME_STYLE_H

/// \file
/// How objects print their names, and how paths are cut into names and put together again.

#include "nyx/nyx_api.h"

#include <boost/range/iterator_range_core.hpp>

#include <bit>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

/// What the printed name of an object shows besides its own name. By default that is nothing: the bare name.
///
/// A plain value of eight bytes, to be written with the names of its fields:
/// \code
/// port->get_name({.with_parent = true, .with_type_prefix = true}); // "PORT:top|p"
/// \endcode
class NYX_API NYX_NAME_STYLE {
public:
    /// A hierarchical instance's name is followed by its module's name in braces.
    bool show_module = false;
    unsigned char reserved_1 = 0; ///< zero
    /// The parent's name and the parent separator stand before the name.
    bool with_parent = false;
    unsigned char reserved_3 = 0; ///< zero
    /// The class's prefix stands at the very front: "PORT:", "NET:", "MODULE:" and so on.
    bool with_type_prefix = false;
    unsigned char reserved_5 = 0; ///< zero
    /// Stands between the segments of a path through the hierarchy.
    char hier_separator = '|';
    /// Stands between the parent's name and the object's.
    char parent_separator = '|';

    /// The style for the parent's part of a name that shows the parent: without prefix, for one prefix is enough, and
    /// without a parent of the parent's.
    constexpr NYX_NAME_STYLE parent_style() const noexcept {
        NYX_NAME_STYLE style = *this;
        style.with_parent = false;
        style.with_type_prefix = false;
        return style;
    }

    /// The eight bytes as a little-endian number; 0x7c7c000000000000 by default.
    constexpr std::uint64_t to_word() const noexcept { return std::bit_cast<std::uint64_t>(*this); }

    /// The style with the bytes of `word`: any flag byte but zero is true, and the reserved bytes are dropped.
    static constexpr NYX_NAME_STYLE from_word(std::uint64_t word) noexcept {
        const auto byte = [word](int index) { return static_cast<unsigned char>(word >> (8 * index)); };
        NYX_NAME_STYLE style;
        style.show_module = byte(0) != 0;
        style.with_parent = byte(2) != 0;
        style.with_type_prefix = byte(4) != 0;
        style.hier_separator = static_cast<char>(byte(6));
        style.parent_separator = static_cast<char>(byte(7));
        return style;
    }

    friend constexpr bool operator==(const NYX_NAME_STYLE &a, const NYX_NAME_STYLE &b) noexcept = default;
};

static_assert(sizeof(NYX_NAME_STYLE) == 8 && std::is_trivially_copyable_v<NYX_NAME_STYLE>);
static_assert(NYX_NAME_STYLE{}.to_word() == 0x7c7c000000000000);

/// Cuts `text` into segments at every separator that is not escaped, and puts them into `segments` in place of what
/// that held. O(length of the text).
///
/// A backslash escapes the character behind it, so a separator behind an odd number of backslashes is part of its
/// segment and one behind an even number cuts. A segment in which a separator was escaped has one backslash taken away
/// before each of its separators that have one; any other segment is the text as it stands, backslashes included.
///
/// At most `max_splits` cuts are made, unless that is 0; what is left is the last segment. Text that ends in a cut has
/// an empty last segment, empty text is one empty segment, and null has no segments. `text` must not lie in `segments`.
NYX_API void nyx_split_handling_escaped_separator(const char *text, char separator, unsigned long long max_splits,
                                                  std::vector<std::string> &segments);

/// The segments in order with a separator between each two; the empty string for no segments. O(length of the result).
///
/// Separators inside a segment get a backslash before them; those in the last segment only if `escape_last` is set,
/// which is left out where the last segment is the uncut rest of a path. Backslashes are not escaped: splitting the
/// result gives the segments again only where none of them holds one before a separator or at its end.
NYX_API std::string
nyx_join_escaping_separator(boost::iterator_range<std::vector<std::string>::const_iterator> segments, char separator,
                            bool escape_last);

#endif
