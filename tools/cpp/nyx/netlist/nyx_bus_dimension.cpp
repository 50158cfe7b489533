#include "nyx/nyx_bus_dimension.h"

#include "nyx_report/nyx_report_exception.h"

#include <charconv>
#include <string_view>

std::string NYX_BUS_DIMENSION::get_name() const {
    std::string name = '[' + std::to_string(m_left_index);
    if (m_left_index != m_right_index)
        name += ':' + std::to_string(m_right_index);
    return name + ']';
}

long long NYX_BUS_DIMENSION_UTIL::index_to_array_loc(const std::vector<int> &index,
                                                     const std::vector<NYX_BUS_DIMENSION> &dimensions) {
    constexpr const char *function = "NYX_BUS_DIMENSION_UTIL::index_to_array_loc";
    if (index.size() != dimensions.size())
        NYX_RAISE_INVALID_ARGUMENT(function, "Passed in index does not match with size of dimension");
    // Modulo 2^64: dimensions that belong to no bus may have any product.
    unsigned long long result = 0;
    for (std::size_t d = 0; d < dimensions.size(); ++d) {
        const long long loc = dimensions[d].get_loc(index[d]);
        if (loc < 0)
            NYX_RAISE_INVALID_ARGUMENT(function, "Input index[" + std::to_string(d) +
                                                     "] is out of bound in coressponidng bus dimension");
        result =
            result * static_cast<unsigned long long>(dimensions[d].get_size()) + static_cast<unsigned long long>(loc);
    }
    return static_cast<long long>(result);
}

namespace {

// Takes a number, as -?\d+, from the front of `text`. False if there is none, or none that an int holds.
bool take_number(std::string_view &text, int &number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool take_character(std::string_view &text, char character) {
    if (text.empty() || text.front() != character)
        return false;
    text.remove_prefix(1);
    return true;
}

// Takes a range from the front of `text`: \[(-?\d+)\] or \[(-?\d+):(-?\d+)\].
bool take_range(std::string_view &text, NYX_BUS_DIMENSION &range) {
    int left = 0;
    if (!take_character(text, '[') || !take_number(text, left))
        return false;
    int right = left;
    if (take_character(text, ':') && !take_number(text, right))
        return false;
    range = NYX_BUS_DIMENSION(left, right);
    return take_character(text, ']');
}

} // namespace

std::pair<std::string, std::vector<NYX_BUS_DIMENSION>>
NYX_BUS_DIMENSION_UTIL::convert_string_to_query(const std::string &query) {
    constexpr const char *function = "NYX_BUS_DIMENSION_UTIL::convert_string_to_query";
    const std::size_t name_end = query.find('[');
    if (name_end == query.npos)
        return {query, {}};
    if (name_end == 0)
        NYX_RAISE_INVALID_ARGUMENT(function, "query has invalid format, name must be non-empty");
    std::vector<NYX_BUS_DIMENSION> dimensions;
    std::string_view rest = std::string_view(query).substr(name_end);
    while (!rest.empty()) {
        NYX_BUS_DIMENSION range;
        if (!take_range(rest, range))
            NYX_RAISE_INVALID_ARGUMENT(function, "input query does not match valid range format");
        dimensions.push_back(range);
    }
    return {query.substr(0, name_end), dimensions};
}
