#include "io/nyx_io_error.h"

#include <cstdio>

std::string nyx_printable(std::string_view text) {
    std::string result;
    for (const char c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", unsigned(static_cast<unsigned char>(c)));
            result += escape;
        } else
            result += c;
    return result;
}

std::string nyx_pointer_step(std::string_view key) {
    std::string step;
    for (const char c : key)
        c == '~' ? step += "~0" : c == '/' ? step += "~1" : step += c;
    return nyx_printable(step);
}
