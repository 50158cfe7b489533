#include "bus_test_support.h"

#include <limits>

using namespace bus_test;

namespace {

constexpr int s_min = std::numeric_limits<int>::min();
constexpr int s_max = std::numeric_limits<int>::max();

using QUERY = std::pair<std::string, DIMENSIONS>;

QUERY parse(const std::string &text) {
    return NYX_BUS_DIMENSION_UTIL::convert_string_to_query(text);
}

long long flatten(const std::vector<int> &index, const DIMENSIONS &dimensions) {
    return NYX_BUS_DIMENSION_UTIL::index_to_array_loc(index, dimensions);
}

void expect_refused(const std::string &text) {
    SCOPED_TRACE(text);
    EXPECT_RAISED(parse(text), NYX_INVALID_ARGUMENT, "input query does not match valid range format",
                  "NYX_BUS_DIMENSION_UTIL::convert_string_to_query");
}

TEST(BusDimension, CountsFromItsLeftIndexDownwards) {
    const NYX_BUS_DIMENSION dimension(7, 0);
    EXPECT_EQ(dimension.get_left_index(), 7);
    EXPECT_EQ(dimension.get_right_index(), 0);
    EXPECT_FALSE(dimension.is_upwards());
    EXPECT_EQ(dimension.get_size(), 8);
    EXPECT_EQ(dimension.get_loc(7), 0);
    EXPECT_EQ(dimension.get_loc(0), 7);
    EXPECT_EQ(dimension.get_loc(8), -1);
    EXPECT_EQ(dimension.get_loc(-1), -1);
}

TEST(BusDimension, CountsFromItsLeftIndexUpwards) {
    const NYX_BUS_DIMENSION dimension(-2, 1);
    EXPECT_TRUE(dimension.is_upwards());
    EXPECT_EQ(dimension.get_size(), 4);
    EXPECT_EQ(dimension.get_loc(-2), 0);
    EXPECT_EQ(dimension.get_loc(1), 3);
    EXPECT_EQ(dimension.get_loc(-3), -1);
    EXPECT_EQ(dimension.get_loc(2), -1);
}

TEST(BusDimension, OfOneIndexIsUpwards) {
    const NYX_BUS_DIMENSION dimension(3, 3);
    EXPECT_TRUE(dimension.is_upwards());
    EXPECT_EQ(dimension.get_size(), 1);
    EXPECT_EQ(dimension.get_loc(3), 0);
    EXPECT_EQ(dimension.get_loc(2), -1);
    EXPECT_EQ(dimension.get_loc(4), -1);
}

TEST(BusDimension, IsTheIndexZeroByDefault) {
    EXPECT_EQ(NYX_BUS_DIMENSION(), NYX_BUS_DIMENSION(0, 0));
    EXPECT_NE(NYX_BUS_DIMENSION(), NYX_BUS_DIMENSION(0, 1));
    EXPECT_NE(NYX_BUS_DIMENSION(), NYX_BUS_DIMENSION(1, 0));
}

TEST(BusDimension, ReachesOverAllNumbers) {
    EXPECT_EQ(NYX_BUS_DIMENSION(s_min, s_max).get_size(), 1LL << 32);
    EXPECT_EQ(NYX_BUS_DIMENSION(s_max, s_min).get_size(), 1LL << 32);
    EXPECT_EQ(NYX_BUS_DIMENSION(s_min, s_max).get_loc(s_max), (1LL << 32) - 1);
    EXPECT_EQ(NYX_BUS_DIMENSION(s_max, s_min).get_loc(s_min), (1LL << 32) - 1);
    EXPECT_EQ(NYX_BUS_DIMENSION(s_max, 0).get_loc(s_min), -1);
    EXPECT_EQ(NYX_BUS_DIMENSION(0, s_max).get_loc(s_min), -1);
}

TEST(BusDimension, IsNamedByItsIndices) {
    EXPECT_EQ(NYX_BUS_DIMENSION(7, 0).get_name(), "[7:0]");
    EXPECT_EQ(NYX_BUS_DIMENSION(-1, 2).get_name(), "[-1:2]");
    EXPECT_EQ(NYX_BUS_DIMENSION(5, 5).get_name(), "[5]");
}

TEST(BusIndex, OfTheLastDimensionVariesFastest) {
    const DIMENSIONS dimensions{{0, 1}, {0, 2}};
    EXPECT_EQ(flatten({1, 2}, dimensions), 5);
    long long expected = 0;
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 3; ++j)
            EXPECT_EQ(flatten({i, j}, dimensions), expected++);
    }
}

TEST(BusIndex, GoesByPositionInEachDimension) {
    const DIMENSIONS dimensions{{1, 0}, {-1, 1}, {7, 4}};
    EXPECT_EQ(flatten({1, -1, 7}, dimensions), 0);
    EXPECT_EQ(flatten({0, 0, 6}, dimensions), 1 * 12 + 1 * 4 + 1);
    EXPECT_EQ(flatten({0, 1, 4}, dimensions), 23);
}

TEST(BusIndex, WithoutDimensionsIsTheOnlyPosition) {
    EXPECT_EQ(flatten({}, {}), 0);
}

TEST(BusIndex, NeedsANumberForEachDimension) {
    constexpr const char *text = "Passed in index does not match with size of dimension";
    constexpr const char *function = "NYX_BUS_DIMENSION_UTIL::index_to_array_loc";
    EXPECT_RAISED(flatten({1}, {{0, 1}, {0, 2}}), NYX_INVALID_ARGUMENT, text, function);
    EXPECT_RAISED(flatten({1, 2, 3}, {{0, 1}, {0, 2}}), NYX_INVALID_ARGUMENT, text, function);
}

TEST(BusIndex, LiesInEachDimension) {
    constexpr const char *function = "NYX_BUS_DIMENSION_UTIL::index_to_array_loc";
    EXPECT_RAISED(flatten({2, 0}, {{0, 1}, {0, 2}}), NYX_INVALID_ARGUMENT,
                  "Input index[0] is out of bound in coressponidng bus dimension", function);
    EXPECT_RAISED(flatten({1, -1}, {{0, 1}, {0, 2}}), NYX_INVALID_ARGUMENT,
                  "Input index[1] is out of bound in coressponidng bus dimension", function);
}

TEST(BusQuery, WithoutBracketIsAName) {
    EXPECT_EQ(parse("a"), QUERY("a", {}));
    EXPECT_EQ(parse("a]"), QUERY("a]", {}));
    EXPECT_EQ(parse(""), QUERY("", {}));
}

TEST(BusQuery, TakesRangesBehindTheName) {
    EXPECT_EQ(parse("a[3:1][2]"), QUERY("a", {{3, 1}, {2, 2}}));
    EXPECT_EQ(parse("a b[0]"), QUERY("a b", {{0, 0}}));
    EXPECT_EQ(parse("a[-3:-1][-0][007]"), QUERY("a", {{-3, -1}, {0, 0}, {7, 7}}));
}

TEST(BusQuery, TakesEveryIntAndNoOtherNumber) {
    EXPECT_EQ(parse("a[2147483647:-2147483648]"), QUERY("a", {{s_max, s_min}}));
    expect_refused("a[2147483648]");
    expect_refused("a[0:-2147483649]");
    expect_refused("a[99999999999999999999999999]");
}

TEST(BusQuery, NeedsAName) {
    EXPECT_RAISED(parse("[3]"), NYX_INVALID_ARGUMENT, "query has invalid format, name must be non-empty",
                  "NYX_BUS_DIMENSION_UTIL::convert_string_to_query");
}

TEST(BusQuery, HasNothingButRangesBehindTheName) {
    for (const char *const text : {"a[x]", "a[", "a[]", "a[3", "a[3:", "a[3:]", "a[:3]", "a[3:1:0]", "a[3]b", "a[3] ",
                                   "a[ 3]", "a[3 ]", "a[+3]", "a[--3]", "a[-]", "a[1.5]", "a[0x1]", "a[3][", "a[3]]"})
        expect_refused(text);
    expect_refused(std::string("a[3]\0", 5));
}

} // namespace
