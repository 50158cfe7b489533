#include "nyx/nyx_iters.h"

#include "nyx/nyx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using STRINGS = std::vector<std::string>;

/// A module with two of everything that it lists.
class Iters : public testing::Test {
protected:
    Iters() {
        m_db = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "", "");
        m_leaf = NYX_MODULE::allocate(m_db, "leaf", 2, NYX_MODULE::TYPE::ATOM, nullptr, 0);
        m_top = NYX_MODULE::allocate(m_db, "top", 3, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
        for (const char *const name : {"a", "b"}) {
            const unsigned index = name[0] - 'a';
            NYX_PORT::allocate(m_leaf, name, index, nullptr);
            m_net = NYX_NET::allocate(m_top, name, false);
            NYX_INSTANCE::allocate(m_top, name, m_leaf, false, nullptr);
            NYX_PORT_BUS::allocate(m_top, name, 1, 0);
            NYX_NET_BUS::allocate(m_top, name, 1, 0);
            NYX_INSTANCE_BUS::allocate(m_top, name, 1, 0);
            NYX_INTERFACE::allocate(m_top, name);
        }
        NYX_PORT::allocate(m_top, "a", 0, m_net);
        NYX_PORT::allocate(m_top, "b", 2, m_net);
        m_instance = m_top->find_instance("b");
        m_instance->get_inst_port_by_index(0)->connect(m_net);
        m_instance->get_inst_port_by_index(1)->connect(m_net);
    }
    ~Iters() override { m_db->close(); }

    template <class RANGE>
    static STRINGS names(RANGE &&range) {
        STRINGS result;
        for (const auto *const object : range)
            result.push_back(object->get_name());
        return result;
    }

    NYX_DB *m_db;
    NYX_MODULE *m_leaf, *m_top;
    NYX_NET *m_net;
    NYX_INSTANCE *m_instance;
};
using ItersDeath = Iters;

TEST_F(Iters, InstancesComeInTheOrderOfTheirCreation) {
    EXPECT_EQ(names(m_top->iter_instances()), (STRINGS{"a", "b"}));
    EXPECT_EQ(names(m_top->const_iter_instances()), (STRINGS{"a", "b"}));
}

TEST_F(Iters, AllOtherListsComeNewestFirst) {
    const STRINGS newest_first{"b", "a"};
    EXPECT_EQ(names(m_top->iter_nets()), newest_first);
    EXPECT_EQ(names(m_top->const_iter_nets()), newest_first);
    EXPECT_EQ(names(m_top->iter_port_buses()), newest_first);
    EXPECT_EQ(names(m_top->const_iter_port_buses()), newest_first);
    EXPECT_EQ(names(m_top->iter_net_buses()), newest_first);
    EXPECT_EQ(names(m_top->const_iter_net_buses()), newest_first);
    EXPECT_EQ(names(m_top->iter_instance_buses()), newest_first);
    EXPECT_EQ(names(m_top->const_iter_instance_buses()), newest_first);
    EXPECT_EQ(names(m_top->iter_interfaces()), newest_first);
    EXPECT_EQ(names(m_top->const_iter_interfaces()), newest_first);
    EXPECT_EQ(names(m_net->iter_ports()), newest_first);
    EXPECT_EQ(names(m_net->const_iter_ports()), newest_first);
    EXPECT_EQ(names(m_net->iter_inst_ports()), newest_first);
    EXPECT_EQ(names(m_net->const_iter_inst_ports()), newest_first);
}

TEST_F(Iters, RunsComeInTheOrderOfTheirRowsWithTheEmptyOnes) {
    std::vector<bool> is_port;
    for (const NYX_PORT *const port : m_top->const_iter_ports())
        is_port.push_back(port->get_parent() != nullptr);
    EXPECT_EQ(is_port, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(names(m_instance->iter_inst_ports()), (STRINGS{"a", "b"}));
    EXPECT_EQ(names(m_instance->const_iter_inst_ports()), (STRINGS{"a", "b"}));
}

TEST_F(Iters, NothingIsAnEmptyRange) {
    EXPECT_TRUE(m_leaf->iter_nets().empty());
    EXPECT_TRUE(m_leaf->iter_instances().empty());
    NYX_MODULE *const bare = NYX_MODULE::allocate(m_db, "bare", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    EXPECT_TRUE(bare->iter_ports().empty());
    EXPECT_TRUE(NYX_INSTANCE::allocate(m_top, "u", bare, false, nullptr)->iter_inst_ports().empty());
}

TEST_F(Iters, GiveHandlesOfTheirOwnConstness) {
    static_assert(std::is_same_v<decltype(*NYX_MODULE_NET_ITER()), NYX_NET *>);
    static_assert(std::is_same_v<decltype(*NYX_MODULE_NET_CONST_ITER()), const NYX_NET *>);
    static_assert(std::is_same_v<decltype(*NYX_MODULE_PORT_ITER()), NYX_PORT *>);
    static_assert(std::is_same_v<decltype(*NYX_MODULE_PORT_CONST_ITER()), const NYX_PORT *>);
    static_assert(!std::is_convertible_v<NYX_MODULE_NET_CONST_ITER, NYX_MODULE_NET_ITER>);
    static_assert(!std::is_convertible_v<NYX_MODULE_PORT_CONST_ITER, NYX_MODULE_PORT_ITER>);
}

TEST_F(Iters, ConstAndOtherIteratorsMix) {
    NYX_MODULE_NET_ITER net(m_top);
    NYX_MODULE_NET_CONST_ITER const_net = net;
    EXPECT_TRUE(const_net == net && net == const_net);
    EXPECT_EQ(*const_net, *net);
    ++net;
    EXPECT_TRUE(const_net != net);
    NYX_MODULE_PORT_ITER port(m_top);
    NYX_MODULE_PORT_CONST_ITER const_port = port;
    EXPECT_TRUE(const_port == port);
    ++const_port;
    EXPECT_TRUE(const_port != port);
}

TEST_F(Iters, AreForwardIteratorsThatStandWhereTheyStood) {
    const NYX_MODULE_NET_ITER begin(m_top);
    NYX_MODULE_NET_ITER next = begin;
    EXPECT_EQ(*next++, *begin);
    EXPECT_EQ((*next)->get_name(), "a");
    EXPECT_EQ(std::distance(begin, NYX_MODULE_NET_ITER()), 2);
}

TEST_F(Iters, ADefaultOneIsTheEnd) {
    NYX_MODULE_NET_ITER net(m_top);
    std::advance(net, 2);
    EXPECT_TRUE(net == NYX_MODULE_NET_ITER());
    NYX_MODULE_PORT_ITER port(m_top);
    std::advance(port, 3);
    EXPECT_TRUE(port == NYX_MODULE_PORT_ITER());
}

TEST_F(Iters, RunsGoOnOverPages) {
    NYX_MODULE *const wide = NYX_MODULE::allocate(m_db, "wide", 500, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    for (unsigned i = 0; i < 500; ++i)
        NYX_PORT::allocate(wide, "p" + std::to_string(i), i, nullptr);
    unsigned index = 0;
    for (const NYX_PORT *const port : wide->const_iter_ports())
        ASSERT_EQ(port, wide->get_port_by_index(index++));
    EXPECT_EQ(index, 500u);
}

TEST_F(Iters, AFreshOneAfterEachDeletionEmptiesAList) {
    while (!m_top->iter_nets().empty())
        (*m_top->iter_nets().begin())->deallocate();
    EXPECT_EQ(m_top->get_num_nets(), 0u);
}

TEST_F(ItersDeath, OfANullParentEndTheRun) {
    EXPECT_DEATH(NYX_MODULE_NET_ITER(nullptr), "check failed: parent != nullptr ");
    EXPECT_DEATH(NYX_NET_PORT_CONST_ITER(nullptr), "check failed: parent != nullptr ");
    EXPECT_DEATH(NYX_MODULE_PORT_ITER(nullptr), "check failed: parent != nullptr ");
    EXPECT_DEATH(NYX_INSTANCE_INST_PORT_ITER(nullptr), "check failed: parent != nullptr ");
}

TEST_F(ItersDeath, UsedAtTheEndEndTheRun) {
    EXPECT_DEATH(*NYX_MODULE_NET_ITER(), "check failed: m_index != NYX_NET_ID::INVALID ");
    EXPECT_DEATH(*NYX_MODULE_INSTANCE_ITER(), "check failed: m_index != NYX_INSTANCE_ID::INVALID ");
    EXPECT_DEATH(*NYX_NET_INST_PORT_CONST_ITER(), "check failed: m_index != NYX_INST_PORT_ID::INVALID ");
    EXPECT_DEATH(*NYX_MODULE_PORT_ITER(), "check failed: m_index != NYX_PORT_ID::INVALID ");
    NYX_MODULE_NET_ITER net;
    EXPECT_DEATH(++net, "check failed: m_index != NYX_NET_ID::INVALID ");
    NYX_MODULE_PORT_ITER port;
    EXPECT_DEATH(++port, "check failed: m_index != NYX_PORT_ID::INVALID ");
}

// Walks over the members of buses and interfaces.

template <class OWNER, class ITER, class CONST_ITER, class MEMBER>
void expect_walk(const OWNER *owner, const std::vector<MEMBER *> &members) {
    std::vector<MEMBER *> found;
    for (ITER at(owner); at != ITER(); ++at)
        found.push_back(*at);
    EXPECT_EQ(found, members);
    ITER at(owner);
    CONST_ITER const_at = at;
    EXPECT_TRUE(const_at == at && at == const_at);
    EXPECT_EQ(*const_at, *at);
    ++const_at;
    EXPECT_TRUE(const_at != at);
    std::advance(at, members.size());
    EXPECT_TRUE(at == ITER());
    static_assert(std::is_same_v<decltype(*at), MEMBER *> && std::is_same_v<decltype(*const_at), const MEMBER *>);
    static_assert(!std::is_convertible_v<CONST_ITER, ITER>);
}

TEST_F(Iters, ArraysComeInTheirOrderWithTheEmptyPositions) {
    NYX_PORT_BUS *const ports = m_top->find_port_bus("a");
    NYX_NET_BUS *const nets = m_top->find_net_bus("a");
    NYX_INSTANCE_BUS *const instances = m_top->find_instance_bus("a");
    NYX_INTERFACE *const interface = m_top->find_interface("a");
    NYX_PORT *const port = m_top->find_port("a");
    NYX_PORT *const other = NYX_PORT::allocate(m_top, "c", 1, nullptr);
    NYX_PORT_BUS *const other_ports = m_top->find_port_bus("b");
    ports->set_port(0, port); // at the second position
    other_ports->set_port(1, m_top->find_port("b"));
    interface->add_port(other);
    interface->add_port_bus(other_ports);
    interface->add_port_bus(ports);
    nets->set_net(1, m_net);
    instances->set_instance(0, m_instance);
    expect_walk<NYX_PORT_BUS, NYX_PORT_BUS_PORT_ITER, NYX_PORT_BUS_PORT_CONST_ITER, NYX_PORT>(ports, {nullptr, port});
    expect_walk<NYX_NET_BUS, NYX_NET_BUS_NET_ITER, NYX_NET_BUS_NET_CONST_ITER, NYX_NET>(nets, {m_net, nullptr});
    expect_walk<NYX_INSTANCE_BUS, NYX_INSTANCE_BUS_INSTANCE_ITER, NYX_INSTANCE_BUS_INSTANCE_CONST_ITER, NYX_INSTANCE>(
        instances, {nullptr, m_instance});
    expect_walk<NYX_INTERFACE, NYX_INTERFACE_PORT_ITER, NYX_INTERFACE_PORT_CONST_ITER, NYX_PORT>(interface, {other});
    expect_walk<NYX_INTERFACE, NYX_INTERFACE_PORT_BUS_ITER, NYX_INTERFACE_PORT_BUS_CONST_ITER, NYX_PORT_BUS>(
        interface, {other_ports, ports});
}

template <class ITER>
void expect_death_at_end(const std::string &id_name) {
    const std::string said = "check failed: m_index != " + id_name + "::INVALID ";
    EXPECT_DEATH(*ITER(), said);
    ITER at;
    EXPECT_DEATH(++at, said);
    EXPECT_DEATH(ITER(nullptr), "check failed: parent != nullptr ");
}

TEST_F(ItersDeath, OfArraysEndTheRunAtTheEndAndOfANullParent) {
    expect_death_at_end<NYX_PORT_BUS_PORT_ITER>("NYX_PORT_ID");
    expect_death_at_end<NYX_PORT_BUS_PORT_CONST_ITER>("NYX_PORT_ID");
    expect_death_at_end<NYX_NET_BUS_NET_ITER>("NYX_NET_ID");
    expect_death_at_end<NYX_INSTANCE_BUS_INSTANCE_ITER>("NYX_INSTANCE_ID");
    expect_death_at_end<NYX_INTERFACE_PORT_ITER>("NYX_PORT_ID");
    expect_death_at_end<NYX_INTERFACE_PORT_BUS_ITER>("NYX_PORT_BUS_ID");
}

TEST_F(ItersDeath, OfModulesUsedAtTheEndEndTheRun) {
    NYX_DB_MODULE_ITER at;
    EXPECT_DEATH(*at, "check failed: m_index != NYX_MODULE_ID::INVALID ");
    EXPECT_DEATH(*NYX_DB_INTERFACE_ITER(), "check failed: m_index != NYX_INTERFACE_ID::INVALID ");
}

// Walks over tables.

TEST_F(Iters, ADatabaseListsItsModulesWithoutDeletedOnes) {
    EXPECT_EQ(names(m_db->iter_modules(true)), (STRINGS{"leaf", "top"}));
    NYX_MODULE *const module = NYX_MODULE::allocate(m_db, "third", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    NYX_MODULE::allocate(m_db, "fourth", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    module->deallocate();
    EXPECT_EQ(names(m_db->iter_modules(true)), (STRINGS{"leaf", "top", "fourth"}));
}

TEST_F(Iters, ADatabaseListsTheInterfacesOfAllModules) {
    NYX_INTERFACE::allocate(m_leaf, "c");
    EXPECT_EQ(names(m_db->iter_interfaces(true)), (STRINGS{"a", "b", "c"}));
}

TEST(DbModuleIter, OfADatabaseWithoutModulesIsEmpty) {
    NYX_DB *const db = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::USER, "", "");
    EXPECT_TRUE(db->iter_modules(true).empty());
    EXPECT_TRUE(db->iter_modules(false).empty());
    db->close();
}

TEST(DbModuleIter, WhoseFirstModulesAreDeletedStartsAtTheFirstThatIsLeft) {
    NYX_DB *const db = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::COMPONENT, "", "");
    NYX_MODULE *const first = NYX_MODULE::allocate(db, "first", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    NYX_MODULE *const second = NYX_MODULE::allocate(db, "second", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    first->deallocate();
    EXPECT_EQ(*db->iter_modules(true).begin(), second);
    second->deallocate();
    EXPECT_TRUE(db->iter_modules(true).empty());
    db->close();
}

TEST(DbModuleIter, GoesOnWithTheDatabasesThatAreReferredTo) {
    NYX_DB *const library = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::COMPONENT, "cells", "");
    NYX_DB *const empty = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::COMPONENT, "more cells", "");
    NYX_DB *const design = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::USER, "design", "");
    NYX_MODULE *const cell = NYX_MODULE::allocate(library, "cell", 0, NYX_MODULE::TYPE::ATOM, nullptr, 0);
    NYX_MODULE *const gone = NYX_MODULE::allocate(empty, "gone", 0, NYX_MODULE::TYPE::ATOM, nullptr, 0);
    NYX_MODULE *const top = NYX_MODULE::allocate(design, "top", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
    NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(top, "v", gone, false, nullptr);
    NYX_INSTANCE::allocate(top, "u", cell, false, nullptr);
    instance->deallocate();
    gone->deallocate();
    std::vector<NYX_MODULE *> modules;
    for (NYX_MODULE *const module : design->iter_modules(false))
        modules.push_back(module);
    EXPECT_EQ(modules, (std::vector<NYX_MODULE *>{top, cell}));
    EXPECT_EQ(*design->iter_modules(true).begin(), top);
    design->close();
    empty->close();
    library->close();
}

} // namespace
