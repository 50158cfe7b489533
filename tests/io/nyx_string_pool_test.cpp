#include "io/nyx_string_pool.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(StringPool, EqualStringsHaveOneNumber) {
    NYX_STRING_POOL pool;
    EXPECT_EQ(pool.add("a"), 0u);
    EXPECT_EQ(pool.add("b"), 1u);
    EXPECT_EQ(pool.add(std::string("a")), 0u);
    EXPECT_EQ(pool.get_size(), 2u);
}

TEST(StringPool, StringsStayWhereTheyAre) {
    NYX_STRING_POOL pool;
    const std::uint32_t first = pool.add("first");
    const char *const place = pool.get_c_str(first);
    for (int i = 0; i < 100'000; ++i)
        pool.add("string " + std::to_string(i));
    EXPECT_EQ(pool.get_c_str(first), place);
    EXPECT_STREQ(place, "first");
    for (std::uint32_t i = 0; i < 100'000; ++i)
        ASSERT_EQ(pool.get(i + 1), "string " + std::to_string(i));
}

TEST(StringPool, HoldsLongEmptyAndBinaryStrings) {
    NYX_STRING_POOL pool;
    const std::string large(1'000'000, 'x');
    EXPECT_EQ(pool.get(pool.add(large)), large);
    EXPECT_EQ(pool.get(pool.add("")), "");
    EXPECT_EQ(pool.get(pool.add(std::string_view("a\0b", 3))), std::string_view("a\0b", 3));
}

} // namespace
