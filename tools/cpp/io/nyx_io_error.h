#ifndef NYX_IO_ERROR_H
#define NYX_IO_ERROR_H

#include <stdexcept>
#include <string>
#include <string_view>

/// What readers and writers of foreign files throw: one line with the file, the place in it, what is wrong there, and
/// what to do about it where that isn't plain.
class NYX_IO_ERROR : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The text in the form that a line of a message can hold: control characters are written as in JSON.
std::string nyx_printable(std::string_view text);

/// A key as a step of a JSON pointer.
std::string nyx_pointer_step(std::string_view key);

#endif
