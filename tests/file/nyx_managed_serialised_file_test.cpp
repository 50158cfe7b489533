#include "file/nyx_managed_serialised_file.h"

#include "nyx_report/nyx_report_exception.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ManagedSerialisedFile, HoldsASegmentOfTheSizeThatWasAsked) {
    NYX_MANAGED_SERIALISED_FILE file(1 << 20, NYX_DB_TYPE::COMPONENT, "a tag");
    EXPECT_EQ(file.get_size(), std::size_t(1) << 20);
    EXPECT_EQ(file.get_starting_address(), reinterpret_cast<const char *>(file.get_segment_manager()));
    EXPECT_EQ(file.get_type(), NYX_DB_TYPE::COMPONENT);
    EXPECT_EQ(file.get_tag(), "a tag");
    EXPECT_FALSE(file.is_read_only());
    EXPECT_TRUE(file.get_segment_manager()->all_memory_deallocated());
}

TEST(ManagedSerialisedFile, SizeThatHoldsNoSegmentIsRefused) {
    for (const std::size_t size : {0u, 1u, 223u}) {
        try {
            NYX_MANAGED_SERIALISED_FILE file(size, NYX_DB_TYPE::USER, "");
            FAIL() << size;
        } catch (const NYX_RUNTIME_ERROR &error) {
            const std::string text = error.what();
            EXPECT_EQ(text.substr(0, text.find(" from function ")), "Failed to create managed segment");
        }
    }
    NYX_MANAGED_SERIALISED_FILE smallest(224, NYX_DB_TYPE::USER, "");
    EXPECT_EQ(smallest.get_size(), 224u);
}

TEST(ManagedSerialisedFile, CopyHoldsTheSameObjectsAndMoreRoom) {
    NYX_MANAGED_SERIALISED_FILE file(1 << 16, NYX_DB_TYPE::DEVICE, "tag");
    file.get_segment_manager()->construct<int>("number")(42);
    NYX_MANAGED_SERIALISED_FILE copy(file, 1 << 16);
    EXPECT_EQ(copy.get_size(), std::size_t(2) << 16);
    EXPECT_NE(copy.get_starting_address(), file.get_starting_address());
    EXPECT_EQ(copy.get_type(), NYX_DB_TYPE::DEVICE);
    EXPECT_EQ(copy.get_tag(), "tag");
    int *const number = copy.get_segment_manager()->find<int>("number").first;
    ASSERT_NE(number, nullptr);
    EXPECT_EQ(*number, 42);
    *number = 43;
    EXPECT_EQ(*file.get_segment_manager()->find<int>("number").first, 42);
}

} // namespace
