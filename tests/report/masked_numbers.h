#ifndef NYX_TEST_MASKED_NUMBERS_H
#define NYX_TEST_MASKED_NUMBERS_H

#include <string>
#include <string_view>

/// `text` with a '#' for every run of digits, so that a text that holds times can be compared to the letter.
inline std::string with_masked_numbers(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            result += c;
        } else if (result.empty() || result.back() != '#') {
            result += '#';
        }
    }
    return result;
}

#endif
