// Interfaces as instances have them, and across nets.
#include "bus_test_support.h"

#include <unordered_set>

using namespace bus_test;

namespace {

/// A leaf with an interface "i" of ports a and b and a bus v[1:0], an interface "j" of port c, and a port free.
class InterfaceInstance : public DESIGN {
protected:
    InterfaceInstance() {
        NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(leaf, "v", 2, 0);
        bus->set_port(2, leaf->find_port("v1"));
        bus->set_port(0, leaf->find_port("v0"));
        i->add_port_bus(bus);
        i->add_port(leaf->find_port("b"));
        i->add_port(leaf->find_port("a"));
        j->add_port(leaf->find_port("c"));
    }

    NYX_INSTANCE *make(const std::string &name) { return make_instance(name, leaf); }
    static NYX_INTERFACE_INSTANCE of(const NYX_INSTANCE *instance, const NYX_INTERFACE *interface) {
        return NYX_INTERFACE_INSTANCE(instance, interface);
    }
    void connect(const std::string &net_name, NYX_INSTANCE *instance, const char *port) {
        NYX_NET *net = top->find_net(net_name.c_str());
        if (net == nullptr)
            net = NYX_NET::allocate(top, net_name);
        instance->get_inst_port_for_port(leaf->find_port(port))->connect(net);
    }
    static STRINGS members(const NYX_INTERFACE_NET &net) {
        STRINGS names;
        for (const NYX_INTERFACE *const interface : net.iter_interfaces())
            names.push_back(interface->get_name());
        for (const NYX_INTERFACE_INSTANCE &instance : net.iter_interface_instances())
            names.push_back(instance.get_name({.with_parent = true}));
        return names;
    }

    NYX_MODULE *leaf = make_module(db, "leaf", {"a", "b", "c", "free", "v0", "v1"});
    NYX_INTERFACE *i = NYX_INTERFACE::allocate(leaf, "i");
    NYX_INTERFACE *j = NYX_INTERFACE::allocate(leaf, "j");
    NYX_INSTANCE *u = make("u");
    NYX_INSTANCE *w = make("w");
};

using InterfaceNet = InterfaceInstance;
using InterfaceNetDeathTest = InterfaceInstance;

TEST_F(InterfaceInstance, KnowsInstanceAndInterface) {
    i->set_start();
    const NYX_INTERFACE_INSTANCE value = of(u, i);
    EXPECT_TRUE(value);
    EXPECT_EQ(value.get_instance(), u);
    EXPECT_EQ(value.get_interface(), i);
    EXPECT_EQ(value.get_db(), db);
    EXPECT_TRUE(value.is_start());
    EXPECT_FALSE(value.is_end());
    EXPECT_FALSE(of(u, j).is_start());
    EXPECT_EQ(value, u->get_interface_instance(i));
}

TEST_F(InterfaceInstance, PrintsItsName) {
    const NYX_INTERFACE_INSTANCE value = of(u, i);
    EXPECT_EQ(value.get_name(), "i");
    EXPECT_EQ(value.get_name({.with_parent = true, .with_type_prefix = true}), "INTERFACE_INSTANCE:u|i");
    std::string name = "old";
    value.get_name(name, {.with_parent = true, .parent_separator = '.'});
    EXPECT_EQ(name, "u.i");
}

TEST_F(InterfaceInstance, HasTheInstPortsOfItsPortsAndThenOfItsBuses) {
    STRINGS names;
    for (const NYX_INST_PORT *const inst_port : of(w, i).iter_inst_ports()) {
        EXPECT_EQ(inst_port->get_inst(), w);
        names.push_back(inst_port->get_name());
    }
    EXPECT_EQ(names, STRINGS({"b", "a", "v1", "v0"}));
    EXPECT_EQ(of(w, j).iter_inst_ports().front()->get_name(), "c");
    EXPECT_TRUE(of(w, NYX_INTERFACE::allocate(leaf, "k")).iter_inst_ports().empty());
}

TEST_F(InterfaceInstance, IsEqualByInstanceAndInterface) {
    EXPECT_EQ(of(u, i), of(u, i));
    EXPECT_NE(of(u, i), of(u, j));
    EXPECT_NE(of(u, i), of(w, i));
    EXPECT_NE(of(u, i), NYX_INTERFACE_INSTANCE());
    EXPECT_EQ(NYX_INTERFACE_INSTANCE(), NYX_INTERFACE_INSTANCE());
    EXPECT_EQ(of(u, i).hash(), of(u, i).hash());
    const std::unordered_set<NYX_INTERFACE_INSTANCE> set{of(u, i), of(u, j), of(w, i), of(u, i)};
    EXPECT_EQ(set.size(), 3u);
}

TEST_F(InterfaceInstance, IsOfTheBaseModuleOfTheInstance) {
    constexpr const char *function = "NYX_INTERFACE_INSTANCE::NYX_INTERFACE_INSTANCE";
    EXPECT_RAISED(of(nullptr, i), NYX_INVALID_ARGUMENT, "Instance cannot be null", function);
    EXPECT_RAISED(of(u, nullptr), NYX_INVALID_ARGUMENT, "Interface cannot be null", function);
    EXPECT_RAISED(of(u, NYX_INTERFACE::allocate(top, "k")), NYX_INVALID_ARGUMENT,
                  "Cannot create interface instance for instance u. Interface parent is top instead of leaf.",
                  function);
}

TEST_F(InterfaceInstance, AnswersNothingWhenItIsEmpty) {
    const NYX_INTERFACE_INSTANCE empty;
    EXPECT_FALSE(empty);
    const auto expect_refused = [](const std::string &member, const auto &call) {
        EXPECT_RAISED(call(), NYX_RUNTIME_ERROR, member + " called on an invalid interface instance",
                      "NYX_INTERFACE_INSTANCE::" + member);
    };
    expect_refused("get_instance", [&] { empty.get_instance(); });
    expect_refused("get_interface", [&] { empty.get_interface(); });
    expect_refused("get_db", [&] { empty.get_db(); });
    expect_refused("get_name", [&] { empty.get_name(); });
    expect_refused("is_end", [&] { empty.is_end(); });
    expect_refused("is_start", [&] { empty.is_start(); });
    expect_refused("iter_inst_ports", [&] { empty.iter_inst_ports(); });
    EXPECT_RAISED(empty.get_interface_net(), NYX_INVALID_ARGUMENT, "Interface instance must be valid",
                  "NYX_INTERFACE_NET::NYX_INTERFACE_NET");
}

TEST_F(InterfaceNet, OfUnconnectedPortsIsEmpty) {
    EXPECT_FALSE(i->get_interface_net());
    EXPECT_TRUE(i->get_interface_net().iter_interfaces().empty());
    EXPECT_FALSE(of(u, i).get_interface_net());
    EXPECT_TRUE(of(u, i).get_interface_net().iter_interface_instances().empty());
}

TEST_F(InterfaceNet, JoinsInstancesThatShareANet) {
    connect("n", u, "a");
    connect("n", w, "c");
    connect("other", w, "free");
    const NYX_INTERFACE_NET net = of(u, i).get_interface_net();
    EXPECT_TRUE(net);
    // The newest connection of a net comes first.
    EXPECT_EQ(members(net), STRINGS({"w|j", "u|i"}));
    EXPECT_EQ(net, of(w, j).get_interface_net());
    EXPECT_EQ(net.hash(), of(w, j).get_interface_net().hash());
    EXPECT_NE(net, of(w, i).get_interface_net());
    EXPECT_FALSE(of(w, i).get_interface_net());
}

TEST_F(InterfaceNet, GoesOverBusesAndOnFromMemberToMember) {
    NYX_INSTANCE *const x = make("x");
    connect("m", w, "a");
    connect("m", x, "c");
    connect("n", u, "v1");
    connect("n", w, "v0");
    EXPECT_EQ(members(of(u, i).get_interface_net()), STRINGS({"w|i", "x|j", "u|i"}));
    EXPECT_EQ(of(u, i).get_interface_net(), of(x, j).get_interface_net());
}

TEST_F(InterfaceNet, HasTheInterfacesOfTheModuleItself) {
    top->increase_num_ports(2);
    NYX_PORT *const p = NYX_PORT::allocate(top, "p", 0);
    NYX_INTERFACE *const k = NYX_INTERFACE::allocate(top, "k");
    k->add_port(p);
    connect("n", u, "a");
    p->connect(top->find_net("n"));
    EXPECT_EQ(members(k->get_interface_net()), STRINGS({"k", "u|i"}));
    EXPECT_EQ(k->get_interface_net(), of(u, i).get_interface_net());
}

TEST_F(InterfaceNet, PassesOverPortsInNoInterface) {
    connect("n", u, "a");
    connect("n", w, "free");
    EXPECT_EQ(members(of(u, i).get_interface_net()), STRINGS({"u|i"}));
}

TEST_F(InterfaceNet, EndsInACircle) {
    connect("n", u, "a");
    connect("n", w, "a");
    connect("m", u, "b");
    connect("m", w, "b");
    EXPECT_EQ(members(of(u, i).get_interface_net()), STRINGS({"w|i", "u|i"}));
}

TEST(InterfaceChain, MayBeLong) {
    constexpr int length = 100000;
    NYX_DB *const db = NYX_DB::create_non_persistent(1024, NYX_DB_TYPE::USER, "", "");
    NYX_MODULE *const link = make_module(db, "link", {"in", "out"});
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(link, "i");
    for (NYX_PORT *const port : link->iter_ports())
        interface->add_port(port);
    NYX_MODULE *const chain = make_module(db, "chain");
    NYX_INSTANCE *const first = NYX_INSTANCE::allocate(chain, "c", link, true, nullptr);
    NYX_INSTANCE *previous = first;
    for (int n = 1; n < length; ++n) {
        NYX_INSTANCE *const next = NYX_INSTANCE::allocate(chain, "c", link, true, nullptr);
        NYX_NET *const net = NYX_NET::allocate(chain, "n", true);
        previous->get_inst_port_by_index(1)->connect(net);
        next->get_inst_port_by_index(0)->connect(net);
        previous = next;
    }
    const NYX_INTERFACE_NET net = first->get_interface_instance(interface).get_interface_net();
    EXPECT_EQ(net.iter_interface_instances().size(), std::size_t(length));
    // On the first net the second instance comes first, and all that it leads to, before the first one's own end.
    EXPECT_EQ(net.iter_interface_instances().back().get_instance(), first);
    db->close();
}

TEST_F(InterfaceNetDeathTest, NeedsAnInstPortForEachPort) {
    u->get_inst_port_for_port(leaf->find_port("a"))->deallocate();
    EXPECT_DEATH(of(u, i).get_interface_net(), "check failed: inst_port");
}

} // namespace
