// What becomes of traits and properties when objects go, move or are copied.
#include "traits/trait_test_support.h"

#include "memory/segment_image.h"
#include "pattern/object_types.h"
#include "support/recording_listener.h"

namespace {

template <class T>
class Attributes : public testing::Test {
protected:
    SCOPED_DB m_db{"attributes"};
};

using ROW_TYPES = testing::Types<NYX_MODULE, NYX_PORT, NYX_NET, NYX_INSTANCE, NYX_INSTANCE_BUS, NYX_INST_PORT,
                                 NYX_PORT_BUS, NYX_NET_BUS, NYX_INTERFACE, NYX_INST_HEADER, NYX_RELATIVE_OBJECT,
                                 NYX_CONSTRAINT_STMT, NYX_SOURCE_FILE, NYX_ENTITY, NYX_SDC_CLOCK, NYX_HIER_MODULE>;
TYPED_TEST_SUITE(Attributes, ROW_TYPES);

TYPED_TEST(Attributes, ClearingAnObjectLeavesNothingOfItAndAllOfOthers) {
    auto *const object = add_object<TypeParam>(this->m_db);
    auto *const other = add_object<TypeParam>(this->m_db);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        TRAIT *const trait = V::template create<TypeParam>(this->m_db, V::s_word, std::string(V::s_word) + "_i");
        object->set_value(trait, V::other());
        other->set_value(trait, V::other());
    });
    object->set_property("p", bytes("x"));
    RECORDING_LISTENER notices;
    nyx_clear_traits(object);
    // The block of one of the traits; an entry, a node and a block of the properties. The room of values stays.
    EXPECT_EQ(notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size(), 1u + 3u);
    EXPECT_TRUE(notices.notices(RECORDING_LISTENER::NOTICE::ALLOCATED).empty());
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        TRAIT *const trait = V::template find<TypeParam>(this->m_db, std::string(V::s_word) + "_i");
        EXPECT_EQ(object->get_value(trait), V::by_default());
        EXPECT_EQ(other->get_value(trait), V::other());
    });
    EXPECT_FALSE(object->has_property("p"));
}

TYPED_TEST(Attributes, MoveToAnotherRow) {
    auto *const from = add_object<TypeParam>(this->m_db);
    auto *const to = add_object<TypeParam>(this->m_db);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        TRAIT *const trait = V::template create<TypeParam>(this->m_db, V::s_word);
        TRAIT *const stale = V::template create<TypeParam>(this->m_db, std::string(V::s_word) + "2");
        from->set_value(trait, V::other());
        to->set_value(stale, V::other());
    });
    from->set_property("p", bytes("x"));
    to->set_property("q", bytes("y"));
    RECORDING_LISTENER notices;
    nyx_move_traits(from, to);
    EXPECT_TRUE(notices.notices(RECORDING_LISTENER::NOTICE::ALLOCATED).empty());
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        TRAIT *const trait = V::template find<TypeParam>(this->m_db, V::s_word);
        TRAIT *const stale = V::template find<TypeParam>(this->m_db, std::string(V::s_word) + "2");
        EXPECT_EQ(to->get_value(trait), V::other());
        EXPECT_TRUE(from->is_default_value(trait));
        EXPECT_TRUE(to->is_default_value(stale));
    });
    EXPECT_EQ(to->get_property("p"), NYX_PROPERTY_VALUE(bytes("x")));
    EXPECT_FALSE(to->has_property("q"));
    EXPECT_FALSE(from->has_property("p"));
}

TYPED_TEST(Attributes, MovingARowOntoItselfKeepsAll) {
    auto *const object = add_object<TypeParam>(this->m_db);
    auto *const trait = TypeParam::create_int_trait(this->m_db, "t", 0, "", "", "");
    object->set_value(trait, 1);
    object->set_property("p", 2);
    nyx_move_traits(object, object);
    EXPECT_EQ(object->get_value(trait), 1);
    EXPECT_EQ(object->get_property("p"), NYX_PROPERTY_VALUE(2));
}

TYPED_TEST(Attributes, AreCopiedWithinADatabaseAndToAnother) {
    SCOPED_DB other_db("other");
    auto *const from = add_object<TypeParam>(this->m_db);
    auto *const near = add_object<TypeParam>(this->m_db);
    auto *const far = add_object<TypeParam>(other_db);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        from->set_value(V::template create<TypeParam>(this->m_db, V::s_word), V::other());
        V::template create<TypeParam>(other_db, V::s_word);
    });
    auto *const kept = TypeParam::create_int_trait(other_db, "kept", 0, "", "", "");
    far->set_value(kept, 5);
    from->set_property("p", bytes("x"));
    from->set_property("t", std::string("text"));
    nyx_copy_traits(from, near);
    nyx_copy_traits(from, far);
    nyx_copy_properties(from, far);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        EXPECT_EQ(near->get_value(V::template find<TypeParam>(this->m_db, V::s_word)), V::other());
        EXPECT_EQ(far->get_value(V::template find<TypeParam>(other_db, V::s_word)), V::other());
    });
    EXPECT_EQ(far->get_value(kept), 5);
    EXPECT_EQ(far->get_property("p"), NYX_PROPERTY_VALUE(bytes("x")));
    EXPECT_EQ(far->get_property("t"), NYX_PROPERTY_VALUE(std::string("text")));
    EXPECT_FALSE(near->has_property("p"));
}

TEST(ClearVisitor, PutsEachValueBackAndFreesItsBlock) {
    SCOPED_DB db("clear");
    NYX_NET *const net = add_object<NYX_NET>(db);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        net->set_value(V::template create<NYX_NET>(db, V::s_word), V::other());
    });
    RECORDING_LISTENER notices;
    NYX_TRAIT_CLEAR_VISITOR<NYX_NET> visitor(net);
    NYX_NET::visit_sparse_traits(db, &visitor, true);
    // The room of values stays.
    EXPECT_EQ(notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size(), 1u);
    for_each_trait_type([&]<class TRAIT>() {
        EXPECT_TRUE(NYX_NET::trait_is_empty(VALUES<TRAIT>::template find<NYX_NET>(db, VALUES<TRAIT>::s_word)));
    });
}

TEST(CopyVisitor, CopiesTheValuesThatAreNotTheDefault) {
    SCOPED_DB db("copy");
    NYX_NET *const from = add_object<NYX_NET>(db);
    NYX_NET *const to = add_object<NYX_NET>(db);
    auto *const a = NYX_NET::create_int_trait(db, "a", 0, "", "", "");
    auto *const b = NYX_NET::create_int_trait(db, "b", 0, "", "", "");
    from->set_value(a, 1);
    to->set_value(b, 2);
    NYX_TRAIT_COPY_VISITOR<NYX_NET> visitor(from, to);
    NYX_NET::visit_sparse_traits(db, &visitor, true);
    EXPECT_EQ(to->get_value(a), 1);
    EXPECT_EQ(to->get_value(b), 2);
}

TEST(CopyToDbVisitor, DeclaresWhatTheOtherDatabaseLacks) {
    SCOPED_DB db("from");
    SCOPED_DB other_db("to");
    NYX_MODULE *const from = add_object<NYX_MODULE>(db);
    NYX_MODULE *const to = add_object<NYX_MODULE>(other_db);
    auto *const plain = NYX_MODULE::create_int_trait(db, "plain", 3, "group", "description", "");
    auto *const internal = NYX_MODULE::create_app_trait(db, "inner", bytes("d"), "", "", "inner_i");
    NYX_MODULE::create_int_trait(db, "unused", 3, "", "", "");
    from->set_value(plain, 4);
    from->set_value(internal, bytes("value"));
    from->set_value(nyx_builtin_traits(from).m_module_entity_name_trait, "entity");
    NYX_TRAIT_COPY_TO_DB_VISITOR<NYX_MODULE> visitor(from, to);
    NYX_MODULE::visit_sparse_traits(db, &visitor, true);
    auto *const there = NYX_MODULE::find_int_trait(other_db, "plain");
    ASSERT_NE(there, nullptr);
    EXPECT_EQ(there->get_default_value(), 3);
    EXPECT_EQ(there->get_group(), "group");
    EXPECT_EQ(there->get_description(), "description");
    EXPECT_EQ(to->get_value(there), 4);
    EXPECT_EQ(to->get_value(NYX_MODULE::find_app_trait(other_db, "inner_i")), bytes("value"));
    EXPECT_EQ(to->get_value(nyx_builtin_traits(to).m_module_entity_name_trait), "entity");
    EXPECT_FALSE(NYX_MODULE::trait_exists(other_db, "unused"));
}

TEST(AttributesOfARoot, ClearingGoesPastTheRowOfATraitThatCouldNotBeDeclared) {
    // A row that is free again begins with the number of the next free one.
    for (unsigned traits = 0; traits < 32; ++traits) {
        ROOT root(std::size_t(1) << 20);
        using TIMES = NYX_TRAIT_CORE<NYX_TIME_TRAIT>;
        for (unsigned i = 0; i < traits; ++i)
            TIMES::allocate(root.root, "t" + std::to_string(i), 0, "", "", "", NYX_TRAIT_OBJ_TYPE::NET_SPARSE);
        const std::string too_much(std::size_t(2) << 20, 'x');
        EXPECT_THROW(NYX_TRAIT_CORE<NYX_APP_TRAIT>::allocate(root.root, "a", bytes(too_much), "", "", "",
                                                             NYX_TRAIT_OBJ_TYPE::NET_SPARSE),
                     boost::interprocess::bad_alloc);
        NYX_MODULE *const module = root.root->table<NYX_MODULE>().allocate();
        NYX_MODULE *const other = root.root->table<NYX_MODULE>().allocate();
        nyx_move_traits(module, other);
        nyx_clear_traits(other);
        EXPECT_EQ(root.segment.algorithm().find_fault(), "") << traits;
    }
}

template <class BUS>
class AttributesOfBuses : public testing::Test {};
using BUS_TYPES = testing::Types<NYX_PORT_BUS, NYX_NET_BUS, NYX_INSTANCE_BUS>;
TYPED_TEST_SUITE(AttributesOfBuses, BUS_TYPES);

TYPED_TEST(AttributesOfBuses, GoWithTheBus) {
    SCOPED_DB db("values");
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0);
    auto *const trait = TypeParam::create_int_trait(db, "t", 0, "", "", "");
    TypeParam *const old = TypeParam::allocate(module, "a", 1, 0);
    old->set_value(trait, 5);
    old->set_property("p", 1);
    old->deallocate();
    TypeParam *const bus = TypeParam::allocate(module, "b", 1, 0);
    ASSERT_EQ(bus, old) << "its identifier is used again";
    EXPECT_TRUE(bus->is_default_value(trait));
    EXPECT_FALSE(bus->has_property("p"));
}

TEST(AttributesOfInterfaces, GoWithTheInterface) {
    SCOPED_DB db("values");
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0);
    auto *const trait = NYX_INTERFACE::create_int_trait(db, "t", 0, "", "", "");
    NYX_INTERFACE *const old = NYX_INTERFACE::allocate(module, "j");
    old->set_value(trait, 5);
    old->set_property("p", 1);
    old->deallocate();
    NYX_INTERFACE *const other = NYX_INTERFACE::allocate(module, "j");
    ASSERT_EQ(other, old) << "its identifier is used again";
    EXPECT_TRUE(other->is_default_value(trait));
    EXPECT_FALSE(other->has_property("p"));
}

} // namespace
