#include "database/nyx_db_diagnostics.h"

#include "database_test_support.h"
#include "support/scoped_env.h"

#include <cstdio>

namespace {

TEST(MessageCodeException, CarriesTheTextOfTheCode) {
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { nyx_db_exception_with_msg_code("DB-NO-SUCH-FILE", "/a/b.nyx"); }),
              RAISED("There is no database file \"/a/b.nyx\".", "nyx_db_exception_with_msg_code"));
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { nyx_db_exception_with_msg_code("DB-NOT-WRITABLE", "f"); }).first,
              "The database file \"f\" is not writable.");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { nyx_db_exception_with_msg_code("CANNOT-DELETE-DB", "f"); }).first,
              "Cannot delete the database file \"f\".");
}

TEST(MessageCodeException, NullCodeHasATextOfItsOwn) {
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { nyx_db_exception_with_msg_code(nullptr, "x"); }),
              RAISED("nyx_db_exception_with_msg_code attempted with NULL msg_code", "nyx_db_exception_with_msg_code"));
}

TEST(MessageCodeException, NullArgumentIsNamedAsMissing) {
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { nyx_db_exception_with_msg_code("DB-NO-SUCH-FILE", nullptr); }).first,
              nyx_format_message_code("DB-NO-SUCH-FILE", {"<no arg provided>"}));
}

std::string pointer_text(const NYX_DB *db) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", static_cast<const void *>(db));
    return text;
}

TEST(DbTrace, SilentWithoutTheVariable) {
    CAPTURING_SINK reports;
    {
        SCOPED_ENV unset("NYX_DB_DEBUG_ACCESS", std::nullopt);
        create_db("frame_a")->close();
    }
    {
        SCOPED_ENV empty("NYX_DB_DEBUG_ACCESS", "");
        create_db("frame_a")->close();
    }
    EXPECT_TRUE(reports.lines().empty());
}

TEST(DbTrace, TellsCallerHandleAndStack) {
    SCOPED_ENV set("NYX_DB_DEBUG_ACCESS", "1");
    CAPTURING_SINK reports;
    SCOPED_DB db("frame_a");
    const auto lines = reports.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].severity, NYX_REPORT::SEVERITY::DEBUG);
    const std::string begin = "create_non_persistent() called on " + pointer_text(db) + " as follows:\n 0# ";
    EXPECT_EQ(lines[0].text.substr(0, begin.size()), begin);
    EXPECT_EQ(lines[0].text.substr(lines[0].text.size() - 2), "\n\n") << "the last frame's line end, and the text's";
}

TEST(DbTrace, EachCloseOfAHandleIsTold) {
    SCOPED_DB parent("frame_parent");
    SCOPED_DB child("frame_child", NYX_DB_TYPE::COMPONENT);
    link_dbs(parent, child);
    SCOPED_ENV set("NYX_DB_DEBUG_ACCESS", "1");
    CAPTURING_SINK reports;
    child->close();
    parent->close();
    const TEXTS texts = reports.texts(NYX_REPORT::SEVERITY::DEBUG);
    ASSERT_EQ(texts.size(), 3u);
    const std::string begins[] = {"close() called on " + pointer_text(child) + " as follows:\n",
                                  "close() called on " + pointer_text(parent) + " as follows:\n",
                                  "close() called on " + pointer_text(child) + " as follows:\n"};
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(texts[i].substr(0, begins[i].size()), begins[i]);
}

TEST(DbTrace, PurgeIsToldAsSuch) {
    NYX_DB *const db = create_db("frame_a");
    SCOPED_ENV set("NYX_DB_DEBUG_ACCESS", "1");
    CAPTURING_SINK reports;
    db->purge();
    const TEXTS texts = reports.texts(NYX_REPORT::SEVERITY::DEBUG);
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_EQ(texts[0].substr(0, 8), "purge() ");
}

TEST(DbTrace, PurgeOfAGroupIsToldOfEachTop) {
    NYX_DB *const parent = create_db("frame_parent", NYX_DB_TYPE::USER, "frame_g");
    NYX_DB *const child = create_db("frame_child", NYX_DB_TYPE::USER, "frame_g");
    link_dbs(parent, child);
    const std::string begin = "purge() called on " + pointer_text(parent) + " as follows:\n";
    SCOPED_ENV set("NYX_DB_DEBUG_ACCESS", "1");
    CAPTURING_SINK reports;
    child->close(); // the use of its creator
    NYX_DB::purge_db_group("frame_g");
    const TEXTS texts = reports.texts(NYX_REPORT::SEVERITY::DEBUG);
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[1].substr(0, begin.size()), begin);
}

TEST(DbTrace, VariableIsReadAtEachCall) {
    CAPTURING_SINK reports;
    for (const char *const value : {"1", "", "x"}) {
        SCOPED_ENV variable("NYX_DB_DEBUG_ACCESS", value);
        trace_db_access("caller()", nullptr);
    }
    EXPECT_EQ(reports.texts(NYX_REPORT::SEVERITY::DEBUG).size(), 2u);
}

TEST(DbTraceFailure, NullCallerEndsTheRun) {
    EXPECT_DEATH(trace_db_access(nullptr, nullptr), "check failed: caller_name");
}

} // namespace
