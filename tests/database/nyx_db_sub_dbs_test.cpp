// Databases that refer to one another. Modules and headers are made of their rows.
#include "database_test_support.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_module_table.h"
#include "nyx/nyx.h"
#include "support/temp_dir.h"

#include <algorithm>
#include <functional>
#include <set>
#include <thread>

namespace {

using MODE = NYX_DB::ACCESS_MODE;
using DBS = std::vector<NYX_DB *>;

void add_module(NYX_DB *db, const char *name, unsigned num_ports) {
    NYX_DB_PERSISTENT *const root = root_of(db);
    NYX_MODULE_TABLE &table = root->table<NYX_MODULE>();
    NYX_MODULE_IMPL *const row = table.allocate();
    row->m_num_ports = num_ports;
    const NYX_NAME_ID name_id = root->names().get_id(name);
    *table.m_name_id.get(table.get_id(row)) = name_id;
    root->register_module(name_id, table.get_id(row));
}

void add_header(NYX_DB *db, const char *db_name, const char *module, unsigned num_ports, bool user_group = false) {
    NYX_DB_PERSISTENT *const root = root_of(db);
    NYX_INST_HEADER_TABLE &table = root->table<NYX_INST_HEADER>();
    NYX_INST_HEADER_IMPL *const row = table.allocate();
    row->m_db_name_id = root->names().get_id(db_name);
    row->m_module_name_id = root->names().get_id(module);
    row->m_num_ports = num_ports;
    row->m_reference_count = 1;
    root->register_inst_header({"", user_group, row->m_db_name_id, row->m_module_name_id}, table.get_id(row));
    if (user_group)
        row->set_value(NYX_INST_HEADER::find_bool_trait(db, "is_user_group"), true);
}

class SubDbs : public testing::Test {
protected:
    void TearDown() override {
        CAPTURING_SINK quiet;
        while (NYX_DB *const db = NYX_DB_LINKER::get().find_first_db(nullptr)) {
            db->disable_commit_on_close();
            db->purge();
        }
    }

    // A database in a file of its own, known by its name, with a module "m" of 2 ports.
    void make(const std::string &name, const std::function<void(NYX_DB *)> &fill = {},
              NYX_DB_TYPE type = NYX_DB_TYPE::COMPONENT) {
        const std::string path = m_dir / (name + ".nyx");
        NYX_DB *const db = NYX_DB::create(path.c_str(), s_size_MiB, type, ("being made " + name).c_str());
        add_module(db, "m", 2);
        if (fill)
            fill(db);
        ASSERT_EQ(db->close(), 0);
        NYX_DB::add_nyx_db_path(name, path, false);
    }
    void make_with_header(const std::string &name, const std::vector<const char *> &others) {
        make(name, [&](NYX_DB *db) {
            for (const char *other : others)
                add_header(db, other, "m", 2);
        });
    }
    static NYX_DB *open(const std::string &name) { return NYX_DB::open_by_name(name, MODE::READ_ONLY, ""); }
    static std::string open_error(const std::string &name) {
        return raised<NYX_RUNTIME_ERROR>([&] { open(name); }).first;
    }
    static NYX_DB *find(const std::string &name, const std::string &group = "") {
        const NYX_DB_GROUP *const found = NYX_DB_LINKER::get().find_group(group);
        const NYX_DB_PERSISTENT *const root = found != nullptr ? found->find_db_persistent(name) : nullptr;
        return root != nullptr ? NYX_DB_LINKER::get().db_for_persistent(root) : nullptr;
    }
    static int uses(const std::string &name) { return NYX_DB::get_num_users(name, ""); }

    TEMP_DIR m_dir;
};

using SubDbsDeathTest = SubDbs;

TEST_F(SubDbs, DatabaseWithoutHeadersHasNone) {
    make("leaf");
    NYX_DB *const db = open("leaf");
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(db, true)), DBS());
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(db, false)), DBS());
    EXPECT_EQ(db->close(), 0);
}

TEST_F(SubDbs, ReferencesAreOpenedToBeRead) {
    make("leaf");
    make_with_header("top", {"leaf"});
    NYX_DB *const top = open("top");
    NYX_DB *const leaf = find("leaf");
    ASSERT_NE(leaf, nullptr);
    EXPECT_TRUE(leaf->is_read_only());
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(top, true)), DBS{leaf});
    EXPECT_EQ(uses("leaf"), 1);
    EXPECT_EQ(top->close(), 0);
    EXPECT_EQ(find("leaf"), nullptr);
}

TEST_F(SubDbs, SharedLeafGoesWithTheLastOfItsParents) {
    make("leaf");
    make_with_header("p", {"leaf"});
    make_with_header("q", {"leaf"});
    NYX_DB *const p = open("p");
    NYX_DB *const leaf = find("leaf");
    NYX_DB *const q = open("q");
    EXPECT_EQ(find("leaf"), leaf);
    EXPECT_EQ(uses("leaf"), 2);
    EXPECT_EQ(p->close(), 0);
    EXPECT_EQ(uses("leaf"), 1);
    EXPECT_EQ(q->close(), 0);
    EXPECT_EQ(find("leaf"), nullptr);
}

TEST_F(SubDbs, UsersOwnUseSurvivesTheParent) {
    make("leaf");
    make_with_header("top", {"leaf"});
    NYX_DB *const leaf = open("leaf");
    NYX_DB *const top = open("top");
    EXPECT_EQ(uses("leaf"), 2);
    EXPECT_EQ(top->close(), 0);
    EXPECT_EQ(uses("leaf"), 1);
    EXPECT_EQ(leaf->close(), 0);
}

TEST_F(SubDbs, ParentOfAnUnopenedHandleKeepsItFromClosing) {
    make("leaf");
    make_with_header("top", {"leaf"});
    NYX_DB *const top = open("top");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { find("leaf")->close(); }).first,
              "Sub db 'leaf' is still in use by 'top'");
    EXPECT_EQ(uses("leaf"), 1);
    EXPECT_EQ(top->close(), 0);
}

TEST_F(SubDbs, HierarchyIsOpenedAndListedInFull) {
    make("leaf");
    make_with_header("middle", {"leaf"});
    make_with_header("top", {"middle"});
    NYX_DB *const top = open("top");
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(top, true)), DBS{find("middle")});
    DBS all = to_vector(NYX_DB::iter_sub_dbs(top, false));
    std::sort(all.begin(), all.end());
    DBS expected{find("middle"), find("leaf")};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(all, expected);
    EXPECT_EQ(top->close(), 0);
    EXPECT_EQ(find("middle"), nullptr);
    EXPECT_EQ(find("leaf"), nullptr);
}

TEST_F(SubDbs, SeveralHeadersToOneNonLeafAreOneReference) {
    make("leaf");
    make("middle", [](NYX_DB *db) {
        add_module(db, "n", 0);
        add_header(db, "leaf", "m", 2);
    });
    make("top", [](NYX_DB *db) {
        add_header(db, "middle", "m", 2);
        add_header(db, "middle", "n", 0);
    });
    NYX_DB *const top = open("top");
    EXPECT_EQ(uses("middle"), 1);
    EXPECT_EQ(top->close(), 0);
    EXPECT_EQ(find("middle"), nullptr);
}

TEST_F(SubDbs, NonLeafThatTheUserOpenedIsAcceptedOnce) {
    make("leaf");
    make_with_header("middle", {"leaf"});
    make_with_header("top", {"middle"});
    NYX_DB *const middle = open("middle");
    NYX_DB *const top = open("top");
    EXPECT_EQ(uses("middle"), 2);
    EXPECT_EQ(top->close(), 0);
    EXPECT_EQ(middle->close(), 0);
}

TEST_F(SubDbs, DiamondOnANonLeafIsRefused) {
    make("leaf");
    make_with_header("bottom", {"leaf"});
    make_with_header("left", {"bottom"});
    make_with_header("right", {"bottom"});
    make_with_header("top", {"left", "right"});
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { open("top"); }),
              RAISED("Circular or multiple dependencies are not allowed on non-leaf database bottom",
                     "NYX_DB_PERSISTENT::open_sub_dbs"));
    // All that was opened goes with the top.
    NYX_DB *const top = find("top");
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(uses("top"), 1);
    EXPECT_EQ(top->close(), 0);
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), DBS());
}

TEST_F(SubDbs, CircleIsRefused) {
    make_with_header("a", {"b"});
    make_with_header("b", {"a"});
    EXPECT_EQ(open_error("a"), "Circular or multiple dependencies are not allowed on non-leaf database a");
    ASSERT_NE(find("a"), nullptr);
    EXPECT_EQ(find("a")->close(), 0);
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), DBS());
}

TEST_F(SubDbs, OpeningAfterAFailureStartsAfresh) {
    make_with_header("a", {"b"});
    make_with_header("b", {"a"});
    open_error("a");
    find("a")->close();
    make("leaf");
    make_with_header("middle", {"leaf"});
    make_with_header("top", {"middle"});
    NYX_DB *const top = open("top");
    EXPECT_EQ(top->close(), 0);
}

TEST_F(SubDbs, DatabaseThatRefersToItselfIsRefused) {
    make_with_header("self", {"self"});
    EXPECT_EQ(open_error("self"), "Circular or multiple dependencies are not allowed on non-leaf database self");
    EXPECT_EQ(find("self")->close(), 0);
}

TEST_F(SubDbs, UnknownDatabaseIsRefused) {
    make_with_header("top", {"SubDbs_unknown"});
    EXPECT_EQ(open_error("top"), "Can't find path to db named 'SubDbs_unknown'. Have you done NYX_DB::init(...) or "
                                 "group initialization?");
    EXPECT_EQ(find("top")->close(), 0);
}

TEST_F(SubDbs, MissingFileIsRefused) {
    NYX_DB::add_nyx_db_path("SubDbs_gone", m_dir / "gone.nyx", false);
    make_with_header("top", {"SubDbs_gone"});
    EXPECT_EQ(open_error("top"), nyx_format_message_code("DB-NO-SUCH-FILE", {(m_dir / "gone.nyx").string()}));
    EXPECT_EQ(find("top")->close(), 0);
}

TEST_F(SubDbs, MissingModuleIsRefused) {
    make("leaf");
    make("top", [](NYX_DB *db) { add_header(db, "leaf", "other", 2); });
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { open("top"); }),
              RAISED("Module other missing in sub-db leaf", "NYX_DB_PERSISTENT::open_sub_dbs"));
    EXPECT_EQ(find("top")->close(), 0);
    EXPECT_EQ(find("leaf"), nullptr);
}

TEST_F(SubDbs, OtherNumberOfPortsIsRefused) {
    make("leaf");
    make("top", [](NYX_DB *db) { add_header(db, "leaf", "m", 3); });
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { open("top"); }),
              RAISED("Mismatch between number of ports of inst header for db leaf (3) and module in the sub-db m (2)",
                     "NYX_DB_PERSISTENT::open_sub_dbs"));
    EXPECT_EQ(find("top")->close(), 0);
}

TEST_F(SubDbs, FailureHalfWayKeepsWhatWasOpened) {
    make("first");
    make("second");
    make("top", [](NYX_DB *db) {
        add_header(db, "first", "m", 2);
        add_header(db, "second", "missing", 2);
    });
    open_error("top");
    EXPECT_NE(find("first"), nullptr);
    EXPECT_NE(find("second"), nullptr);
    EXPECT_EQ(NYX_DB::open_by_name("top", MODE::READ_ONLY, ""), find("top")) << "it can be reached";
    EXPECT_EQ(find("top")->close(), 1);
    EXPECT_EQ(find("top")->close(), 0);
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), DBS());
}

TEST_F(SubDbs, FailureBelowIsLinkedToTheTop) {
    make("middle", [](NYX_DB *db) { add_header(db, "SubDbs_unknown", "m", 2); });
    make_with_header("top", {"middle"});
    open_error("top");
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(find("top"), true)), DBS{find("middle")});
    EXPECT_EQ(find("top")->close(), 0);
    EXPECT_EQ(find("middle"), nullptr);
}

// ---- Groups

class SubDbsInGroup : public SubDbs {
protected:
    void SetUp() override { NYX_DB::create_group("g", m_dir.path()); }
    void TearDown() override {
        CAPTURING_SINK quiet;
        if (NYX_DB_LINKER::get().find_group("g") != nullptr)
            NYX_DB::purge_db_group("g");
        SubDbs::TearDown();
    }
    void make_design(const std::string &name, const std::function<void(NYX_DB *)> &fill = {}) {
        make(name, fill, NYX_DB_TYPE::USER);
    }
    static NYX_DB *open_in_group(const std::string &name) { return NYX_DB::open_by_name(name, MODE::READ_ONLY, "g"); }
};

TEST_F(SubDbsInGroup, PartitionStaysInTheGroupAndLibraryDoesNot) {
    make("library");
    make_design("part");
    make_design("top", [](NYX_DB *db) {
        add_header(db, "library", "m", 2);
        add_header(db, "part", "m", 2, true);
    });
    NYX_DB *const top = open_in_group("top");
    ASSERT_NE(find("part", "g"), nullptr);
    EXPECT_EQ(find("part"), nullptr);
    EXPECT_NE(find("library"), nullptr);
    EXPECT_EQ(find("library", "g"), nullptr);
    EXPECT_TRUE(find("part", "g")->is_partition());
    EXPECT_EQ(find("part", "g")->get_top_db(), top);
    EXPECT_EQ(top->close(), 0);
}

TEST_F(SubDbsInGroup, ModeOfAnEntryIsThatOfTheReference) {
    make_design("part");
    make_design("top", [](NYX_DB *db) { add_header(db, "part", "m", 2, true); });
    std::vector<NYX_DB::GROUP_ENTRY> entries{{"part", "part.nyx", MODE::MODIFY}, {"top", "top.nyx", MODE::READ_ONLY}};
    NYX_DB::create_group("h", entries, m_dir.path());
    NYX_DB *const top = NYX_DB::open_by_name("top", MODE::READ_ONLY, "h");
    EXPECT_EQ(find("part", "h")->get_access_mode(), MODE::MODIFY);
    EXPECT_EQ(find("part", "h")->get_file_name(), m_dir / "part.nyx");
    EXPECT_EQ(top->close(), 0);
    NYX_DB::remove_group("h");
}

using SubDbsInGroupDeathTest = SubDbsInGroup;

TEST_F(SubDbsInGroupDeathTest, PartitionsOtherModulesAreNotReached) {
    make_design("part", [](NYX_DB *db) { add_module(db, "n", 0); });
    make_design("top", [](NYX_DB *db) { add_header(db, "part", "n", 0, true); });
    EXPECT_DEATH(open_in_group("top"), "!top_module_only \\|\\| sub_module == db->get_top_module\\(\\)");
}

TEST_F(SubDbsInGroup, PurgeClosesADesignFromItsTop) {
    make_design("part");
    make_design("top", [](NYX_DB *db) { add_header(db, "part", "m", 2, true); });
    open_in_group("part");
    open_in_group("top");
    NYX_DB::purge_db_group("g");
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), DBS());
    EXPECT_EQ(NYX_DB_LINKER::get().find_group("g"), nullptr);
}

TEST_F(SubDbsInGroup, PurgeCopesWithSeveralParents) {
    make_design("leaf");
    make_design("p", [](NYX_DB *db) { add_header(db, "leaf", "m", 2, true); });
    make_design("q", [](NYX_DB *db) { add_header(db, "leaf", "m", 2, true); });
    open_in_group("p");
    open_in_group("q");
    CAPTURING_SINK quiet;
    NYX_DB::purge_db_group("g");
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), DBS());
}

// ---- Clones

TEST_F(SubDbs, CloneHasARenamedTopModule) {
    make("origin", {}, NYX_DB_TYPE::USER);
    NYX_DB::clone_db((m_dir / "origin.nyx").c_str(), (m_dir / "copy.nyx").c_str());
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), DBS());
    NYX_DB *const copy = NYX_DB::open((m_dir / "copy.nyx").c_str(), MODE::READ_ONLY);
    NYX_DB_PERSISTENT *const root = root_of(copy);
    EXPECT_NE(root->find_module((m_dir / "copy").c_str()), nullptr);
    EXPECT_EQ(root->find_module((m_dir / "copy").c_str()), root->get_top_module());
    EXPECT_EQ(root->find_module("m"), nullptr);
    copy->close();
    NYX_DB *const origin = NYX_DB::open((m_dir / "origin.nyx").c_str(), MODE::READ_ONLY);
    EXPECT_NE(root_of(origin)->find_module("m"), nullptr);
    origin->close();
}

TEST_F(SubDbs, CloneGivesBackItsSubDatabases) {
    make("leaf");
    make(
        "origin", [](NYX_DB *db) { add_header(db, "leaf", "m", 2); }, NYX_DB_TYPE::USER);
    NYX_DB *const leaf = open("leaf");
    NYX_DB::clone_db((m_dir / "origin.nyx").c_str(), (m_dir / "copy.nyx").c_str());
    EXPECT_EQ(uses("leaf"), 1);
    EXPECT_EQ(leaf->close(), 0);
}

TEST_F(SubDbs, LinkThatIsFoundLaterIsAUseToo) {
    make_with_header("middle", {"SubDbs_late"});
    open_error("middle");
    NYX_DB *const middle = find("middle");
    make("SubDbs_late");
    NYX_DB *const late = open("SubDbs_late");
    make_with_header("top", {"middle"});
    EXPECT_EQ(open("top")->close(), 0);
    EXPECT_EQ(middle->close(), 0);
    EXPECT_EQ(find("SubDbs_late"), late);
    EXPECT_EQ(late->close(), 0);
}

TEST_F(SubDbs, FreeHeadersAreSkipped) {
    make("leaf");
    make("top", [](NYX_DB *db) {
        add_header(db, "SubDbs_unknown", "m", 2);
        add_header(db, "leaf", "m", 2);
        NYX_INST_HEADER_TABLE &table = root_of(db)->table<NYX_INST_HEADER>();
        NYX_INST_HEADER_IMPL *const first = table.get(NYX_INST_HEADER_ID(0));
        root_of(db)->unregister_inst_header({"", false, first->m_db_name_id, first->m_module_name_id});
        table.deallocate(first);
    });
    NYX_DB *const top = open("top");
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(top, true)), DBS{find("leaf")});
    EXPECT_EQ(top->close(), 0);
}

TEST_F(SubDbs, DatabaseWithoutHeadersIsNotVisited) {
    make("leaf");
    NYX_DB *const db = open("leaf");
    std::set<const NYX_DB_PERSISTENT *> visited;
    root_of(db)->open_sub_dbs(nullptr, visited);
    EXPECT_TRUE(visited.empty());
    EXPECT_EQ(db->close(), 0);
}

// Leaves come and go while designs on other threads refer to them.
TEST_F(SubDbs, ThreadsOpenDesignsOnOneLibrary) {
    make("leaf");
    make_with_header("p", {"leaf"});
    make_with_header("q", {"leaf"});
    const auto work = [](const char *name) {
        for (int i = 0; i < 400; ++i)
            open(name)->close();
    };
    std::thread first(work, "p");
    std::thread second(work, "q");
    first.join();
    second.join();
    EXPECT_EQ(find("leaf"), nullptr);
    EXPECT_EQ(uses("leaf"), 0);
}

// Opens another design when it is told of a database.
class OPENS_MORE final : public NYX_OBSERVER<NYX_DB> {
public:
    OPENS_MORE() : NYX_OBSERVER(3) { set_enabled(true); }
    ~OPENS_MORE() override { set_enabled(false); }
    void opened(NYX_DB *db) override {
        if (db->get_name() == "middle")
            m_other = NYX_DB::open_by_name("other", MODE::READ_ONLY, "");
    }
    NYX_DB *m_other = nullptr;
};

TEST_F(SubDbs, WhatAnObserverOpensIsNoPartOfTheDesign) {
    make("leaf");
    make_with_header("middle", {"leaf"});
    make_with_header("other", {"leaf"});
    make_with_header("top", {"middle", "other"});
    NYX_DB *top = nullptr;
    NYX_DB *other = nullptr;
    {
        OPENS_MORE observer;
        top = open("top");
        other = observer.m_other;
    }
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(top, true)), (DBS{find("middle"), other}));
    EXPECT_EQ(top->close(), 0);
    EXPECT_EQ(other->close(), 0);
}

TEST_F(SubDbsInGroup, TraitSaysWhereAHeaderLeads) {
    make_design("part");
    make_design("top", [](NYX_DB *db) {
        add_header(db, "part", "m", 2);
        NYX_INST_HEADER *const header = root_of(db)->table<NYX_INST_HEADER>().get(NYX_INST_HEADER_ID(0));
        header->set_value(NYX_INST_HEADER::find_bool_trait(db, "is_user_group"), true);
    });
    NYX_DB *const top = open_in_group("top");
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(top, true)), DBS{find("part", "g")});
    EXPECT_EQ(find("part"), nullptr);
    EXPECT_NE(root_of(top)->table<NYX_INST_HEADER>().get(NYX_INST_HEADER_ID(0))->get_module(), nullptr);
    EXPECT_EQ(top->close(), 0);
}

TEST(UserGroupTrait, HeaderWhoseValueWasSetByItsNameLeavesNoKey) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    SCOPED_DB top("top");
    NYX_MODULE *const a = NYX_MODULE::allocate(lib, "a", 0);
    NYX_MODULE *const b = NYX_MODULE::allocate(lib, "b", 0);
    NYX_MODULE *const design = NYX_MODULE::allocate(top, "t", 0);
    NYX_INSTANCE *const first = NYX_INSTANCE::allocate(design, "u", a);
    NYX_INST_HEADER *const header = first->get_inst_header();
    header->set_value(NYX_INST_HEADER::find_bool_trait(top, "is_user_group"), true);
    first->deallocate();
    ASSERT_EQ(NYX_INSTANCE::allocate(design, "v", b)->get_inst_header(), header) << "the row is used again";
    NYX_INSTANCE *const second = NYX_INSTANCE::allocate(design, "w", a);
    EXPECT_EQ(second->get_inst_header()->get_module_name(), "a");
    NYX_DB_LINKER::get().forget_header(second->get_inst_header());
    EXPECT_EQ(second->get_module(), a);
}

TEST(UserGroupTrait, HeaderIsFiledAsItsSetterSaysWhateverTheTraitSaid) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    SCOPED_DB top("top");
    NYX_INSTANCE *const instance =
        NYX_INSTANCE::allocate(NYX_MODULE::allocate(top, "t", 0), "u", NYX_MODULE::allocate(lib, "a", 0));
    NYX_INST_HEADER *const header = instance->get_inst_header();
    header->set_value(NYX_INST_HEADER::find_bool_trait(top, "is_user_group"), true);
    header->set_is_user_group(false);
    EXPECT_FALSE(header->get_is_user_group());
    const NYX_INST_HEADER_ID id(0);
    EXPECT_FALSE(root_of(top)->get_inst_header_key(id).m_is_user_group);
    header->set_is_user_group(true);
    EXPECT_TRUE(root_of(top)->get_inst_header_key(id).m_is_user_group);
}

} // namespace
