// Rows, names and maps of traits.
#include "traits/trait_test_support.h"

#include "memory/segment_image.h"
#include "pattern/object_types.h"
#include "support/recording_listener.h"
#include "traits/nyx_trait_object_type.h"
#include <set>
#include <sstream>

namespace {

using KIND = NYX_TRAIT_OBJ_TYPE;

TEST(TraitObjectTypes, HaveTheirWordsAsTexts) {
    const char *const texts[] = {"MODULE_SPARSE",
                                 "PORT_SPARSE",
                                 "NET_SPARSE",
                                 "INSTANCE_SPARSE",
                                 "INSTANCE_BUS_SPARSE",
                                 "INST_PORT_SPARSE",
                                 "PORT_BUS_SPARSE",
                                 "NET_BUS_SPARSE",
                                 "RELATIVE_OBJECT_SPARSE",
                                 "DB_SPARSE",
                                 "CONSTRAINT_STMT_SPARSE",
                                 "SOURCE_FILE_SPARSE",
                                 "ENTITY_SPARSE",
                                 "SDC_CLOCK_SPARSE",
                                 "INST_HEADER_SPARSE",
                                 "HIER_MODULE_SPARSE",
                                 "INTERFACE_SPARSE"};
    for (unsigned i = 0; i < 256; ++i)
        EXPECT_STREQ(nyx_get_trait_object_type_text(KIND(i)), i < 17 ? texts[i] : "") << i;
}

TEST(TraitLookup, ListsItselfAndItsMapsInStatistics) {
    NYX_SEGMENT segment(std::size_t(1) << 20);
    NYX_BYTE4_TRAIT_LOOKUP values(segment.get_segment_manager());
    values.m_object_type = KIND::NET_SPARSE;
    values.set(KIND::NET_SPARSE, NYX_ANY_ID(5), 7);
    const NYX_TYPE_STATS stats = values.get_stats();
    EXPECT_EQ(stats.get_type(), "NYX_BYTE4_TRAIT_LOOKUP");
    ASSERT_EQ(stats.get_field_stats().size(), 18u);
    for (const NYX_FIELD_STATS &field : stats.get_field_stats()) {
        const long expected = field.get_type() == "self" ? 416 : field.get_type() == "net_lookup" ? 8 + 168 + 4 * 4 : 0;
        EXPECT_EQ(field.get_bytes(), expected) << field.get_type();
    }
    // The room stays when the last value goes, and goes at a reset.
    values.set(KIND::NET_SPARSE, NYX_ANY_ID(5), 0);
    EXPECT_TRUE(values.is_empty());
    const auto net_bytes = [&values] {
        for (const NYX_FIELD_STATS &field : values.get_stats().get_field_stats())
            if (field.get_type() == "net_lookup")
                return field.get_bytes();
        return -1L;
    };
    EXPECT_EQ(net_bytes(), 8 + 168 + 4 * 4);
    values.reset_all_objects_having_this_trait();
    EXPECT_EQ(net_bytes(), 0);
}

TEST(TraitLookup, StoresItsMapsInTheFilesOrder) {
    const KIND order[] = {KIND::MODULE_SPARSE,
                          KIND::PORT_SPARSE,
                          KIND::NET_SPARSE,
                          KIND::INSTANCE_SPARSE,
                          KIND::INSTANCE_BUS_SPARSE,
                          KIND::INST_PORT_SPARSE,
                          KIND::PORT_BUS_SPARSE,
                          KIND::NET_BUS_SPARSE,
                          KIND::INTERFACE_SPARSE,
                          KIND::INST_HEADER_SPARSE,
                          KIND::RELATIVE_OBJECT_SPARSE,
                          KIND::CONSTRAINT_STMT_SPARSE,
                          KIND::SOURCE_FILE_SPARSE,
                          KIND::ENTITY_SPARSE,
                          KIND::SDC_CLOCK_SPARSE,
                          KIND::DB_SPARSE,
                          KIND::HIER_MODULE_SPARSE};
    NYX_SEGMENT segment(std::size_t(1) << 20);
    auto *const values = segment.get_segment_manager()->construct<NYX_BYTE8_TRAIT_LOOKUP>(
        boost::interprocess::anonymous_instance)(segment.get_segment_manager());
    for (unsigned i = 0; i < 17; ++i)
        EXPECT_EQ(reinterpret_cast<const char *>(&values->map(order[i])) - reinterpret_cast<const char *>(values),
                  24 * i);
    values->m_default_value = 0x123456789;
    values->m_object_type = KIND::NET_SPARSE;
    EXPECT_EQ(stored<long long>(values, 408), 0x123456789);
    EXPECT_EQ(stored<unsigned char>(values, 416), 2);
}

TEST(TraitLookup, ResettingClearsTheMapOfTheTraitsKindAlone) {
    NYX_SEGMENT segment(std::size_t(1) << 20);
    NYX_BYTE1_TRAIT_LOOKUP values(segment.get_segment_manager());
    values.m_object_type = KIND::PORT_SPARSE;
    values.set(KIND::PORT_SPARSE, NYX_ANY_ID(1), 1);
    values.set(KIND::NET_SPARSE, NYX_ANY_ID(1), 1);
    values.reset_all_objects_having_this_trait();
    EXPECT_EQ(values.find(KIND::PORT_SPARSE, NYX_ANY_ID(1)), nullptr);
    EXPECT_NE(values.find(KIND::NET_SPARSE, NYX_ANY_ID(1)), nullptr);
}

TEST(TraitLookup, IsCopiedAndMovedWithAllThatItHolds) {
    NYX_SEGMENT segment(std::size_t(1) << 20);
    NYX_BYTE1_TRAIT_LOOKUP values(segment.get_segment_manager());
    values.m_default_value = 3;
    values.m_object_type = KIND::PORT_SPARSE;
    values.set(KIND::PORT_SPARSE, NYX_ANY_ID(1), 7);
    NYX_BYTE1_TRAIT_LOOKUP copy(values);
    values.set(KIND::PORT_SPARSE, NYX_ANY_ID(1), 3);
    ASSERT_NE(copy.find(KIND::PORT_SPARSE, NYX_ANY_ID(1)), nullptr);
    const NYX_BYTE1_TRAIT_LOOKUP moved(std::move(copy));
    EXPECT_EQ(*moved.find(KIND::PORT_SPARSE, NYX_ANY_ID(1)), 7);
    values = moved;
    EXPECT_EQ(*values.find(KIND::PORT_SPARSE, NYX_ANY_ID(1)), 7);
    EXPECT_EQ(moved.m_default_value, 3);
    EXPECT_EQ(moved.m_object_type, KIND::PORT_SPARSE);
}

TEST(TraitLookupDeathTest, ResettingATraitOfNoKindEndsTheRun) {
    NYX_SEGMENT segment(std::size_t(1) << 20);
    NYX_BYTE1_TRAIT_LOOKUP values(segment.get_segment_manager());
    EXPECT_DEATH(values.reset_all_objects_having_this_trait(), "Invalid object type");
}

TEST(TraitStorage, ObjectsOfAnotherKindHaveAMapOfTheirOwn) {
    ROOT root;
    auto *const on_nets = NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "t", 0, "", "", "", KIND::NET_SPARSE);
    NYX_NET *const net = root.root->table<NYX_NET>().allocate();
    NYX_PORT *const port = root.root->table<NYX_PORT>().allocate(1);
    net->set_value(on_nets, 1);
    port->set_value(on_nets, 2);
    EXPECT_EQ(net->get_value(on_nets), 1);
    EXPECT_EQ(port->get_value(on_nets), 2);
    on_nets->reset_all_objects_having_this_trait();
    EXPECT_EQ(net->get_value(on_nets), 0);
    EXPECT_EQ(port->get_value(on_nets), 2);
}

TEST(TraitStorage, NullObjectsHaveTheDefaultButTakeNoValue) {
    ROOT root;
    auto *const trait = NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "t", 5, "", "", "", KIND::NET_SPARSE);
    auto *const text = NYX_TRAIT_CORE<NYX_STRING_TRAIT>::allocate(root.root, "s", "d", "", "", "", KIND::NET_SPARSE);
    auto *const app =
        NYX_TRAIT_CORE<NYX_APP_TRAIT>::allocate(root.root, "a", NYX_APP_DATA(), "", "", "", KIND::NET_SPARSE);
    const NYX_BEARER none = nyx_bearer<NYX_NET>(nullptr);
    EXPECT_EQ(NYX_TRAIT_CORE<NYX_INT_TRAIT>::get_value(trait, none), 5);
    EXPECT_EQ(NYX_TRAIT_CORE<NYX_STRING_TRAIT>::get_value(text, none), "d");
    EXPECT_EQ(nyx_get_raw<NYX_BYTE4_TRAIT>(trait, none), 5);
    const auto says = [](const char *function) { return RAISED("Obj cannot be NULL", function); };
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_TRAIT_CORE<NYX_INT_TRAIT>::set_value(trait, none, 1); }),
              says("NYX_BYTE4_TRAIT::set_value"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_TRAIT_CORE<NYX_STRING_TRAIT>::set_value(text, none, "x"); }),
              says("NYX_STRING_TRAIT::set_value"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_TRAIT_CORE<NYX_APP_TRAIT>::set_value(app, none, bytes("x")); }),
              says("NYX_APP_TRAIT::set_value"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_TRAIT_CORE<NYX_INT_TRAIT>::is_default_value(trait, none); }),
              says("NYX_INT_TRAIT::is_default_value"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { nyx_is_default_raw<NYX_BYTE4_TRAIT>(trait, none); }),
              says("NYX_BYTE4_TRAIT::is_default_value"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { trait->output_to_str(static_cast<const NYX_NET *>(nullptr)); }),
              says("NYX_INT_TRAIT::output_to_str"));
}

TEST(TraitStorage, NamesThatEndInATextOfATypeStayWhole) {
    ROOT root;
    const NYX_BYTE4_TRAIT *const trait =
        NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "aNET_SPARSE", 5, "", "", "bNET_SPARSE", KIND::NET_SPARSE);
    EXPECT_EQ(trait->get_name(), "aNET_SPARSE");
    EXPECT_EQ(trait->get_internal_name(), "bNET_SPARSE");
    EXPECT_EQ(root.root->find_byte4_trait("bNET_SPARSE", KIND::NET_SPARSE), trait);
    EXPECT_EQ(root.root->find_byte4_trait("b", KIND::NET_SPARSE), nullptr);
}

TEST(TraitStorage, NamesThatAreStoredAlikeAreTakenButNotFound) {
    ROOT root;
    // "x" on inst ports and "xINST_" on ports are both "xINST_PORT_SPARSE".
    const auto *const trait =
        NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "x", 0, "", "", "", KIND::INST_PORT_SPARSE);
    EXPECT_EQ(root.root->find_byte4_trait("x", KIND::INST_PORT_SPARSE), trait);
    EXPECT_EQ(root.root->find_byte4_trait("xINST_", KIND::PORT_SPARSE), nullptr);
    EXPECT_TRUE(root.root->trait_exists("xINST_", KIND::PORT_SPARSE));
}

TEST(TraitStorage, LookUpsEnterNoName) {
    ROOT root;
    const std::size_t names = root.root->names().get_size();
    EXPECT_EQ(root.root->find_byte8_trait("nobody", KIND::NET_SPARSE), nullptr);
    EXPECT_FALSE(root.root->trait_exists("nobody", KIND::NET_SPARSE));
    EXPECT_EQ(root.root->names().get_size(), names);
}

TEST(TraitStorageDeathTest, ValuesOfAnObjectOfADamagedPageAreNotRead) {
    ROOT root;
    auto *const trait = NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "t", 5, "", "", "", KIND::NET_SPARSE);
    NYX_NET *const net = root.root->table<NYX_NET>().allocate();
    char *const page = reinterpret_cast<char *>(reinterpret_cast<std::uintptr_t>(net) & ~std::uintptr_t(4095));
    const auto sound = stored<std::int64_t>(page, 0);
    store<std::int64_t>(page, 0, 0);
    EXPECT_DEATH((void)net->get_value(trait), "This pointer was never assigned a valid value");
    EXPECT_DEATH((void)net->is_default_value(trait), "This pointer was never assigned a valid value");
    store(page, 0, sound);
    EXPECT_EQ(net->get_value(trait), 5);
}

TEST(TraitStorage, RowsAreFoundByTheirNumber) {
    ROOT root;
    using CORE = NYX_TRAIT_CORE<NYX_TIME_TRAIT>;
    auto *const trait = CORE::allocate(root.root, "x", 0, "", "", "", KIND::NET_SPARSE);
    EXPECT_EQ(CORE::get_trait(root.root, NYX_BYTE8_TRAIT_ID(0)), trait);
    EXPECT_EQ(CORE::get_trait(root.root, NYX_BYTE8_TRAIT_ID::INVALID), nullptr);
    EXPECT_DEATH(CORE::get_trait(root.root, NYX_BYTE8_TRAIT_ID(1)), "trait_id < table->num_allocated\\(\\)");
}

TEST(TraitStorageDeathTest, FindingARowBehindTheTableEndsTheRun) {
    ROOT root;
    auto *const trait = NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "t", 0, "", "", "", KIND::NET_SPARSE);
    // The entry leads to row 0 of a table that says that it has none.
    root.root->table<NYX_BYTE4_TRAIT>().m_iter_limit = 0;
    EXPECT_DEATH(root.root->find_byte4_trait("t", KIND::NET_SPARSE), "trait_id < table->iter_limit\\(\\)");
    EXPECT_NE(trait, nullptr);
}

TEST(TraitStorageDeathTest, StoredNamesWithoutTheirTypeEndTheRun) {
    ROOT root;
    auto *const trait = NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "t", 0, "", "", "", KIND::NET_SPARSE);
    nyx_row_of<NYX_BYTE4_TRAIT>(trait)->m_storage_name_id = root.root->names().get_id("t");
    EXPECT_DEATH(trait->get_name(), "pos != std::string::npos");
}

TEST(TraitStorage, StatisticsAccountForAllThatTraitsAndPropertiesTake) {
    SCOPED_DB db("stats");
    auto *const texts = NYX_NET::create_string_trait(db, "text", "", "", "", "");
    auto *const data = NYX_NET::create_app_trait(db, "data", bytes("default"), "", "", "");
    std::vector<NYX_NET *> nets;
    for (int i = 0; i < 1000; ++i) {
        NYX_NET *const net = add_object<NYX_NET>(db);
        nets.push_back(net);
        net->set_value(texts, "text" + std::to_string(i));
        net->set_value(data, bytes(std::string(200, 'x')));
        net->set_property("p", bytes(std::string(200, 'x')));
    }
    CAPTURING_SINK sink;
    (void)db->get_internal_stats();
    for (NYX_NET *const net : nets)
        nyx_clear_traits(net);
    (void)db->get_internal_stats();
    EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::WARNING), TEXTS());
}

TEST(TraitStorage, ADeletedObjectLeavesNoValueOfATraitOfAnotherKind) {
    ROOT root;
    auto *const trait = NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "t", 0, "", "", "", KIND::MODULE_SPARSE);
    NYX_NET *const net = root.root->table<NYX_NET>().allocate();
    net->set_value(trait, 1);
    nyx_clear_traits(net);
    EXPECT_TRUE(trait->is_empty());
}

TEST(TraitStorage, ValuesThatFindNoRoomLeaveTheMapAndNoBlock) {
    // A value of a thousand rows further needs a leaf and a larger directory, one of bytes a block before.
    for_each_trait_type_of<NYX_INT_TRAIT, NYX_APP_TRAIT>([]<class TRAIT>() {
        SCOPED_TRACE(VALUES<TRAIT>::s_word);
        const unsigned failures = with_growing_room([](std::size_t left) {
            ROOT root(std::size_t(1) << 20);
            auto *const trait = NYX_TRAIT_CORE<TRAIT>::allocate(root.root, "t", VALUES<TRAIT>::by_default(), "", "", "",
                                                                KIND::NET_SPARSE);
            std::vector<NYX_NET *> nets;
            for (int i = 0; i < 1100; ++i)
                nets.push_back(root.root->table<NYX_NET>().allocate());
            for (int i = 0; i < 16; ++i)
                nets[i]->set_value(trait, VALUES<TRAIT>::other());
            const BLOCK_LEDGER ledger(root.segment);
            bool done = false;
            {
                const JUNK junk(root.segment, left);
                try {
                    nets.back()->set_value(trait, VALUES<TRAIT>::other());
                    done = true;
                } catch (const boost::interprocess::bad_alloc &) {
                }
            }
            ledger.expect_balanced();
            for (int i = 0; i < 16; ++i)
                EXPECT_EQ(nets[i]->get_value(trait), VALUES<TRAIT>::other());
            EXPECT_EQ(nets.back()->is_default_value(trait), !done);
            return done;
        });
        EXPECT_GT(failures, 2u);
    });
}

TEST(TraitStorage, NullObjectsAreRefusedByEveryTypeOfValues) {
    ROOT root;
    const NYX_BEARER none = nyx_bearer<NYX_NET>(nullptr);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        using CORE = NYX_TRAIT_CORE<TRAIT>;
        using WIDTH = typename CORE::WIDTH;
        SCOPED_TRACE(V::s_word);
        auto *const trait = CORE::allocate(root.root, V::s_word, V::by_default(), "", "", "", KIND::NET_SPARSE);
        const std::string text = "Obj cannot be NULL";
        const std::string type = NYX_TRAIT_TYPE<TRAIT>::s_name;
        const bool converts = std::is_same_v<TRAIT, NYX_STRING_TRAIT> || std::is_same_v<TRAIT, NYX_APP_TRAIT>;
        const std::string writer = converts ? type : NYX_TRAIT_WIDTH<WIDTH>::s_name;
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { CORE::set_value(trait, none, V::other()); }),
                  RAISED(text, writer + "::set_value"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { CORE::is_default_value(trait, none); }),
                  RAISED(text, type + "::is_default_value"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { nyx_is_default_raw<WIDTH>(trait, none); }),
                  RAISED(text, std::string(NYX_TRAIT_WIDTH<WIDTH>::s_name) + "::is_default_value"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { trait->output_to_str(static_cast<const NYX_NET *>(nullptr)); }),
                  RAISED(text, type + "::output_to_str"));
        EXPECT_EQ(CORE::get_value(trait, none), V::by_default());
        EXPECT_EQ(CORE::to_str(nyx_bearer_class<NYX_NET>, trait, none), TRAIT::convert_value_to_str(V::by_default()));
    });
}

TEST(TraitLookup, LeadsFromObjectToObject) {
    ROOT root;
    auto *const trait = NYX_TRAIT_CORE<NYX_BOOL_TRAIT>::allocate(root.root, "t", false, "", "", "", KIND::NET_SPARSE);
    const auto &values = nyx_values_of<NYX_BYTE1_TRAIT>(trait);
    EXPECT_EQ(values.net_lookup_begin(root.root), nullptr);
    // In the order of the objects' identifiers.
    std::vector<NYX_NET *> expected, found;
    for (int i = 0; i < 3000; ++i) {
        NYX_NET *const net = root.root->table<NYX_NET>().allocate();
        if (i % 3 == 0)
            expected.push_back(net);
    }
    for (auto net = expected.rbegin(); net != expected.rend(); ++net)
        (*net)->set_value(trait, true);
    for (NYX_NET *at = values.net_lookup_begin(root.root); at != nullptr;
         at = values.net_lookup_increment(root.root, at))
        found.push_back(at);
    EXPECT_EQ(found, expected);
    EXPECT_EQ(values.port_lookup_begin(root.root), nullptr);
    EXPECT_EQ(values.net_lookup_increment(root.root, nullptr), nullptr);
}

TEST(TraitLookup, TellsItsSchema) {
    std::vector<NYX_SCHEMA_MEMBER> members;
    EXPECT_EQ(NYX_BYTE1_TRAIT_LOOKUP::get_schema_id(&members), 5u);
    EXPECT_EQ(NYX_BYTE4_TRAIT_LOOKUP::get_schema_id(&members), 4u);
    EXPECT_EQ(NYX_BYTE8_TRAIT_LOOKUP::get_schema_id(&members), 4u);
    ASSERT_EQ(members.size(), 3u);
    EXPECT_EQ(members[0].name, "NYX_BYTE1_TRAIT_LOOKUP");
    EXPECT_EQ(members[2].name, "NYX_BYTE8_TRAIT_LOOKUP");
}

TEST(TraitLookup, MoveAssignmentCarriesMapsDefaultAndKind) {
    NYX_SEGMENT segment(std::size_t(1) << 20);
    NYX_BYTE8_TRAIT_LOOKUP from(segment.get_segment_manager()), to(segment.get_segment_manager());
    from.m_default_value = 3;
    from.m_object_type = KIND::DB_SPARSE;
    for (unsigned kind = 0; kind < 17; ++kind)
        from.set(KIND(kind), NYX_ANY_ID(kind), kind + 100);
    to = std::move(from);
    for (unsigned kind = 0; kind < 17; ++kind)
        EXPECT_EQ(*to.find(KIND(kind), NYX_ANY_ID(kind)), kind + 100) << kind;
    EXPECT_EQ(to.m_default_value, 3);
    EXPECT_EQ(to.m_object_type, KIND::DB_SPARSE);
}

TEST(TraitStorage, ReadsOfAProtectedImageWriteNothing) {
    ROOT root;
    NYX_NET *const net = root.root->table<NYX_NET>().allocate();
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        net->set_value(NYX_TRAIT_CORE<TRAIT>::allocate(root.root, V::s_word, V::by_default(), "g", "d",
                                                       std::string(V::s_word) + "_i", KIND::NET_SPARSE),
                       V::other());
    });
    net->set_property("p", std::string("text"));
    IMAGE_COPY copy(root.segment);
    copy.set_writable(false);
    NYX_DB_PERSISTENT *const there = copy.at(root.root);
    NYX_NET *const same = copy.at(net);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        SCOPED_TRACE(V::s_word);
        TRAIT *const trait = NYX_TRAIT_CORE<TRAIT>::find_trait(there, std::string(V::s_word) + "_i", KIND::NET_SPARSE);
        ASSERT_NE(trait, nullptr);
        EXPECT_EQ(trait->get_name(), V::s_word);
        EXPECT_EQ(trait->get_internal_name(), std::string(V::s_word) + "_i");
        EXPECT_EQ(trait->get_group(), "g");
        EXPECT_EQ(trait->get_description(), "d");
        EXPECT_TRUE(trait->is_internal());
        EXPECT_EQ(trait->get_object_type(), KIND::NET_SPARSE);
        EXPECT_EQ(trait->get_default_value(), V::by_default());
        EXPECT_EQ(same->get_value(trait), V::other());
        EXPECT_EQ(same->convert_value_to_str(trait), TRAIT::convert_value_to_str(V::other()));
        EXPECT_FALSE(same->is_default_value(trait));
        EXPECT_FALSE(NYX_NET::trait_is_empty(trait));
        EXPECT_EQ(*trait->iter_nets(true).begin(), same);
        EXPECT_FALSE(trait->output_to_str(same).empty());
        EXPECT_TRUE(there->trait_exists(V::s_word, KIND::NET_SPARSE));
    });
    std::ostringstream table;
    NYX_SPARSE_TRAIT_OUTPUT_WITH_OBJ_VISITOR<NYX_NET> lines(table, same, true);
    there->visit(KIND::NET_SPARSE, &lines, true);
    EXPECT_FALSE(table.str().empty());
    there->table<NYX_BYTE8_TRAIT>().get_stats();
    EXPECT_EQ(same->get_property("p"), NYX_PROPERTY_VALUE(std::string("text")));
    EXPECT_EQ(same->find_property("q"), std::nullopt);
}

TEST(TraitStorage, EmptyGroupsAndDescriptionsAreNamesLikeAnyOther) {
    ROOT root;
    const NYX_BYTE4_TRAIT *const trait =
        NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "t", 0, "", "", "", KIND::NET_SPARSE);
    EXPECT_EQ(nyx_row_of(trait)->m_group_id, root.root->names().find_id(""));
    EXPECT_NE(nyx_row_of(trait)->m_group_id, NYX_NAME_ID::INVALID);
    EXPECT_EQ(nyx_row_of(trait)->m_description_id, nyx_row_of(trait)->m_group_id);
}

TEST(TraitStorage, TextsThatWereNeverGivenAreEmpty) {
    ROOT root;
    NYX_BYTE4_TRAIT *const trait =
        NYX_TRAIT_CORE<NYX_INT_TRAIT>::allocate(root.root, "t", 0, "g", "d", "", KIND::NET_SPARSE);
    nyx_row_of(trait)->m_group_id = nyx_row_of(trait)->m_description_id = NYX_NAME_ID::INVALID;
    EXPECT_EQ(trait->get_group(), "");
    EXPECT_EQ(trait->get_description(), "");
}

TEST(TraitStorage, BytesOfObjectsOfAnotherTypeAreCountedAndFreed) {
    ROOT root;
    auto *const trait =
        NYX_TRAIT_CORE<NYX_APP_TRAIT>::allocate(root.root, "t", bytes(""), "", "", "", KIND::MODULE_SPARSE);
    NYX_NET *const net = root.root->table<NYX_NET>().allocate();
    const auto in_blocks = [&root] {
        long result = 0;
        for (const NYX_FIELD_STATS &field : root.root->table<NYX_BYTE8_TRAIT>().get_stats().get_field_stats())
            if (field.get_type() == "*trait_lookup/self")
                result += field.get_bytes();
        return result;
    };
    const long before = in_blocks();
    net->set_value(trait, bytes("0123456789"));
    EXPECT_EQ(in_blocks(), before + 14);
    const RECORDING_LISTENER notices;
    nyx_clear_traits(net);
    EXPECT_EQ(notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size(), 1u);
    EXPECT_EQ(in_blocks(), before);
}

TEST(TraitStorage, TextOfTheDefaultIsEnteredBeforeTheNames) {
    ROOT root;
    auto *const trait = NYX_TRAIT_CORE<NYX_STRING_TRAIT>::allocate(root.root, "t", "the default", "the group",
                                                                   "the description", "the name", KIND::NET_SPARSE);
    const NYX_NAME_ID default_id = root.root->names().find_id("the default");
    const auto &row = *nyx_row_of<NYX_BYTE4_TRAIT>(trait);
    EXPECT_LT(default_id.get(), row.m_internal_storage_name_id.get());
    EXPECT_LT(row.m_internal_storage_name_id.get(), row.m_storage_name_id.get());
    EXPECT_LT(row.m_storage_name_id.get(), row.m_group_id.get());
    EXPECT_LT(row.m_group_id.get(), row.m_description_id.get());
}

} // namespace
