#include "geometry/nyx_arithmetic.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int MIN = std::numeric_limits<int>::min();
constexpr int MAX = std::numeric_limits<int>::max();

} // namespace

TEST(Arithmetic, WrapsAround) {
    EXPECT_EQ(nyx_wrapping_add(2, -5), -3);
    EXPECT_EQ(nyx_wrapping_add(MAX, 1), MIN);
    EXPECT_EQ(nyx_wrapping_add(MIN, MIN), 0);
    EXPECT_EQ(nyx_wrapping_sub(2, 5), -3);
    EXPECT_EQ(nyx_wrapping_sub(MIN, 1), MAX);
    EXPECT_EQ(nyx_wrapping_neg(5), -5);
    EXPECT_EQ(nyx_wrapping_neg(MIN), MIN);
}

TEST(Arithmetic, KeepsTheErrorValueOutOfPythonHashes) {
    EXPECT_EQ(nyx_to_python_hash(~std::size_t{0}), -2);
    EXPECT_EQ(nyx_to_python_hash(0), 0);
    EXPECT_EQ(nyx_to_python_hash(17), 17);
}
