#include "geometry_test_support.h"

#include <gtest/gtest.h>

using namespace geometry_test;

TEST(TransformDeathTest, RefusesToInvertAnUnknownOrientation) {
    NYX_TRANSFORM transform(1, 2, BAD_ORIENTATION);
    EXPECT_DEATH(transform.invert(), "check failed: false: Unknown orientation \\[");
    transform.set_orientation(WORST_ORIENTATION);
    EXPECT_DEATH(transform.invert(transform), "check failed: false: Unknown orientation \\[");
}

TEST(TransformDeathTest, RefusesToConcatenateAnUnknownOrientation) {
    const NYX_TRANSFORM bad(1, 2, BAD_ORIENTATION);
    NYX_TRANSFORM good(3, 4, NYX_ORIENTATION::S);
    EXPECT_DEATH(good.concat(bad), "Unknown orientation \\[");
    EXPECT_DEATH(bad.concat(good, good), "Unknown orientation \\[");
}
