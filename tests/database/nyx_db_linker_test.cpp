#include "database_test_support.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace {

using enum NYX_DB::ACCESS_MODE;

NYX_DB_LINKER &linker() {
    return NYX_DB_LINKER::get();
}

// ---- Groups

TEST(DbLinkerGroups, EmptyNameIsTheLinkerItself) {
    EXPECT_EQ(linker().find_group(""), &linker());
    EXPECT_EQ(linker().find_or_add_group(""), &linker());
    EXPECT_EQ(linker().get_name(), "");
}

TEST(DbLinkerGroups, UnknownNameIsNullUntilItIsAdded) {
    EXPECT_EQ(linker().find_group("linker_added"), nullptr);
    NYX_DB_GROUP *const group = linker().find_or_add_group("linker_added");
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(group->get_name(), "linker_added");
    EXPECT_EQ(linker().find_group("linker_added"), group);
    EXPECT_EQ(linker().find_or_add_group("linker_added"), group);
}

TEST(DbLinkerGroups, NullGroupIsTheDefaultOne) {
    SCOPED_DB in_default("linker_a");
    SCOPED_DB in_group("linker_a", NYX_DB_TYPE::USER, "linker_g");
    NYX_DB_GROUP *const group = linker().find_group("linker_g");
    EXPECT_EQ(linker().find_db_persistent("linker_a", nullptr), root_of(in_default));
    EXPECT_EQ(linker().find_db_persistent("linker_a", &linker()), root_of(in_default));
    EXPECT_EQ(linker().find_db_persistent("linker_a", group), root_of(in_group));
    EXPECT_EQ(linker().change_use_count("linker_a", +1, nullptr), 2);
    EXPECT_EQ(linker().get_use_count("linker_a", group), 1);
    EXPECT_EQ(in_default->close(), 1);
}

TEST(DbLinkerGroups, DefaultGroupIsNeverStoredInARecord) {
    SCOPED_DB db("linker_a");
    EXPECT_EQ(NYX_DB_IMPL::of(*db).m_group, nullptr);
}

// ---- Registration

TEST(RegisterDb, CountsOneUse) {
    SCOPED_DB db("linker_a");
    EXPECT_EQ(linker().get_use_count("linker_a", nullptr), 1);
    EXPECT_EQ(linker().db_for_persistent(root_of(db)), static_cast<NYX_DB *>(db));
    EXPECT_TRUE(linker().get_sub_dbs(db, true).empty());
    EXPECT_TRUE(linker().get_sub_dbs(db, false).empty());
}

TEST(RegisterDb, NameInUseIsRefused) {
    SCOPED_DB a("linker_a"), b("linker_b");
    linker().unregister_db("linker_b", b, false);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { linker().register_db("linker_a", b); }),
              RAISED("db_name 'linker_a' is already in use.", "NYX_DB_GROUP::register_db"));
    linker().register_db("linker_b", b);
    EXPECT_EQ(linker().get_use_count("linker_a", nullptr), 1);
}

TEST(RegisterDb, FileInUseIsRefusedAndTheNameTakenBack) {
    SCOPED_DB a("linker_a"), b("linker_b");
    give_file(a, "/linker/f.nyx", READ_ONLY);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { give_file(b, "/linker/f.nyx", READ_ONLY); }),
              RAISED("The db file /linker/f.nyx is already in use as 'linker_a' db and cannot be loaded as 'linker_b'",
                     "NYX_DB_LINKER::register_db"));
    EXPECT_EQ(linker().find_db_persistent("linker_b", nullptr), nullptr);
    EXPECT_EQ(linker().get_use_count("linker_b", nullptr), 0);
    EXPECT_EQ(linker().find_open_db_by_file("/linker/f.nyx"), static_cast<NYX_DB *>(a));
    EXPECT_EQ(linker().find_sub_db(b, true, 0), nullptr);
    NYX_DB_IMPL::of(*b).m_file_name.reset();
    linker().register_db("linker_b", b);
}

TEST(RegisterDb, FileIsFoundWhileTheDatabaseIsOpen) {
    SCOPED_DB db("linker_a");
    EXPECT_EQ(linker().find_open_db_by_file("/linker/f.nyx"), nullptr);
    give_file(db, "/linker/f.nyx", READ_ONLY);
    EXPECT_EQ(linker().find_open_db_by_file("/linker/f.nyx"), static_cast<NYX_DB *>(db));
    db->close();
    EXPECT_EQ(linker().find_open_db_by_file("/linker/f.nyx"), nullptr);
}

TEST(RegisterDb, DatabaseWithoutANameIsFoundByItsRootAlone) {
    SCOPED_DB db("");
    EXPECT_EQ(linker().db_for_persistent(root_of(db)), static_cast<NYX_DB *>(db));
    EXPECT_EQ(linker().find_db_persistent("", nullptr), nullptr);
    EXPECT_EQ(linker().change_use_count("", -1, nullptr), 0);
}

TEST(UnregisterDb, DatabaseInUseIsRefused) {
    SCOPED_DB parent("linker_parent"), child("linker_child");
    linker().add_sub_db(parent, child);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { linker().unregister_db("linker_child", child, false); }),
              RAISED("Sub db 'linker_child' is still in use by 'linker_parent'", "NYX_DB_LINKER::unregister_db"));
    EXPECT_EQ(linker().find_db_persistent("linker_child", nullptr), root_of(child));
    EXPECT_EQ(linker().get_sub_dbs(parent, true), std::vector<NYX_DB *>{child});
}

TEST(UnregisterDb, ForceWarnsAndDropsTheLinks) {
    SCOPED_DB parent("linker_parent"), child("linker_child");
    linker().add_sub_db(parent, child);
    CAPTURING_SINK reports;
    linker().unregister_db("linker_child", child, true);
    EXPECT_EQ(reports.lines(),
              (std::vector<CAPTURING_SINK::LINE>{
                  {NYX_REPORT::SEVERITY::WARNING, "The db 'linker_child' is still in use by db 'linker_parent'"}}));
    EXPECT_TRUE(linker().get_sub_dbs(parent, true).empty());
    EXPECT_TRUE(linker().get_sub_dbs(parent, false).empty());
    linker().register_db("linker_child", child);
}

TEST(UnregisterDb, WhatIsNotRegisteredIsRefusedAndNothingIsTakenOut) {
    SCOPED_DB db("linker_a");
    NYX_DB_IMPL &record = NYX_DB_IMPL::of(*db);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { linker().unregister_db("linker_other", db, false); }),
              RAISED("DB 'linker_other' name is not registered", "NYX_DB_GROUP::unregister_db"));

    record.m_file_name = "/linker/f.nyx";
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { linker().unregister_db("linker_a", db, false); }),
              RAISED("DB file '/linker/f.nyx' is not registered", "NYX_DB_LINKER::unregister_db"));
    record.m_file_name.reset();

    NYX_DB_PERSISTENT *const root = record.m_persistent;
    NYX_DB_PERSISTENT other(record.m_file->get_segment_manager(), NYX_DB_TYPE::USER);
    record.m_persistent = &other;
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { linker().unregister_db("linker_a", db, false); }),
              RAISED("db_persistent for 'linker_a' is not registered", "NYX_DB_LINKER::unregister_db"));
    record.m_persistent = root;

    EXPECT_EQ(linker().find_db_persistent("linker_a", nullptr), root);
    EXPECT_EQ(linker().get_use_count("linker_a", nullptr), 1);
    EXPECT_EQ(linker().db_for_persistent(root), static_cast<NYX_DB *>(db));
}

TEST(UnregisterDb, ASecondTimeIsRefused) {
    SCOPED_DB db("linker_a");
    linker().unregister_db("linker_a", db, false);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { linker().unregister_db("linker_a", db, false); }).first,
              "DB 'linker_a' name is not registered");
    linker().register_db("linker_a", db);
}

// ---- Sharing

TEST(FindOpenDb, SameNameFileAndModeIsShared) {
    SCOPED_DB db("linker_a");
    give_file(db, "/linker/f.nyx", READ_ONLY);
    EXPECT_EQ(linker().find_open_db("/linker/f.nyx", READ_ONLY, "linker_a", ""), static_cast<NYX_DB *>(db));
}

TEST(FindOpenDb, UnknownNameAndFileOrGroupIsNull) {
    SCOPED_DB db("linker_a");
    give_file(db, "/linker/f.nyx", READ_ONLY);
    EXPECT_EQ(linker().find_open_db("/linker/g.nyx", READ_ONLY, "linker_b", ""), nullptr);
    EXPECT_EQ(linker().find_open_db("/linker/f.nyx", READ_ONLY, "linker_a", "linker_unknown_group"), nullptr);
}

TEST(FindOpenDb, ModifiedOneIsNeverShared) {
    SCOPED_DB db("linker_a");
    give_file(db, "/linker/f.nyx", MODIFY);
    for (const NYX_DB::ACCESS_MODE mode : {READ_ONLY, MODIFY}) {
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { linker().find_open_db("/linker/f.nyx", mode, "linker_a", ""); }),
                  RAISED("DB 'linker_a' is already opened in MODIFY mode and cannot be shared.",
                         "NYX_DB_LINKER::find_open_db"));
    }
}

TEST(FindOpenDb, OtherFileOrModeIsRefused) {
    SCOPED_DB db("linker_a");
    give_file(db, "/linker/f.nyx", READ_ONLY);
    const auto text = [](const char *file, NYX_DB::ACCESS_MODE mode) {
        return raised<NYX_RUNTIME_ERROR>([&] { linker().find_open_db(file, mode, "linker_a", ""); });
    };
    EXPECT_EQ(text("/linker/g.nyx", READ_ONLY),
              RAISED("DB 'linker_a' (from /linker/g.nyx in mode 0) is already loaded, but from /linker/f.nyx in mode "
                     "read-only (0)",
                     "NYX_DB_LINKER::find_open_db"));
    EXPECT_EQ(text("/linker/g.nyx", MODIFY).first,
              "DB 'linker_a' (from /linker/g.nyx in mode 1) is already loaded, but "
              "from /linker/f.nyx in mode read-only (0)");
    EXPECT_EQ(text("/linker/f.nyx", MODIFY).first,
              "DB 'linker_a' ( in mode 1) is already loaded,  in mode read-only (0)");
}

TEST(FindOpenDb, WordsForTheOtherModes) {
    SCOPED_DB db("linker_a");
    const auto text = [&](NYX_DB::ACCESS_MODE open_mode) {
        give_file(db, "/linker/f.nyx", open_mode);
        return raised<NYX_RUNTIME_ERROR>([] { linker().find_open_db("/linker/f.nyx", READ_ONLY, "linker_a", ""); })
            .first;
    };
    EXPECT_EQ(text(COPY_ON_WRITE), "DB 'linker_a' ( in mode 0) is already loaded,  in mode copy-on-write (2)");
    EXPECT_EQ(text(static_cast<NYX_DB::ACCESS_MODE>(9)),
              "DB 'linker_a' ( in mode 0) is already loaded,  in mode <other> (9)");
}

TEST(FindOpenDb, SameFileUnderAnotherNameIsRefused) {
    SCOPED_DB db("linker_a");
    give_file(db, "/linker/f.nyx", READ_ONLY);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([] { linker().find_open_db("/linker/f.nyx", READ_ONLY, "linker_b", ""); }),
              RAISED("DB from /linker/f.nyx is already open as 'linker_a' and cannot be loaded as 'linker_b.",
                     "NYX_DB_LINKER::find_open_db"));
}

// ---- Links

TEST(LinkerSubDbs, LinkIsNewOnce) {
    SCOPED_DB parent("linker_parent"), child("linker_child");
    EXPECT_TRUE(linker().add_sub_db(parent, child));
    EXPECT_FALSE(linker().add_sub_db(parent, child));
    EXPECT_EQ(linker().get_sub_dbs(parent, true), std::vector<NYX_DB *>{child});
    EXPECT_EQ(linker().get_parents(child), std::vector<NYX_DB *>{parent});
    EXPECT_EQ(linker().get_use_count("linker_child", nullptr), 1) << "links are counted by who makes them";
    EXPECT_EQ(parent->close(), 0);
    EXPECT_TRUE(NYX_DB_IMPL::is_closed(*child)) << "the use that was the parent's";
}

TEST(LinkerSubDbs, UnknownDatabaseIsAnError) {
    SCOPED_DB db("linker_a");
    linker().unregister_db("linker_a", db, false);
    for (const bool direct : {false, true}) {
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { linker().get_sub_dbs(db, direct); }),
                  RAISED("Db linker_a not found in hierarchy linker maps", "NYX_DB_LINKER::get_sub_dbs"));
        EXPECT_TRUE(NYX_DB::iter_sub_dbs(db, direct).empty());
    }
    EXPECT_TRUE(linker().get_parents(db).empty());
    linker().register_db("linker_a", db);
}

TEST(LinkerSubDbs, RefusedCloseOfASharedLibraryIsRepaired) {
    SCOPED_DB a("linker_a"), b("linker_b"), library("linker_library");
    link_dbs(a, library);
    link_dbs(b, library);
    EXPECT_EQ(library->close(), 2);
    EXPECT_EQ(library->close(), 1); // once too often
    EXPECT_THROW(library->close(), NYX_RUNTIME_ERROR);
    EXPECT_EQ(linker().get_use_count("linker_library", nullptr), 1);
}

// Links and their ends, compared with what a search through a plain edge list tells.
TEST(SubDbsModel, ListsFollowTheLinks) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        std::vector<NYX_DB *> open;
        std::set<std::pair<NYX_DB *, NYX_DB *>> edges;
        const auto pick = [&] { return open[random() % open.size()]; };
        const auto reach = [&](NYX_DB *from) {
            std::set<NYX_DB *> reached;
            for (std::size_t before = 1; before != reached.size();) {
                before = reached.size();
                for (const auto &[parent, child] : edges)
                    if (parent == from || reached.contains(parent))
                        reached.insert(child);
                if (reached.empty())
                    break;
            }
            return reached;
        };

        CAPTURING_SINK quiet;
        for (int step = 0; step < 60; ++step) {
            const unsigned choice = random() % 10;
            if (open.size() < 2 || (choice < 3 && open.size() < 8)) {
                open.push_back(create_db("linker_" + std::to_string(step)));
            } else if (choice < 9) {
                NYX_DB *const parent = pick(), *const child = pick();
                const bool is_new = edges.emplace(parent, child).second;
                ASSERT_EQ(linker().add_sub_db(parent, child), is_new);
            } else {
                NYX_DB *const db = pick();
                linker().unregister_db(db->get_name(), db, true);
                std::erase(open, db);
                std::erase_if(edges, [db](const auto &edge) { return edge.first == db || edge.second == db; });
                NYX_DB_IMPL::detach(db);
            }
            for (NYX_DB *const db : open) {
                std::set<NYX_DB *> direct, parents;
                for (const auto &[parent, child] : edges) {
                    if (parent == db)
                        direct.insert(child);
                    if (child == db)
                        parents.insert(parent);
                }
                const auto as_set = [](const std::vector<NYX_DB *> &list) {
                    std::set<NYX_DB *> set(list.begin(), list.end());
                    EXPECT_EQ(set.size(), list.size());
                    return set;
                };
                ASSERT_EQ(as_set(linker().get_sub_dbs(db, true)), direct);
                ASSERT_EQ(as_set(linker().get_parents(db)), parents);
                ASSERT_EQ(as_set(linker().get_sub_dbs(db, false)), reach(db));
            }
        }
        for (NYX_DB *const db : open) {
            linker().unregister_db(db->get_name(), db, true);
            NYX_DB_IMPL::detach(db);
        }
        ASSERT_TRUE(NYX_DB::iter_open_dbs().empty());
    }
}

} // namespace
