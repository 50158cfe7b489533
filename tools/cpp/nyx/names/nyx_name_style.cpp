#include "nyx/nyx_name_style.h"

#include <cstddef>
#include <string_view>

namespace {

constexpr char ESCAPE = '\\';

/// `segment` without the backslash before each separator.
std::string unescaped(std::string_view segment, char separator) {
    std::string result;
    result.reserve(segment.size());
    for (const char c : segment) {
        if (c == separator && !result.empty() && result.back() == ESCAPE)
            result.pop_back();
        result.push_back(c);
    }
    return result;
}

void append_escaped(std::string &path, std::string_view segment, char separator) {
    for (const char c : segment) {
        if (c == separator)
            path.push_back(ESCAPE);
        path.push_back(c);
    }
}

} // namespace

void nyx_split_handling_escaped_separator(const char *text, char separator, unsigned long long max_splits,
                                          std::vector<std::string> &segments) {
    segments.clear();
    if (!text)
        return;

    const char *segment = text;
    bool escaped = false;               // the next character is
    bool has_escaped_separator = false; // in this segment
    const auto end_segment = [&](const char *end) {
        const std::string_view raw(segment, static_cast<std::size_t>(end - segment));
        if (has_escaped_separator)
            segments.push_back(unescaped(raw, separator));
        else
            segments.emplace_back(raw);
        segment = end + 1;
        has_escaped_separator = false;
    };

    const char *c = text;
    for (; *c; ++c) {
        if (*c == ESCAPE) {
            escaped = !escaped;
            continue;
        }
        if (*c == separator) {
            if (escaped)
                has_escaped_separator = true;
            else if (max_splits == 0 || segments.size() < max_splits)
                end_segment(c);
        }
        escaped = false;
    }
    end_segment(c);
}

std::string nyx_join_escaping_separator(boost::iterator_range<std::vector<std::string>::const_iterator> segments,
                                        char separator, bool escape_last) {
    std::string path;
    if (segments.empty())
        return path;

    std::size_t size = segments.size() - 1;
    for (const std::string &segment : segments)
        size += segment.size();
    path.reserve(size); // exact unless something is to be escaped

    const auto last = segments.end() - 1;
    for (auto segment = segments.begin(); segment != last; ++segment) {
        append_escaped(path, *segment, separator);
        path.push_back(separator);
    }
    if (escape_last)
        append_escaped(path, *last, separator);
    else
        path += *last;
    return path;
}
