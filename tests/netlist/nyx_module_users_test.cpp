// What the linker knows of the users of modules, and that nothing of it outlives a database.

#include "netlist_test_support.h"

#include "support/temp_dir.h"
#include "traits/nyx_builtin_traits.h"
#include <set>
#include <vector>

#include <utility>

using namespace netlist_test;

namespace {

using INSTANCES = std::set<NYX_INSTANCE *>;

NYX_DB_LINKER &linker() {
    return NYX_DB_LINKER::get();
}

class USERS : public DESIGN {
protected:
    NYX_MODULE *cell = make_module(db, "cell", {"a"});
};

// Two databases, the second of which is closed and made again in the same place.
class REOPENED : public testing::Test {
protected:
    // The new database lies where the old one was: both are of one size, and nothing else is made in between.
    static NYX_DB *reopen(NYX_DB *db, const std::string &name) {
        const void *const address = db->get_starting_address();
        {
            CAPTURING_SINK quiet;
            db->purge();
        }
        NYX_DB *const again = create_db(name);
        EXPECT_EQ(again->get_starting_address(), address) << "the test has not tested what it should";
        return again;
    }
};

} // namespace

// ---- The instances of a module

TEST_F(USERS, AreThoseThatWereThereBeforeTheQuestion) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE *const v = NYX_INSTANCE::allocate(make_module(db, "block"), "v", cell);
    EXPECT_EQ(linker().get_instances_of(cell), (INSTANCES{u, v}));
    EXPECT_EQ(linker().get_instances_of(top), INSTANCES());
}

TEST_F(USERS, FollowEveryChange) {
    const INSTANCES &of_cell = linker().get_instances_of(cell);
    NYX_MODULE *const other = make_module(db, "other", {"a"});
    const INSTANCES &of_other = linker().get_instances_of(other);
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE *const v = make_instance("v", cell);
    EXPECT_EQ(of_cell, (INSTANCES{u, v}));
    u->set_module(other);
    EXPECT_EQ(of_cell, (INSTANCES{v}));
    EXPECT_EQ(of_other, (INSTANCES{u}));
    v->change_module(other);
    EXPECT_EQ(of_cell, INSTANCES());
    EXPECT_EQ(of_other, (INSTANCES{u, v}));
    u->deallocate();
    EXPECT_EQ(of_other, (INSTANCES{v}));
}

TEST_F(USERS, AreCountedUpToTwo) {
    EXPECT_TRUE(linker().has_fewer_than_two_instances(cell));
    make_instance("u", cell);
    EXPECT_TRUE(linker().has_fewer_than_two_instances(cell));
    NYX_INSTANCE *const v = make_instance("v", cell);
    EXPECT_FALSE(linker().has_fewer_than_two_instances(cell));
    v->deallocate();
    EXPECT_TRUE(linker().has_fewer_than_two_instances(cell));
}

TEST_F(USERS, MayBeInOtherDatabases) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    SCOPED_DB second("second");
    NYX_MODULE *const remote = make_module(lib, "remote", {"a"});
    NYX_INSTANCE *const u = make_instance("u", remote);
    const INSTANCES &users = linker().get_instances_of(remote);
    NYX_INSTANCE *const v = NYX_INSTANCE::allocate(make_module(second, "top"), "v", remote);
    EXPECT_EQ(users, (INSTANCES{u, v}));
    EXPECT_EQ(std::set<NYX_INSTANCE *>(remote->iter_instances_of().begin(), remote->iter_instances_of().end()), users);
    second->purge();
    EXPECT_EQ(users, (INSTANCES{u}));
}

TEST_F(USERS, AreKnownAgainWhenTheirModulesDatabaseComesBack) {
    NYX_DB *lib = create_db("lib", NYX_DB_TYPE::COMPONENT);
    NYX_INSTANCE *const u = make_instance("u", make_module(lib, "remote", {"a"}));
    linker().get_instances_of(u->get_module());
    {
        CAPTURING_SINK quiet;
        lib->purge();
    }
    SCOPED_DB again("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(again, "remote", {"a"});
    EXPECT_EQ(u->get_module(), remote);
    // It has been linked after the database was opened: the module was not there then.
    u->deallocate();
    EXPECT_EQ(linker().get_instances_of(remote), INSTANCES());
}

TEST_F(USERS, OfADatabaseThatIsRegisteredAnewAreKnown) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote", {"a"});
    NYX_INSTANCE *const u = make_instance("u", remote);
    NYX_INSTANCE *const v = make_instance("v", cell);
    linker().get_instances_of(remote);
    // First the user's database, then the one that is used.
    linker().unregister_db("design", db, true);
    EXPECT_EQ(linker().get_instances_of(remote), INSTANCES());
    linker().register_db("design", db);
    EXPECT_EQ(linker().get_instances_of(remote), (INSTANCES{u}));
    EXPECT_EQ(linker().get_instances_of(cell), (INSTANCES{v}));
    linker().unregister_db("lib", lib, true);
    linker().register_db("lib", lib);
    EXPECT_EQ(linker().get_instances_of(remote), (INSTANCES{u}));
}

TEST_F(USERS, OfADesignThatIsOpenedLaterAreKnown) {
    const TEMP_DIR dir;
    const std::string path = dir / "later.nyx";
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote", {"a"});
    NYX_DB *later = NYX_DB::create(path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    NYX_INSTANCE::allocate(make_module(later, "top"), "u", remote);
    later->close();
    ASSERT_EQ(linker().get_instances_of(remote), INSTANCES());
    // Where its headers lead is asked while it is entered in the index.
    later = NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
    const INSTANCES &users = linker().get_instances_of(remote);
    ASSERT_EQ(users.size(), 1u);
    EXPECT_EQ((*users.begin())->get_name(), "u");
    EXPECT_EQ((*users.begin())->get_db(), later);
    later->close();
    EXPECT_EQ(linker().get_instances_of(remote), INSTANCES());
}

TEST_F(USERS, OfADatabaseThatCanNotBeIndexedAreNotThereAndNeitherIsIt) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote", {"a"});
    NYX_INSTANCE *const v = make_instance("v", cell);
    NYX_INSTANCE *const u = make_instance("u", remote);
    linker().get_instances_of(remote);
    linker().unregister_db("design", db, true);
    // Without this trait nobody can say where a header leads.
    auto &trait = NYX_DB_IMPL::of(*db).m_builtin_traits->m_inst_header_is_user_group_trait;
    auto *const kept = std::exchange(trait, nullptr);
    EXPECT_THROW(linker().register_db("design", db), NYX_INVALID_ARGUMENT);
    trait = kept;
    EXPECT_EQ(linker().find_db_persistent("design", nullptr), nullptr);
    EXPECT_EQ(NYX_DB::get_num_users("design", ""), 0);
    EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), std::vector<NYX_DB *>{lib});
    EXPECT_EQ(linker().get_instances_of(cell), INSTANCES());
    linker().register_db("design", db);
    EXPECT_EQ(linker().get_instances_of(cell), (INSTANCES{v}));
    EXPECT_EQ(linker().get_instances_of(remote), (INSTANCES{u}));
}

TEST_F(USERS, AreForgottenWithTheirModule) {
    NYX_MODULE *const other = make_module(db, "other", {"a"});
    NYX_INSTANCE *const u = make_instance("u", other);
    EXPECT_EQ(linker().get_instances_of(other), (INSTANCES{u}));
    u->deallocate();
    other->deallocate();
    EXPECT_EQ(linker().get_instances_of(make_module(db, "third")), INSTANCES());
}

// ---- The headers of a module

TEST_F(USERS, AreReachedThroughHeadersOfAllDatabases) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    SCOPED_DB second("second");
    NYX_MODULE *const remote = make_module(lib, "remote", {"a"});
    NYX_INST_HEADER *const first_header = make_instance("u", remote)->get_inst_header();
    NYX_INST_HEADER *const second_header =
        NYX_INSTANCE::allocate(make_module(second, "top"), "v", remote)->get_inst_header();
    make_instance("w", make_module(lib, "other"));
    using HEADERS = std::vector<NYX_INST_HEADER *>;
    EXPECT_EQ(linker().get_headers_of(remote), (HEADERS{first_header, second_header}));
    linker().forget_header(first_header);
    EXPECT_EQ(linker().find_linked_module(first_header), nullptr);
    EXPECT_EQ(linker().get_headers_of(remote), (HEADERS{second_header, first_header}));
    EXPECT_EQ(linker().find_linked_module(first_header), remote);
    EXPECT_EQ(linker().find_linked_header(root_of(second), remote), second_header);
    EXPECT_EQ(linker().find_linked_header(root_of(lib), remote), nullptr);
    EXPECT_EQ(linker().get_headers_of(cell), HEADERS());
    second->purge();
    EXPECT_EQ(linker().get_headers_of(remote), (HEADERS{first_header}));
    linker().forget_module(remote);
    EXPECT_EQ(linker().find_linked_module(first_header), nullptr);
}

TEST_F(USERS, ThatAreLinkedTwiceAreOnce) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote", {"a"});
    NYX_INST_HEADER *const header = make_instance("u", remote)->get_inst_header();
    linker().link_header(header, remote);
    linker().link_header(header, remote);
    EXPECT_EQ(linker().get_headers_of(remote).size(), 1u);
}

// ---- Databases that come back at the same address

TEST_F(REOPENED, ADatabaseOfUsersLeavesNothing) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote", {"a"});
    NYX_DB *db = create_db("design");
    NYX_MODULE *top = make_module(db, "top");
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(top, "u", remote);
    NYX_INSTANCE *const v = NYX_INSTANCE::allocate(top, "v", make_module(db, "cell"));
    NYX_INST_HEADER *const header = u->get_inst_header();
    NYX_MODULE *const cell = v->get_module();
    ASSERT_EQ(linker().get_instances_of(remote), (INSTANCES{u}));
    ASSERT_EQ(linker().get_instances_of(cell), (INSTANCES{v}));
    ASSERT_EQ(linker().find_linked_module(header), remote);

    db = reopen(db, "design");
    EXPECT_EQ(linker().get_instances_of(remote), INSTANCES());
    EXPECT_EQ(linker().get_headers_of(remote), std::vector<NYX_INST_HEADER *>());
    top = make_module(db, "top");
    NYX_MODULE *const new_cell = make_module(db, "new_cell");
    ASSERT_EQ(new_cell, cell);
    EXPECT_EQ(linker().get_instances_of(new_cell), INSTANCES());
    // A header in the old one's row leads elsewhere.
    NYX_MODULE *const other = make_module(lib, "other", {"x", "y"});
    NYX_INSTANCE *const w = NYX_INSTANCE::allocate(top, "w", other);
    ASSERT_EQ(w, u);
    ASSERT_EQ(w->get_inst_header(), header);
    EXPECT_EQ(w->get_module(), other);
    EXPECT_EQ(linker().get_instances_of(other), (INSTANCES{w}));
    EXPECT_EQ(linker().get_instances_of(remote), INSTANCES());
    w->deallocate();
    db->purge();
}

TEST_F(REOPENED, ADatabaseOfModulesLeavesNothing) {
    SCOPED_DB design("design");
    NYX_MODULE *const top = make_module(design, "top");
    NYX_DB *lib = create_db("lib");
    make_module(lib, "first"); // a top module may not be deleted
    NYX_MODULE *const cell = make_module(lib, "cell", {"a"});
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(top, "u", cell);
    ASSERT_EQ(linker().get_instances_of(cell), (INSTANCES{u}));

    lib = reopen(lib, "another");
    make_module(lib, "first");
    EXPECT_EQ(linker().find_linked_module(u->get_inst_header()), nullptr);
    NYX_MODULE *const in_its_place = make_module(lib, "cell", {"a"});
    ASSERT_EQ(in_its_place, cell);
    EXPECT_EQ(linker().get_instances_of(in_its_place), INSTANCES());
    EXPECT_EQ(linker().get_headers_of(in_its_place), std::vector<NYX_INST_HEADER *>());
    EXPECT_THROW(u->get_module(), NYX_RUNTIME_ERROR);
    // Neither of the two keeps the other from going.
    u->deallocate();
    in_its_place->deallocate();
    lib->purge();
}

TEST_F(REOPENED, ADatabaseThatWasNeverAskedAboutLeavesNoLink) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_DB *db = create_db("design");
    NYX_INST_HEADER *const header =
        NYX_INSTANCE::allocate(make_module(db, "top"), "u", make_module(lib, "cell", {"a"}))->get_inst_header();
    ASSERT_NE(linker().find_linked_module(header), nullptr);
    db = reopen(db, "design");
    NYX_MODULE *const other = make_module(lib, "other", {"x", "y"});
    NYX_INSTANCE *const w = NYX_INSTANCE::allocate(make_module(db, "top"), "w", other);
    ASSERT_EQ(w->get_inst_header(), header);
    EXPECT_EQ(w->get_module(), other);
    db->purge();
}
