#include "database_test_support.h"

#include <set>

namespace {

// Roots that are never looked into.
NYX_DB_PERSISTENT *root(int number) {
    return reinterpret_cast<NYX_DB_PERSISTENT *>(std::uintptr_t(4096) * number);
}

TEST(DbGroup, LookupFindsThePathOfAName) {
    NYX_DB_GROUP group("g");
    EXPECT_TRUE(group.add_group_entry("x", "/d/x.nyx", NYX_DB::ACCESS_MODE::MODIFY, "/base", nullptr));
    EXPECT_EQ(group.lookup("x").path, "/d/x.nyx");
    EXPECT_EQ(group.lookup("x").mode, NYX_DB::ACCESS_MODE::MODIFY);
}

TEST(DbGroup, RelativePathIsJoinedToTheBaseDirectoryOfItsEntry) {
    NYX_DB_GROUP group("g");
    group.add_group_entry("x", "d/../x.nyx", NYX_DB::ACCESS_MODE::READ_ONLY, "/base", nullptr);
    group.add_group_entry("y", "y.nyx", NYX_DB::ACCESS_MODE::READ_ONLY, "", nullptr);
    EXPECT_EQ(group.lookup("x").path, "/base/d/../x.nyx");
    EXPECT_EQ(group.lookup("y").path, "y.nyx");
}

TEST(DbGroup, LookupFallsBackToTheBaseDirectoryToBeReadOnly) {
    NYX_DB_GROUP group("g");
    EXPECT_EQ(group.lookup("x").path, "");
    group.set_base_directory("/d");
    EXPECT_EQ(group.lookup("x").path, "/d/x");
    EXPECT_EQ(group.lookup("x").mode, NYX_DB::ACCESS_MODE::READ_ONLY);
    group.add_group_entry("x", "/e/x.nyx", NYX_DB::ACCESS_MODE::MODIFY, "", nullptr);
    EXPECT_EQ(group.lookup("x").path, "/e/x.nyx");
}

TEST(DbGroup, EntryWithoutNameOrPathIsRefused) {
    NYX_DB_GROUP group("g");
    std::string errors = "Before : ";
    EXPECT_FALSE(group.add_group_entry("", "p", NYX_DB::ACCESS_MODE::READ_ONLY, "/base", &errors));
    EXPECT_EQ(errors, "Before : Missing DB name for p");
    errors.clear();
    EXPECT_FALSE(group.add_group_entry("x", "", NYX_DB::ACCESS_MODE::READ_ONLY, "/base", &errors));
    EXPECT_EQ(errors, "Missing path for x");
    EXPECT_FALSE(group.add_group_entry("x", "", NYX_DB::ACCESS_MODE::READ_ONLY, "/base", nullptr));
    EXPECT_FALSE(group.has_paths());
}

TEST(DbGroup, KnownNamesAreThoseWithAPath) {
    NYX_DB_GROUP group("g");
    group.register_db("open", root(1));
    group.add_group_entry("x", "x", NYX_DB::ACCESS_MODE::READ_ONLY, "", nullptr);
    group.add_group_entry("y", "y", NYX_DB::ACCESS_MODE::READ_ONLY, "", nullptr);
    std::set<std::string> names{"before"};
    group.find_known_db_names(names);
    EXPECT_EQ(names, (std::set<std::string>{"before", "x", "y"}));
}

TEST(DbGroup, RegisteredNameIsFoundUntilItIsTakenOut) {
    NYX_DB_GROUP group("g");
    EXPECT_FALSE(group.has_open_dbs());
    group.register_db("x", root(1));
    EXPECT_TRUE(group.has_open_dbs());
    EXPECT_EQ(group.find_db_persistent("x"), root(1));
    EXPECT_EQ(group.find_db_persistent("y"), nullptr);
    group.unregister_db("x");
    EXPECT_EQ(group.find_db_persistent("x"), nullptr);
    EXPECT_FALSE(group.has_open_dbs());
}

TEST(DbGroup, NameInUseIsRefused) {
    NYX_DB_GROUP group("g");
    group.register_db("x", root(1));
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { group.register_db("x", root(2)); }),
              RAISED("db_name 'x' is already in use.", "NYX_DB_GROUP::register_db"));
    EXPECT_EQ(group.find_db_persistent("x"), root(1));
}

TEST(DbGroup, NameThatIsNotRegisteredCannotBeTakenOut) {
    NYX_DB_GROUP group("g");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { group.unregister_db("x"); }),
              RAISED("DB 'x' name is not registered", "NYX_DB_GROUP::unregister_db"));
}

TEST(DbGroup, EmptyNameIsNotRegistered) {
    NYX_DB_GROUP group("g");
    group.register_db("", root(1));
    group.register_db("", root(2));
    EXPECT_EQ(group.find_db_persistent(""), nullptr);
    group.unregister_db("");
    EXPECT_EQ(group.change_use_count("", +1), 0);
    EXPECT_EQ(group.change_use_count("", 0), 0);
}

TEST(DbGroup, UsesAreCountedPerName) {
    NYX_DB_GROUP group("g");
    group.register_db("x", root(1));
    group.register_db("y", root(2));
    EXPECT_EQ(group.get_use_count("x"), 0);
    EXPECT_EQ(group.change_use_count("x", +1), 1);
    EXPECT_EQ(group.change_use_count("x", +3), 4);
    EXPECT_EQ(group.change_use_count("x", -1), 3);
    EXPECT_EQ(group.get_use_count("x"), 3);
    EXPECT_EQ(group.get_use_count("y"), 0);
    EXPECT_EQ(group.get_use_count("z"), 0);
}

TEST(DbGroup, UsesNeverFallBelowNone) {
    NYX_DB_GROUP group("g");
    group.register_db("x", root(1));
    group.change_use_count("x", +2);
    EXPECT_EQ(group.change_use_count("x", -5), 0);
    EXPECT_EQ(group.get_use_count("x"), 0);
    EXPECT_EQ(group.change_use_count("x", +1), 1);
}

TEST(DbGroup, UsesDoNotOverflow) {
    NYX_DB_GROUP group("g");
    group.register_db("x", root(1));
    EXPECT_EQ(group.change_use_count("x", 0x7fffffff), 0x7fffffff);
    EXPECT_EQ(group.change_use_count("x", 0x7fffffff), 0x7fffffff);
    EXPECT_EQ(group.change_use_count("x", -0x7fffffff - 1), 0);
}

TEST(DbGroup, UsesGoWithTheName) {
    NYX_DB_GROUP group("g");
    group.register_db("x", root(1));
    group.change_use_count("x", +3);
    group.unregister_db("x");
    group.register_db("x", root(2));
    EXPECT_EQ(group.get_use_count("x"), 0);
}

TEST(DbGroupFailure, ChangeByNothingEndsTheRun) {
    NYX_DB_GROUP group("g");
    group.register_db("x", root(1));
    EXPECT_DEATH(group.change_use_count("x", 0),
                 "check failed: change_num != 0: Refcount expects non-zero change value");
}

TEST(DbGroupFailure, CountingANameThatIsNotRegisteredEndsTheRun) {
    NYX_DB_GROUP group("g");
    EXPECT_DEATH(group.change_use_count("x", 1), "check failed: find_db_persistent\\(db_name\\) != nullptr: "
                                                 "DB 'x' must be registerd while counting its use\\.");
}

TEST(DbGroupFailure, RegisteredNameWithoutACountEndsTheRun) {
    struct DAMAGED_GROUP : NYX_DB_GROUP {
        explicit DAMAGED_GROUP(const char *name) : NYX_DB_GROUP(name) {
            register_db("x", root(1));
            m_name_to_use_count.clear();
        }
    };
    const char *const text = "check failed: use_count_it != m_name_to_use_count\\.end\\(\\): "
                             "DB 'x' is registered in group g, but its use is not counted\\.";
    EXPECT_DEATH(DAMAGED_GROUP("g").get_use_count("x"), text);
    EXPECT_DEATH(DAMAGED_GROUP("").get_use_count("x"), "registered in group , but");
}

} // namespace
