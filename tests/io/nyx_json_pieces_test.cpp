#include "io/nyx_json_pieces.h"
#include "io_test_support.h"

#include <gtest/gtest.h>

namespace {

class JsonPieces : public testing::Test {
protected:
    NYX_JSON_PIECES &open(const std::string &text) {
        write_file(m_dir / "in", text);
        m_input = std::make_unique<NYX_TEXT_INPUT>(m_dir / "in");
        m_pieces = std::make_unique<NYX_JSON_PIECES>(*m_input, 64);
        return *m_pieces;
    }

    TEMP_DIR m_dir;
    std::unique_ptr<NYX_TEXT_INPUT> m_input;
    std::unique_ptr<NYX_JSON_PIECES> m_pieces;
};

TEST_F(JsonPieces, ValuesEndWhereTheyEnd) {
    NYX_JSON_PIECES &pieces = open(R"( 12 "a\"]" {"b": [1, "}"]} true)");
    EXPECT_EQ(pieces.take_value(), "12");
    EXPECT_EQ(pieces.take_value(), R"("a\"]")");
    EXPECT_EQ(pieces.take_value(), R"({"b": [1, "}"]})");
    EXPECT_EQ(pieces.take_value(), "true");
    EXPECT_EQ(pieces.peek(), 0);
}

TEST_F(JsonPieces, MembersComeWholeAndNoMoreThanAskedFor) {
    NYX_JSON_PIECES &pieces = open(R"({"a": 1, "b": {"c": 2}, "d": 3})");
    pieces.take('{', "an object");
    EXPECT_EQ(pieces.take_members(1), R"("a": 1)");
    EXPECT_TRUE(pieces.take_if(','));
    EXPECT_EQ(pieces.take_members(100), R"("b": {"c": 2}, "d": 3)");
    EXPECT_FALSE(pieces.take_if(','));
    EXPECT_EQ(pieces.peek(), '}');
}

TEST_F(JsonPieces, TheBytesAroundMembersAreThoseOfTheFileHoweverLargeTheyAre) {
    const auto make_member = [](const char *name, std::size_t size) {
        return "\"" + std::string(name) + "\": \"" + std::string(size, 'x') + "\"";
    };
    const std::string first = make_member("a", 1'500'000);
    const std::string second = make_member("b", 5'000'000);
    NYX_JSON_PIECES &pieces = open("{" + first + "," + second + "}");
    pieces.take('{', "an object");
    std::string_view members = pieces.take_members(1);
    EXPECT_TRUE(members == first);
    EXPECT_EQ(members.data()[-1], '{');
    EXPECT_EQ(members.data()[members.size()], ',');
    EXPECT_TRUE(pieces.take_if(','));
    members = pieces.take_members(1);
    EXPECT_TRUE(members == second);
    EXPECT_EQ(members.data()[-1], ',');
    EXPECT_EQ(members.data()[members.size()], '}');
}

TEST_F(JsonPieces, AnEmptyObjectHasNoMembers) {
    NYX_JSON_PIECES &pieces = open("{ }");
    pieces.take('{', "an object");
    EXPECT_EQ(pieces.take_members(100), "");
}

TEST_F(JsonPieces, AByteOrderMarkIsPassedOver) {
    EXPECT_EQ(open("\xef\xbb\xbf{}").peek(), '{');
}

TEST_F(JsonPieces, LinesAreThoseOfTheFile) {
    NYX_JSON_PIECES &pieces = open("\n\n[\n1,\n2]\n3");
    const std::string_view value = pieces.take_value();
    EXPECT_EQ(pieces.get_line(value.data()), 3u);
    EXPECT_EQ(pieces.get_line(value.data() + value.find('2')), 5u);
    pieces.take_value();
    EXPECT_EQ(pieces.get_line(), 6u);
}

} // namespace
