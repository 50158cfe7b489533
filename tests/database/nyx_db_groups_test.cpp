#include "database_test_support.h"
#include "support/temp_dir.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace {

using MODE = NYX_DB::ACCESS_MODE;
using ENTRIES = std::vector<NYX_DB::GROUP_ENTRY>;

template <class ACTION>
std::string refused(ACTION &&action) {
    return raised<NYX_INVALID_ARGUMENT>(std::forward<ACTION>(action)).first;
}

class DbGroups : public testing::Test {
protected:
    void TearDown() override {
        CAPTURING_SINK quiet;
        if (NYX_DB_LINKER::get().find_group("g") != nullptr)
            NYX_DB::purge_db_group("g");
    }
};

TEST_F(DbGroups, NameIsNeededAndMustBeNew) {
    ENTRIES entries;
    EXPECT_EQ(refused([] { NYX_DB::create_group("", "/d"); }), "DB group name cannot be empty");
    EXPECT_EQ(refused([&] { NYX_DB::create_group("", entries, "/d"); }), "DB group name cannot be empty");
    EXPECT_EQ(refused([] { NYX_DB::remove_group(""); }), "DB group name cannot be empty");
    NYX_DB::create_group("g", "/d");
    const std::string text = "DB group g already exists. Cannot create DB group with the same name.";
    EXPECT_EQ(refused([] { NYX_DB::create_group("g", "/e"); }), text);
    EXPECT_EQ(refused([&] { NYX_DB::create_group("g", entries, "/e"); }), text);
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("x", "g"), "/d/x");
}

TEST_F(DbGroups, EmptyDirectoryIsTheOneOfTheMoment) {
    TEMP_DIR dir;
    {
        const WORKING_DIR here(dir.path());
        NYX_DB::create_group("g", "");
    }
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("x", "g"), std::filesystem::canonical(dir.path()) / "x");
}

TEST_F(DbGroups, EntriesLeadToTheirFiles) {
    ENTRIES entries{{"x", "sub/x.nyx", MODE::READ_ONLY}, {"y", "/e/y.nyx", MODE::MODIFY}};
    NYX_DB::create_group("g", entries, "/d");
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("x", "g"), "/d/sub/x.nyx");
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("y", "g"), "/e/y.nyx");
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("z", "g"), "/d/z");
    EXPECT_EQ(NYX_DB::find_db_path_from_db_name("x", ""), "");
}

TEST_F(DbGroups, FirstBadEntryEndsTheCreationAndTheGroupStays) {
    ENTRIES entries{{"x", "x.nyx", MODE::READ_ONLY}, {"", "y.nyx", MODE::READ_ONLY}, {"z", "z.nyx", MODE::READ_ONLY}};
    EXPECT_EQ(refused([&] { NYX_DB::create_group("g", entries, "/d"); }),
              "Cannot initialize DB group g : Missing DB name for y.nyx");
    std::set<std::string> names;
    NYX_DB::find_known_db_names(names, "g");
    EXPECT_EQ(names, std::set<std::string>{"x"});
    NYX_DB::remove_group("g");
    entries = {{"z", "", MODE::READ_ONLY}};
    EXPECT_EQ(refused([&] { NYX_DB::create_group("g", entries, "/d"); }),
              "Cannot initialize DB group g : Missing path for z");
}

TEST_F(DbGroups, UnknownGroupCanBeRemovedAndNotPurged) {
    NYX_DB::remove_group("DbGroups unknown");
    EXPECT_EQ(refused([] { NYX_DB::purge_db_group("DbGroups unknown"); }),
              "DB group DbGroups unknown doesn't exists. Cannot purge.");
    NYX_DB::purge_db_group("");
}

TEST_F(DbGroups, GroupWithOpenDatabasesStays) {
    for (const char *name : {"named", ""}) {
        NYX_DB *const db = create_db(name, NYX_DB_TYPE::USER, "g");
        EXPECT_EQ(refused([] { NYX_DB::remove_group("g"); }), "Cannot remove DB group g while it has open DBs");
        EXPECT_EQ(db->get_db_group_name(), "g");
        db->close();
        NYX_DB::remove_group("g");
        EXPECT_EQ(NYX_DB_LINKER::get().find_group("g"), nullptr);
    }
}

TEST_F(DbGroups, PurgeClosesAllWhateverTheirUses) {
    create_db("x", NYX_DB_TYPE::USER, "g");
    create_db("y", NYX_DB_TYPE::USER, "g");
    create_db("", NYX_DB_TYPE::USER, "g");
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    linker.change_use_count("x", +3, linker.find_group("g"));
    SCOPED_DB other("other");
    NYX_DB::purge_db_group("g");
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), std::vector<NYX_DB *>{other});
    EXPECT_EQ(linker.find_group("g"), nullptr);
}

TEST_F(DbGroups, TwoGroupsMayHaveDatabasesOfOneName) {
    NYX_DB *const x = create_db("x", NYX_DB_TYPE::USER, "g");
    NYX_DB *const other = create_db("x", NYX_DB_TYPE::USER, "h");
    SCOPED_DB third("x");
    EXPECT_NE(x, other);
    other->close();
    EXPECT_EQ(NYX_DB::get_num_users("x", "g"), 1);
    EXPECT_EQ(NYX_DB::get_num_users("x", "h"), 0);
    NYX_DB::remove_group("h");
}

TEST_F(DbGroups, PurgeBeginsWithADatabaseOfSeveralParents) {
    NYX_DB *dbs[] = {create_db("a", NYX_DB_TYPE::USER, "g"), create_db("b", NYX_DB_TYPE::USER, "g"),
                     create_db("c", NYX_DB_TYPE::USER, "g")};
    std::sort(std::begin(dbs), std::end(dbs), [](NYX_DB *x, NYX_DB *y) { return root_of(x) < root_of(y); });
    link_dbs(dbs[1], dbs[0]);
    link_dbs(dbs[2], dbs[0]);
    CAPTURING_SINK quiet;
    NYX_DB::purge_db_group("g");
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), std::vector<NYX_DB *>());
}

TEST_F(DbGroups, PurgeOpensACircle) {
    NYX_DB *const a = create_db("a", NYX_DB_TYPE::USER, "g");
    NYX_DB *const b = create_db("b", NYX_DB_TYPE::USER, "g");
    link_dbs(a, b);
    link_dbs(b, a);
    CAPTURING_SINK quiet;
    NYX_DB::purge_db_group("g");
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), std::vector<NYX_DB *>());
}

TEST_F(DbGroups, PurgeStopsAtAParentOutsideOfAnyGroup) {
    SCOPED_DB parent("parent");
    NYX_DB *const child = create_db("child", NYX_DB_TYPE::USER, "g");
    link_dbs(parent, child);
    EXPECT_EQ(refused([] { NYX_DB::purge_db_group("g"); }),
              "Cannot get top db for parent. Single top db is defined for user design db only.");
    EXPECT_EQ(child->get_db_group_name(), "g");
    parent->close();
    child->close();
}

TEST_F(DbGroups, PurgeStopsWhereADatabaseCanNotBeSaved) {
    std::vector<NYX_DB *> dbs;
    {
        TEMP_DIR dir;
        for (const char *name : {"x.nyx", "y.nyx"})
            dbs.push_back(NYX_DB::create((dir / name).c_str(), s_size_MiB, NYX_DB_TYPE::USER, name, "g"));
    }
    EXPECT_THROW(NYX_DB::purge_db_group("g"), NYX_FILE_IO_EXCEPTION);
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()).size(), 2u);
    EXPECT_NE(NYX_DB_LINKER::get().find_group("g"), nullptr);
    for (NYX_DB *const db : dbs)
        db->disable_commit_on_close();
}

TEST_F(DbGroups, EntryThatComesTwiceIsTold) {
    CAPTURING_SINK sink;
    ENTRIES entries{{"x", "a.nyx", MODE::READ_ONLY}, {"x", "b.nyx", MODE::READ_ONLY}};
    NYX_DB::create_group("g", entries, "/d");
    EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::INFO),
              TEXTS{"DB x was already mapped to /d/a.nyx. Now mapping to /d/b.nyx"});
}

} // namespace
