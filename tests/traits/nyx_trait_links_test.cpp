// Reads across databases.
#include "traits/nyx_trait_linking.h"
#include "traits/trait_test_support.h"

namespace {

TEST(TraitLinks, ReadsAreRedirectedToTheObjectsDatabase) {
    SCOPED_DB db("here");
    SCOPED_DB other_db("there");
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        SCOPED_TRACE(V::s_word);
        for (const std::string internal : {"", "_i"}) {
            const std::string name = V::s_word + internal;
            const std::string internal_name = internal.empty() ? "" : name + internal;
            TRAIT *const here = V::template create<NYX_NET>(db, name, internal_name);
            TRAIT *const there = V::template create<NYX_NET>(other_db, name, internal_name);
            NYX_NET *const net = add_object<NYX_NET>(other_db);
            EXPECT_EQ(net->get_value(here), V::by_default());
            EXPECT_TRUE(net->is_default_value(here));
            net->set_value(there, V::other());
            EXPECT_EQ(net->get_value(here), V::other());
            EXPECT_FALSE(net->is_default_value(here));
            EXPECT_EQ(net->convert_value_to_str(here), TRAIT::convert_value_to_str(V::other()));
        }
    });
}

TEST(TraitLinks, WritesAreNotRedirected) {
    SCOPED_DB db("here");
    SCOPED_DB other_db("there");
    auto *const here = NYX_NET::create_int_trait(db, "t", 0, "", "", "");
    auto *const there = NYX_NET::create_int_trait(other_db, "t", 0, "", "", "");
    NYX_NET *const net = add_object<NYX_NET>(other_db);
    NYX_NET *const near = add_object<NYX_NET>(db);
    net->set_value(here, 5);
    EXPECT_EQ(net->get_value(there), 0);
    EXPECT_EQ(near->get_value(here), 5) << "the value is filed under the number of the row";
}

TEST(TraitLinks, WithoutALikeTheDefaultIsRead) {
    SCOPED_DB db("here");
    SCOPED_DB other_db("there");
    auto *const here = NYX_NET::create_int_trait(db, "t", 5, "", "", "");
    NYX_NET::create_bool_trait(other_db, "t", false, "", "", "");
    NYX_PORT::create_int_trait(other_db, "t", 6, "", "", "");
    NYX_NET *const net = add_object<NYX_NET>(other_db);
    EXPECT_EQ(net->get_value(here), 5);
    EXPECT_TRUE(net->is_default_value(here));
}

TEST(TraitLinks, TraitsThatAreDeclaredLaterAreFound) {
    SCOPED_DB db("here");
    SCOPED_DB other_db("there");
    auto *const here = NYX_NET::create_int_trait(db, "t", 5, "", "", "");
    NYX_NET *const net = add_object<NYX_NET>(other_db);
    EXPECT_EQ(net->get_value(here), 5);
    auto *const there = NYX_NET::create_int_trait(other_db, "t", 6, "", "", "");
    EXPECT_EQ(net->get_value(here), 6);
    net->set_value(there, 7);
    EXPECT_EQ(net->get_value(here), 7);
}

TEST(TraitLinks, LeadToTheBuiltinTraitsOfOtherDatabases) {
    SCOPED_DB db("here");
    SCOPED_DB other_db("there");
    NYX_NET *const net = add_object<NYX_NET>(other_db);
    net->set_value(nyx_builtin_traits(net).m_net_file_name_trait, "a.v");
    EXPECT_EQ(net->get_value(NYX_BUILTIN_TRAITS::of(db).m_net_file_name_trait), "a.v");
}

TEST(TraitLinks, GoWithTheirDatabase) {
    SCOPED_DB db("here");
    auto *const here = NYX_NET::create_int_trait(db, "t", 5, "", "", "");
    // A database in the place of one that is closed, with a trait of another name in the place of its trait.
    for (int i = 0; i < 4; ++i) {
        SCOPED_DB other_db("there");
        auto *const there = NYX_NET::create_int_trait(other_db, i % 2 == 0 ? "t" : "u", 0, "", "", "");
        NYX_NET *const net = add_object<NYX_NET>(other_db);
        net->set_value(there, 10 + i);
        EXPECT_EQ(net->get_value(here), i % 2 == 0 ? 10 + i : 5);
        EXPECT_EQ(NYX_DB_LINKER::get().trait_links().find(here, root_of(other_db)).known, true);
        NYX_DB_PERSISTENT *const root = root_of(other_db);
        other_db->purge();
        EXPECT_EQ(NYX_DB_LINKER::get().trait_links().find(here, root).known, false);
        EXPECT_EQ(NYX_DB_LINKER::get().trait_links().find(there, root_of(db)).known, false);
    }
}

TEST(TraitLinks, EveryoneOfASetReachesTheOthers) {
    NYX_TRAIT_LINKS links;
    int traits[3] = {}, roots[3] = {};
    // Roots are keys here, never looked into.
    const auto root = [&roots](int i) { return reinterpret_cast<const NYX_DB_PERSISTENT *>(&roots[i]); };
    links.link(&traits[0], root(0), &traits[1], root(1));
    links.link(&traits[0], root(0), &traits[2], root(2));
    EXPECT_EQ(links.find(&traits[1], root(0)).trait, &traits[0]);
    EXPECT_EQ(links.find(&traits[2], root(0)).trait, &traits[0]);
    EXPECT_EQ(links.find(&traits[2], root(1)).trait, &traits[1]);
    links.purge(root(1));
    EXPECT_FALSE(links.find(&traits[2], root(1)).known);
    EXPECT_FALSE(links.find(&traits[1], root(0)).known);
    links.erase(&traits[2]);
    EXPECT_FALSE(links.find(&traits[2], root(0)).known);
}

TEST(TraitLinks, VisitorLinksAndUnlinksWhatItIsShown) {
    SCOPED_DB db("here");
    SCOPED_DB other_db("there");
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    auto *const here = NYX_NET::create_time_trait(db, "t", 5, "", "", "");
    const auto *const there = NYX_NET::create_time_trait(other_db, "t", 5, "", "", "");
    NYX_DB_LINKER_TRAITS_VISITOR link(root_of(other_db), linker, false);
    NYX_NET::visit_sparse_traits(db, &link, true);
    EXPECT_EQ(linker.trait_links().find(here, root_of(other_db)).trait, there);
    NYX_DB_LINKER_TRAITS_VISITOR unlink(root_of(other_db), linker, true);
    NYX_NET::visit_sparse_traits(db, &unlink, true);
    EXPECT_FALSE(linker.trait_links().find(here, root_of(other_db)).known);
}

TEST(TraitIteration, GoesOnInTheDatabasesThatAreReferredTo) {
    SCOPED_DB db("top");
    SCOPED_DB leaves[] = {SCOPED_DB("leaf0"), SCOPED_DB("leaf1"), SCOPED_DB("leaf2"), SCOPED_DB("leaf3")};
    std::set<const NYX_NET *> expected;
    auto *const trait = NYX_NET::create_int_trait(db, "t", 0, "", "", "");
    const auto add = [&expected](NYX_DB *in, NYX_INT_TRAIT *of) {
        NYX_NET *const net = add_object<NYX_NET>(in);
        net->set_value(of, 1);
        expected.insert(net);
    };
    add(db, trait);
    for (int i = 0; i < 4; ++i) {
        link_dbs(db, leaves[i]);
        if (i == 1)
            continue; // has no such trait
        auto *const there = NYX_NET::create_int_trait(leaves[i], "t", 0, "", "", "");
        if (i == 2)
            continue; // has no value of it
        add(leaves[i], there);
        add(leaves[i], there);
    }
    std::set<const NYX_NET *> found;
    for (const NYX_NET *const net : trait->iter_nets(false))
        EXPECT_TRUE(found.insert(net).second);
    EXPECT_EQ(found, expected);
    unsigned here = 0;
    for (const NYX_NET *const net : trait->iter_nets(true)) {
        EXPECT_EQ(net->get_db(), db);
        ++here;
    }
    EXPECT_EQ(here, 1u);
}

TEST(TraitIteration, WithoutOtherDatabasesIsTheSameBothWays) {
    SCOPED_DB db("top");
    auto *const trait = NYX_DB::create_int_trait(db, "t", 0, "", "", "");
    EXPECT_TRUE(trait->iter_dbs(false).empty());
    db->set_value(trait, 1);
    for (const bool this_db_only : {false, true}) {
        const auto dbs = trait->iter_dbs(this_db_only);
        ASSERT_EQ(std::distance(dbs.begin(), dbs.end()), 1);
        EXPECT_EQ(*dbs.begin(), db);
    }
}

} // namespace
