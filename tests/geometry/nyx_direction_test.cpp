#include "nyx/nyx_direction.h"

#include <gtest/gtest.h>

#include <locale>

namespace {

struct EXPECTED {
    NYX_DIRECTION direction;
    int value;
    const char *name;
    char letter;
    char other_case;
};

constexpr EXPECTED ALL[] = {
    {NYX_DIRECTION::NOT_SPECIFIED, 0, "not_specified", '-', '-'},
    {NYX_DIRECTION::UP, 1, "up", 'U', 'u'},
    {NYX_DIRECTION::DOWN, 2, "down", 'D', 'd'},
    {NYX_DIRECTION::LEFT, 3, "left", 'L', 'l'},
    {NYX_DIRECTION::RIGHT, 4, "right", 'R', 'r'},
    {NYX_DIRECTION::DONT_CARE, 5, "dont_care", 'X', 'x'},
};

} // namespace

TEST(Direction, HasAStoredNumber) {
    static_assert(sizeof(NYX_DIRECTION) == 1);
    for (const EXPECTED &expected : ALL)
        EXPECT_EQ(static_cast<int>(expected.direction), expected.value) << expected.name;
}

TEST(Direction, HasAName) {
    for (const EXPECTED &expected : ALL)
        EXPECT_STREQ(nyx_get_name_of_direction(expected.direction), expected.name);
}

TEST(Direction, HasALetter) {
    for (const EXPECTED &expected : ALL)
        EXPECT_EQ(nyx_get_char_of_direction(expected.direction), expected.letter) << expected.name;
}

TEST(Direction, IsFoundByItsName) {
    for (const EXPECTED &expected : ALL)
        EXPECT_EQ(nyx_get_direction_by_name(expected.name), expected.direction) << expected.name;
}

TEST(Direction, IsFoundByItsNameInAnyCase) {
    EXPECT_EQ(nyx_get_direction_by_name("UP"), NYX_DIRECTION::UP);
    EXPECT_EQ(nyx_get_direction_by_name("dOwN"), NYX_DIRECTION::DOWN);
    EXPECT_EQ(nyx_get_direction_by_name("Not_Specified"), NYX_DIRECTION::NOT_SPECIFIED);
    EXPECT_EQ(nyx_get_direction_by_name("DONT_CARE"), NYX_DIRECTION::DONT_CARE);
}

TEST(Direction, IsNotSpecifiedForAnEmptyName) {
    EXPECT_EQ(nyx_get_direction_by_name(""), NYX_DIRECTION::NOT_SPECIFIED);
}

TEST(Direction, IsFoundByItsLetterInEitherCase) {
    for (const EXPECTED &expected : ALL) {
        EXPECT_EQ(nyx_get_direction_by_char(expected.letter), expected.direction) << expected.name;
        EXPECT_EQ(nyx_get_direction_by_char(expected.other_case), expected.direction) << expected.name;
    }
}

namespace {

/// Takes '3' for a small E, which no real locale does.
class ODD_LETTERS : public std::ctype<char> {
protected:
    char do_toupper(char c) const override { return c == '3' ? 'E' : std::ctype<char>::do_toupper(c); }
};

class DEFAULT_LOCALE {
public:
    explicit DEFAULT_LOCALE(const std::locale &locale) : m_previous(std::locale::global(locale)) {}
    ~DEFAULT_LOCALE() { std::locale::global(m_previous); }

private:
    std::locale m_previous;
};

} // namespace

TEST(Direction, FollowsTheDefaultLocaleInWhatIsTheSameLetter) {
    EXPECT_ANY_THROW(nyx_get_direction_by_name("l3ft"));
    const DEFAULT_LOCALE odd(std::locale(std::locale::classic(), new ODD_LETTERS));
    EXPECT_EQ(nyx_get_direction_by_name("l3ft"), NYX_DIRECTION::LEFT);
}
