#include "nyx/nyx_direction.h"

#include "nyx_report/nyx_report_exception.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

/// The text of the NYX_INVALID_ARGUMENT that `call` raises, up to the source file's place; "" if it raises nothing.
std::string raised_text(auto &&call) {
    try {
        call();
    } catch (const NYX_INVALID_ARGUMENT &exception) {
        const std::string text = exception.what();
        const std::string_view file = "nyx_direction.cpp@";
        const std::size_t in = text.rfind(" in ");
        if (in == std::string::npos || text.find(file, in) == std::string::npos)
            return "no place: " + text;
        return text.substr(0, in);
    }
    return "";
}

} // namespace

TEST(DirectionFailure, TellsAnUnknownName) {
    EXPECT_EQ(raised_text([] { nyx_get_direction_by_name("sideways"); }),
              "Unknown direction sideways from function nyx_get_direction_by_name");
}

TEST(DirectionFailure, TellsAPartOfANameAsUnknown) {
    EXPECT_EQ(raised_text([] { nyx_get_direction_by_name("u"); }),
              "Unknown direction u from function nyx_get_direction_by_name");
    EXPECT_EQ(raised_text([] { nyx_get_direction_by_name("upper"); }),
              "Unknown direction upper from function nyx_get_direction_by_name");
}

TEST(DirectionFailure, TellsPercentSignsAsTheyAre) {
    EXPECT_EQ(raised_text([] { nyx_get_direction_by_name("%1% %s"); }),
              "Unknown direction %1% %s from function nyx_get_direction_by_name");
}

TEST(DirectionFailure, TellsANullName) {
    EXPECT_EQ(raised_text([] { nyx_get_direction_by_name(nullptr); }),
              "Unknown direction (null) from function nyx_get_direction_by_name");
}

TEST(DirectionFailure, TellsANumberWithoutAName) {
    EXPECT_EQ(raised_text([] { nyx_get_name_of_direction(static_cast<NYX_DIRECTION>(6)); }),
              "Unknown direction 6 from function nyx_get_name_of_direction");
    EXPECT_EQ(raised_text([] { nyx_get_name_of_direction(static_cast<NYX_DIRECTION>(255)); }),
              "Unknown direction 255 from function nyx_get_name_of_direction");
}

TEST(DirectionFailure, TellsANumberWithoutALetter) {
    EXPECT_EQ(raised_text([] { nyx_get_char_of_direction(static_cast<NYX_DIRECTION>(6)); }),
              "Unknown direction 6 from function nyx_get_char_of_direction");
}

TEST(DirectionFailure, TellsAnUnknownLetter) {
    EXPECT_EQ(raised_text([] { nyx_get_direction_by_char('q'); }),
              "Unknown direction q from function nyx_get_direction_by_char");
    EXPECT_EQ(raised_text([] { nyx_get_direction_by_char('\0'); }),
              "Unknown direction \\0 from function nyx_get_direction_by_char");
}

TEST(DirectionFailure, KnowsNoLettersBesideTheTable) {
    int known = 0;
    for (int letter = -128; letter < 128; ++letter)
        known += raised_text([letter] { nyx_get_direction_by_char(static_cast<char>(letter)); }).empty();
    EXPECT_EQ(known, 11);
}
