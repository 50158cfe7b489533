#include "support/capturing_sink.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

TEST(CapturingSink, PutsThePreviousSinkBack) {
    const CAPTURING_SINK outer;
    {
        const CAPTURING_SINK inner;
        NYX_REPORT::info("inner");
        EXPECT_EQ(inner.texts(NYX_REPORT::SEVERITY::INFO), std::vector<std::string>{"inner"});
    }
    NYX_REPORT::info("outer");
    EXPECT_EQ(outer.texts(NYX_REPORT::SEVERITY::INFO), std::vector<std::string>{"outer"});
}

TEST(CapturingSink, ForgetsWhenCleared) {
    CAPTURING_SINK reports;
    NYX_REPORT::warn("text");
    reports.clear();
    EXPECT_TRUE(reports.lines().empty());
}

TEST(ScopedEnv, PutsBackWhatWasThere) {
    {
        const SCOPED_ENV outer("NYX_TEST_VARIABLE", "outer");
        {
            const SCOPED_ENV inner("NYX_TEST_VARIABLE", std::nullopt);
            EXPECT_EQ(std::getenv("NYX_TEST_VARIABLE"), nullptr);
        }
        EXPECT_STREQ(std::getenv("NYX_TEST_VARIABLE"), "outer");
    }
    EXPECT_EQ(std::getenv("NYX_TEST_VARIABLE"), nullptr);
}

TEST(TempDir, GoesWithAllItHolds) {
    std::filesystem::path path;
    {
        const TEMP_DIR directory;
        path = directory.path();
        std::filesystem::create_directories(directory / "a/b");
        std::ofstream(directory / "a/b/file") << "text";
        EXPECT_TRUE(std::filesystem::exists(path / "a/b/file"));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TempDir, IsAnotherEachTime) {
    const TEMP_DIR first;
    const TEMP_DIR second;
    EXPECT_NE(first.path(), second.path());
    EXPECT_TRUE(std::filesystem::is_empty(second.path()));
}
