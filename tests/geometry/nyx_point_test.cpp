#include "geometry_test_support.h"

#include <boost/functional/hash.hpp>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <set>
#include <unordered_set>

using namespace geometry_test;

TEST(Point, IsTheOriginByDefault) {
    EXPECT_EQ(NYX_POINT(), NYX_POINT(0, 0));
}

TEST(Point, IsStoredAsXThenYInEightBytes) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(NYX_POINT(0x01020304, 0x05060708)), 0x0506070801020304u);
}

TEST(Point, HasWhatItWasGiven) {
    NYX_POINT point(3, -4);
    EXPECT_EQ(point.get_x(), 3);
    EXPECT_EQ(point.get_y(), -4);
    point.set_x(5);
    EXPECT_EQ(point, NYX_POINT(5, -4));
    point.set_y(6);
    EXPECT_EQ(point, NYX_POINT(5, 6));
    point.set(7, 8);
    EXPECT_EQ(point, NYX_POINT(7, 8));
}

TEST(Point, MovesByADistance) {
    NYX_POINT point(3, 4);
    point.move(10, -20);
    EXPECT_EQ(point, NYX_POINT(13, -16));
}

TEST(Point, WrapsAroundWhenMovedBeyondTheLargestCoordinate) {
    NYX_POINT point(MAX, MIN);
    point.move(1, -1);
    EXPECT_EQ(point, NYX_POINT(MIN, MAX));
}

TEST(Point, MapsAsItsOrientationSays) {
    const NYX_POINT point(10, 3);
    EXPECT_EQ(image(point, NYX_ORIENTATION::N), NYX_POINT(10, 3));
    EXPECT_EQ(image(point, NYX_ORIENTATION::S), NYX_POINT(-10, -3));
    EXPECT_EQ(image(point, NYX_ORIENTATION::W), NYX_POINT(-3, 10));
    EXPECT_EQ(image(point, NYX_ORIENTATION::E), NYX_POINT(3, -10));
    EXPECT_EQ(image(point, NYX_ORIENTATION::FN), NYX_POINT(-10, 3));
    EXPECT_EQ(image(point, NYX_ORIENTATION::FS), NYX_POINT(10, -3));
    EXPECT_EQ(image(point, NYX_ORIENTATION::FW), NYX_POINT(3, 10));
    EXPECT_EQ(image(point, NYX_ORIENTATION::FE), NYX_POINT(-3, -10));
}

TEST(Point, IsShiftedAfterItIsTurned) {
    EXPECT_EQ(image(NYX_POINT(10, 3), NYX_TRANSFORM(100, 200, NYX_ORIENTATION::W)), NYX_POINT(97, 210));
}

TEST(Point, TransformsAsTheExactModelCutTo32Bits) {
    RANDOM random;
    for (int i = 0; i < 20000; ++i) {
        const NYX_POINT point = random.point();
        const NYX_TRANSFORM transform = random.transform();
        NYX_POINT result;
        point.transform(transform, result);
        ASSERT_EQ(result, model_image(point, transform))
            << testing::PrintToString(point) << " by " << testing::PrintToString(transform);
        ASSERT_EQ(image(point, transform), result);
    }
}

TEST(Point, NegatesTheMostNegativeCoordinateToItself) {
    EXPECT_EQ(image(NYX_POINT(MIN, MIN), NYX_ORIENTATION::S), NYX_POINT(MIN, MIN));
}

TEST(Point, TransformsIntoItself) {
    for (const NYX_ORIENTATION orientation : ORIENTATIONS) {
        const NYX_TRANSFORM transform(100, 200, orientation);
        NYX_POINT point(10, 3);
        point.transform(transform, point);
        EXPECT_EQ(point, model_image(NYX_POINT(10, 3), transform)) << orientation.get_name();
    }
}

TEST(Point, LeavesTheResultUntouchedForAnUnknownOrientation) {
    for (const NYX_ORIENTATION orientation : {BAD_ORIENTATION, WORST_ORIENTATION}) {
        const NYX_TRANSFORM transform(100, 200, orientation);
        const NYX_POINT point(10, 3);
        NYX_POINT result(-1, -2);
        point.transform(transform, result);
        EXPECT_EQ(result, NYX_POINT(-1, -2));
        EXPECT_EQ(image(point, transform), point);
    }
}

TEST(Point, ComparesByXThenByY) {
    EXPECT_TRUE(NYX_POINT(1, 9) < NYX_POINT(2, 0));
    EXPECT_TRUE(NYX_POINT(1, 2) < NYX_POINT(1, 3));
    EXPECT_TRUE(NYX_POINT(-1, 0) < NYX_POINT(0, 0));
    EXPECT_FALSE(NYX_POINT(1, 2) < NYX_POINT(1, 2));
    EXPECT_FALSE(NYX_POINT(2, 0) < NYX_POINT(1, 9));
    EXPECT_TRUE(NYX_POINT(1, 2) != NYX_POINT(2, 1));
    EXPECT_FALSE(NYX_POINT(1, 2) != NYX_POINT(1, 2));
}

TEST(Point, HashesEqualPointsEqually) {
    RANDOM random;
    for (int i = 0; i < 1000; ++i) {
        const NYX_POINT point = random.point();
        const NYX_POINT same(point.get_x(), point.get_y());
        ASSERT_EQ(point.hash(), same.hash());
        ASSERT_EQ(point.python_hash(), same.python_hash());
        ASSERT_EQ(boost::hash<NYX_POINT>()(point), point.hash());
        ASSERT_NE(point.python_hash(), -1);
    }
}

TEST(Point, HashesDifferentPointsDifferently) {
    std::unordered_set<std::size_t> hashes;
    std::set<std::size_t> low_bits;
    for (int x = -50; x < 50; ++x) {
        for (int y = -50; y < 50; ++y) {
            hashes.insert(NYX_POINT(x, y).hash());
            low_bits.insert(NYX_POINT(x, y).hash() & 0xffff);
        }
    }
    EXPECT_EQ(hashes.size(), 10000u);
    // 10,000 random values fill about 9,270 of 65,536 places.
    EXPECT_GT(low_bits.size(), 8500u);
}
