#ifndef NYX_DIRECTION_H
#define NYX_DIRECTION_H

/// \file
/// The direction in which something faces, with its names and letters.

#include "nyx/nyx_api.h"

/// Stored in rows: the numbers are part of the file format.
///
/// The names, by value: "not_specified", "up", "down", "left", "right", "dont_care". The letters: '-', 'U', 'D', 'L',
/// 'R', 'X'.
enum class NYX_API NYX_DIRECTION : unsigned char {
    NOT_SPECIFIED = 0,
    UP = 1,
    DOWN = 2,
    LEFT = 3,
    RIGHT = 4,
    DONT_CARE = 5,
};

/// \name Directions, names and letters
/// Each raises NYX_INVALID_ARGUMENT "Unknown direction X", with X its argument, if there is no answer. Thread-safe.
/// \{

/// The direction called `name`. Capitals count as small letters, by the rules of the process's default locale. The
/// empty text is NOT_SPECIFIED. A null pointer is unknown and told as "(null)".
NYX_API NYX_DIRECTION nyx_get_direction_by_name(const char *name);

/// Static text. A direction that can't be named is told by its number.
NYX_API const char *nyx_get_name_of_direction(NYX_DIRECTION direction);

/// The direction with the letter `letter`, capital or small.
NYX_API NYX_DIRECTION nyx_get_direction_by_char(char letter);

/// The capital letter, or '-'.
NYX_API char nyx_get_char_of_direction(NYX_DIRECTION direction);

/// \}

#endif
