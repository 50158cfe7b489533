#include "memory/segment_image.h"
#include "names/nyx_name_mgr.h"
#include "names/nyx_name_mgr_impl.h"
#include "support/scoped_env.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

class NameManagerDeathTest : public testing::Test {
protected:
    NameManagerDeathTest() : m_segment(std::size_t(1) << 28), m_names(m_segment.get_segment_manager()) {}

    // As if that many base names had been interned.
    void pretend_bus_names(std::size_t count) { m_names.get_impl().bus_id_reverse_lookup.resize(count); }

    NYX_SEGMENT m_segment;
    NYX_NAME_MANAGER m_names;
};

TEST_F(NameManagerDeathTest, CounterOfInvalidEndsTheRun) {
    EXPECT_DEATH(m_names.get_id_count(NYX_NAME_ID::INVALID), failed_check("id != NYX_NAME_ID::INVALID"));
    EXPECT_DEATH(m_names.increase_id_count(NYX_NAME_ID::INVALID), failed_check("id != NYX_NAME_ID::INVALID"));
}

TEST_F(NameManagerDeathTest, NullNameEndsTheRun) {
    EXPECT_DEATH(m_names.get_id(nullptr), failed_check("name != nullptr"));
    EXPECT_DEATH(m_names.find_id(nullptr), failed_check("name != nullptr"));
}

TEST_F(NameManagerDeathTest, LastBaseNameHasTheIndexBeforeAllOnes) {
    pretend_bus_names(0x7FFFFE);
    const NYX_NAME_ID last = m_names.get_id("last[255]");
    EXPECT_EQ(last.get(), 0xFFFFFFFEu);
    EXPECT_NE(last, NYX_NAME_ID::INVALID);
    std::string name;
    EXPECT_TRUE(m_names.find_name(last, name));
    EXPECT_EQ(name, "last[255]");
    EXPECT_EQ(m_names.get_id("last[0]").get(), 0x807FFFFEu);
    // INVALID would be bit 255 of the next one.
    const std::string said = failed_check("fields.bus.bus_index == 0", "Bus id overflow");
    EXPECT_DEATH(m_names.get_id("next[0]"), said);
    EXPECT_DEATH(m_names.get_id("next[255]"), said);
    EXPECT_EQ(m_names.get_id("last[1]").get(), 0x80FFFFFEu);
    EXPECT_EQ(m_names.get_id("next").get(), 0u); // plain names go on
}

TEST_F(NameManagerDeathTest, BaseNameBeyond23BitsEndsTheRun) {
    pretend_bus_names(0x800000);
    EXPECT_DEATH(m_names.get_id("a[0]"), failed_check("fields.bus.bus_index == 0", "Bus id overflow"));
    EXPECT_EQ(m_names.find_id("a[0]"), NYX_NAME_ID::INVALID);
}

TEST_F(NameManagerDeathTest, CounterAtItsEndFailsACheckWhereExceptionsAreUnwanted) {
    const SCOPED_ENV checks("NYX_ASSERT_ACCESS", "1");
    const NYX_NAME_ID id = m_names.get_id("da%sta");
    m_names.increase_id_count(id);
    m_names.get_impl().id_count[id] = NYX_NAME_COUNT::INVALID;
    EXPECT_DEATH(m_names.increase_id_count(id), literally("check failed: 0: Name index overflow for name: da%sta"));
}

TEST_F(NameManagerDeathTest, StringsOfABrokenImageAreNotRead) {
    std::string name = "before";
    pretend_bus_names(3);
    EXPECT_FALSE(m_names.find_name(NYX_NAME_ID(0x80000001u), name));
    EXPECT_EQ(name, "before");
}

} // namespace
