#ifndef NYX_BUS_DIMENSION_H
#define NYX_BUS_DIMENSION_H

#include "nyx/nyx_api.h"

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// The range of one index of a bus, such as [7:0]. A plain value of eight bytes.
class NYX_API NYX_BUS_DIMENSION {
public:
    /// The range [0].
    constexpr NYX_BUS_DIMENSION() noexcept = default;
    constexpr NYX_BUS_DIMENSION(int left_index, int right_index) noexcept
        : m_left_index(left_index)
        , m_right_index(right_index) {}

    constexpr int get_left_index() const noexcept { return m_left_index; }
    constexpr int get_right_index() const noexcept { return m_right_index; }

    /// Whether the index rises from left to right; true for a single index.
    constexpr bool is_upwards() const noexcept { return m_right_index >= m_left_index; }

    /// The number of indices, from 1 to 2^32.
    constexpr long long get_size() const noexcept {
        const long long distance = static_cast<long long>(m_right_index) - m_left_index;
        return (distance < 0 ? -distance : distance) + 1;
    }

    /// The position of an index: 0 for the left one, rising to the right; -1 if the index lies outside the range.
    constexpr long long get_loc(int index) const noexcept {
        const long long distance = static_cast<long long>(index) - m_left_index;
        const long long loc = is_upwards() ? distance : -distance;
        return loc >= 0 && loc < get_size() ? loc : -1;
    }

    /// "[7:0]", or "[7]" for a single index.
    std::string get_name() const;

    friend constexpr bool operator==(const NYX_BUS_DIMENSION &a, const NYX_BUS_DIMENSION &b) noexcept = default;

private:
    int m_left_index = 0;
    int m_right_index = 0;
};

static_assert(sizeof(NYX_BUS_DIMENSION) == 8 && std::is_trivially_copyable_v<NYX_BUS_DIMENSION>);

/// What is computed of dimensions without a bus.
class NYX_API NYX_BUS_DIMENSION_UTIL {
public:
    /// The flat position of an index with one number for each dimension; that of the last dimension varies fastest.
    ///
    /// Raises NYX_INVALID_ARGUMENT: "Passed in index does not match with size of dimension" when there are not as many
    /// numbers as dimensions, and "Input index[D] is out of bound in coressponidng bus dimension" when the one of
    /// dimension D lies outside it.
    static long long index_to_array_loc(const std::vector<int> &index,
                                        const std::vector<NYX_BUS_DIMENSION> &dimensions);

    /// Takes a query apart, such as "a[3:1][2]": the name "a" and the dimensions (3, 1) and (2, 2). Text without a [ is
    /// a name and nothing else.
    ///
    /// Raises NYX_INVALID_ARGUMENT: "query has invalid format, name must be non-empty", and "input query does not match
    /// valid range format" when what stands behind the name are not ranges of numbers that an int holds.
    static std::pair<std::string, std::vector<NYX_BUS_DIMENSION>> convert_string_to_query(const std::string &query);
};

#endif
