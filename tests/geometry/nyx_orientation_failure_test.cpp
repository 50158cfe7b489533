#include "geometry_test_support.h"

#include <gtest/gtest.h>

using namespace geometry_test;

namespace {

constexpr const char *UNKNOWN = "check failed: is_valid\\(\\) && next\\.is_valid\\(\\): Unknown orientation \\[";

} // namespace

TEST(OrientationDeathTest, RefusesToConcatenateAnUnknownOrientation) {
    EXPECT_DEATH(BAD_ORIENTATION.concat(NYX_ORIENTATION::N), UNKNOWN);
    EXPECT_DEATH(NYX_ORIENTATION::N.concat(BAD_ORIENTATION), UNKNOWN);
    EXPECT_DEATH(WORST_ORIENTATION.concat(WORST_ORIENTATION), UNKNOWN);
}
