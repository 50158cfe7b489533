#include "nyx/nyx.h"

#include "database/nyx_db_impl.h"
#include "netlist/nyx_netlist_check.h"
#include "support/capturing_sink.h"
#include "traits/nyx_builtin_traits.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using STRINGS = std::vector<std::string>;

/// A module "top" with four ports, two of them allocated, and two instances of a leaf with two ports.
class Net : public testing::Test {
protected:
    Net() {
        m_db = NYX_DB::create_non_persistent(64, NYX_DB_TYPE::USER, "", "");
        m_leaf = NYX_MODULE::allocate(m_db, "leaf", 2, NYX_MODULE::TYPE::ATOM, nullptr, 0);
        NYX_PORT::allocate(m_leaf, "a", 0, nullptr);
        NYX_PORT::allocate(m_leaf, "z", 1, nullptr);
        m_top = NYX_MODULE::allocate(m_db, "top", 4, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
        m_p = NYX_PORT::allocate(m_top, "p", 0, nullptr);
        m_q = NYX_PORT::allocate(m_top, "q", 1, nullptr);
        m_u = NYX_INSTANCE::allocate(m_top, "u", m_leaf, false, nullptr);
        m_v = NYX_INSTANCE::allocate(m_top, "v", m_leaf, false, nullptr);
    }
    ~Net() override {
        EXPECT_EQ(nyx_check_netlist(*NYX_DB_IMPL::of(*m_db).m_persistent), STRINGS());
        m_db->close();
    }

    NYX_NET *make(const std::string &name, bool make_unique = false) {
        return NYX_NET::allocate(m_top, name, make_unique);
    }
    static NYX_INST_PORT *pin(NYX_INSTANCE *instance, unsigned index) {
        return instance->get_inst_port_by_index(index);
    }
    static STRINGS ports_of(NYX_NET *net) {
        STRINGS names;
        for (const NYX_PORT *const port : net->const_iter_ports())
            names.push_back(port->get_name());
        return names;
    }
    static STRINGS pins_of(NYX_NET *net) {
        STRINGS names;
        for (const NYX_INST_PORT *const inst_port : net->const_iter_inst_ports())
            names.push_back(inst_port->get_inst()->get_name() + "." + inst_port->get_name());
        return names;
    }
    static STRINGS nets_of(NYX_MODULE *module) {
        STRINGS names;
        for (const NYX_NET *const net : module->const_iter_nets())
            names.push_back(net->get_name());
        return names;
    }

    NYX_DB *m_db;
    NYX_MODULE *m_leaf, *m_top;
    NYX_PORT *m_p, *m_q;
    NYX_INSTANCE *m_u, *m_v;
};
using NetDeath = Net;

/// The text of what a call throws, up to its place.
std::string thrown_by(const std::function<void()> &call) {
    try {
        call();
    } catch (const std::exception &error) {
        const std::string text = error.what();
        return text.substr(0, text.find(" in "));
    }
    return "nothing";
}

/// Writes the events of nets, ports and inst ports into one log.
class NET_RECORDER : public NYX_OBSERVER<NYX_NET>, public NYX_OBSERVER<NYX_PORT>, public NYX_OBSERVER<NYX_INST_PORT> {
public:
    NET_RECORDER() : NYX_OBSERVER<NYX_NET>(1), NYX_OBSERVER<NYX_PORT>(1), NYX_OBSERVER<NYX_INST_PORT>(1) {
        NYX_OBSERVER<NYX_NET>::set_enabled(true);
        NYX_OBSERVER<NYX_PORT>::set_enabled(true);
        NYX_OBSERVER<NYX_INST_PORT>::set_enabled(true);
    }
    ~NET_RECORDER() override {
        NYX_OBSERVER<NYX_NET>::set_enabled(false);
        NYX_OBSERVER<NYX_PORT>::set_enabled(false);
        NYX_OBSERVER<NYX_INST_PORT>::set_enabled(false);
    }

    void allocated(NYX_NET *net, NYX_MODULE *parent) override {
        add("net " + net->get_name() + " allocated in " + parent->get_name() +
            (*parent->iter_nets().begin() == net ? ", listed" : ", not listed"));
    }
    void deallocated(NYX_NET *net, NYX_MODULE *parent) override {
        add("net " + net->get_name() + " deallocated in " + parent->get_name() + " with " +
            std::to_string(ports_and_pins(net)) + " connections");
    }
    void name_changed(NYX_NET *net, const std::string &old_name) override {
        add("net " + old_name + " is " + net->get_name());
    }
    void pre_connect(NYX_PORT *port) override { add("pre_connect " + port->get_name() + on(port->get_net())); }
    void post_connect(NYX_PORT *port) override { add("post_connect " + port->get_name() + on(port->get_net())); }
    void pre_disconnect(NYX_PORT *port) override { add("pre_disconnect " + port->get_name() + on(port->get_net())); }
    void post_disconnect(NYX_PORT *port) override { add("post_disconnect " + port->get_name() + on(port->get_net())); }
    void pre_connect(NYX_INST_PORT *pin) override { add("pre_connect " + name(pin) + on(pin->get_net())); }
    void post_connect(NYX_INST_PORT *pin) override { add("post_connect " + name(pin) + on(pin->get_net())); }
    void pre_disconnect(NYX_INST_PORT *pin) override { add("pre_disconnect " + name(pin) + on(pin->get_net())); }
    void post_disconnect(NYX_INST_PORT *pin) override { add("post_disconnect " + name(pin) + on(pin->get_net())); }

    STRINGS log;

private:
    static std::string name(NYX_INST_PORT *pin) { return pin->get_inst()->get_name() + "." + pin->get_name(); }
    static std::string on(NYX_NET *net) { return net != nullptr ? " on " + net->get_name() : " on none"; }
    static std::ptrdiff_t ports_and_pins(NYX_NET *net) {
        const auto ports = net->iter_ports();
        const auto pins = net->iter_inst_ports();
        return std::distance(ports.begin(), ports.end()) + std::distance(pins.begin(), pins.end());
    }
    void add(std::string event) { log.push_back(std::move(event)); }
};

// Allocation.

TEST_F(Net, GoesToTheFrontOfItsModulesNets) {
    make("a");
    make("b");
    EXPECT_EQ(nets_of(m_top), (STRINGS{"b", "a"}));
}

TEST_F(Net, IsNewWithoutConnectionsFlagsAndBus) {
    NYX_NET *const net = make("n");
    EXPECT_TRUE(net->iter_ports().empty());
    EXPECT_TRUE(net->iter_inst_ports().empty());
    EXPECT_FALSE(net->is_power() || net->is_ground() || net->has_initial_value());
    EXPECT_EQ(net->get_bus(), nullptr);
}

TEST_F(Net, OnTheRowOfADeletedOneStartsAnew) {
    NYX_NET *const old = make("old", true);
    old->set_is_power(true);
    old->set_initial_value(true);
    old->deallocate();
    NYX_NET *const net = make("n");
    ASSERT_EQ(net, old) << "the row is handed out again";
    EXPECT_EQ(net->get_name(), "n");
    EXPECT_FALSE(net->is_power() || net->has_initial_value());
}

TEST_F(NetDeath, EmptyNameEndsTheRun) {
    EXPECT_DEATH(make(""), "check failed: !name\\.empty\\(\\): Net must have non-empty name ");
}

TEST_F(NetDeath, NullParentEndsTheRun) {
    EXPECT_DEATH(NYX_NET::allocate(nullptr, "n", false), "check failed: parent: Parent must be non-null ");
}

TEST_F(Net, MayHaveANameTwice) {
    EXPECT_NE(make("n"), make("n"));
    EXPECT_EQ(nets_of(m_top), (STRINGS{"n", "n"}));
}

TEST_F(Net, MadeUniqueShowsANumberBehindItsOriginalName) {
    NYX_NET *const first = make("n", true);
    NYX_NET *const second = make("n", true);
    EXPECT_EQ(first->get_name(), "n_0");
    EXPECT_EQ(second->get_name(), "n_1");
    EXPECT_EQ(first->get_original_name(), "n");
    EXPECT_EQ(second->get_original_name(), "n");
}

TEST_F(Net, MadeUniquePassesNumbersOverThatMakeAKnownName) {
    make("n_0");
    make("n_1");
    EXPECT_EQ(make("n", true)->get_name(), "n_2");
}

TEST_F(Net, AllocationIsToldWhenTheNetIsComplete) {
    NET_RECORDER recorder;
    make("n");
    EXPECT_EQ(recorder.log, (STRINGS{"net n allocated in top, listed"}));
}

// The parent.

TEST_F(Net, FindsItsParentThroughAPort) {
    NYX_NET *const net = make("n");
    m_p->connect(net);
    EXPECT_EQ(net->get_parent(), m_top);
}

TEST_F(Net, FindsItsParentThroughAnInstance) {
    NYX_NET *const net = make("n");
    pin(m_u, 0)->connect(net);
    EXPECT_EQ(net->get_parent(), m_top);
}

TEST_F(Net, WithoutConnectionsFindsItsParentBySearch) {
    NYX_NET *const net = make("n");
    NYX_NET *const other = NYX_NET::allocate(m_leaf, "n", false);
    EXPECT_EQ(net->get_parent(), m_top);
    EXPECT_EQ(other->get_parent(), m_leaf);
}

TEST_F(Net, WithoutConnectionsFindsItsParentThroughItsBus) {
    NYX_NET *const net = make("n[0]");
    NYX_NET *const other = make("n[1]");
    NYX_NET_BUS *const bus = NYX_NET_BUS::allocate(m_top, "n", 1, 0);
    bus->set_net(0, net);
    bus->set_net(1, other);
    m_p->connect(other);
    // No search would find it now.
    m_top->remove_net(net);
    EXPECT_EQ(net->get_parent(), m_top);
    m_top->add_net(net);
}

TEST_F(Net, InNoModuleHasNoParent) {
    NYX_NET *const net = make("n");
    m_top->remove_net(net);
    EXPECT_EQ(thrown_by([&] { net->get_parent(); }),
              "net n doesn't belong to any module from function NYX_NET::get_parent");
    m_top->add_net(net);
}

// Deletion.

TEST_F(Net, DeletionEmptiesTheNetAndTellsNobodyOfItsConnections) {
    NYX_NET *const net = make("n");
    m_p->connect(net);
    pin(m_u, 0)->connect(net);
    pin(m_v, 1)->connect(net);
    NET_RECORDER recorder;
    net->deallocate();
    EXPECT_EQ(recorder.log, (STRINGS{"net n deallocated in top with 3 connections"}));
    EXPECT_EQ(m_p->get_net(), nullptr);
    EXPECT_EQ(pin(m_u, 0)->get_net(), nullptr);
    EXPECT_EQ(pin(m_v, 1)->get_net(), nullptr);
    EXPECT_TRUE(m_top->iter_nets().empty());
}

TEST_F(Net, DeletionLeavesTheOtherNets) {
    make("a");
    NYX_NET *const b = make("b");
    make("c");
    b->deallocate();
    EXPECT_EQ(nets_of(m_top), (STRINGS{"c", "a"}));
}

TEST_F(Net, WithoutConnectionsCanBeDeleted) {
    make("n")->deallocate();
    EXPECT_TRUE(m_top->iter_nets().empty());
}

TEST_F(Net, DeletionTakesItOutOfItsBus) {
    NYX_NET *const net = make("n[1]");
    NYX_NET_BUS *const bus = NYX_NET_BUS::allocate(m_top, "n", 1, 0);
    bus->set_net(1, net);
    net->deallocate();
    EXPECT_EQ((*bus)[1], nullptr);
}

TEST_F(NetDeath, DeletionInNoModuleEndsTheRun) {
    NYX_NET *const net = make("n");
    EXPECT_DEATH(
        {
            m_top->remove_net(net);
            net->deallocate();
        },
        "check failed: parent: Net is dangling and can't find its parent ");
}

// The lists.

TEST_F(Net, ListsItsConnectionsNewestFirst) {
    NYX_NET *const net = make("n");
    m_p->connect(net);
    m_q->connect(net);
    pin(m_u, 0)->connect(net);
    pin(m_v, 1)->connect(net);
    pin(m_u, 1)->connect(net);
    EXPECT_EQ(ports_of(net), (STRINGS{"q", "p"}));
    EXPECT_EQ(pins_of(net), (STRINGS{"u.z", "v.z", "u.a"}));
}

TEST_F(Net, ClosesTheGapWhereAConnectionEnds) {
    NYX_NET *const net = make("n");
    const std::vector<NYX_INST_PORT *> pins{pin(m_u, 0), pin(m_u, 1), pin(m_v, 0), pin(m_v, 1)};
    for (NYX_INST_PORT *const inst_port : pins)
        inst_port->connect(net);
    net->remove_inst_port(pins[1]); // in the middle
    EXPECT_EQ(pins_of(net), (STRINGS{"v.z", "v.a", "u.a"}));
    net->remove_inst_port(pins[3]); // the head
    EXPECT_EQ(pins_of(net), (STRINGS{"v.a", "u.a"}));
    net->remove_inst_port(pins[0]); // the last
    EXPECT_EQ(pins_of(net), (STRINGS{"v.a"}));
    net->remove_inst_port(pins[2]);
    EXPECT_TRUE(net->iter_inst_ports().empty());
}

TEST_F(Net, PutOnAndTakenOffByTheListTellsNobody) {
    NYX_NET *const net = make("n");
    NET_RECORDER recorder;
    net->add_port(m_p);
    EXPECT_EQ(m_p->get_net(), net);
    net->remove_port(m_p);
    EXPECT_EQ(m_p->get_net(), nullptr);
    EXPECT_EQ(recorder.log, STRINGS());
}

TEST_F(NetDeath, APortOnANetCannotBeAdded) {
    NYX_NET *const net = make("n");
    m_p->connect(net);
    EXPECT_DEATH(net->add_port(m_p), "check failed: !obj_impl->get_net_ptr\\(\\) ");
    EXPECT_DEATH(make("other")->add_port(m_p), "check failed: !obj_impl->get_net_ptr\\(\\) ");
}

TEST_F(NetDeath, AnInstPortOnANetCannotBeAdded) {
    NYX_NET *const net = make("n");
    pin(m_u, 0)->connect(net);
    EXPECT_DEATH(net->add_inst_port(pin(m_u, 0)), "check failed: !obj_impl->get_net_ptr\\(\\) ");
}

TEST_F(NetDeath, WhatIsOnAnotherNetCannotBeRemoved) {
    NYX_NET *const net = make("n");
    NYX_NET *const other = make("other");
    m_p->connect(net);
    pin(m_u, 0)->connect(net);
    EXPECT_DEATH(other->remove_port(m_p), "check failed: obj_impl->get_net_ptr\\(\\) == impl ");
    EXPECT_DEATH(other->remove_inst_port(pin(m_u, 0)), "check failed: obj_impl->get_net_ptr\\(\\) == impl ");
    EXPECT_DEATH(net->remove_port(m_q), "check failed: obj_impl->get_net_ptr\\(\\) == impl ");
}

// Merging.

class NetMerge : public Net {
protected:
    NYX_NET *m_keep = make("keep");
    NYX_NET *m_lose = make("lose");
};
using NetMergeDeath = NetMerge;

TEST_F(NetMerge, MovesAllConnectionsInReverseOrderToTheFront) {
    pin(m_u, 0)->connect(m_keep);
    m_p->connect(m_lose);
    m_q->connect(m_lose);
    pin(m_u, 1)->connect(m_lose);
    pin(m_v, 0)->connect(m_lose);
    pin(m_v, 1)->connect(m_lose);
    ASSERT_EQ(pins_of(m_lose), (STRINGS{"v.z", "v.a", "u.z"}));
    m_keep->merge(m_lose);
    EXPECT_EQ(ports_of(m_keep), (STRINGS{"p", "q"}));
    EXPECT_EQ(pins_of(m_keep), (STRINGS{"u.z", "v.a", "v.z", "u.a"}));
    EXPECT_EQ(nets_of(m_top), (STRINGS{"keep"}));
}

TEST_F(NetMerge, TellsTheDeletionAndThenTheConnections) {
    m_p->connect(m_lose);
    pin(m_u, 0)->connect(m_lose);
    pin(m_v, 0)->connect(m_lose);
    NET_RECORDER recorder;
    m_keep->merge(m_lose);
    EXPECT_EQ(recorder.log, (STRINGS{"net lose deallocated in top with 3 connections", "pre_connect p on none",
                                     "post_connect p on keep", "pre_connect v.a on none", "post_connect v.a on keep",
                                     "pre_connect u.a on none", "post_connect u.a on keep"}));
}

TEST_F(NetMerge, IntoItselfDoesNothing) {
    pin(m_u, 0)->connect(m_keep);
    NET_RECORDER recorder;
    m_keep->merge(m_keep);
    EXPECT_EQ(recorder.log, STRINGS());
    EXPECT_EQ(pins_of(m_keep), (STRINGS{"u.a"}));
}

TEST_F(NetMergeDeath, AcrossModulesEndsTheRun) {
    NYX_NET *const foreign = NYX_NET::allocate(m_leaf, "n", false);
    EXPECT_DEATH(m_keep->merge(foreign),
                 "check failed: net_losing_all_connections->get_parent\\(\\) == get_parent\\(\\) ");
}

TEST_F(NetMergeDeath, OfNullEndsTheRun) {
    EXPECT_DEATH(m_keep->merge(nullptr), "Net to merge must be non-null");
}

TEST_F(NetMerge, OfPowerIntoGroundIsRefusedAndLeavesBoth) {
    m_keep->set_is_ground(true);
    m_lose->set_is_power(true);
    pin(m_u, 0)->connect(m_lose);
    EXPECT_EQ(thrown_by([this] { m_keep->merge(m_lose); }),
              "Cannot merge away power net top|lose into ground net top|keep from function NYX_NET::merge");
    EXPECT_EQ(pins_of(m_lose), (STRINGS{"u.a"}));
    EXPECT_TRUE(m_keep->is_ground() && m_lose->is_power());
}

TEST_F(NetMerge, OfGroundIntoPowerIsRefusedAndLeavesBoth) {
    m_keep->set_is_power(true);
    m_lose->set_is_ground(true);
    EXPECT_EQ(thrown_by([this] { m_keep->merge(m_lose); }),
              "Cannot merge away ground net top|lose into power net top|keep from function NYX_NET::merge");
    EXPECT_EQ(nets_of(m_top), (STRINGS{"lose", "keep"}));
}

TEST_F(NetMerge, LosesThePowerFlagOfTheOtherNet) {
    m_lose->set_is_power(true);
    m_keep->merge(m_lose);
    EXPECT_FALSE(m_keep->is_power());
}

TEST_F(NetMerge, OfAPlainNetIntoAPowerNetKeepsThePowerNet) {
    m_keep->set_is_power(true);
    m_keep->merge(m_lose);
    EXPECT_TRUE(m_keep->is_power());
}

TEST_F(NetMerge, OfPowerIntoPowerIsFine) {
    m_keep->set_is_power(true);
    m_lose->set_is_power(true);
    m_keep->merge(m_lose);
    EXPECT_EQ(nets_of(m_top), (STRINGS{"keep"}));
}

// Kinds and the initial value.

TEST_F(Net, PowerAndGroundExcludeEachOther) {
    NYX_NET *const power = make("vdd");
    NYX_NET *const ground = make("vss");
    power->set_is_power(true);
    ground->set_is_ground(true);
    EXPECT_EQ(thrown_by([&] { power->set_is_ground(true); }),
              "Cannot set power net vdd to be ground from function NYX_NET::set_is_ground");
    EXPECT_EQ(thrown_by([&] { ground->set_is_power(true); }),
              "Cannot set ground net vss to be power from function NYX_NET::set_is_power");
    EXPECT_TRUE(power->is_power() && !power->is_ground());
    EXPECT_TRUE(ground->is_ground() && !ground->is_power());
}

TEST_F(Net, SettingAKindFalseAlwaysSucceeds) {
    NYX_NET *const ground = make("vss");
    ground->set_is_ground(true);
    ground->set_is_power(false);
    EXPECT_TRUE(ground->is_ground());
    ground->set_is_ground(false);
    EXPECT_FALSE(ground->is_ground());
}

TEST_F(Net, InitialValueIsKnownOnceItIsSet) {
    NYX_NET *const net = make("n");
    EXPECT_EQ(thrown_by([&] { net->get_initial_value(); }),
              "Net n has no initial value from function NYX_NET::get_initial_value");
    net->set_initial_value(false);
    EXPECT_TRUE(net->has_initial_value());
    EXPECT_FALSE(net->get_initial_value());
    net->set_initial_value(true);
    EXPECT_TRUE(net->get_initial_value());
}

TEST_F(Net, FlagsDoNotTouchOneAnother) {
    NYX_NET *const net = make("n");
    net->set_is_power(true);
    net->set_initial_value(true);
    net->set_is_power(false);
    EXPECT_TRUE(net->get_initial_value());
    EXPECT_FALSE(net->is_power());
}

// Conversion.

class NetConvert : public Net {
protected:
    NetConvert() {
        m_other_db = NYX_DB::create_non_persistent(16, NYX_DB_TYPE::USER, "", "");
        m_other = NYX_MODULE::allocate(m_other_db, "other", 0, NYX_MODULE::TYPE::HIERARCHY, nullptr, 0);
        m_base = NYX_NET::allocate(m_other, "base", true);
    }
    ~NetConvert() override { m_other_db->close(); }

    NYX_DB *m_other_db;
    NYX_MODULE *m_other;
    NYX_NET *m_base;
    NYX_NET *m_net = make("n", true);
};

TEST_F(NetConvert, TakesTheOriginalNameWithoutNumberOrWithANewOne) {
    ASSERT_EQ(m_base->get_name(), "base_0");
    m_net->convert(m_base, false);
    EXPECT_EQ(m_net->get_name(), "base");
    m_net->convert(m_base, true);
    EXPECT_EQ(m_net->get_name(), "base_0") << "of this database's numbers";
    EXPECT_EQ(m_net->get_original_name(), "base");
    EXPECT_EQ(m_top->find_net("base"), m_net);
}

TEST_F(NetConvert, TakesTheFlagsInPlaceOfItsOwn) {
    m_net->set_is_ground(true);
    m_base->set_is_power(true);
    m_base->set_initial_value(true);
    m_net->convert(m_base, false);
    EXPECT_TRUE(m_net->is_power() && m_net->get_initial_value());
    EXPECT_FALSE(m_net->is_ground());
}

TEST_F(NetConvert, TakesTraitsAcrossDatabasesInPlaceOfItsOwn) {
    NYX_INT_TRAIT *const weight = NYX_NET::create_int_trait(m_db, "weight", 0, "", "", "");
    NYX_INT_TRAIT *const other_weight = NYX_NET::create_int_trait(m_other_db, "weight", 0, "", "", "");
    NYX_INT_TRAIT *const own = NYX_NET::create_int_trait(m_db, "own", 0, "", "", "");
    m_net->set_value(own, 5);
    m_base->set_value(other_weight, 7);
    m_base->set_is_global(true);
    m_net->convert(m_base, false);
    EXPECT_EQ(m_net->get_value(weight), 7);
    EXPECT_EQ(m_net->get_value(own), 0);
    EXPECT_TRUE(m_net->is_global());
}

TEST_F(NetConvert, TakesPropertiesInPlaceOfItsOwn) {
    m_net->set_property("own", 1);
    m_base->set_property("text", std::string("words"));
    m_base->set_property("number", 2.5);
    m_net->convert(m_base, false);
    EXPECT_FALSE(m_net->has_property("own"));
    EXPECT_EQ(boost::get<std::string>(m_net->get_property("text")), "words");
    EXPECT_EQ(boost::get<double>(m_net->get_property("number")), 2.5);
}

TEST_F(NetConvert, KeepsItsConnections) {
    pin(m_u, 0)->connect(m_net);
    m_net->convert(m_base, false);
    EXPECT_EQ(pins_of(m_net), (STRINGS{"u.a"}));
}

TEST_F(NetConvert, OfNullEndsTheRun) {
    EXPECT_DEATH(m_net->convert(nullptr, false), "check failed: base_net: Base net for convertion cannot be empty ");
}

// Values that go with the net.

TEST_F(Net, DeletionTakesItsTraitsAndProperties) {
    NYX_INT_TRAIT *const weight = NYX_NET::create_int_trait(m_db, "weight", 0, "", "", "");
    NYX_NET *const old = make("n");
    old->set_value(weight, 3);
    old->set_property("x", 1);
    old->deallocate();
    NYX_NET *const net = make("n");
    ASSERT_EQ(net, old);
    EXPECT_EQ(net->get_value(weight), 0);
    EXPECT_FALSE(net->has_property("x"));
}

TEST_F(Net, ListsTheValuesOfItsTraits) {
    NYX_NET *const net = make("n");
    net->set_value(NYX_NET::create_bool_trait(m_db, "t", false, "", "", ""), true);
    const CAPTURING_SINK sink;
    std::ostringstream values;
    net->output_sparse_traits(values, false, false);
    EXPECT_NE(values.str().find("t                              bool       True            False "), std::string::npos)
        << values.str();
}

TEST_F(Net, IsGlobalWhenToldSo) {
    NYX_NET *const net = make("n");
    EXPECT_FALSE(net->is_global());
    net->set_is_global(true);
    EXPECT_TRUE(net->is_global());
    net->set_is_global(false);
    EXPECT_FALSE(net->is_global());
}

TEST_F(Net, KnowsItsSourceLocation) {
    NYX_NET *const net = make("n");
    EXPECT_EQ(net->get_file_name(), "");
    EXPECT_EQ(net->get_src_location(), "");
    net->set_src_location("top.v", 12);
    EXPECT_EQ(net->get_file_name(), "top.v");
    EXPECT_EQ(net->get_file_lineno(), 12u);
    EXPECT_EQ(net->get_src_location(), "top.v:12");
    net->set_src_location(nullptr, 0);
    EXPECT_EQ(net->get_src_location(), "");
}

TEST_F(Net, InABusShowsTheLocationOfTheBusAndStoresNoneThatIsTheSame) {
    NYX_NET *const net = make("n[0]");
    NYX_NET_BUS *const bus = NYX_NET_BUS::allocate(m_top, "n", 1, 0);
    bus->set_src_location("top.v", 3);
    bus->set_net(0, net);
    EXPECT_EQ(net->get_src_location(), "top.v:3");
    const NYX_BUILTIN_TRAITS &traits = NYX_BUILTIN_TRAITS::of(m_db);
    net->set_src_location("top.v", 3);
    EXPECT_TRUE(net->is_default_value(traits.m_net_file_name_trait));
    EXPECT_TRUE(net->is_default_value(traits.m_net_file_lineno_trait));
    net->set_src_location("top.v", 4);
    EXPECT_EQ(net->get_src_location(), "top.v:4");
    net->set_src_location("top.v", 3);
    EXPECT_TRUE(net->is_default_value(traits.m_net_file_lineno_trait)) << "what was stored is given up";
    EXPECT_EQ(net->get_src_location(), "top.v:3");
}

TEST_F(NetDeath, ALineNumberBelowZeroEndsTheRun) {
    NYX_NET *const net = make("n");
    net->set_value(NYX_BUILTIN_TRAITS::of(m_db).m_net_file_lineno_trait, -5);
    EXPECT_DEATH(net->get_file_lineno(), "check failed: lineno >= 0 ");
}

// Names.

TEST_F(Net, NameShowsParentAndPrefixInAStyle) {
    NYX_NET *const net = make("n", true);
    m_p->connect(net);
    EXPECT_EQ(net->get_name({.with_type_prefix = true}), "NET:n_0");
    EXPECT_EQ(net->get_name({.with_parent = true}), "top|n_0");
    EXPECT_EQ(net->get_name({.with_parent = true, .with_type_prefix = true, .parent_separator = '/'}), "NET:top/n_0");
    EXPECT_EQ(net->debug_get_name(), "n_0");
    std::string name = "was here";
    net->get_name(name);
    EXPECT_EQ(name, "n_0");
}

TEST_F(Net, RenameKeepsTheNumberAndTellsTheOldName) {
    NYX_NET *const net = make("n", true);
    NET_RECORDER recorder;
    net->set_name("m");
    EXPECT_EQ(net->get_name(), "m_0");
    EXPECT_EQ(recorder.log, (STRINGS{"net n_0 is m_0"}));
}

TEST_F(Net, RenameToNothingIsRefused) {
    NYX_NET *const net = make("n");
    EXPECT_EQ(thrown_by([&] { net->set_name(""); }), "Net name cannot be empty from function NYX_NET::set_name");
    EXPECT_EQ(net->get_name(), "n");
}

TEST_F(Net, RenameIsSeenByLookUps) {
    NYX_NET *const net = make("n");
    net->set_name("m");
    EXPECT_EQ(m_top->find_net("n"), nullptr);
    EXPECT_EQ(m_top->find_net("m"), net);
}

TEST_F(Net, FlagsAreInTheirBits) {
    NYX_NET *const net = make("n");
    const auto bits = [net] { return static_cast<unsigned>(net->get_impl()->m_bits); };
    net->set_is_power(true);
    EXPECT_EQ(bits(), 1u);
    net->set_is_power(false);
    net->set_is_ground(true);
    EXPECT_EQ(bits(), 2u);
    net->set_initial_value(false);
    EXPECT_EQ(bits(), 6u);
    net->set_initial_value(true);
    EXPECT_EQ(bits(), 14u);
}

TEST_F(Net, DeletionIsToldWhenItHasLeftItsBusAndNothingElse) {
    struct LISTENER : NYX_OBSERVER<NYX_NET> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_NET *told, NYX_MODULE *parent) override {
            ++events;
            EXPECT_EQ(told->get_bus(), nullptr);
            EXPECT_TRUE(told->is_global());
            EXPECT_TRUE(told->has_property("x"));
            EXPECT_EQ(parent->get_num_nets(), 1u);
        }
        int events = 0;
    } listener;
    NYX_NET *const net = make("n[0]");
    NYX_NET_BUS::allocate(m_top, "n", 0, 0)->set_net(0, net);
    net->set_is_global(true);
    net->set_property("x", 1);
    net->deallocate();
    EXPECT_EQ(listener.events, 1);
}

TEST_F(Net, MergeIntoItselfLooksForTheParentFirst) {
    NYX_NET *const net = make("n");
    m_top->remove_net(net);
    EXPECT_EQ(thrown_by([&] { net->merge(net); }),
              "net n doesn't belong to any module from function NYX_NET::get_parent");
    m_top->add_net(net);
}

TEST_F(NetDeath, IsGlobalWithoutItsTraitEndsTheRun) {
    NYX_NET *const net = make("n");
    NYX_BUILTIN_TRAITS &traits = *NYX_DB_IMPL::of(*m_db).m_builtin_traits;
    auto *const kept = std::exchange(traits.m_net_is_global_trait, nullptr);
    EXPECT_DEATH(net->is_global(), "check failed: trait \\[");
    EXPECT_DEATH(net->set_is_global(true), "check failed: trait \\[");
    traits.m_net_is_global_trait = kept;
}

TEST_F(NetConvert, OfItselfKeepsItsValues) {
    NYX_NET *const net = make("n", true);
    net->set_is_global(true);
    net->set_property("x", 1);
    net->convert(net, false);
    EXPECT_EQ(net->get_name(), "n");
    EXPECT_TRUE(net->is_global());
    EXPECT_TRUE(net->has_property("x"));
}

TEST_F(Net, ConnectedToAnotherModuleIsTakenOutOfItsOwnListAlone) {
    NYX_MODULE *const other = NYX_MODULE::allocate(m_db, "other", 0);
    NYX_NET *const kept = NYX_NET::allocate(other, "kept");
    NYX_NET *const net = NYX_NET::allocate(other, "n");
    m_p->connect(net); // a port of the wrong module
    const STRINGS nets = nets_of(m_top);
    net->deallocate();
    EXPECT_EQ(nets_of(m_top), nets);
    EXPECT_EQ(nets_of(other), STRINGS({"kept"}));
    EXPECT_EQ(m_p->get_net(), nullptr);
    EXPECT_EQ(kept->get_parent(), other);
}

TEST_F(NetDeath, TakingOutTheFirstOfAnotherListEndsTheRun) {
    NYX_NET *const net = make("n");
    EXPECT_DEATH(m_leaf->remove_net(net), "An object is not in the list that it is to be taken out of");
}

} // namespace
