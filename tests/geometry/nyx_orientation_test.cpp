#include "geometry_test_support.h"

#include <boost/functional/hash.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <set>
#include <type_traits>

using namespace geometry_test;

TEST(Orientation, IsNorthByDefault) {
    EXPECT_EQ(NYX_ORIENTATION(), NYX_ORIENTATION::N);
}

TEST(Orientation, IsStoredAsOneByte) {
    for (unsigned char value = 0; value < 8; ++value) {
        EXPECT_EQ(std::bit_cast<unsigned char>(ORIENTATIONS[value]), value);
        EXPECT_EQ(NYX_ORIENTATION(static_cast<NYX_ORIENTATION::VALUE>(value)), ORIENTATIONS[value]);
    }
}

TEST(Orientation, IsCalledByItsName) {
    const char *const names[] = {"N", "S", "W", "E", "FN", "FS", "FW", "FE"};
    for (unsigned char value = 0; value < 8; ++value) {
        EXPECT_STREQ(ORIENTATIONS[value].get_name(), names[value]);
        EXPECT_STREQ(NYX_ORIENTATION::s_names[value], names[value]);
    }
    EXPECT_STREQ(NYX_ORIENTATION(static_cast<NYX_ORIENTATION::VALUE>(7)).get_name(), "FE");
    EXPECT_STREQ(NYX_ORIENTATION::FE.get_name(), "FE");
}

TEST(Orientation, IsAQuestionMarkWhenItIsNoneOfTheEight) {
    EXPECT_STREQ(BAD_ORIENTATION.get_name(), "?");
    EXPECT_STREQ(WORST_ORIENTATION.get_name(), "?");
}

TEST(Orientation, IsValidWhenItIsOneOfTheEight) {
    EXPECT_TRUE(std::ranges::all_of(ORIENTATIONS, &NYX_ORIENTATION::is_valid));
    EXPECT_FALSE(BAD_ORIENTATION.is_valid());
    EXPECT_FALSE(WORST_ORIENTATION.is_valid());
}

TEST(Orientation, ConvertsToItsValue) {
    static_assert(std::is_convertible_v<NYX_ORIENTATION, NYX_ORIENTATION::VALUE>);
    static_assert(std::is_convertible_v<NYX_ORIENTATION::VALUE, NYX_ORIENTATION>);
    const NYX_ORIENTATION::VALUE value = NYX_ORIENTATION::FW;
    EXPECT_EQ(value, NYX_ORIENTATION::VALUE::FW);
    EXPECT_EQ(NYX_ORIENTATION::FW.as_value(), NYX_ORIENTATION::VALUE::FW);
}

TEST(Orientation, IsACaseLabel) {
    bool reached = false;
    switch (NYX_ORIENTATION(NYX_ORIENTATION::VALUE::W)) {
    case NYX_ORIENTATION::W:
        reached = true;
        break;
    default:
        break;
    }
    EXPECT_TRUE(reached);
}

TEST(Orientation, ComparesByValueAndWithValues) {
    EXPECT_TRUE(NYX_ORIENTATION::N < NYX_ORIENTATION::S);
    EXPECT_TRUE(NYX_ORIENTATION::E < NYX_ORIENTATION::FN);
    EXPECT_FALSE(NYX_ORIENTATION::FE < NYX_ORIENTATION::FE);
    EXPECT_TRUE(NYX_ORIENTATION::W != NYX_ORIENTATION::E);
    EXPECT_TRUE(NYX_ORIENTATION::W == NYX_ORIENTATION::VALUE::W);
    EXPECT_TRUE(NYX_ORIENTATION::VALUE::W == NYX_ORIENTATION::W);
    EXPECT_TRUE(NYX_ORIENTATION::W != NYX_ORIENTATION::VALUE::E);
    EXPECT_TRUE(NYX_ORIENTATION::W < NYX_ORIENTATION::VALUE::E);
    EXPECT_FALSE(NYX_ORIENTATION::VALUE::E < NYX_ORIENTATION::W);
}

TEST(Orientation, HashesByValue) {
    std::set<std::size_t> hashes;
    for (const NYX_ORIENTATION orientation : ORIENTATIONS) {
        const NYX_ORIENTATION same(orientation.as_value());
        EXPECT_EQ(orientation.hash(), same.hash());
        EXPECT_EQ(orientation.python_hash(), same.python_hash());
        EXPECT_EQ(boost::hash<NYX_ORIENTATION>()(orientation), orientation.hash());
        hashes.insert(orientation.hash());
    }
    EXPECT_EQ(hashes.size(), 8u);
}

TEST(Orientation, ConcatenatesAsOneAfterTheOther) {
    const NYX_POINT point(10, 3); // has eight different images
    for (const NYX_ORIENTATION a : ORIENTATIONS) {
        for (const NYX_ORIENTATION b : ORIENTATIONS) {
            EXPECT_EQ(model_image(point, a.concat(b)), model_image(model_image(point, a), b))
                << a.get_name() << " then " << b.get_name();
        }
    }
}

TEST(Orientation, ConcatenatesInOrder) {
    EXPECT_EQ(NYX_ORIENTATION::W.concat(NYX_ORIENTATION::FN), NYX_ORIENTATION::FW);
    EXPECT_EQ(NYX_ORIENTATION::FN.concat(NYX_ORIENTATION::W), NYX_ORIENTATION::FE);
}

TEST(Orientation, ConcatenatesAssociatively) {
    for (const NYX_ORIENTATION a : ORIENTATIONS) {
        for (const NYX_ORIENTATION b : ORIENTATIONS) {
            for (const NYX_ORIENTATION c : ORIENTATIONS)
                EXPECT_EQ(a.concat(b).concat(c), a.concat(b.concat(c)));
        }
    }
}
