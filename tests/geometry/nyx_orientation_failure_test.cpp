#include "geometry_test_support.h"

#include <gtest/gtest.h>

using namespace geometry_test;

TEST(OrientationDeathTest, RefusesToConcatenateAnUnknownOrientation) {
    EXPECT_DEATH(BAD_ORIENTATION.concat(NYX_ORIENTATION::N), "Unknown orientation");
    EXPECT_DEATH(NYX_ORIENTATION::N.concat(BAD_ORIENTATION), "Unknown orientation");
    EXPECT_DEATH(WORST_ORIENTATION.concat(WORST_ORIENTATION), "Unknown orientation");
}
