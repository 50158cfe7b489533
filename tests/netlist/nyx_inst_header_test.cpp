// Headers: the references from one database to modules of another one.

#include "netlist/nyx_inst_header_table.h"
#include "netlist_test_support.h"
#include "support/temp_dir.h"

#include <cstdint>

using namespace netlist_test;

namespace {

class HEADER : public DESIGN {
protected:
    ~HEADER() override {
        if (!NYX_DB_IMPL::is_closed(*lib))
            expect_sound(lib);
    }

    unsigned num_headers() const { return root_of(db)->table<NYX_INST_HEADER>().num_allocated(); }

    SCOPED_DB lib{"lib", NYX_DB_TYPE::COMPONENT};
    NYX_MODULE *cell = make_module(lib, "cell", {"a", "z"});
};

} // namespace

TEST_F(HEADER, NamesTheModuleAndItsDatabase) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INST_HEADER *const header = u->get_inst_header();
    ASSERT_NE(header, nullptr);
    EXPECT_FALSE(u->module_in_same_db());
    EXPECT_EQ(u->get_module(), cell);
    EXPECT_EQ(header->get_module(), cell);
    EXPECT_EQ(header->get_db(), static_cast<NYX_DB *>(db));
    EXPECT_EQ(header->get_db_name(), "lib");
    EXPECT_EQ(header->get_module_name(), "cell");
    EXPECT_EQ(header->get_num_ports(), 2u);
}

TEST_F(HEADER, IsSharedByInstancesOfOneModule) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE *const v = make_instance("v", cell);
    EXPECT_EQ(u->get_inst_header(), v->get_inst_header());
    EXPECT_EQ(u->get_inst_header()->get_reference_count(), 2u);
    EXPECT_EQ(num_headers(), 1u);
    NYX_INSTANCE *const w = make_instance("w", make_module(lib, "other"));
    EXPECT_NE(w->get_inst_header(), u->get_inst_header());
    EXPECT_EQ(num_headers(), 2u);
}

TEST_F(HEADER, GoesWithTheLastInstance) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE *const v = make_instance("v", cell);
    u->deallocate();
    EXPECT_EQ(num_headers(), 1u);
    EXPECT_EQ(v->get_inst_header()->get_reference_count(), 1u);
    v->deallocate();
    EXPECT_EQ(num_headers(), 0u);
    EXPECT_FALSE(root_of(db)->has_inst_headers());
}

TEST_F(HEADER, ThatWentIsMadeAnewForTheNextModule) {
    make_instance("u", cell)->deallocate();
    NYX_MODULE *const other = make_module(lib, "other", {"x", "y", "z"});
    NYX_INSTANCE *const v = make_instance("v", other);
    // The row, and so its identifier, is that of the first header.
    EXPECT_EQ(NYX_INST_HEADER_TABLE::get_id(v->get_inst_header()->get_impl()), NYX_INST_HEADER_ID(0));
    EXPECT_EQ(v->get_module(), other);
    EXPECT_EQ(v->get_inst_header()->get_num_ports(), 3u);
    NYX_INSTANCE *const w = make_instance("w", cell);
    EXPECT_EQ(w->get_module(), cell);
    EXPECT_EQ(num_headers(), 2u);
}

TEST_F(HEADER, IsFoundAgainByItsNamesWhenNothingIsKeptOfIt) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_DB_LINKER::get().forget_module(cell);
    NYX_INSTANCE *const v = make_instance("v", cell);
    EXPECT_EQ(u->get_inst_header(), v->get_inst_header());
    NYX_DB_LINKER::get().forget_header(u->get_inst_header());
    EXPECT_EQ(u->get_module(), cell);
}

TEST_F(HEADER, FollowsTheModulesName) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    cell->set_name("renamed");
    EXPECT_EQ(u->get_inst_header()->get_module_name(), "renamed");
    EXPECT_EQ(u->get_module(), cell);
    EXPECT_EQ(make_instance("v", cell)->get_inst_header(), u->get_inst_header());
    // The old name is free for another module.
    NYX_MODULE *const other = make_module(lib, "cell", {"q"});
    NYX_INSTANCE *const w = make_instance("w", other);
    EXPECT_NE(w->get_inst_header(), u->get_inst_header());
    EXPECT_EQ(w->get_module(), other);
}

TEST_F(HEADER, FollowsTheModulesNameThoughItWasNeverResolved) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_DB_LINKER::get().forget_header(u->get_inst_header());
    cell->set_name("renamed");
    EXPECT_EQ(u->get_inst_header()->get_module_name(), "renamed");
    EXPECT_EQ(u->get_module(), cell);
}

TEST_F(HEADER, IsMadeToStandForAnotherModule) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_MODULE *const other = make_module(lib, "other", {"b", "y"});
    NYX_INST_HEADER *const header = u->get_inst_header();
    header->set_module_name("other");
    EXPECT_EQ(header->get_module(), other);
    EXPECT_EQ(make_instance("v", other)->get_inst_header(), header);
    EXPECT_EQ(header->get_reference_count(), 2u);
    NYX_INSTANCE *const w = make_instance("w", cell);
    EXPECT_NE(w->get_inst_header(), header);
    header->set_module_name("other");
    EXPECT_EQ(header->get_module(), other);
}

TEST_F(HEADER, KeepsItsNameWhenTheNewOneIsEmptyOrTaken) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    make_instance("v", make_module(lib, "other"));
    NYX_INST_HEADER *const header = u->get_inst_header();
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { header->set_module_name(""); }),
              RAISED("Module name cannot be empty", "NYX_INST_HEADER::set_module_name"));
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { header->set_module_name("other"); }),
              RAISED("There is an inst header for module other in db lib already", "NYX_INST_HEADER::set_module_name"));
    EXPECT_EQ(header->get_module_name(), "cell");
    EXPECT_EQ(header->get_module(), cell);
}

TEST_F(HEADER, OfAModuleThatIsNotThereSaysSo) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    u->get_inst_header()->set_module_name("missing");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { u->get_module(); }),
              RAISED("Unable to locate module missing in db lib for inst header in db design",
                     "NYX_INST_HEADER::get_module"));
    EXPECT_EQ(u->get_inst_header()->get_module_name(), "missing");
    NYX_MODULE *const found = make_module(lib, "missing", {"a", "z"});
    EXPECT_EQ(u->get_module(), found);
}

TEST_F(HEADER, DoesNotLeadToAModuleThatIsGone) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INST_HEADER *const header = u->get_inst_header();
    header->get_impl()->m_reference_count = 2; // one more user, that is no instance
    u->deallocate();
    ASSERT_EQ(header->get_module(), cell);
    cell->deallocate();
    EXPECT_EQ(NYX_DB_LINKER::get().find_linked_module(header), nullptr);
    NYX_MODULE *const in_its_place = make_module(lib, "other");
    ASSERT_EQ(in_its_place, cell);
    EXPECT_THROW(header->get_module(), NYX_RUNTIME_ERROR);
}

TEST_F(HEADER, OfADatabaseThatIsGoneSaysSo) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    {
        CAPTURING_SINK quiet;
        lib->purge();
    }
    EXPECT_EQ(
        raised<NYX_RUNTIME_ERROR>([&] { u->get_module(); }),
        RAISED("Unable to locate db lib for module cell for inst header in db design", "NYX_INST_HEADER::get_module"));
    EXPECT_EQ(u->get_inst_header()->get_db_name(), "lib");
    SCOPED_DB again("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const new_cell = make_module(again, "cell", {"a", "z"});
    EXPECT_EQ(u->get_module(), new_cell);
    u->deallocate();
    EXPECT_EQ(num_headers(), 0u);
}

TEST_F(HEADER, MakesTheOtherDatabaseOneThatIsUsed) {
    EXPECT_EQ(NYX_DB::get_num_users("lib", ""), 1);
    make_instance("u", cell);
    make_instance("v", cell);
    make_instance("w", make_module(lib, "other"));
    EXPECT_EQ(NYX_DB::get_num_users("lib", ""), 2);
    EXPECT_EQ(to_vector(NYX_DB::iter_sub_dbs(db, true)), (std::vector<NYX_DB *>{lib}));
}

TEST_F(HEADER, OfThisDatabaseInOneBelowItIsRefused) {
    SCOPED_DB middle("middle");
    NYX_MODULE *const block = make_module(middle, "block");
    NYX_INSTANCE::allocate(block, "u", cell);
    make_instance("m", block);
    SCOPED_DB other_lib("other_lib", NYX_DB_TYPE::COMPONENT);
    const auto up = [&](NYX_MODULE *parent, NYX_MODULE *module) {
        return raised<NYX_RUNTIME_ERROR>([&] { NYX_INSTANCE::allocate(parent, "up", module); });
    };
    EXPECT_EQ(up(block, make_module(db, "leaf")),
              RAISED("Cannot create instance of module 'leaf' from super-db 'design' in its sub-db 'middle'",
                     "NYX_INST_HEADER::find_or_create"));
    EXPECT_EQ(up(cell, block).first,
              "Cannot create instance of module 'block' from super-db 'middle' in its sub-db 'lib'");
    EXPECT_EQ(up(cell, top).first, "Cannot create instance of module 'top' from super-db 'design' in its sub-db 'lib'");
    EXPECT_EQ(cell->get_num_instances(), 0u);
    EXPECT_FALSE(root_of(lib)->has_inst_headers());
    EXPECT_NO_THROW(NYX_INSTANCE::allocate(cell, "down", make_module(other_lib, "x")));
}

TEST_F(HEADER, IsUniqueInAComponentLibrary) {
    EXPECT_FALSE(make_instance("u", cell)->get_inst_header()->is_unique());
    SCOPED_DB other("other", NYX_DB_TYPE::COMPONENT);
    EXPECT_TRUE(NYX_INSTANCE::allocate(make_module(other, "m"), "u", cell)->get_inst_header()->is_unique());
}

// ---- Groups

TEST_F(HEADER, LeadsToThePartitionInItsOwnGroup) {
    SCOPED_DB partition_of_default("partition");
    SCOPED_DB group_top("group_top", NYX_DB_TYPE::USER, "work");
    SCOPED_DB partition("partition", NYX_DB_TYPE::USER, "work");
    NYX_MODULE *const wrong = make_module(partition_of_default, "block");
    NYX_MODULE *const right = make_module(partition, "block");
    NYX_MODULE *const parent = make_module(group_top, "parent");
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(parent, "u", right);
    NYX_INSTANCE *const v = NYX_INSTANCE::allocate(parent, "v", wrong);
    NYX_INSTANCE *const w = NYX_INSTANCE::allocate(parent, "w", cell);
    EXPECT_NE(u->get_inst_header(), v->get_inst_header());
    for (NYX_INSTANCE *const instance : {u, v, w})
        NYX_DB_LINKER::get().forget_header(instance->get_inst_header());
    EXPECT_EQ(u->get_module(), right);
    EXPECT_EQ(v->get_module(), wrong);
    EXPECT_EQ(w->get_module(), cell);
    EXPECT_TRUE(u->get_inst_header()->get_is_user_group());
    EXPECT_FALSE(v->get_inst_header()->get_is_user_group());
    EXPECT_FALSE(w->get_inst_header()->get_is_user_group());
    EXPECT_EQ(NYX_DB::get_num_users("partition", "work"), 2);
    right->set_name("renamed");
    EXPECT_EQ(u->get_inst_header()->get_module_name(), "renamed");
    EXPECT_EQ(v->get_inst_header()->get_module_name(), "block");
    NYX_DB_LINKER::get().forget_header(u->get_inst_header());
    EXPECT_EQ(u->get_module(), right);
    u->deallocate();
    EXPECT_EQ(root_of(group_top)->table<NYX_INST_HEADER>().num_allocated(), 2u);
}

TEST_F(HEADER, IntoAnotherGroupIsRefused) {
    SCOPED_DB other("other", NYX_DB_TYPE::USER, "work");
    NYX_MODULE *const block = make_module(other, "block");
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { make_instance("u", block); }),
              RAISED("The module block is in db other from different user design group work",
                     "NYX_INST_HEADER::find_or_create"));
    EXPECT_EQ(top->get_num_instances(), 0u);
    EXPECT_FALSE(root_of(db)->has_inst_headers());
}

TEST_F(HEADER, IsMovedToTheOtherGroupByItsFlag) {
    SCOPED_DB partition_of_default("partition");
    SCOPED_DB group_top("group_top", NYX_DB_TYPE::USER, "work");
    SCOPED_DB partition("partition", NYX_DB_TYPE::USER, "work");
    NYX_MODULE *const in_default = make_module(partition_of_default, "block");
    NYX_MODULE *const in_group = make_module(partition, "block");
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(make_module(group_top, "parent"), "u", in_group);
    NYX_INST_HEADER *const header = u->get_inst_header();
    header->set_is_user_group(false);
    EXPECT_FALSE(header->get_is_user_group());
    EXPECT_EQ(u->get_module(), in_default);
    header->set_is_user_group(true);
    EXPECT_EQ(u->get_module(), in_group);
    NYX_INSTANCE *const v = NYX_INSTANCE::allocate(u->get_parent(), "v", in_default);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { header->set_is_user_group(false); }),
              RAISED("There is an inst header for module block in db partition already",
                     "NYX_INST_HEADER::set_is_user_group"));
    EXPECT_TRUE(header->get_is_user_group());
    EXPECT_EQ(v->get_module(), in_default);
    u->deallocate();
    v->deallocate();
    EXPECT_FALSE(root_of(group_top)->has_inst_headers());
}

TEST_F(HEADER, OfADatabaseOfAnotherKindIsInTheDefaultGroup) {
    SCOPED_DB other("other", NYX_DB_TYPE::DEFINITION);
    // Nothing makes one there: instances are refused. Its row is as good as any.
    NYX_INST_HEADER *const header = root_of(other)->table<NYX_INST_HEADER>().allocate();
    EXPECT_FALSE(header->get_is_user_group());
    header->set_is_user_group(false);
    EXPECT_FALSE(header->get_is_user_group());
}

TEST_F(HEADER, TakesItsValuesAlong) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    u->get_inst_header()->set_property("mark", 1);
    u->deallocate();
    EXPECT_FALSE(make_instance("v", cell)->get_inst_header()->has_property("mark"));
}

TEST_F(HEADER, CachesOfTheDatabasesThatAreReferredToAreSwitchedOnlyOnDemand) {
    make_instance("u", cell);
    db->enable_cache(false, false, true);
    EXPECT_NE(lib->get_cache(), nullptr);
    db->enable_cache(false, false, false);
    EXPECT_EQ(lib->get_cache(), nullptr);
    db->enable_cache(true, false, false);
    EXPECT_NE(lib->get_cache(), nullptr);
}

TEST(InstHeaderKey, IsHashedAsInStoredMaps) {
    const auto mix = [](std::uint64_t seed, std::uint64_t value) {
        constexpr std::uint64_t factor = 0xc6a4a7935bd1e995;
        value *= factor;
        value ^= value >> 47;
        value *= factor;
        return (seed ^ value) * factor + 0xe6546b64;
    };
    const std::uint64_t expected = mix(mix(mix(mix(0, 9), 7), 1), 0xcbf29ce484222325);
    EXPECT_EQ(hash_value(INST_HEADER_KEY("", true, NYX_NAME_ID(7), NYX_NAME_ID(9))), expected);
}

TEST(HeaderFile, LinkIntoItsOwnGroupSurvivesASaveAndALoad) {
    const TEMP_DIR dir;
    const std::string top_path = (dir / "gtop.nyx").string();
    const std::string part_path = (dir / "gpart.nyx").string();
    NYX_DB *const part = NYX_DB::create(part_path.c_str(), 16, NYX_DB_TYPE::USER, "gpart", "work");
    NYX_DB *const design = NYX_DB::create(top_path.c_str(), 16, NYX_DB_TYPE::USER, "gtop", "work");
    NYX_INSTANCE::allocate(make_module(design, "top"), "u", make_module(part, "block", {"a"}));
    design->close();
    part->close();
    NYX_DB *const loaded_part = NYX_DB::open(part_path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY, "gpart", "work");
    NYX_DB *const loaded = NYX_DB::open(top_path.c_str(), NYX_DB::ACCESS_MODE::MODIFY, "gtop", "work");
    NYX_INSTANCE *const u = loaded->find_local_module("top")->find_instance("u");
    EXPECT_TRUE(u->get_inst_header()->get_is_user_group());
    EXPECT_EQ(u->get_inst_header()->get_reference_count(), 1u);
    EXPECT_EQ(u->get_module(), loaded_part->find_local_module("block"));
    u->deallocate();
    EXPECT_FALSE(root_of(loaded)->has_inst_headers());
    loaded->disable_commit_on_close();
    CAPTURING_SINK quiet;
    loaded->purge();
    if (!NYX_DB_IMPL::is_closed(*loaded_part))
        loaded_part->purge();
}
