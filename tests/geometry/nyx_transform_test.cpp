#include "geometry_test_support.h"

#include <boost/functional/hash.hpp>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <unordered_set>

using namespace geometry_test;

namespace {

NYX_TRANSFORM concatenation(const NYX_TRANSFORM &a, const NYX_TRANSFORM &b) {
    NYX_TRANSFORM result;
    a.concat(b, result);
    return result;
}

NYX_TRANSFORM inverse(const NYX_TRANSFORM &transform) {
    NYX_TRANSFORM result;
    transform.invert(result);
    return result;
}

} // namespace

TEST(Transform, IsTheIdentityByDefault) {
    EXPECT_EQ(NYX_TRANSFORM(), NYX_TRANSFORM(0, 0, NYX_ORIENTATION::N));
    EXPECT_EQ(image(NYX_POINT(10, 3), NYX_TRANSFORM()), NYX_POINT(10, 3));
}

TEST(Transform, IsStoredAsOffsetThenOrientationThenZeros) {
    EXPECT_EQ(
        (std::bit_cast<std::array<unsigned char, 12>>(NYX_TRANSFORM(0x04030201, 0x08070605, NYX_ORIENTATION::FS))),
        (std::array<unsigned char, 12>{1, 2, 3, 4, 5, 6, 7, 8, 5, 0, 0, 0}));
}

TEST(Transform, KeepsItsTailZeroWhateverIsDoneToIt) {
    NYX_TRANSFORM transform(1, 2, NYX_ORIENTATION::FW);
    transform.concat(NYX_TRANSFORM(3, 4, NYX_ORIENTATION::E));
    transform.invert();
    transform.set_orientation(NYX_ORIENTATION::FE);
    transform.set_offset(NYX_POINT(-1, -1));
    const auto bytes = std::bit_cast<std::array<unsigned char, 12>>(transform);
    EXPECT_EQ(bytes[8], 7);
    EXPECT_EQ(bytes[9] | bytes[10] | bytes[11], 0);
}

TEST(Transform, HasWhatItWasGiven) {
    NYX_TRANSFORM transform(1, 2, NYX_ORIENTATION::FW);
    EXPECT_EQ(transform.get_offset(), NYX_POINT(1, 2));
    EXPECT_EQ(transform.get_x_offset(), 1);
    EXPECT_EQ(transform.get_y_offset(), 2);
    EXPECT_EQ(transform.get_orientation(), NYX_ORIENTATION::FW);
    transform.set_x_offset(-1);
    EXPECT_EQ(transform, NYX_TRANSFORM(-1, 2, NYX_ORIENTATION::FW));
    transform.set_y_offset(-2);
    EXPECT_EQ(transform, NYX_TRANSFORM(-1, -2, NYX_ORIENTATION::FW));
    transform.set_offset(NYX_POINT(5, 6));
    EXPECT_EQ(transform, NYX_TRANSFORM(5, 6, NYX_ORIENTATION::FW));
    transform.set_orientation(NYX_ORIENTATION::S);
    EXPECT_EQ(transform, NYX_TRANSFORM(5, 6, NYX_ORIENTATION::S));
}

TEST(Transform, IsMadeOfAnOrientationAlone) {
    EXPECT_EQ(NYX_TRANSFORM(NYX_ORIENTATION::E), NYX_TRANSFORM(0, 0, NYX_ORIENTATION::E));
    EXPECT_EQ(NYX_TRANSFORM(NYX_ORIENTATION::VALUE::E), NYX_TRANSFORM(0, 0, NYX_ORIENTATION::E));
    EXPECT_EQ(NYX_TRANSFORM(0, 0, NYX_ORIENTATION::VALUE::E), NYX_TRANSFORM(0, 0, NYX_ORIENTATION::E));
}

TEST(Transform, ConcatenatesWithTheLeftOneFirst) {
    const NYX_TRANSFORM cell(10, 3, NYX_ORIENTATION::FN);
    const NYX_TRANSFORM parent(100, 200, NYX_ORIENTATION::W);
    EXPECT_EQ(concatenation(cell, parent), NYX_TRANSFORM(97, 210, NYX_ORIENTATION::FE));
}

TEST(Transform, ConcatenatesAsOneAfterTheOther) {
    RANDOM random;
    for (int i = 0; i < 20000; ++i) {
        const NYX_TRANSFORM a = random.transform();
        const NYX_TRANSFORM b = random.transform();
        const NYX_POINT point = random.point();
        ASSERT_EQ(image(point, concatenation(a, b)), image(image(point, a), b))
            << testing::PrintToString(a) << " then " << testing::PrintToString(b);
    }
}

TEST(Transform, ConcatenatesAssociatively) {
    RANDOM random;
    for (int i = 0; i < 20000; ++i) {
        const NYX_TRANSFORM a = random.transform();
        const NYX_TRANSFORM b = random.transform();
        const NYX_TRANSFORM c = random.transform();
        ASSERT_EQ(concatenation(concatenation(a, b), c), concatenation(a, concatenation(b, c)));
    }
}

TEST(Transform, ConcatenatesInPlaceAndIntoEitherArgument) {
    RANDOM random;
    for (int i = 0; i < 1000; ++i) {
        const NYX_TRANSFORM a = random.transform();
        const NYX_TRANSFORM b = random.transform();
        NYX_TRANSFORM result = a;
        result.concat(b);
        ASSERT_EQ(result, concatenation(a, b));
        result = a;
        result.concat(b, result);
        ASSERT_EQ(result, concatenation(a, b));
        result = b;
        a.concat(result, result);
        ASSERT_EQ(result, concatenation(a, b));
        result = a;
        result.concat(result, result);
        ASSERT_EQ(result, concatenation(a, a));
        result = a;
        result.concat(result);
        ASSERT_EQ(result, concatenation(a, a));
    }
}

TEST(Transform, InvertsAsItsOrientationSays) {
    const auto at = [](NYX_ORIENTATION orientation) { return NYX_TRANSFORM(10, 3, orientation); };
    EXPECT_EQ(inverse(at(NYX_ORIENTATION::N)), NYX_TRANSFORM(-10, -3, NYX_ORIENTATION::N));
    EXPECT_EQ(inverse(at(NYX_ORIENTATION::S)), NYX_TRANSFORM(10, 3, NYX_ORIENTATION::S));
    EXPECT_EQ(inverse(at(NYX_ORIENTATION::W)), NYX_TRANSFORM(-3, 10, NYX_ORIENTATION::E));
    EXPECT_EQ(inverse(at(NYX_ORIENTATION::E)), NYX_TRANSFORM(3, -10, NYX_ORIENTATION::W));
    EXPECT_EQ(inverse(at(NYX_ORIENTATION::FN)), NYX_TRANSFORM(10, -3, NYX_ORIENTATION::FN));
    EXPECT_EQ(inverse(at(NYX_ORIENTATION::FS)), NYX_TRANSFORM(-10, 3, NYX_ORIENTATION::FS));
    EXPECT_EQ(inverse(at(NYX_ORIENTATION::FW)), NYX_TRANSFORM(-3, -10, NYX_ORIENTATION::FW));
    EXPECT_EQ(inverse(at(NYX_ORIENTATION::FE)), NYX_TRANSFORM(3, 10, NYX_ORIENTATION::FE));
}

TEST(Transform, IsUndoneByItsInverseInEitherOrder) {
    RANDOM random;
    for (const NYX_ORIENTATION orientation : ORIENTATIONS) {
        for (int i = 0; i < 1000; ++i) {
            const NYX_TRANSFORM transform(random.coordinate(), random.coordinate(), orientation);
            ASSERT_EQ(concatenation(transform, inverse(transform)), NYX_TRANSFORM())
                << testing::PrintToString(transform);
            ASSERT_EQ(concatenation(inverse(transform), transform), NYX_TRANSFORM())
                << testing::PrintToString(transform);
            ASSERT_EQ(inverse(inverse(transform)), transform);
        }
    }
}

TEST(Transform, InvertsInPlaceAndIntoItself) {
    for (const NYX_ORIENTATION orientation : ORIENTATIONS) {
        const NYX_TRANSFORM transform(10, 3, orientation);
        NYX_TRANSFORM result = transform;
        result.invert();
        EXPECT_EQ(result, inverse(transform));
        result = transform;
        result.invert(result);
        EXPECT_EQ(result, inverse(transform));
    }
}

TEST(Transform, ComparesByOffsetThenByOrientation) {
    EXPECT_TRUE(NYX_TRANSFORM(1, 9, NYX_ORIENTATION::FE) < NYX_TRANSFORM(2, 0, NYX_ORIENTATION::N));
    EXPECT_TRUE(NYX_TRANSFORM(1, 2, NYX_ORIENTATION::FE) < NYX_TRANSFORM(1, 3, NYX_ORIENTATION::N));
    EXPECT_TRUE(NYX_TRANSFORM(1, 2, NYX_ORIENTATION::N) < NYX_TRANSFORM(1, 2, NYX_ORIENTATION::S));
    EXPECT_FALSE(NYX_TRANSFORM(1, 2, NYX_ORIENTATION::S) < NYX_TRANSFORM(1, 2, NYX_ORIENTATION::S));
    EXPECT_TRUE(NYX_TRANSFORM(1, 2, NYX_ORIENTATION::S) != NYX_TRANSFORM(1, 2, NYX_ORIENTATION::N));
    EXPECT_TRUE(NYX_TRANSFORM(1, 2, NYX_ORIENTATION::S) != NYX_TRANSFORM(2, 2, NYX_ORIENTATION::S));
}

TEST(Transform, ComparesAndHashesWithoutItsTail) {
    const NYX_TRANSFORM clean(1, 2, NYX_ORIENTATION::W);
    auto bytes = std::bit_cast<std::array<unsigned char, 12>>(clean);
    bytes[11] = 0xff;
    const auto soiled = std::bit_cast<NYX_TRANSFORM>(bytes);
    EXPECT_EQ(soiled, clean);
    EXPECT_EQ(soiled.hash(), clean.hash());
}

TEST(Transform, HashesEqualTransformsEqually) {
    RANDOM random;
    std::unordered_set<std::size_t> hashes;
    for (int i = 0; i < 1000; ++i) {
        const NYX_TRANSFORM transform = random.transform();
        const NYX_TRANSFORM same(transform.get_x_offset(), transform.get_y_offset(), transform.get_orientation());
        ASSERT_EQ(transform.hash(), same.hash());
        ASSERT_EQ(transform.python_hash(), same.python_hash());
        ASSERT_EQ(boost::hash<NYX_TRANSFORM>()(transform), transform.hash());
        ASSERT_NE(transform.python_hash(), -1);
        hashes.insert(transform.hash());
    }
    EXPECT_GT(hashes.size(), 800u); // some of the 1,000 are equal
    for (const NYX_ORIENTATION orientation : ORIENTATIONS) {
        EXPECT_EQ(NYX_TRANSFORM(orientation).hash() == NYX_TRANSFORM().hash(), orientation == NYX_ORIENTATION::N);
    }
}
