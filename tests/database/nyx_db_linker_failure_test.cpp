#include "database_test_support.h"

namespace {

TEST(DbLinkerFailure, UnknownRootEndsTheRun) {
    NYX_DB *const db = create_db("linker_a");
    const NYX_DB_PERSISTENT *const root = root_of(db);
    db->close();
    EXPECT_DEATH(NYX_DB_LINKER::get().db_for_persistent(root), "check failed: it != m_persistent_to_db\\.end\\(\\): "
                                                               "db not found for db_persistent 0x[0-9a-f]+");
}

TEST(DbLinkerFailure, SecondDatabaseOfARootEndsTheRun) {
    SCOPED_DB db("linker_a");
    auto record = std::make_unique<NYX_DB_IMPL>();
    record->m_persistent = root_of(db);
    NYX_DB *const other = NYX_DB_IMPL::attach(std::move(record));
    EXPECT_DEATH(NYX_DB_LINKER::get().register_db("linker_b", other),
                 "check failed: inserted: Could not insert into persistent_to_db map - entry already exists");
    NYX_DB_IMPL::detach(other);
}

} // namespace
