#include "memory/segment_image.h"
#include "nyx/nyx_stats.h"
#include "support/capturing_sink.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

template <class STATS>
std::string printed(const STATS &stats) {
    std::ostringstream out;
    out << stats;
    return out.str();
}

template <class STATS>
std::string dumped(const STATS &stats) {
    CAPTURING_SINK reports;
    stats.dump();
    std::string result;
    for (const CAPTURING_SINK::LINE &line : reports.lines())
        result += line.text;
    return result;
}

std::vector<std::string> field_names(const NYX_TYPE_STATS &stats) {
    std::vector<std::string> result;
    for (const NYX_FIELD_STATS &field : stats.get_field_stats())
        result.push_back(field.get_type());
    return result;
}

// ---- Fields

TEST(FieldStats, KeepsWhatItWasGiven) {
    const NYX_FIELD_STATS field("primary", 8176, 127, 2);
    EXPECT_EQ(field.get_type(), "primary");
    EXPECT_EQ(field.get_bytes(), 8176);
    EXPECT_EQ(field.get_page_capacity(), 127);
    EXPECT_EQ(field.get_num_pages(), 2);
}

TEST(FieldStats, PrintsPages) {
    EXPECT_EQ(printed(NYX_FIELD_STATS("primary", 8176, 127, 2)),
              "bytes: 8176, page_capacity: 127, num_pages: 2, NAME: primary");
    EXPECT_EQ(printed(NYX_FIELD_STATS("box", 0, 254, 0)), "bytes: 0, page_capacity: 254, num_pages: 0, NAME: box");
}

TEST(FieldStats, WithoutPagesPrintsNoneOfThem) {
    EXPECT_EQ(printed(NYX_FIELD_STATS("name strings", 12, -1, 0)), "bytes: 12, NAME: name strings");
    EXPECT_EQ(printed(NYX_FIELD_STATS("x", 12, -1, 5)), "bytes: 12, NAME: x");
}

TEST(FieldStats, CountsBeyond32Bits) {
    NYX_FIELD_STATS field("x", 5000000000, 1, 1);
    field.accumulate(NYX_FIELD_STATS("x", 5000000000, 1, 1));
    EXPECT_EQ(printed(field), "bytes: 10000000000, page_capacity: 1, num_pages: 2, NAME: x");
}

TEST(FieldStats, AccumulatingAddsBytesAndPagesAndKeepsNameAndCapacity) {
    NYX_FIELD_STATS field("primary", 8176, 127, 2);
    field.accumulate(NYX_FIELD_STATS("other", 4088, 127, 1));
    EXPECT_EQ(printed(field), "bytes: 12264, page_capacity: 127, num_pages: 3, NAME: primary");
    field.accumulate(field);
    EXPECT_EQ(printed(field), "bytes: 24528, page_capacity: 127, num_pages: 6, NAME: primary");
}

TEST(FieldStats, IsDumpedAsItIsPrinted) {
    const NYX_FIELD_STATS field("100%s", 1, 2, 3);
    EXPECT_EQ(dumped(field), printed(field));
    EXPECT_EQ(dumped(field), "bytes: 1, page_capacity: 2, num_pages: 3, NAME: 100%s");
}

TEST(FieldStatsDeathTest, OtherPageCapacityEndsTheRun) {
    NYX_FIELD_STATS field("x", 1, 127, 1);
    const std::string said = failed_check("m_page_capacity == stat.m_page_capacity",
                                          "Can't accumulate stats across different page capacities");
    EXPECT_DEATH(field.accumulate(NYX_FIELD_STATS("x", 1, 254, 1)), said);
    EXPECT_DEATH(field.accumulate(NYX_FIELD_STATS("x", 1, -1, 1)), said);
}

// ---- Tables

TEST(TypeStats, PrintsCountsAndFieldsInTheOrderOfTheirNames) {
    NYX_TYPE_STATS stats("NYX_NET", 100, 27);
    stats.add_field_stats(NYX_FIELD_STATS("primary", 4088, 203, 1));
    stats.add_field_stats(NYX_FIELD_STATS("bus_ptr", 4088, 509, 1));
    EXPECT_EQ(printed(stats), "NYX_NET, allocated: 27, free: 100\n"
                              "  bytes: 4088, page_capacity: 509, num_pages: 1, NAME: bus_ptr\n"
                              "  bytes: 4088, page_capacity: 203, num_pages: 1, NAME: primary\n");
    EXPECT_EQ(dumped(stats), printed(stats));
}

TEST(TypeStats, WithoutCountsPrintsNone) {
    NYX_TYPE_STATS stats("NYX_NAME_MANAGER", -1, -1);
    stats.add_field_stats(NYX_FIELD_STATS("id_count", 0, -1, 0));
    EXPECT_EQ(printed(stats), "NYX_NAME_MANAGER\n  bytes: 0, NAME: id_count\n");
    EXPECT_EQ(printed(NYX_TYPE_STATS("EMPTY", -1, -1)), "EMPTY\n");
}

TEST(TypeStats, PrintingTheCountsHangsOnTheLiveRows) {
    EXPECT_EQ(printed(NYX_TYPE_STATS("T", 5, -1)), "T\n");
    EXPECT_EQ(printed(NYX_TYPE_STATS("T", -1, 5)), "T, allocated: 5, free: -1\n");
    EXPECT_EQ(printed(NYX_TYPE_STATS("T", 0, 0)), "T, allocated: 0, free: 0\n");
}

TEST(TypeStats, KeepsItsCounts) {
    const NYX_TYPE_STATS stats("T", 3, 4);
    EXPECT_EQ(stats.get_type(), "T");
    EXPECT_EQ(stats.get_num_free(), 3);
    EXPECT_EQ(stats.get_num_allocated(), 4);
    EXPECT_TRUE(stats.get_field_stats().empty());
}

TEST(TypeStats, FieldsOfOneNameMerge) {
    NYX_TYPE_STATS stats("T", 0, 0);
    stats.add_field_stats(NYX_FIELD_STATS("a", 1, 10, 1));
    stats.add_field_stats(NYX_FIELD_STATS("a", 2, 10, 3));
    EXPECT_EQ(printed(stats), "T, allocated: 0, free: 0\n  bytes: 3, page_capacity: 10, num_pages: 4, NAME: a\n");
}

TEST(TypeStats, SubRecordsFieldsComeUnderAPrefix) {
    NYX_TYPE_STATS traits("NYX_BYTE1_TRAIT", 9, 9);
    traits.add_field_stats(NYX_FIELD_STATS("name", 10, -1, 0));
    traits.add_field_stats(NYX_FIELD_STATS("value", 20, 127, 2));
    NYX_TYPE_STATS stats("NYX_MODULE", 1, 2);
    stats.add_sub_field_stats("*trait_lookup", traits);
    stats.add_sub_field_stats("*trait_lookup", traits);
    stats.add_sub_field_stats("", traits);
    EXPECT_EQ(printed(stats), "NYX_MODULE, allocated: 2, free: 1\n"
                              "  bytes: 20, NAME: *trait_lookup/name\n"
                              "  bytes: 40, page_capacity: 127, num_pages: 4, NAME: *trait_lookup/value\n"
                              "  bytes: 10, NAME: /name\n"
                              "  bytes: 20, page_capacity: 127, num_pages: 2, NAME: /value\n");
}

// The fields that are added were once visited too, without end.
TEST(TypeStats, MayBeItsOwnSubRecord) {
    NYX_TYPE_STATS stats("T", 0, 0);
    stats.add_field_stats(NYX_FIELD_STATS("a", 1, -1, 0));
    stats.add_field_stats(NYX_FIELD_STATS("z", 2, -1, 0));
    stats.add_sub_field_stats("b", stats);
    EXPECT_EQ(field_names(stats), (std::vector<std::string>{"a", "b/a", "b/z", "z"}));
}

TEST(TypeStats, AccumulatingMergesAndCopiesFieldsAndKeepsTheCounts) {
    NYX_TYPE_STATS stats("T", 1, 2);
    stats.add_field_stats(NYX_FIELD_STATS("a", 1, 10, 1));
    NYX_TYPE_STATS other("U", 100, 200);
    other.add_field_stats(NYX_FIELD_STATS("a", 5, 10, 6));
    other.add_field_stats(NYX_FIELD_STATS("b", 7, 11, 8));
    stats.accumulate(other);
    EXPECT_EQ(printed(stats), "T, allocated: 2, free: 1\n"
                              "  bytes: 6, page_capacity: 10, num_pages: 7, NAME: a\n"
                              "  bytes: 7, page_capacity: 11, num_pages: 8, NAME: b\n");
    EXPECT_EQ(printed(other), "U, allocated: 200, free: 100\n"
                              "  bytes: 5, page_capacity: 10, num_pages: 6, NAME: a\n"
                              "  bytes: 7, page_capacity: 11, num_pages: 8, NAME: b\n");
}

TEST(TypeStats, AccumulatingItselfDoubles) {
    NYX_TYPE_STATS stats("T", 1, 2);
    stats.add_field_stats(NYX_FIELD_STATS("a", 1, 10, 1));
    stats.add_field_stats(NYX_FIELD_STATS("b", 4, 10, 2));
    stats.accumulate(stats);
    EXPECT_EQ(stats.get_field_stats()[0].get_bytes(), 2);
    EXPECT_EQ(stats.get_field_stats()[1].get_num_pages(), 4);
}

TEST(TypeStatsDeathTest, OtherRowWidthEndsTheRun) {
    NYX_TYPE_STATS stats("T", 1, 2);
    stats.add_field_stats(NYX_FIELD_STATS("primary", 1, 127, 1));
    NYX_TYPE_STATS other("T", 1, 2);
    other.add_field_stats(NYX_FIELD_STATS("primary", 1, 101, 1));
    const std::string said = failed_check("m_page_capacity == stat.m_page_capacity",
                                          "Can't accumulate stats across different page capacities");
    EXPECT_DEATH(stats.accumulate(other), said);
    EXPECT_DEATH(stats.add_field_stats(NYX_FIELD_STATS("primary", 1, 101, 1)), said);
}

// ---- Segments

TEST(Stats, PrintsTypesInTheOrderOfAdditionAndTheTotals) {
    NYX_STATS stats(1000, 400);
    stats.add_type_stats(NYX_TYPE_STATS("Z", 1, 2));
    stats.add_type_stats(NYX_TYPE_STATS("A", -1, -1));
    stats.add_type_stats(NYX_TYPE_STATS("Z", 1, 3));
    EXPECT_EQ(printed(stats), "Z, allocated: 2, free: 1\n"
                              "A\n"
                              "Z, allocated: 3, free: 1\n"
                              "MAPPED MEMORY USAGE (bytes)  size: 1000, used: 600, free: 400\n");
    EXPECT_EQ(dumped(stats), printed(stats));
    EXPECT_EQ(stats.get_type_stats().size(), 3u);
    EXPECT_EQ(stats.get_type_stats()[1].get_type(), "A");
}

TEST(Stats, UsedIsWhatIsNotFree) {
    EXPECT_EQ(NYX_STATS(1000, 1000).get_used(), 0u);
    EXPECT_EQ(NYX_STATS(1000, 0).get_used(), 1000u);
    EXPECT_EQ(NYX_STATS(~0ull, 1).get_used(), ~0ull - 1);
    EXPECT_EQ(NYX_STATS(1000, 10).get_size(), 1000u);
    EXPECT_EQ(NYX_STATS(1000, 10).get_free(), 10u);
}

TEST(StatsDeathTest, MoreFreeThanThereIsEndsTheRun) {
    const NYX_STATS stats(10, 11);
    EXPECT_EQ(stats.get_free(), 11u);
    EXPECT_DEATH(stats.get_used(), failed_check("m_free <= m_size"));
    EXPECT_DEATH(printed(stats), failed_check("m_free <= m_size"));
}

} // namespace
