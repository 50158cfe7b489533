#include "io/nyx_netlist_text.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(NetlistText, MostNamesAreStoredAsTheyAre) {
    for (const char *name : {"a", "a[3]", "a[0]", "a[300]", "a[-1]", "[03]x", "a[b]", "$abc$1", "a\\b", "\\a", "a/b|c"})
        EXPECT_EQ(nyx_encode_name(name), name);
}

TEST(NetlistText, EveryNameComesBack) {
    for (const char *name :
         {"a", "a[3]", "a[03]", "a[003]", "[00]", "a\\", "a\\\\", "a[03]\\", "a[03]\\\\", "\\", "a[0300]"})
        EXPECT_EQ(nyx_decode_name(nyx_encode_name(name)), name) << name;
}

TEST(NetlistText, ANameThatAnybodyGaveIsLeftAlone) {
    EXPECT_EQ(nyx_decode_name("abc\\"), "abc\\");
    EXPECT_EQ(nyx_decode_name("abc"), "abc");
}

TEST(NetlistText, ParametersAndAttributesDontMeet) {
    std::string name;
    for (const char *original : {"WIDTH", "@odd", "\\odd", "a[01]"}) {
        EXPECT_FALSE(nyx_decode_property(nyx_encode_parameter(original), name));
        EXPECT_EQ(name, original);
        EXPECT_TRUE(nyx_decode_property(nyx_encode_attribute(original), name));
        EXPECT_EQ(name, original);
    }
    EXPECT_EQ(nyx_encode_parameter("WIDTH"), "WIDTH");
    EXPECT_EQ(nyx_encode_attribute("keep"), "@keep");
}

TEST(NetlistText, BitsComeBackWithTheirWidth) {
    std::string buffer;
    std::string digits;
    for (const std::string original : {"", "0", "1", "x", "0101xz", "00000000000000000000000000000101",
                                       "11111111111111111111111111111111", "0000000000000000000000000000000x"}) {
        ASSERT_TRUE(nyx_decode_bits(nyx_encode_bits(original, buffer), digits));
        EXPECT_EQ(digits, original);
    }
    EXPECT_EQ(boost::get<int>(nyx_encode_bits("00000000000000000000000000000101", buffer)), 5);
    EXPECT_FALSE(nyx_decode_bits(std::string("text"), digits));
    EXPECT_FALSE(nyx_decode_bits(1.5, digits));
}

TEST(NetlistText, TokensComeBack) {
    std::string list;
    const std::vector<std::string> tokens = {"a", "b c", "\\", "d\\_", " "};
    for (const std::string &token : tokens)
        nyx_append_token(list, token);
    EXPECT_EQ(nyx_split_tokens(list), tokens);
    EXPECT_TRUE(nyx_split_tokens("").empty());
}

TEST(NetlistText, BitRunsComeBack) {
    using RUN = NYX_BIT_RUN;
    EXPECT_EQ((RUN{RUN::KIND::BUS, "a@b", -3, 4}.to_token()), "@-3:4@a@b");
    const RUN bus = RUN::from_token("@-3:4@a@b");
    EXPECT_EQ(bus.kind, RUN::KIND::BUS);
    EXPECT_EQ(bus.name, "a@b");
    EXPECT_EQ(bus.from, -3);
    EXPECT_EQ(bus.to, 4);
    EXPECT_EQ(RUN::from_token(".n").name, "n");
    EXPECT_EQ(RUN::from_token("-12").count, 12u);
    EXPECT_EQ(RUN::from_token("'01xz").name, "01xz");
    for (const char *wrong : {"", "n", ".", "-", "-x", "@1@a", "@1:2", "@1:2@", "'2"})
        EXPECT_THROW(RUN::from_token(wrong), std::invalid_argument) << wrong;
}

TEST(NetlistText, SourcesAreCutBehindTheLine) {
    std::string file;
    std::string rest;
    unsigned line = 0;
    ASSERT_TRUE(nyx_split_source("rtl/a.v:12.3-14.5|b.v:1", file, line, rest));
    EXPECT_EQ(file, "rtl/a.v");
    EXPECT_EQ(line, 12u);
    EXPECT_EQ(rest, ".3-14.5|b.v:1");
    for (const char *other : {"", "a.v", ":12", "a.v:0", "a.v:012", "a.v:x", "a[01]:5", "a.v:99999999999"})
        EXPECT_FALSE(nyx_split_source(other, file, line, rest)) << other;
}

} // namespace
