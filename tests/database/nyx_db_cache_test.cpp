#include "database/nyx_db_cache.h"

#include "nyx/nyx.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

// Handles are aligned addresses.
struct alignas(8) OBJECT {
    int number;
};

NYX_NAME_KEY key(unsigned name, unsigned suffix = NYX_NO_SUFFIX) {
    return NYX_NAME_KEY(NYX_NAME_ID(name), suffix);
}

TEST(NameIndex, FindsWhatWasAdded) {
    OBJECT a, b;
    NYX_NAME_INDEX index;
    EXPECT_EQ(index.find(key(1)), nullptr);
    index.add(key(1), &a, false);
    index.add(key(1, 0), &b, false);
    EXPECT_EQ(index.find(key(1)), &a);
    EXPECT_EQ(index.find(key(1, 0)), &b);
    EXPECT_EQ(index.find(key(1, 1)), nullptr);
}

TEST(NameIndex, OfSeveralWithOneKeyHoldsTheFirst) {
    OBJECT a, b, c;
    NYX_NAME_INDEX index;
    index.add(key(1), &a, false);
    index.add(key(1), &b, false);
    EXPECT_EQ(index.find(key(1)), &a);
    index.add(key(1), &c, true);
    EXPECT_EQ(index.find(key(1)), &c);
}

TEST(NameIndex, CannotTellWhoIsNextWhenTheFirstOfSeveralGoes) {
    OBJECT a, b;
    NYX_NAME_INDEX index;
    index.add(key(1), &a, false);
    index.add(key(1), &b, false);
    EXPECT_TRUE(index.remove(key(1), &b)) << "it stands behind another one";
    EXPECT_FALSE(index.remove(key(1), &a));
}

TEST(NameIndex, AgreesWithAMapOverManyChanges) {
    std::vector<OBJECT> objects(1000);
    std::map<unsigned, OBJECT *> model;
    NYX_NAME_INDEX index;
    std::mt19937 random(1);
    for (int step = 0; step < 100000; ++step) {
        const unsigned name = random() % 2000;
        const auto found = model.find(name);
        if (found == model.end()) {
            model[name] = &objects[random() % objects.size()];
            index.add(key(name), model[name], false);
        } else if (random() % 2 != 0) {
            ASSERT_TRUE(index.remove(key(name), found->second));
            model.erase(found);
        }
        const unsigned other = random() % 2000;
        const auto expected = model.find(other);
        ASSERT_EQ(index.find(key(other)), expected == model.end() ? nullptr : expected->second);
    }
}

/// A module with more nets, instances and ports than are walked.
class DbCache : public testing::TestWithParam<bool> {
protected:
    DbCache() {
        m_db = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "", "");
        if (!GetParam())
            m_db->enable_cache(false, false, true);
        m_leaf = NYX_MODULE::allocate(m_db, "leaf", 1, NYX_MODULE::TYPE::ATOM, nullptr, 0);
        NYX_PORT::allocate(m_leaf, "a", 0, nullptr);
        m_top = NYX_MODULE::allocate(m_db, "top", 100, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
        for (unsigned i = 0; i < 100; ++i) {
            NYX_NET::allocate(m_top, "n" + std::to_string(i), false);
            NYX_INSTANCE::allocate(m_top, "u" + std::to_string(i), m_leaf, false, nullptr);
            if (i < 90)
                NYX_PORT::allocate(m_top, "p" + std::to_string(i), i, nullptr);
        }
    }
    ~DbCache() override { m_db->close(); }

    NYX_NET *find(const char *name) { return m_top->find_net(name); }

    NYX_DB *m_db;
    NYX_MODULE *m_leaf, *m_top;
};

TEST_P(DbCache, IsThereUnlessDisabled) {
    EXPECT_EQ(m_db->get_cache() != nullptr, GetParam());
}

TEST_P(DbCache, FindsInLongLists) {
    for (unsigned i = 0; i < 100; ++i) {
        NYX_NET *const net = find(("n" + std::to_string(i)).c_str());
        ASSERT_NE(net, nullptr);
        EXPECT_EQ(net->get_name(), "n" + std::to_string(i));
        EXPECT_EQ(m_top->find_instance(("u" + std::to_string(i)).c_str())->get_name(), "u" + std::to_string(i));
    }
    EXPECT_EQ(find("u1"), nullptr);
    EXPECT_EQ(m_top->find_instance("n1"), nullptr);
}

TEST_P(DbCache, SeesWhatIsAddedAfterALookUp) {
    ASSERT_NE(find("n0"), nullptr);
    ASSERT_NE(m_top->find_instance("u99"), nullptr);
    NYX_NET *const net = NYX_NET::allocate(m_top, "late", false);
    NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(m_top, "late", m_leaf, false, nullptr);
    EXPECT_EQ(find("late"), net);
    EXPECT_EQ(m_top->find_instance("late"), instance);
}

TEST_P(DbCache, SeesNoMoreWhatIsDeletedAfterALookUp) {
    ASSERT_NE(find("n0"), nullptr);
    ASSERT_NE(m_top->find_instance("u99"), nullptr);
    find("n50")->deallocate();
    m_top->find_instance("u50")->deallocate();
    EXPECT_EQ(find("n50"), nullptr);
    EXPECT_EQ(m_top->find_instance("u50"), nullptr);
    EXPECT_NE(find("n49"), nullptr);
}

TEST_P(DbCache, SeesRenamesAfterALookUp) {
    NYX_NET *const net = find("n50");
    NYX_INSTANCE *const instance = m_top->find_instance("u50");
    NYX_PORT *const port = m_top->find_port("p50");
    net->set_name("x");
    instance->set_name("x", false);
    port->set_name("x");
    EXPECT_EQ(find("n50"), nullptr);
    EXPECT_EQ(find("x"), net);
    EXPECT_EQ(m_top->find_instance("u50"), nullptr);
    EXPECT_EQ(m_top->find_instance("x"), instance);
    EXPECT_EQ(m_top->find_port("p50"), nullptr);
    EXPECT_EQ(m_top->find_port("x"), port);
}

TEST_P(DbCache, OfTwoNetsWithOneNameTheNewestIsFoundUntilItGoes) {
    NYX_NET *const first = find("n50");
    NYX_NET *const second = NYX_NET::allocate(m_top, "n50", false);
    EXPECT_EQ(find("n50"), second);
    second->deallocate();
    EXPECT_EQ(find("n50"), first);
}

TEST_P(DbCache, OfTwoInstancesWithOneNameTheOldestIsFoundUntilItGoes) {
    NYX_INSTANCE *const first = m_top->find_instance("u50");
    NYX_INSTANCE *const second = NYX_INSTANCE::allocate(m_top, "u50", m_leaf, false, nullptr);
    EXPECT_EQ(m_top->find_instance("u50"), first);
    first->deallocate();
    EXPECT_EQ(m_top->find_instance("u50"), second);
}

TEST_P(DbCache, RenameToATakenNameAnswersInTheOrderOfTheList) {
    NYX_NET *const older = find("n10");
    NYX_NET *const newer = find("n80");
    older->set_name("n80");
    EXPECT_EQ(find("n80"), newer);
    newer->set_name("n10");
    EXPECT_EQ(find("n10"), newer);
    EXPECT_EQ(find("n80"), older);
}

TEST_P(DbCache, InstancesWithNumbersAreFoundByNameAndNumber) {
    NYX_INSTANCE *const a = NYX_INSTANCE::allocate(m_top, "many", m_leaf, true, nullptr);
    NYX_INSTANCE *const b = NYX_INSTANCE::allocate(m_top, "many", m_leaf, true, nullptr);
    EXPECT_EQ(m_top->find_instance("many_0"), a);
    EXPECT_EQ(m_top->find_instance("many_1"), b);
    EXPECT_EQ(m_top->find_instance("many"), nullptr);
    a->deallocate();
    EXPECT_EQ(m_top->find_instance("many_0"), nullptr);
}

TEST_P(DbCache, PortsAreFoundAfterTheirRowsHaveMoved) {
    ASSERT_NE(m_top->find_port("p89"), nullptr);
    m_top->find_port("p3")->deallocate();
    EXPECT_EQ(m_top->find_port("p3"), nullptr);
    m_top->update_num_ports();
    EXPECT_EQ(m_top->find_port("p89"), m_top->get_port_by_index(88));
    m_top->increase_num_ports(200);
    EXPECT_EQ(m_top->find_port("p89"), m_top->get_port_by_index(88));
}

TEST_P(DbCache, NothingIsLeftOfADeletedModule) {
    NYX_MODULE *const module = NYX_MODULE::allocate(m_db, "module", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    for (unsigned i = 0; i < 40; ++i)
        NYX_NET::allocate(module, "n" + std::to_string(i), false);
    ASSERT_NE(module->find_net("n0"), nullptr);
    module->deallocate();
    NYX_MODULE *const again = NYX_MODULE::allocate(m_db, "again", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    ASSERT_EQ(again, module) << "the row is handed out again";
    for (unsigned i = 50; i < 80; ++i)
        NYX_NET::allocate(again, "n" + std::to_string(i), false);
    EXPECT_EQ(again->find_net("n0"), nullptr);
    EXPECT_NE(again->find_net("n50"), nullptr);
}

TEST_P(DbCache, FollowsANetThatIsConverted) {
    NYX_NET *const net = find("n0");
    net->convert(NYX_NET::allocate(m_leaf, "base"), false);
    EXPECT_EQ(find("n0"), nullptr);
    EXPECT_EQ(find("base"), net);
}

TEST_P(DbCache, FollowsARenameInTheRightOneOfSeveralModules) {
    NYX_MODULE *const other = NYX_MODULE::allocate(m_db, "other", 0);
    for (unsigned i = 0; i < 40; ++i)
        NYX_NET::allocate(other, "n" + std::to_string(i));
    NYX_NET *const kept = other->find_net("n0");
    NYX_NET *const net = find("n0");
    net->set_name("x");
    EXPECT_EQ(find("n0"), nullptr);
    EXPECT_EQ(find("x"), net);
    EXPECT_EQ(other->find_net("n0"), kept);
    EXPECT_EQ(other->find_net("x"), nullptr);
}

TEST_P(DbCache, FollowsARenameOfANetThatStandsBehindOneOfItsName) {
    NYX_NET *const behind = find("n0");
    NYX_NET *const first = NYX_NET::allocate(m_top, "n0");
    EXPECT_EQ(find("n0"), first);
    behind->set_name("x");
    EXPECT_EQ(find("n0"), first);
    EXPECT_EQ(find("x"), behind);
}

TEST_P(DbCache, FollowsARenameOfAConnectedNetAndOfBuses) {
    NYX_NET *const net = find("n0");
    m_top->get_port_by_index(0)->connect(net);
    net->set_name("x");
    EXPECT_EQ(find("n0"), nullptr);
    EXPECT_EQ(find("x"), net);
    for (unsigned i = 0; i < 40; ++i)
        NYX_NET_BUS::allocate(m_top, "b" + std::to_string(i), 0, 0);
    NYX_NET_BUS *const empty = m_top->find_net_bus("b0");
    NYX_NET_BUS *const full = m_top->find_net_bus("b1");
    full->set_net(0, net);
    empty->set_name("e");
    full->set_name("f");
    EXPECT_EQ(m_top->find_net_bus("b0"), nullptr);
    EXPECT_EQ(m_top->find_net_bus("b1"), nullptr);
    EXPECT_EQ(m_top->find_net_bus("e"), empty);
    EXPECT_EQ(m_top->find_net_bus("f"), full);
}

TEST_P(DbCache, KeepsNothingThatAnObserverLookedUpDuringTheDeletion) {
    struct LISTENER : NYX_OBSERVER<NYX_NET> {
        LISTENER() : NYX_OBSERVER<NYX_NET>(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_NET *net, NYX_MODULE *parent) override { found = parent->find_net("n0") == net; }
        bool found = false;
    } listener;
    NYX_NET *const net = *std::next(m_top->iter_nets().begin(), 99);
    ASSERT_EQ(net->get_name(), "n0");
    net->deallocate();
    EXPECT_TRUE(listener.found);
    EXPECT_EQ(find("n0"), nullptr);
}

TEST_P(DbCache, IsInUseWhereSomethingHasBeenLookedUp) {
    NYX_DB *const other = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::USER, "", "");
    NYX_MODULE *const module = NYX_MODULE::allocate(other, "m", 0);
    for (unsigned i = 0; i < 40; ++i)
        NYX_NET::allocate(module, "n" + std::to_string(i));
    ASSERT_NE(module->find_net("n0"), nullptr);
    EXPECT_EQ(NYX_DB_CACHE::find_in_use(module), other->get_cache());
    EXPECT_EQ(NYX_DB_CACHE::find_in_use(m_top), nullptr);
    ASSERT_NE(find("n0"), nullptr);
    EXPECT_EQ(NYX_DB_CACHE::find_in_use(m_top), m_db->get_cache());
    other->close();
    EXPECT_EQ(NYX_DB_CACHE::find_in_use(m_top), m_db->get_cache());
}

TEST_P(DbCache, IsTheRightOneHoweverOftenItIsSwitched) {
    NYX_DB *const other = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::USER, "", "");
    const NYX_MODULE *const module = NYX_MODULE::allocate(other, "m", 0);
    for (const bool enable : {true, false, true, true, false}) {
        m_db->enable_cache(enable, false, true);
        EXPECT_EQ(NYX_DB_CACHE::of_row(m_top), m_db->get_cache());
        EXPECT_EQ(NYX_DB_CACHE::of_row(m_top), m_db->get_cache());
        EXPECT_EQ(NYX_DB_CACHE::of_row(module), other->get_cache());
    }
    other->close();
}

TEST_P(DbCache, EnablingAnewEmptiesItAndChangesNoAnswer) {
    NYX_NET *const net = find("n0");
    m_db->enable_cache(true, true, true);
    EXPECT_FALSE(NYX_DB_CACHE::in_use());
    EXPECT_EQ(find("n0"), net);
    EXPECT_TRUE(NYX_DB_CACHE::in_use());
    m_db->enable_cache(false, false, false);
    EXPECT_EQ(m_db->get_cache(), nullptr);
    EXPECT_EQ(find("n0"), net);
    EXPECT_FALSE(NYX_DB_CACHE::in_use());
}

TEST(DbCacheEnd, ClosingADatabaseGivesItsIndexesUp) {
    NYX_DB *const db = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::USER, "", "");
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    for (unsigned i = 0; i < 40; ++i)
        NYX_NET::allocate(module, "n" + std::to_string(i), false);
    ASSERT_NE(module->find_net("n0"), nullptr);
    ASSERT_TRUE(NYX_DB_CACHE::in_use());
    db->close();
    EXPECT_FALSE(NYX_DB_CACHE::in_use());
}

INSTANTIATE_TEST_SUITE_P(, DbCache, testing::Bool(),
                         [](const auto &parameter) { return std::string(parameter.param ? "Enabled" : "Disabled"); });

} // namespace
