#include "netlist_test_support.h"

#include "netlist/nyx_chain.h"
#include "traits/nyx_builtin_traits.h"

#include <set>

using namespace netlist_test;

namespace {

class Port : public DESIGN {
protected:
    unsigned bits() const { return nyx_cell(&NYX_PORT_TABLE::m_trait_bits, port->get_impl()); }

    NYX_MODULE *module = make_module(db, "m", {"a", "p", ""});
    NYX_PORT *port = module->get_port_by_index(1);
    NYX_NET *net = NYX_NET::allocate(module, "n");
};

using PortDirection = Port;
using PortConnection = Port;
using PortDeletion = Port;
using PortName = Port;

TEST_F(Port, TakesItsPlaceInTheModule) {
    NYX_PORT *const made = NYX_PORT::allocate(module, "q", 2);
    EXPECT_EQ(module->get_port_by_index(2), made);
    EXPECT_EQ(made->get_parent(), module);
    EXPECT_EQ(made->get_index(), 2u);
    EXPECT_EQ(made->get_db(), db);
    EXPECT_EQ(made->get_name(), "q");
    EXPECT_EQ(module->get_num_ports(), 3u);
}

TEST_F(Port, IsNewWithoutAnything) {
    EXPECT_EQ(port->get_net(), nullptr);
    EXPECT_EQ(port->get_bus(), nullptr);
    EXPECT_FALSE(port->is_input());
    EXPECT_FALSE(port->is_output());
    EXPECT_FALSE(port->is_bidir());
    EXPECT_FALSE(port->is_inverted());
    EXPECT_FALSE(port->is_physical_only_port());
    EXPECT_FALSE(port->has_initial_value());
    EXPECT_EQ(port->get_layer(), 0);
    EXPECT_EQ(port->get_re_index(), 0);
    EXPECT_EQ(port->get_bounds(), NYX_BOX());
}

TEST_F(Port, IsToldWithItsParentWhenItIsMade) {
    EVENT_LOG log;
    NYX_PORT::allocate(module, "q", 2);
    EXPECT_EQ(log.take(), STRINGS({"port q allocated in m"}));
}

TEST_F(Port, MadeOnANetIsOnItWithoutAnEvent) {
    EVENT_LOG log;
    NYX_PORT *const made = NYX_PORT::allocate(module, "q", 2, net);
    EXPECT_EQ(log.take(), STRINGS({"port q allocated in m"}));
    EXPECT_EQ(made->get_net(), net);
    EXPECT_EQ(names_of(net->iter_ports()), STRINGS({"q"}));
}

TEST_F(Port, OfAModuleWithInstancesGetsNoInstPorts) {
    NYX_INSTANCE *const instance = make_instance("u", module);
    NYX_PORT *const made = NYX_PORT::allocate(module, "q", 2);
    EXPECT_EQ(instance->get_inst_port_for_port(made), nullptr);
}

TEST_F(Port, TakesTheRowOfADeletedOneAsNew) {
    port->connect(net);
    port->set_bidir();
    port->set_initial_value(true);
    port->set_layer(5);
    port->set_re_index(6);
    port->set_bounds(NYX_BOX(0, 0, 1, 1));
    port->deallocate();
    NYX_PORT *const made = NYX_PORT::allocate(module, "again", 1);
    EXPECT_EQ(made, port);
    EXPECT_EQ(made->get_name(), "again");
    EXPECT_EQ(made->get_net(), nullptr);
    EXPECT_EQ(bits(), 0u);
    EXPECT_EQ(made->get_layer(), 0);
    EXPECT_EQ(made->get_re_index(), 0);
    EXPECT_EQ(made->get_bounds(), NYX_BOX());
}

TEST_F(Port, KeepsItsGeometry) {
    port->set_bounds(NYX_BOX(1, 2, 3, 4));
    port->set_layer(255);
    port->set_re_index(-1);
    EXPECT_EQ(port->get_bounds(), NYX_BOX(1, 2, 3, 4));
    EXPECT_EQ(port->get_layer(), 255);
    EXPECT_EQ(port->get_re_index(), -1);
}

TEST_F(Port, OrdersByIndexAndThenByAddress) {
    const NYX_PORT_INDEX_COMPARE less;
    NYX_PORT *const a = module->get_port_by_index(0);
    EXPECT_TRUE(less(a, port));
    EXPECT_FALSE(less(port, a));
    EXPECT_FALSE(less(a, a));
    NYX_PORT *const other = make_module(db, "other", {"x"})->get_port_by_index(0);
    EXPECT_EQ(less(a, other), a < other);
    EXPECT_EQ(less(other, a), other < a);
    EXPECT_EQ((std::set<NYX_PORT *, NYX_PORT_INDEX_COMPARE>{a, other, port}.size()), 3u);
}

// ---- Direction and flags

TEST_F(PortDirection, IsInItsTwoBits) {
    port->set_input();
    EXPECT_EQ(bits(), 1u);
    EXPECT_TRUE(port->is_input());
    EXPECT_FALSE(port->is_output());
    EXPECT_FALSE(port->is_bidir());
    port->set_output();
    EXPECT_EQ(bits(), 2u);
    EXPECT_FALSE(port->is_input());
    EXPECT_TRUE(port->is_output());
    EXPECT_FALSE(port->is_bidir());
    port->set_bidir();
    EXPECT_EQ(bits(), 3u);
    EXPECT_FALSE(port->is_input());
    EXPECT_FALSE(port->is_output());
    EXPECT_TRUE(port->is_bidir());
}

TEST_F(PortDirection, NotInputIsOutputAndTheOtherWayRound) {
    port->set_bidir();
    port->set_input(false);
    EXPECT_TRUE(port->is_output());
    port->set_output(false);
    EXPECT_TRUE(port->is_input());
}

TEST_F(PortDirection, SetWithTrueIsAsWithout) {
    port->set_bidir();
    port->set_input(true);
    EXPECT_EQ(bits(), 1u);
    port->set_bidir(true);
    EXPECT_EQ(bits(), 3u);
    port->set_output(true);
    EXPECT_EQ(bits(), 2u);
}

TEST_F(PortDirection, NotBidirIsNone) {
    port->set_bidir();
    port->set_bidir(false);
    EXPECT_EQ(bits(), 0u);
    EXPECT_FALSE(port->is_input() || port->is_output() || port->is_bidir());
}

TEST_F(Port, FlagsDoNotTouchOneAnother) {
    port->set_physical_only(true);
    EXPECT_EQ(bits(), 4u);
    port->set_inverted(true);
    EXPECT_EQ(bits(), 12u);
    port->set_output();
    EXPECT_EQ(bits(), 14u);
    EXPECT_TRUE(port->is_physical_only_port());
    EXPECT_TRUE(port->is_inverted());
    port->set_physical_only(false);
    EXPECT_FALSE(port->is_physical_only_port());
    EXPECT_TRUE(port->is_inverted());
    port->set_inverted(false);
    EXPECT_EQ(bits(), 2u);
}

TEST_F(Port, HasAnInitialValueOnceItIsSet) {
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { port->get_initial_value(); }),
              RAISED("Port p has no initial value", "NYX_PORT::get_initial_value"));
    port->set_initial_value(false);
    EXPECT_TRUE(port->has_initial_value());
    EXPECT_FALSE(port->get_initial_value());
    EXPECT_EQ(bits(), 16u);
    port->set_initial_value(true);
    EXPECT_TRUE(port->get_initial_value());
    EXPECT_EQ(bits(), 48u);
}

// ---- Connection

TEST_F(PortConnection, PutsThePortAtTheFrontOfTheNet) {
    module->get_port_by_index(0)->connect(net);
    port->connect(net);
    EXPECT_EQ(port->get_net(), net);
    EXPECT_EQ(names_of(net->iter_ports()), STRINGS({"p", "a"}));
    port->disconnect();
    EXPECT_EQ(port->get_net(), nullptr);
    EXPECT_EQ(names_of(net->iter_ports()), STRINGS({"a"}));
}

TEST_F(PortConnection, IsToldBeforeAndAfter) {
    EVENT_LOG log;
    port->connect(net);
    port->disconnect();
    EXPECT_EQ(log.take(), STRINGS({"port p pre_connect", "port p post_connect on n", "port p pre_disconnect on n",
                                   "port p post_disconnect"}));
}

// ---- Interfaces

TEST_F(Port, IsInTheInterfaceThatItWasAddedTo) {
    EXPECT_EQ(port->get_interface(), nullptr);
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "itf");
    interface->add_port(port);
    EXPECT_EQ(port->get_interface(), interface);
    interface->remove_port(port);
    EXPECT_EQ(port->get_interface(), nullptr);
}

TEST_F(Port, InABusIsInTheInterfaceOfTheBus) {
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "b", 0, 1);
    bus->set_port(1, port);
    EXPECT_EQ(port->get_interface(), nullptr);
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "itf");
    interface->add_port_bus(bus);
    EXPECT_EQ(port->get_interface(), interface);
    bus->remove_port(port);
    EXPECT_EQ(port->get_interface(), nullptr);
}

TEST_F(Port, InABusIsNotAddedToAnInterface) {
    NYX_PORT_BUS::allocate(module, "b", 0, 1)->set_port(1, port);
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "itf");
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { interface->add_port(port); }),
              RAISED("Cannot add a port in a bus to interface", "NYX_PORT::set_interface"));
    EXPECT_TRUE(interface->iter_ports().empty());
    EXPECT_EQ(port->get_interface(), nullptr);
}

// ---- Deletion

TEST_F(PortDeletion, LeavesAnEmptyPlace) {
    port->deallocate();
    EXPECT_EQ(module->get_port_by_index(1), nullptr);
    EXPECT_EQ(module->get_num_ports(), 3u);
    EXPECT_EQ(port_names(module), STRINGS({"a", "-", "-"}));
    EXPECT_EQ(port->get_parent(), nullptr);
    EXPECT_EQ(port->get_impl()->m_name_id, NYX_NAME_ID::INVALID);
}

TEST_F(PortDeletion, TakesThePortOutOfEverything) {
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "b", 0, 1);
    bus->set_port(1, port);
    port->connect(net);
    NYX_INSTANCE *const instance = make_instance("u", module);
    NYX_NET *const outside = NYX_NET::allocate(top, "o");
    instance->find_inst_port("p")->connect(outside);
    port->deallocate();
    EXPECT_EQ((*bus)[1], nullptr);
    EXPECT_TRUE(net->iter_ports().empty());
    EXPECT_EQ(instance->get_inst_port_by_index(1), nullptr);
    EXPECT_NE(instance->get_inst_port_by_index(0), nullptr);
    EXPECT_TRUE(outside->iter_inst_ports().empty());
}

TEST_F(PortDeletion, TakesThePortOutOfItsInterface) {
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "itf");
    interface->add_port(module->get_port_by_index(0));
    interface->add_port(port);
    port->deallocate();
    EXPECT_EQ(names_of(interface->iter_ports()), STRINGS({"a"}));
    EXPECT_EQ(NYX_PORT::allocate(module, "again", 1)->get_interface(), nullptr);
}

TEST_F(PortDeletion, TakesAPortOutOfAnInterfaceThatItsBusHides) {
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "itf");
    interface->add_port(port);
    NYX_PORT_BUS::allocate(module, "b", 0, 1)->set_port(1, port);
    port->deallocate();
    EXPECT_TRUE(interface->iter_ports().empty());
}

TEST_F(PortDeletion, HappensInAFixedOrder) {
    port->connect(net);
    NYX_INSTANCE *const u = make_instance("u", module);
    u->find_inst_port("p")->connect(NYX_NET::allocate(top, "o"));
    EVENT_LOG log;
    port->deallocate();
    EXPECT_EQ(log.take(), STRINGS({
                              "port p pre_disconnect on n",
                              "port p post_disconnect",
                              "port p deallocated in m",
                              "inst port u.p pre_disconnect on o",
                              "inst port u.p post_disconnect",
                              "inst port u.p deallocated",
                          }));
}

TEST_F(PortDeletion, IsToldWhileThePortIsInItsBus) {
    struct LISTENER : NYX_OBSERVER<NYX_PORT> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_PORT *object, NYX_MODULE *) override { bus = object->get_bus(); }
        NYX_PORT_BUS *bus = nullptr;
    } listener;
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "b", 0, 1);
    bus->set_port(1, port);
    port->deallocate();
    EXPECT_EQ(listener.bus, bus);
}

TEST_F(PortDeletion, ReachesInstancesInOtherDatabases) {
    const SCOPED_DB user("user");
    NYX_MODULE *const parent = make_module(user, "parent");
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const leaf = make_module(library, "leaf", {"a", "z"});
    NYX_INSTANCE *const here = make_instance("u", leaf);
    NYX_INSTANCE *const there = NYX_INSTANCE::allocate(parent, "v", leaf);
    leaf->get_port_by_index(0)->deallocate();
    for (NYX_INSTANCE *const instance : {here, there}) {
        EXPECT_EQ(instance->get_inst_port_by_index(0), nullptr);
        EXPECT_NE(instance->get_inst_port_by_index(1), nullptr);
    }
}

TEST_F(PortDeletion, TakesItsProperties) {
    port->set_property("weight", 42);
    port->deallocate();
    EXPECT_TRUE(root_of(db)->table<NYX_PORT>().m_properties.empty());
    EXPECT_FALSE(NYX_PORT::allocate(module, "again", 1)->has_property("weight"));
}

// ---- Source location

class PortLocation : public Port {
protected:
    // The ports that have a file, and those that have a line, of their own.
    bool has_own_file(const NYX_PORT *of) const { return !of->is_default_value(traits.m_port_file_name_trait); }
    bool has_own_line(const NYX_PORT *of) const { return !of->is_default_value(traits.m_port_file_lineno_trait); }

    const NYX_BUILTIN_TRAITS &traits = NYX_BUILTIN_TRAITS::of(db);
    NYX_PORT_BUS *bus = NYX_PORT_BUS::allocate(module, "b", 0, 1);
};

TEST_F(PortLocation, IsNoneAtFirst) {
    EXPECT_EQ(port->get_file_name(), "");
    EXPECT_EQ(port->get_file_lineno(), 0u);
    EXPECT_EQ(port->get_src_location(), "");
}

TEST_F(PortLocation, IsWhatWasSet) {
    port->set_src_location("f.v", 12);
    EXPECT_EQ(port->get_file_name(), "f.v");
    EXPECT_EQ(port->get_file_lineno(), 12u);
    EXPECT_EQ(port->get_src_location(), "f.v:12");
    EXPECT_EQ(module->get_port_by_index(0)->get_src_location(), "");
    port->set_src_location(nullptr, 0);
    EXPECT_EQ(port->get_src_location(), "");
    EXPECT_FALSE(has_own_file(port));
}

TEST_F(PortLocation, OfABusMemberIsThatOfTheBusWithoutAValueOfItsOwn) {
    bus->set_src_location("f.v", 12);
    bus->set_port(0, port);
    EXPECT_EQ(port->get_src_location(), "f.v:12");
    port->set_src_location("f.v", 12);
    EXPECT_EQ(port->get_src_location(), "f.v:12");
    EXPECT_FALSE(has_own_file(port));
    EXPECT_FALSE(has_own_line(port));
    bus->set_src_location("g.v", 1);
    EXPECT_EQ(port->get_src_location(), "g.v:1");
}

TEST_F(PortLocation, OfABusMemberMayDiffer) {
    bus->set_src_location("f.v", 12);
    bus->set_port(0, port);
    port->set_src_location("f.v", 13);
    EXPECT_EQ(port->get_src_location(), "f.v:13");
    EXPECT_TRUE(has_own_file(port));
    port->set_src_location("g.v", 12);
    EXPECT_EQ(port->get_src_location(), "g.v:12");
    // Back at that of the bus, the values go.
    port->set_src_location("f.v", 12);
    EXPECT_FALSE(has_own_file(port));
    EXPECT_FALSE(has_own_line(port));
}

TEST_F(PortLocation, OfAPortThatLeavesItsBusIsItsOwn) {
    bus->set_src_location("f.v", 12);
    bus->set_port(0, port);
    bus->remove_port(port);
    EXPECT_EQ(port->get_src_location(), "");
}

TEST_F(PortDeletion, TakesItsTraits) {
    port->set_src_location("f.v", 12);
    NYX_INT_TRAIT *const trait = NYX_PORT::create_int_trait(db, "weight", 1, "", "", "");
    port->set_value(trait, 5);
    port->deallocate();
    EXPECT_TRUE(NYX_PORT::trait_is_empty(trait));
    NYX_PORT *const made = NYX_PORT::allocate(module, "again", 1);
    EXPECT_EQ(made->get_src_location(), "");
    EXPECT_EQ(made->get_value(trait), 1);
}

// ---- Names

TEST_F(PortName, ShowsWhatTheStyleAsksFor) {
    EXPECT_EQ(port->get_name(), "p");
    EXPECT_EQ(port->get_name({.with_parent = true}), "m|p");
    EXPECT_EQ(port->get_name({.with_type_prefix = true}), "PORT:p");
    EXPECT_EQ(port->get_name({.with_parent = true, .with_type_prefix = true, .parent_separator = '/'}), "PORT:m/p");
    EXPECT_EQ(port->get_original_name(), "p");
    EXPECT_EQ(port->debug_get_name(), "p");
    std::string name = "old";
    port->get_name(name, {.with_parent = true});
    EXPECT_EQ(name, "m|p");
}

TEST_F(PortName, OfABusBitIsWhole) {
    EXPECT_EQ(NYX_PORT::allocate(module, "data[7]", 2)->get_name(), "data[7]");
}

TEST_F(PortName, CanBeChangedToOneThatIsTaken) {
    EVENT_LOG log;
    port->set_name("a");
    EXPECT_EQ(port->get_name(), "a");
    EXPECT_EQ(log.take(), STRINGS({"port a was p"}));
}

TEST_F(PortName, CannotBeEmpty) {
    EVENT_LOG log;
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { port->set_name(""); }),
              RAISED("Port name cannot be empty", "NYX_PORT::set_name"));
    EXPECT_EQ(port->get_name(), "p");
    EXPECT_EQ(log.take(), STRINGS());
}

TEST_F(PortDeletion, LeavesBusAndInterfaceBeforeItsInstPortsGoAndKeepsItsValuesUntilThen) {
    struct LISTENER : NYX_OBSERVER<NYX_INST_PORT> {
        explicit LISTENER(NYX_INTERFACE *of) : NYX_OBSERVER(1), interface(of) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_INST_PORT *inst_port) override {
            const NYX_PORT *const told = inst_port->get_port();
            ++events;
            EXPECT_EQ(told->get_bus(), nullptr);
            EXPECT_TRUE(interface->iter_ports().empty());
            EXPECT_EQ(told->get_src_location(), "f.v:12");
            EXPECT_TRUE(told->has_property("weight"));
            EXPECT_EQ(told->get_name(), "p");
        }
        NYX_INTERFACE *interface;
        int events = 0;
    } listener(NYX_INTERFACE::allocate(module, "itf"));
    listener.interface->add_port(port);
    NYX_PORT_BUS::allocate(module, "b", 0, 1)->set_port(1, port);
    port->set_src_location("f.v", 12);
    port->set_property("weight", 42);
    make_instance("u", module);
    port->deallocate();
    EXPECT_EQ(listener.events, 1);
}

} // namespace
