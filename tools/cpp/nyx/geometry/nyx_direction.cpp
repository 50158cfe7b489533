#include "nyx/nyx_direction.h"

#include "nyx_report/nyx_report_exception.h"

#include <boost/format.hpp>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <locale>
#include <string>
#include <string_view>

namespace {

struct DIRECTION_NAMES {
    const char *name;
    char letter;
};

/// By value of the direction.
constexpr DIRECTION_NAMES s_directions[] = {
    {"not_specified", '-'}, {"up", 'U'}, {"down", 'D'}, {"left", 'L'}, {"right", 'R'}, {"dont_care", 'X'},
};

template <class T>
std::string unknown_direction(const T &argument) {
    return (boost::format("Unknown direction %1%") % argument).str();
}

/// The first direction whose entry satisfies `matches`; one past the last if none does.
NYX_DIRECTION find_direction(auto &&matches) {
    const auto found = std::find_if(std::begin(s_directions), std::end(s_directions), matches);
    return static_cast<NYX_DIRECTION>(found - std::begin(s_directions));
}

constexpr bool is_known(NYX_DIRECTION direction) {
    return static_cast<std::size_t>(direction) < std::size(s_directions);
}

constexpr const DIRECTION_NAMES &entry(NYX_DIRECTION direction) {
    return s_directions[static_cast<std::size_t>(direction)];
}

} // namespace

NYX_DIRECTION nyx_get_direction_by_name(const char *name) {
    if (!name)
        NYX_RAISE_INVALID_ARGUMENT("nyx_get_direction_by_name", unknown_direction("(null)"));
    if (!*name)
        return NYX_DIRECTION::NOT_SPECIFIED;
    const std::locale locale;
    const auto &letters = std::use_facet<std::ctype<char>>(locale);
    const auto same_letter = [&](char a, char b) { return letters.toupper(a) == letters.toupper(b); };
    const NYX_DIRECTION direction = find_direction([&](const DIRECTION_NAMES &names) {
        return std::ranges::equal(std::string_view(names.name), std::string_view(name), same_letter);
    });
    if (!is_known(direction))
        NYX_RAISE_INVALID_ARGUMENT("nyx_get_direction_by_name", unknown_direction(name));
    return direction;
}

const char *nyx_get_name_of_direction(NYX_DIRECTION direction) {
    if (!is_known(direction))
        NYX_RAISE_INVALID_ARGUMENT("nyx_get_name_of_direction", unknown_direction(static_cast<unsigned>(direction)));
    return entry(direction).name;
}

NYX_DIRECTION nyx_get_direction_by_char(char letter) {
    const char capital = 'a' <= letter && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    const NYX_DIRECTION direction =
        find_direction([capital](const DIRECTION_NAMES &names) { return names.letter == capital; });
    if (!is_known(direction)) {
        // A NUL would end the exception's text where it stands.
        NYX_RAISE_INVALID_ARGUMENT("nyx_get_direction_by_char",
                                   letter ? unknown_direction(letter) : unknown_direction("\\0"));
    }
    return direction;
}

char nyx_get_char_of_direction(NYX_DIRECTION direction) {
    if (!is_known(direction))
        NYX_RAISE_INVALID_ARGUMENT("nyx_get_char_of_direction", unknown_direction(static_cast<unsigned>(direction)));
    return entry(direction).letter;
}
