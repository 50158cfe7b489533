// The property members, once for every class of objects that has them, and what holds for values on nets.
#include "traits/trait_test_support.h"

#include "memory/segment_image.h"
#include "pattern/object_types.h"
#include "support/recording_listener.h"

#include <map>
#include <stdexcept>

namespace {

template <class T>
class PropertyFamily : public testing::Test {
protected:
    SCOPED_DB m_db{"properties"};
};

using PROPERTY_BEARER_TYPES =
    testing::Types<NYX_MODULE, NYX_PORT, NYX_NET, NYX_INSTANCE, NYX_INSTANCE_BUS, NYX_INST_PORT, NYX_PORT_BUS,
                   NYX_NET_BUS, NYX_INTERFACE, NYX_INST_HEADER, NYX_RELATIVE_OBJECT, NYX_CONSTRAINT_STMT,
                   NYX_SOURCE_FILE, NYX_ENTITY, NYX_SDC_CLOCK, NYX_HIER_MODULE>;
TYPED_TEST_SUITE(PropertyFamily, PROPERTY_BEARER_TYPES);

template <class ACTION>
std::string out_of_range(ACTION &&action) {
    try {
        action();
    } catch (const std::out_of_range &exception) {
        return exception.what();
    }
    return "nothing";
}

TYPED_TEST(PropertyFamily, ValuesOfAllTypesComeBack) {
    const NYX_PROPERTY_VALUE values[] = {true,          -1, 4000000000u, 0.1f, std::string("text"), 0.1, -9000000000LL,
                                         bytes("bytes")};
    auto *const object = add_object<TypeParam>(this->m_db);
    auto *const other = add_object<TypeParam>(this->m_db);
    EXPECT_TRUE(object->iter_properties().empty());
    for (int i = 0; i < 8; ++i)
        object->set_property("p" + std::to_string(i), values[i]);
    int number = 0;
    for (const auto &[name, value] : object->iter_properties()) {
        EXPECT_EQ(name, "p" + std::to_string(number));
        EXPECT_EQ(value.which(), number);
        EXPECT_EQ(value, values[number]);
        EXPECT_EQ(object->get_property(name), values[number]);
        EXPECT_EQ(object->find_property(name), values[number]);
        EXPECT_TRUE(object->has_property(name));
        EXPECT_FALSE(other->has_property(name));
        ++number;
    }
    EXPECT_EQ(number, 8);
}

TYPED_TEST(PropertyFamily, AbsentOnesAreToldApart) {
    auto *const object = add_object<TypeParam>(this->m_db);
    const std::string function = std::string(nyx_bearer_class<TypeParam>.name) + "::get_property";
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { object->get_property("p"); }),
              RAISED("Unknown property name 'p'", function));
    EXPECT_FALSE(object->has_property("p"));
    EXPECT_EQ(object->find_property("p"), std::nullopt);
    object->remove_property("p");
    root_of(this->m_db)->names().get_id("p");
    EXPECT_EQ(out_of_range([&] { object->get_property("p"); }), "Object has no properties");
    object->remove_property("p");
    object->set_property("q", 1);
    EXPECT_EQ(out_of_range([&] { object->get_property("p"); }), "No such property 'p'");
    EXPECT_FALSE(object->has_property("p"));
    object->remove_property("p");
    object->remove_property("q");
    EXPECT_EQ(out_of_range([&] { object->get_property("q"); }), "No such property 'q'");
    EXPECT_TRUE(object->iter_properties().empty());
    nyx_clear_traits(object);
    EXPECT_EQ(out_of_range([&] { object->get_property("q"); }), "Object has no properties");
}

TYPED_TEST(PropertyFamily, BelongToTheObjectAndGoWithIt) {
    auto *const object = add_object<TypeParam>(this->m_db);
    auto *const other = add_object<TypeParam>(this->m_db);
    object->set_property("p", bytes("block"));
    other->set_property("p", 2);
    RECORDING_LISTENER notices;
    nyx_clear_traits(object);
    EXPECT_EQ(notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size(), 3u) << "block, value and object";
    EXPECT_FALSE(object->has_property("p"));
    EXPECT_EQ(other->get_property("p"), NYX_PROPERTY_VALUE(2));
}

class Properties : public testing::Test {
protected:
    SCOPED_DB m_db{"properties"};
    NYX_NET *m_net = add_object<NYX_NET>(m_db);
};

TEST_F(Properties, LookUpsEnterNoName) {
    const std::size_t names = root_of(m_db)->names().get_size();
    EXPECT_FALSE(m_net->has_property("unknown"));
    EXPECT_EQ(m_net->find_property("unknown"), std::nullopt);
    m_net->remove_property("unknown");
    EXPECT_EQ(root_of(m_db)->names().get_size(), names);
}

TEST_F(Properties, ComeInTheOrderInWhichTheNamesWereEntered) {
    for (const char *const name : {"z", "a", "m"})
        root_of(m_db)->names().get_id(name);
    for (const char *const name : {"a", "m", "z"})
        m_net->set_property(name, 1);
    TEXTS names;
    for (const auto &property : m_net->iter_properties())
        names.push_back(property.first);
    EXPECT_EQ(names, (TEXTS{"z", "a", "m"}));
}

TEST_F(Properties, MayBeRemovedDuringAWalk) {
    for (int i = 0; i < 10; ++i)
        m_net->set_property("p" + std::to_string(i), i);
    int steps = 0;
    for (auto at = m_net->iter_properties().begin(); at != NYX_NET_PROPERTY_ITER(); ++at, ++steps)
        m_net->remove_property((*at).first);
    EXPECT_EQ(steps, 10);
    EXPECT_TRUE(m_net->iter_properties().empty());
}

TEST_F(Properties, BlocksGoWithTheirValues) {
    m_net->set_property("p", bytes("A"));
    RECORDING_LISTENER notices;
    m_net->set_property("p", bytes("BB"));
    EXPECT_EQ(notices.notices().size(), 2u);
    m_net->set_property("p", 1);
    EXPECT_EQ(notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size(), 2u);
    EXPECT_EQ(m_net->get_property("p"), NYX_PROPERTY_VALUE(1));
    m_net->set_property("p", bytes("CCC"));
    const NYX_APP_DATA old = boost::get<NYX_APP_DATA>(m_net->get_property("p"));
    m_net->set_property("p", NYX_APP_DATA(2, old.get_data()));
    EXPECT_EQ(m_net->get_property("p"), NYX_PROPERTY_VALUE(bytes("CC")));
    notices.clear();
    m_net->remove_property("p");
    EXPECT_EQ(notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size(), 2u) << "block and value";
}

TEST_F(Properties, GoWithTheRowWithoutLeavingABlock) {
    m_net->set_property("p", bytes("A"));
    NYX_NET_TABLE &table = root_of(m_db)->table<NYX_NET>();
    RECORDING_LISTENER notices;
    table.deallocate(static_cast<NYX_NET_IMPL *>(m_net));
    EXPECT_EQ(notices.notices(RECORDING_LISTENER::NOTICE::DEALLOCATED).size(), 3u);
    NYX_NET *const again = table.allocate();
    ASSERT_EQ(again, m_net);
    EXPECT_FALSE(again->has_property("p"));
}

TEST_F(Properties, StayWhenTheDatabaseIsFull) {
    m_net->set_property("p", bytes("old"));
    NYX_NET *const other = add_object<NYX_NET>(m_db);
    NYX_SEGMENT_MANAGER *const manager = root_of(m_db)->get_segment_manager();
    std::vector<void *> junk;
    for (std::size_t size = std::size_t(1) << 20; size >= 8; size /= 2)
        while (void *const block = manager->allocate(size, std::nothrow))
            junk.push_back(block);
    EXPECT_THROW(m_net->set_property("p", bytes(std::string(100, 'x'))), boost::interprocess::bad_alloc);
    EXPECT_THROW(other->set_property("p", 1), boost::interprocess::bad_alloc);
    for (void *const block : junk)
        manager->deallocate(block);
    EXPECT_EQ(m_net->get_property("p"), NYX_PROPERTY_VALUE(bytes("old")));
    EXPECT_FALSE(other->has_property("p"));
    EXPECT_EQ(out_of_range([&] { other->get_property("p"); }), "Object has no properties");
    EXPECT_EQ(nyx_get_algorithm(manager)->find_fault(), "");
}

using PropertiesDeathTest = Properties;

TEST_F(PropertiesDeathTest, TheEndHasNoValueAndNoNext) {
    NYX_NET_PROPERTY_ITER end;
    EXPECT_DEATH((void)*end, "m_name_id != NYX_NAME_ID::INVALID");
    EXPECT_DEATH(++end, "m_name_id != NYX_NAME_ID::INVALID");
    EXPECT_DEATH(NYX_NET_PROPERTY_ITER(static_cast<const NYX_NET *>(nullptr)), "parent != nullptr");
}

TEST(PropertiesOfAFullSegment, ThatFindNoRoomLeaveNothing) {
    const unsigned failures = with_growing_room([](std::size_t left) {
        ROOT root(std::size_t(1) << 20);
        NYX_NET *const net = root.root->table<NYX_NET>().allocate();
        root.root->names().get_id("p");
        const BLOCK_LEDGER ledger(root.segment);
        bool done = false;
        {
            const JUNK junk(root.segment, left);
            try {
                net->set_property("p", bytes("0123456789"));
                done = true;
            } catch (const boost::interprocess::bad_alloc &) {
            }
        }
        EXPECT_EQ(net->has_property("p"), done);
        EXPECT_EQ(root.root->table<NYX_NET>().m_properties.empty(), !done);
        if (done)
            ledger.expect_balanced();
        return done;
    });
    EXPECT_GT(failures, 3u);
}

TEST(PropertiesOutlivedDeathTest, AValueThatIsRemovedIsNotRead) {
    SCOPED_DB db("values");
    NYX_NET *net = add_object<NYX_NET>(db);
    net->set_property("p", 1);
    const auto at = net->iter_properties().begin();
    net->remove_property("p");
    EXPECT_DEATH((void)*at, "The property has been removed");
}

} // namespace
