#include "geometry_test_support.h"

#include <gtest/gtest.h>

using namespace geometry_test;

TEST(BoxDeathTest, RefusesAnUnknownOrientation) {
    NYX_BOX box(1, 2, 3, 4);
    EXPECT_DEATH(box.transform(NYX_TRANSFORM(0, 0, BAD_ORIENTATION)), "check failed: false: Unknown orientation \\[");
    EXPECT_DEATH(box.transform(NYX_TRANSFORM(0, 0, WORST_ORIENTATION), box),
                 "check failed: false: Unknown orientation \\[");
}
