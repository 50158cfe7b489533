#include "nyx/nyx_name_style.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using SEGMENTS = std::vector<std::string>;

SEGMENTS split(const char *text, char separator = '|', unsigned long long max_splits = 0) {
    SEGMENTS segments;
    nyx_split_handling_escaped_separator(text, separator, max_splits, segments);
    return segments;
}

std::string join(const SEGMENTS &segments, bool escape_last = true, char separator = '|') {
    return nyx_join_escaping_separator(boost::make_iterator_range(segments.begin(), segments.end()), separator,
                                       escape_last);
}

/// Splits in three separate passes, each by the rule's words and slow: is this separator escaped, where are the cuts,
/// which backslashes go.
SEGMENTS model_split(const std::string &text, char separator, std::size_t max_splits) {
    const auto is_escaped = [&](std::size_t at) {
        std::size_t backslashes = 0;
        while (backslashes < at && text[at - backslashes - 1] == '\\')
            ++backslashes;
        return backslashes % 2 == 1;
    };

    std::vector<std::size_t> cuts;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == separator && !is_escaped(at) && (max_splits == 0 || cuts.size() < max_splits))
            cuts.push_back(at);
    }
    cuts.push_back(text.size());

    SEGMENTS segments;
    std::size_t begin = 0;
    for (const std::size_t end : cuts) {
        bool has_escaped = false;
        for (std::size_t at = begin; at < end; ++at)
            has_escaped |= text[at] == separator && is_escaped(at);
        std::string segment = text.substr(begin, end - begin);
        if (has_escaped) {
            const std::string escaped_separator = {'\\', separator};
            for (std::size_t at = 0; (at = segment.find(escaped_separator, at)) != std::string::npos; ++at)
                segment.erase(at, 1);
        }
        segments.push_back(segment);
        begin = end + 1;
    }
    return segments;
}

std::string random_text(std::mt19937 &random, const std::string &alphabet, std::size_t max_length) {
    std::string text(random() % (max_length + 1), ' ');
    for (char &c : text)
        c = alphabet[random() % alphabet.size()];
    return text;
}

std::string show(const std::string &text) {
    return "from text \"" + text + '"';
}

} // namespace

TEST(NameStyle, ShowsTheBareNameByDefault) {
    const NYX_NAME_STYLE style;
    EXPECT_FALSE(style.show_module);
    EXPECT_FALSE(style.with_parent);
    EXPECT_FALSE(style.with_type_prefix);
    EXPECT_EQ(style.hier_separator, '|');
    EXPECT_EQ(style.parent_separator, '|');
}

TEST(NameStyle, IsAWordOfEightBytes) {
    static_assert(sizeof(NYX_NAME_STYLE) == 8);
    static_assert(std::is_trivially_copyable_v<NYX_NAME_STYLE>);
    EXPECT_EQ(NYX_NAME_STYLE().to_word(), 0x7c7c000000000000u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(NYX_NAME_STYLE()), 0x7c7c000000000000u);
}

TEST(NameStyle, HasEachFieldInItsByte) {
    EXPECT_EQ(NYX_NAME_STYLE{.show_module = true}.to_word(), 0x7c7c000000000001u);
    EXPECT_EQ(NYX_NAME_STYLE{.with_parent = true}.to_word(), 0x7c7c000000010000u);
    EXPECT_EQ(NYX_NAME_STYLE{.with_type_prefix = true}.to_word(), 0x7c7c000100000000u);
    EXPECT_EQ(NYX_NAME_STYLE{.hier_separator = '/'}.to_word(), 0x7c2f000000000000u);
    EXPECT_EQ(NYX_NAME_STYLE{.parent_separator = '/'}.to_word(), 0x2f7c000000000000u);
}

TEST(NameStyle, ComesBackFromItsWord) {
    for (const NYX_NAME_STYLE &style :
         {NYX_NAME_STYLE{}, NYX_NAME_STYLE{.show_module = true}, NYX_NAME_STYLE{.with_parent = true},
          NYX_NAME_STYLE{.with_type_prefix = true}, NYX_NAME_STYLE{.hier_separator = '\xff'},
          NYX_NAME_STYLE{.parent_separator = '/'}})
        EXPECT_EQ(NYX_NAME_STYLE::from_word(style.to_word()), style) << std::hex << style.to_word();
}

TEST(NameStyle, IsCleanedWhenItComesFromAForeignWord) {
    EXPECT_EQ(NYX_NAME_STYLE::from_word(0x2e3afffffffffffe).to_word(), 0x2e3a000100010001u);
}

TEST(NameStyle, ShowsNeitherPrefixNorParentInTheParentsPart) {
    const NYX_NAME_STYLE style{.show_module = true,
                               .with_parent = true,
                               .with_type_prefix = true,
                               .hier_separator = '/',
                               .parent_separator = '.'};
    const NYX_NAME_STYLE expected{.show_module = true, .hier_separator = '/', .parent_separator = '.'};
    EXPECT_EQ(style.parent_style(), expected);
    EXPECT_TRUE(style.with_parent) << "the style itself is as it was";
}

TEST(Split, CutsAtSeparators) {
    EXPECT_EQ(split("a|b"), (SEGMENTS{"a", "b"}));
    EXPECT_EQ(split("top|u1|net"), (SEGMENTS{"top", "u1", "net"}));
    EXPECT_EQ(split("a"), (SEGMENTS{"a"}));
}

TEST(Split, CutsAtTheSeparatorItIsGiven) {
    EXPECT_EQ(split("a/b|c", '/'), (SEGMENTS{"a", "b|c"}));
    EXPECT_EQ(split("m1 m2\\ x", ' '), (SEGMENTS{"m1", "m2 x"}));
}

TEST(Split, KeepsAnEscapedSeparatorWithoutItsBackslash) {
    EXPECT_EQ(split("a\\|b"), (SEGMENTS{"a|b"}));
    EXPECT_EQ(split("\\|"), (SEGMENTS{"|"}));
    EXPECT_EQ(split("a\\|b|c\\|d"), (SEGMENTS{"a|b", "c|d"}));
}

TEST(Split, CutsBehindTwoBackslashesAndKeepsBoth) {
    EXPECT_EQ(split("a\\\\|b"), (SEGMENTS{"a\\\\", "b"}));
}

TEST(Split, DropsOneOfThreeBackslashes) {
    EXPECT_EQ(split("a\\\\\\|b"), (SEGMENTS{"a\\\\|b"}));
}

TEST(Split, KeepsBackslashesThatEscapeNoSeparator) {
    EXPECT_EQ(split("a\\b|\\\\c\\"), (SEGMENTS{"a\\b", "\\\\c\\"}));
    EXPECT_EQ(split("\\x\\|y"), (SEGMENTS{"\\x|y"}));
}

TEST(Split, IsNotEscapedByABackslashBeforeAnotherCharacter) {
    EXPECT_EQ(split("\\a|b"), (SEGMENTS{"\\a", "b"}));
}

TEST(Split, MakesEmptySegments) {
    EXPECT_EQ(split("a|"), (SEGMENTS{"a", ""}));
    EXPECT_EQ(split("|a"), (SEGMENTS{"", "a"}));
    EXPECT_EQ(split("|"), (SEGMENTS{"", ""}));
    EXPECT_EQ(split("a||b"), (SEGMENTS{"a", "", "b"}));
    EXPECT_EQ(split("a\\||"), (SEGMENTS{"a|", ""}));
}

TEST(Split, MakesOneEmptySegmentOfEmptyText) {
    EXPECT_EQ(split(""), (SEGMENTS{""}));
}

TEST(Split, MakesNoSegmentOfNull) {
    SEGMENTS segments{"left over"};
    nyx_split_handling_escaped_separator(nullptr, '|', 0, segments);
    EXPECT_TRUE(segments.empty());
}

TEST(Split, ReplacesWhatWasInTheSegments) {
    SEGMENTS segments{"left", "over", "from", "before"};
    nyx_split_handling_escaped_separator("a|b", '|', 0, segments);
    EXPECT_EQ(segments, (SEGMENTS{"a", "b"}));
}

TEST(Split, LeavesTheRestUncutAfterTheGivenNumberOfCuts) {
    EXPECT_EQ(split("a|b|c", '|', 1), (SEGMENTS{"a", "b|c"}));
    EXPECT_EQ(split("a|b|c", '|', 2), (SEGMENTS{"a", "b", "c"}));
    EXPECT_EQ(split("a|b|c", '|', ~0ull), (SEGMENTS{"a", "b", "c"}));
    EXPECT_EQ(split("a|", '|', 1), (SEGMENTS{"a", ""}));
}

TEST(Split, CountsNoEscapedSeparatorAsACut) {
    EXPECT_EQ(split("a\\|b|c|d", '|', 1), (SEGMENTS{"a|b", "c|d"}));
}

TEST(Split, DropsABackslashBeforeEverySeparatorOfAnUncutRestThatHeldAnEscapedOne) {
    EXPECT_EQ(split("a|b\\|c|d", '|', 1), (SEGMENTS{"a", "b|c|d"}));
    EXPECT_EQ(split("a|b\\|c\\\\|d", '|', 1), (SEGMENTS{"a", "b|c\\|d"}));
    EXPECT_EQ(split("a|b\\\\|c", '|', 1), (SEGMENTS{"a", "b\\\\|c"})) << "none is escaped here";
}

TEST(Split, NeverCutsAtABackslash) {
    EXPECT_EQ(split("a\\b", '\\'), (SEGMENTS{"a\\b"}));
}

TEST(Split, AgreesWithTheModel) {
    std::mt19937 random(7);
    for (int i = 0; i < 200000; ++i) {
        const std::string text = random_text(random, "a|\\", 12);
        const unsigned max_splits = random() % 4;
        ASSERT_EQ(split(text.c_str(), '|', max_splits), model_split(text, '|', max_splits))
            << show(text) << " with max_splits " << max_splits;
    }
}

TEST(Join, PutsASeparatorBetweenEachTwo) {
    EXPECT_EQ(join({"a", "b", "c"}), "a|b|c");
    EXPECT_EQ(join({"a"}), "a");
    EXPECT_EQ(join({"", "", ""}), "||");
}

TEST(Join, EscapesSeparatorsInSegments) {
    EXPECT_EQ(join({"a|b", "c"}), "a\\|b|c");
    EXPECT_EQ(join({"||", "c"}), "\\|\\||c");
    EXPECT_EQ(join({"a b", "c/d"}, true, ' '), "a\\ b c/d");
}

TEST(Join, EscapesTheLastSegmentOnlyWhenAsked) {
    EXPECT_EQ(join({"a|b", "c|d"}, true), "a\\|b|c\\|d");
    EXPECT_EQ(join({"a|b", "c|d"}, false), "a\\|b|c|d");
    EXPECT_EQ(join({"c|d"}, true), "c\\|d");
    EXPECT_EQ(join({"c|d"}, false), "c|d");
}

TEST(Join, MakesEmptyTextOfNoSegments) {
    EXPECT_EQ(join({}, true), "");
    EXPECT_EQ(join({}, false), "");
}

TEST(Join, TakesAPartOfAVector) {
    const SEGMENTS segments{"a", "b", "c", "d"};
    EXPECT_EQ(nyx_join_escaping_separator({segments.begin() + 1, segments.begin() + 3}, '|', true), "b|c");
}

TEST(Join, LeavesBackslashesAlone) {
    // So this is not undone by splitting.
    EXPECT_EQ(join({"a\\", "b"}), "a\\|b");
    EXPECT_EQ(split("a\\|b"), (SEGMENTS{"a|b"}));
}

TEST(SplitAndJoin, UndoEachOtherForSegmentsWithoutBackslashes) {
    std::mt19937 random(11);
    for (int i = 0; i < 50000; ++i) {
        SEGMENTS segments(1 + random() % 5);
        for (std::string &segment : segments)
            segment = random_text(random, "ab|/ ", 6);
        const std::string text = join(segments);
        ASSERT_EQ(split(text.c_str()), segments) << show(text);
        ASSERT_EQ(join(split(text.c_str())), text);
    }
}

TEST(SplitAndJoin, UndoEachOtherWithAnUncutRest) {
    std::mt19937 random(13);
    for (int i = 0; i < 50000; ++i) {
        SEGMENTS segments(2 + random() % 4);
        for (std::string &segment : segments)
            segment = random_text(random, "ab|", 6);
        const std::string text = join(segments, false);
        ASSERT_EQ(split(text.c_str(), '|', segments.size() - 1), segments) << show(text);
    }
}
