#include "geometry_test_support.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>

using namespace geometry_test;

namespace {

const NYX_BOX EMPTY;
/// Not the empty box: inverted sideways only, and upside down only.
const NYX_BOX SIDEWAYS(5, 0, 3, 10);
const NYX_BOX UPSIDE_DOWN(0, 5, 10, 3);

NYX_BOX image(const NYX_BOX &box, const NYX_TRANSFORM &transform) {
    NYX_BOX result;
    box.transform(transform, result);
    return result;
}

NYX_BOX intersection(const NYX_BOX &a, const NYX_BOX &b) {
    NYX_BOX result;
    a.intersect(b, result);
    return result;
}

} // namespace

TEST(Box, IsStoredAsLeftBottomRightTop) {
    EXPECT_EQ((std::bit_cast<std::array<int, 4>>(NYX_BOX(1, 2, 3, 4))), (std::array{1, 2, 3, 4}));
}

TEST(Box, IsEmptyByDefault) {
    EXPECT_EQ(EMPTY, NYX_BOX(MAX, MAX, MIN, MIN));
    EXPECT_TRUE(EMPTY.is_inverted());
    EXPECT_FALSE(EMPTY.is_valid());
    EXPECT_FALSE(EMPTY);
}

TEST(Box, HasWhatItWasGiven) {
    NYX_BOX box(1, 2, 3, 4);
    EXPECT_EQ(box.get_left(), 1);
    EXPECT_EQ(box.get_bottom(), 2);
    EXPECT_EQ(box.get_right(), 3);
    EXPECT_EQ(box.get_top(), 4);
    box.set_left(-1);
    EXPECT_EQ(box, NYX_BOX(-1, 2, 3, 4));
    box.set_bottom(-2);
    EXPECT_EQ(box, NYX_BOX(-1, -2, 3, 4));
    box.set_right(-3);
    EXPECT_EQ(box, NYX_BOX(-1, -2, -3, 4));
    box.set_top(-4);
    EXPECT_EQ(box, NYX_BOX(-1, -2, -3, -4));
}

TEST(Box, DiffersFromABoxWithOneOtherBorder) {
    const NYX_BOX box(1, 2, 3, 4);
    EXPECT_TRUE(box == NYX_BOX(1, 2, 3, 4));
    EXPECT_FALSE(box != NYX_BOX(1, 2, 3, 4));
    EXPECT_TRUE(box != NYX_BOX(0, 2, 3, 4));
    EXPECT_TRUE(box != NYX_BOX(1, 0, 3, 4));
    EXPECT_TRUE(box != NYX_BOX(1, 2, 0, 4));
    EXPECT_TRUE(box != NYX_BOX(1, 2, 3, 0));
}

TEST(Box, IsMadeOfTwoCornersAsNamed) {
    EXPECT_EQ(NYX_BOX(NYX_POINT(1, 2), NYX_POINT(3, 4)), NYX_BOX(1, 2, 3, 4));
    EXPECT_TRUE(NYX_BOX(NYX_POINT(3, 4), NYX_POINT(1, 2)).is_inverted());
}

TEST(Box, IsInvertedByEitherPairOfBorders) {
    EXPECT_TRUE(SIDEWAYS.is_inverted());
    EXPECT_TRUE(UPSIDE_DOWN.is_inverted());
    EXPECT_FALSE(UPSIDE_DOWN.is_valid());
}

TEST(Box, MayBeAsThinAsAPoint) {
    const NYX_BOX box(3, 4, 3, 4);
    EXPECT_TRUE(box);
    EXPECT_TRUE(box.is_valid());
    EXPECT_TRUE(box.contains(NYX_POINT(3, 4)));
    EXPECT_FALSE(box.contains(NYX_POINT(3, 5)));
    EXPECT_EQ(box.get_width(), 0);
    EXPECT_EQ(box.get_height(), 0);
}

TEST(Box, HasWidthAndHeight) {
    EXPECT_EQ(NYX_BOX(-10, 2, 30, 9).get_width(), 40);
    EXPECT_EQ(NYX_BOX(-10, 2, 30, 9).get_height(), 7);
}

TEST(Box, HasANegativeWidthWhenItIsInvertedSideways) {
    EXPECT_EQ(SIDEWAYS.get_width(), -2);
}

TEST(Box, WrapsItsWidthAndHeight) {
    EXPECT_EQ(NYX_BOX(MIN, MIN, MAX, MAX).get_width(), -1);
    EXPECT_EQ(NYX_BOX(MIN, MIN, MAX, MAX).get_height(), -1);
    EXPECT_EQ(NYX_BOX(-1, 0, MAX, 0).get_width(), MIN);
    EXPECT_EQ(EMPTY.get_width(), 1);
    EXPECT_EQ(EMPTY.get_height(), 1);
}

TEST(Box, HasACenterRoundedTowardsLeftAndBottom) {
    EXPECT_EQ(NYX_BOX(10, 20, 30, 60).get_x_center(), 20);
    EXPECT_EQ(NYX_BOX(10, 20, 30, 60).get_y_center(), 40);
    EXPECT_EQ(NYX_BOX(0, 0, 3, 5).get_x_center(), 1);
    EXPECT_EQ(NYX_BOX(0, 0, 3, 5).get_y_center(), 2);
    EXPECT_EQ(NYX_BOX(-3, -5, 0, 0).get_x_center(), -2);
    EXPECT_EQ(NYX_BOX(-3, -5, 0, 0).get_y_center(), -3);
}

TEST(Box, HasACenterThatDoesNotOverflow) {
    EXPECT_EQ(NYX_BOX(MAX - 2, MIN, MAX, MIN + 2).get_x_center(), MAX - 1);
    EXPECT_EQ(NYX_BOX(MAX - 2, MIN, MAX, MIN + 2).get_y_center(), MIN + 1);
    EXPECT_EQ(NYX_BOX(MIN, MIN, MAX, MAX).get_x_center(), -1);
    EXPECT_EQ(EMPTY.get_x_center(), 0);
    EXPECT_EQ(EMPTY.get_y_center(), 0);
}

TEST(Box, ContainsItsBorders) {
    const NYX_BOX box(0, 10, 5, 20);
    for (const NYX_POINT &point :
         {NYX_POINT(0, 10), NYX_POINT(5, 20), NYX_POINT(0, 20), NYX_POINT(5, 10), NYX_POINT(2, 15)})
        EXPECT_TRUE(box.contains(point)) << testing::PrintToString(point);
    for (const NYX_POINT &point : {NYX_POINT(-1, 15), NYX_POINT(6, 15), NYX_POINT(2, 9), NYX_POINT(2, 21)})
        EXPECT_FALSE(box.contains(point)) << testing::PrintToString(point);
}

TEST(Box, ContainsNothingWhenInverted) {
    EXPECT_FALSE(EMPTY.contains(NYX_POINT(0, 0)));
    EXPECT_FALSE(EMPTY.contains(NYX_POINT(MAX, MAX)));
    for (int x = 2; x <= 6; ++x) {
        EXPECT_FALSE(SIDEWAYS.contains(NYX_POINT(x, 5)));
        EXPECT_FALSE(UPSIDE_DOWN.contains(NYX_POINT(5, x)));
    }
}

TEST(Box, OverlapsABoxThatItTouchesOnAnySide) {
    const NYX_BOX box(0, 0, 10, 10);
    EXPECT_TRUE(box.overlaps(NYX_BOX(10, 0, 20, 10)));
    EXPECT_TRUE(box.overlaps(NYX_BOX(-10, 0, 0, 10)));
    EXPECT_TRUE(box.overlaps(NYX_BOX(0, 10, 10, 20)));
    EXPECT_TRUE(box.overlaps(NYX_BOX(0, -10, 10, 0)));
    EXPECT_TRUE(box.overlaps(NYX_BOX(10, 10, 20, 20))) << "at a corner";
}

TEST(Box, OverlapsNoBoxBesideIt) {
    const NYX_BOX box(0, 0, 10, 10);
    EXPECT_FALSE(box.overlaps(NYX_BOX(11, 0, 20, 10)));
    EXPECT_FALSE(box.overlaps(NYX_BOX(-10, 0, -1, 10)));
    EXPECT_FALSE(box.overlaps(NYX_BOX(0, 11, 10, 20)));
    EXPECT_FALSE(box.overlaps(NYX_BOX(0, -10, 10, -1)));
}

TEST(Box, OverlapsWhatLiesInside) {
    const NYX_BOX box(0, 0, 10, 10);
    EXPECT_TRUE(box.overlaps(NYX_BOX(2, 2, 3, 3)));
    EXPECT_TRUE(NYX_BOX(2, 2, 3, 3).overlaps(box));
    EXPECT_TRUE(box.overlaps(box));
}

TEST(Box, OverlapsNoInvertedBox) {
    const NYX_BOX box(0, 0, 10, 10);
    for (const NYX_BOX &inverted : {EMPTY, SIDEWAYS, UPSIDE_DOWN}) {
        EXPECT_FALSE(box.overlaps(inverted));
        EXPECT_FALSE(inverted.overlaps(box));
        EXPECT_FALSE(inverted.overlaps(inverted));
    }
    EXPECT_FALSE(NYX_BOX(MIN, MIN, MAX, MAX).overlaps(EMPTY));
}

TEST(Box, OverlapsExactlyWhatItHasAValidIntersectionWith) {
    RANDOM random;
    int overlapping = 0;
    for (int i = 0; i < 5000; ++i) {
        const NYX_BOX a = random.small_box();
        const NYX_BOX b = random.small_box();
        ASSERT_EQ(a.overlaps(b), intersection(a, b).is_valid())
            << testing::PrintToString(a) << " and " << testing::PrintToString(b);
        ASSERT_EQ(a.overlaps(b), b.overlaps(a));
        overlapping += a.overlaps(b);
    }
    EXPECT_GT(overlapping, 50);
}

TEST(Box, BecomesThePointWhenAnEmptyOneIncludesIt) {
    NYX_BOX box;
    box.include(3, 4);
    EXPECT_EQ(box, NYX_BOX(3, 4, 3, 4));
    EXPECT_EQ(box.get_width(), 0);
    EXPECT_TRUE(box.is_valid());
}

TEST(Box, GrowsToIncludeAPoint) {
    NYX_BOX box(0, 0, 10, 10);
    box.include(NYX_POINT(5, 5));
    EXPECT_EQ(box, NYX_BOX(0, 0, 10, 10));
    box.include(NYX_POINT(-3, 20));
    EXPECT_EQ(box, NYX_BOX(-3, 0, 10, 20));
    box.include(MAX, MIN);
    EXPECT_EQ(box, NYX_BOX(-3, MIN, MAX, 20));
}

TEST(Box, IsValidAfterIncludingAPointWhateverItWas) {
    NYX_BOX box = SIDEWAYS;
    box.include(4, 5);
    EXPECT_EQ(box, NYX_BOX(4, 0, 4, 10));
    box = SIDEWAYS;
    box.include(20, 20);
    EXPECT_EQ(box, NYX_BOX(5, 0, 20, 20));
}

TEST(Box, GrowsToIncludeABox) {
    NYX_BOX box;
    box.include(NYX_BOX(1, 2, 3, 4));
    EXPECT_EQ(box, NYX_BOX(1, 2, 3, 4));
    box.include(NYX_BOX(-5, 3, 2, 30));
    EXPECT_EQ(box, NYX_BOX(-5, 2, 3, 30));
}

TEST(Box, IsLeftAsItIsByIncludingAnInvertedBox) {
    for (const NYX_BOX &inverted : {EMPTY, SIDEWAYS, UPSIDE_DOWN}) {
        NYX_BOX box(6, 4, 7, 4);
        box.include(inverted);
        EXPECT_EQ(box, NYX_BOX(6, 4, 7, 4));
        NYX_BOX empty;
        empty.include(inverted);
        EXPECT_EQ(empty, EMPTY);
    }
}

TEST(Box, IncludesItself) {
    NYX_BOX box(1, 2, 3, 4);
    box.include(box);
    EXPECT_EQ(box, NYX_BOX(1, 2, 3, 4));
}

TEST(Box, KeepsWhatItIntersects) {
    NYX_BOX box(0, 0, 10, 10);
    box.intersect(NYX_BOX(5, -5, 20, 7));
    EXPECT_EQ(box, NYX_BOX(5, 0, 10, 7));
    EXPECT_EQ(intersection(NYX_BOX(0, 0, 10, 10), NYX_BOX(10, 0, 20, 10)), NYX_BOX(10, 0, 10, 10));
}

TEST(Box, IsInvertedByIntersectingADisjointBox) {
    EXPECT_TRUE(intersection(NYX_BOX(0, 0, 10, 10), NYX_BOX(11, 0, 20, 10)).is_inverted());
    EXPECT_TRUE(intersection(NYX_BOX(0, 0, 10, 10), NYX_BOX(0, -20, 10, -1)).is_inverted());
}

TEST(Box, IsInvertedByIntersectingAnInvertedBox) {
    const NYX_BOX all(MIN, MIN, MAX, MAX);
    for (const NYX_BOX &inverted : {EMPTY, SIDEWAYS, UPSIDE_DOWN}) {
        EXPECT_EQ(intersection(all, inverted), inverted);
        EXPECT_EQ(intersection(inverted, all), inverted);
    }
}

TEST(Box, IntersectsIntoEitherArgument) {
    const NYX_BOX a(0, 0, 10, 10);
    const NYX_BOX b(5, -5, 20, 7);
    NYX_BOX result = a;
    result.intersect(b, result);
    EXPECT_EQ(result, NYX_BOX(5, 0, 10, 7));
    result = b;
    a.intersect(result, result);
    EXPECT_EQ(result, NYX_BOX(5, 0, 10, 7));
    result.intersect(result);
    EXPECT_EQ(result, NYX_BOX(5, 0, 10, 7));
}

TEST(Box, MapsAsItsOrientationSays) {
    const NYX_BOX box(1, 20, 300, 4000);
    const auto at = [](NYX_ORIENTATION orientation) { return NYX_TRANSFORM(10000, 50000, orientation); };
    EXPECT_EQ(image(box, at(NYX_ORIENTATION::N)), NYX_BOX(10001, 50020, 10300, 54000));
    EXPECT_EQ(image(box, at(NYX_ORIENTATION::S)), NYX_BOX(9700, 46000, 9999, 49980));
    EXPECT_EQ(image(box, at(NYX_ORIENTATION::W)), NYX_BOX(6000, 50001, 9980, 50300));
    EXPECT_EQ(image(box, at(NYX_ORIENTATION::E)), NYX_BOX(10020, 49700, 14000, 49999));
    EXPECT_EQ(image(box, at(NYX_ORIENTATION::FN)), NYX_BOX(9700, 50020, 9999, 54000));
    EXPECT_EQ(image(box, at(NYX_ORIENTATION::FS)), NYX_BOX(10001, 46000, 10300, 49980));
    EXPECT_EQ(image(box, at(NYX_ORIENTATION::FW)), NYX_BOX(10020, 50001, 14000, 50300));
    EXPECT_EQ(image(box, at(NYX_ORIENTATION::FE)), NYX_BOX(6000, 49700, 9980, 49999));
}

TEST(Box, MapsToTheBoxOfItsTransformedCorners) {
    RANDOM random;
    for (int i = 0; i < 20000; ++i) {
        const NYX_TRANSFORM transform = random.small_transform();
        const NYX_BOX given = random.small_box();
        NYX_BOX box;
        box.include(given.get_left(), given.get_bottom());
        box.include(given.get_right(), given.get_top());
        NYX_BOX corners;
        for (const int x : {box.get_left(), box.get_right()}) {
            for (const int y : {box.get_bottom(), box.get_top()})
                corners.include(model_image(NYX_POINT(x, y), transform));
        }
        ASSERT_EQ(image(box, transform), corners)
            << testing::PrintToString(box) << " by " << testing::PrintToString(transform);
    }
}

TEST(Box, StaysInvertedWhenTransformed) {
    for (const NYX_ORIENTATION orientation : ORIENTATIONS) {
        EXPECT_TRUE(image(SIDEWAYS, orientation).is_inverted());
        EXPECT_TRUE(image(UPSIDE_DOWN, orientation).is_inverted());
    }
}

TEST(Box, WrapsAroundWhenTransformed) {
    EXPECT_EQ(image(NYX_BOX(MIN, MIN, MAX, MAX), NYX_TRANSFORM(1, -1, NYX_ORIENTATION::N)),
              NYX_BOX(MIN + 1, MAX, MIN, MAX - 1));
    EXPECT_EQ(image(NYX_BOX(MIN, 0, 0, 1), NYX_ORIENTATION::S), NYX_BOX(0, -1, MIN, 0));
}

TEST(Box, TransformsInPlaceAndIntoItselfAsIntoAResult) {
    RANDOM random;
    for (int i = 0; i < 1000; ++i) {
        const NYX_BOX box = random.small_box();
        const NYX_TRANSFORM transform = random.transform();
        NYX_BOX in_place = box;
        in_place.transform(transform);
        NYX_BOX into_itself = box;
        into_itself.transform(transform, into_itself);
        ASSERT_EQ(in_place, image(box, transform));
        ASSERT_EQ(into_itself, image(box, transform));
    }
}
