#include "database_test_support.h"

#include "support/scoped_env.h"

#include <cerrno>

namespace {

TEST(DbFailure, ClosingOnceTooOftenEndsTheRun) {
    NYX_DB *const db = create_db("frame_a");
    db->close();
    for (int i = 0; i < 50; ++i)
        create_db("")->close(); // handles that are closed do not turn into others
    const char *const text =
        "no way on: Closing already closed 0x[0-9a-f]+ NYX_DB \\(open/close unbalanced somewhere\\)\\. "
        "Debug with NYX_DB_DEBUG_ACCESS=1\\. \\[tools/cpp/nyx/database/nyx_db\\.cpp@";
    EXPECT_DEATH(db->close(), text);
    EXPECT_DEATH(db->purge(), text);
}

TEST(DbFailure, ReportOfACloseTooManyTellsTheHandle) {
    NYX_DB *const db = create_db("frame_a");
    db->close();
    char handle[32];
    std::snprintf(handle, sizeof handle, "%p", static_cast<void *>(db));
    EXPECT_DEATH(db->close(), std::string("Closing already closed ") + handle + " NYX_DB");
}

TEST(DbFailure, OtherMembersOfAClosedHandleEndTheRun) {
    NYX_DB *const db = create_db("frame_a");
    db->close();
    const char *const text = "check failed: m_impl != nullptr: 0x[0-9a-f]+ NYX_DB is closed";
    EXPECT_DEATH(db->get_name(), text);
    EXPECT_DEATH(db->get_file_name(), text);
    EXPECT_DEATH(db->get_access_mode(), text);
    EXPECT_DEATH(db->get_db_type(), text);
    EXPECT_DEATH(db->get_db_group_name(), text);
    EXPECT_DEATH(db->get_size(), text);
    EXPECT_DEATH(db->get_starting_address(), text);
    EXPECT_DEATH(db->is_top(), text);
    EXPECT_DEATH(db->get_top_db(), text);
}

// 2^44 MiB are 2^64 bytes, and a size that wrapped around would be a small one that works.
TEST(DbFailure, SizeThatNoSystemHasEndsTheRun) {
    for (const unsigned long long size_MiB : {1ull << 44, (1ull << 44) + 16, 1ull << 63, ~0ull}) {
        EXPECT_DEATH(NYX_DB::create_non_persistent(size_MiB, NYX_DB_TYPE::USER, "", ""),
                     "check failed: result != nullptr: Failed to reserve 18446744073709551615 bytes \\(" +
                         std::to_string(ENOMEM) + "\\)");
    }
}

TEST(DbFailure, TypeThatIsNoneEndsTheRun) {
    for (const unsigned type : {0u, 1u, 7u, 255u})
        EXPECT_DEATH(NYX_DB::create_non_persistent(s_size_MiB, static_cast<NYX_DB_TYPE>(type), "", ""),
                     "Unknown DB_TYPE");
}

} // namespace
