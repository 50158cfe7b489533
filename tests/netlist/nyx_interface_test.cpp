#include "bus_test_support.h"

#include "netlist/nyx_interface_members.h"
#include "netlist/nyx_port_table.h"
#include "support/temp_dir.h"
#include "traits/nyx_builtin_traits.h"

using namespace bus_test;

namespace {

/// A module "m" with ports a, b, c and a bus v[1:0], and an interface.
class Interface : public DESIGN {
protected:
    Interface() {
        bus->set_port(1, port("v1"));
        bus->set_port(0, port("v0"));
    }
    NYX_PORT *port(const char *name) const { return module->find_port(name); }

    NYX_MODULE *module = make_module(db, "m", {"a", "b", "c", "v0", "v1"});
    NYX_PORT_BUS *bus = NYX_PORT_BUS::allocate(module, "v", 1, 0);
    NYX_INTERFACE *interface = NYX_INTERFACE::allocate(module, "i");
};

using InterfaceDeathTest = Interface;

TEST_F(Interface, IsNewAndEmptyAtTheFrontOfItsModule) {
    NYX_INTERFACE *const other = NYX_INTERFACE::allocate(module, "j");
    EXPECT_EQ(names_of(module->iter_interfaces()), STRINGS({"j", "i"}));
    EXPECT_EQ(module->find_interface("i"), interface);
    EXPECT_EQ(interface->get_parent(), module);
    EXPECT_EQ(interface->get_db(), db);
    EXPECT_FALSE(other->is_start());
    EXPECT_FALSE(other->is_end());
    EXPECT_TRUE(interface->iter_ports().empty());
    EXPECT_TRUE(interface->const_iter_port_buses().empty());
}

TEST_F(Interface, CountsItsListsInStatistics) {
    const auto bytes_of = [this](const std::string &field_name) {
        const NYX_STATS stats = db->get_internal_stats();
        for (const NYX_TYPE_STATS &type : stats.get_type_stats())
            for (const NYX_FIELD_STATS &field : type.get_field_stats())
                if (type.get_type() == "NYX_INTERFACE_TABLE" && field.get_type() == field_name)
                    return field.get_bytes();
        return -1L;
    };
    EXPECT_EQ(bytes_of("*ports"), 0);
    EXPECT_EQ(bytes_of("*port_buses"), 0);
    interface->add_port(port("a"));
    EXPECT_EQ(bytes_of("*ports"), 32 + 4 * 8) << "the list, and the room it takes at first";
    EXPECT_EQ(bytes_of("*port_buses"), 0);
    interface->add_port_bus(bus);
    EXPECT_EQ(bytes_of("*port_buses"), 32 + 4 * 8);
    interface->deallocate();
    EXPECT_EQ(bytes_of("*ports"), 0);
    EXPECT_EQ(bytes_of("*port_buses"), 0);
}

TEST_F(Interface, IsStartOrEnd) {
    interface->set_end();
    EXPECT_TRUE(interface->is_end());
    interface->set_start();
    EXPECT_TRUE(interface->is_start());
    EXPECT_FALSE(interface->is_end());
    interface->set_end();
    EXPECT_FALSE(interface->is_start());
    EXPECT_TRUE(interface->is_end());
}

TEST_F(Interface, HasPortsInTheOrderOfTheirAdding) {
    for (const char *const name : {"c", "a", "b"})
        interface->add_port(port(name));
    EXPECT_EQ(names_of(interface->iter_ports()), STRINGS({"c", "a", "b"}));
    EXPECT_EQ(port("a")->get_interface(), interface);
    interface->remove_port(port("a"));
    EXPECT_EQ(names_of(interface->const_iter_ports()), STRINGS({"c", "b"}));
    EXPECT_EQ(port("a")->get_interface(), nullptr);
    interface->add_port(port("a"));
    EXPECT_EQ(names_of(interface->iter_ports()), STRINGS({"c", "b", "a"}));
}

TEST_F(Interface, HasBusesWithAllTheirPorts) {
    interface->add_port_bus(bus);
    EXPECT_EQ(names_of(interface->iter_port_buses()), STRINGS({"v"}));
    EXPECT_TRUE(interface->iter_ports().empty());
    EXPECT_EQ(bus->get_interface(), interface);
    EXPECT_EQ(port("v0")->get_interface(), interface);
    EXPECT_EQ(port("v1")->get_interface(), interface);
    interface->remove_port_bus(bus);
    EXPECT_TRUE(interface->iter_port_buses().empty());
    EXPECT_EQ(bus->get_interface(), nullptr);
    EXPECT_EQ(port("v0")->get_interface(), nullptr);
}

TEST_F(Interface, LeavesItsMembersWhenItIsDeleted) {
    interface->add_port(port("a"));
    interface->add_port_bus(bus);
    interface->deallocate();
    EXPECT_EQ(port("a")->get_interface(), nullptr);
    EXPECT_EQ(bus->get_interface(), nullptr);
    EXPECT_TRUE(module->iter_interfaces().empty());
    // The row is used again, and nothing is in it.
    NYX_INTERFACE *const next = NYX_INTERFACE::allocate(module, "j");
    EXPECT_TRUE(next->iter_ports().empty());
    EXPECT_EQ(port("a")->get_interface(), nullptr);
    EXPECT_FALSE(next->is_start());
}

TEST_F(Interface, LosesMembersThatAreDeleted) {
    interface->add_port(port("a"));
    interface->add_port(port("b"));
    interface->add_port_bus(bus);
    port("a")->deallocate();
    bus->deallocate();
    EXPECT_EQ(names_of(interface->iter_ports()), STRINGS({"b"}));
    EXPECT_TRUE(interface->iter_port_buses().empty());
    EXPECT_EQ(port("v0")->get_interface(), nullptr);
}

TEST_F(Interface, LosesAPortThatWasPutInABusFirst) {
    interface->add_port(port("a"));
    NYX_PORT_BUS *const later = NYX_PORT_BUS::allocate(module, "w", 0, 0);
    later->set_port(0, port("a"));
    EXPECT_EQ(port("a")->get_interface(), nullptr);
    interface->remove_port(port("a"));
    EXPECT_TRUE(interface->iter_ports().empty());
    later->set_port(0, nullptr);
    EXPECT_EQ(port("a")->get_interface(), nullptr);
}

TEST_F(Interface, FollowsPortsThatMove) {
    for (const char *const name : {"c", "a"})
        interface->add_port(port(name));
    interface->add_port_bus(bus);
    module->increase_num_ports(200);
    EXPECT_EQ(names_of(interface->iter_ports()), STRINGS({"c", "a"}));
    EXPECT_EQ(*interface->iter_ports().begin(), port("c"));
    EXPECT_EQ(port("c")->get_interface(), interface);
    EXPECT_EQ(port("v1")->get_interface(), interface);
    EXPECT_EQ(port("b")->get_interface(), nullptr);
    port("a")->deallocate();
    port("b")->deallocate();
    module->update_num_ports();
    EXPECT_EQ(names_of(interface->iter_ports()), STRINGS({"c"}));
    EXPECT_EQ(*interface->iter_ports().begin(), port("c"));
    EXPECT_EQ(port("c")->get_interface(), interface);
    interface->remove_port(port("c"));
    EXPECT_EQ(port("c")->get_interface(), nullptr);
}

TEST_F(Interface, GoesWithItsModule) {
    interface->add_port(port("a"));
    interface->add_port_bus(bus);
    EVENT_LOG log;
    module->deallocate();
    const STRINGS events = log.take();
    EXPECT_EQ(events.back(), "interface i deallocated in m");
}

TEST_F(Interface, SurvivesASaveAndALoad) {
    const TEMP_DIR dir;
    const std::string path = (dir / "saved.nyx").string();
    NYX_DB *const saved = NYX_DB::create(path.c_str(), 64, NYX_DB_TYPE::USER);
    NYX_MODULE *const saved_module = make_module(saved, "s", {"a", "b", "c"});
    NYX_INTERFACE *const saved_interface = NYX_INTERFACE::allocate(saved_module, "i");
    saved_interface->set_start();
    saved_interface->add_port(saved_module->find_port("c"));
    saved_interface->add_port(saved_module->find_port("a"));
    NYX_PORT_BUS *const saved_bus = NYX_PORT_BUS::allocate(saved_module, "v", 0, 0);
    saved_bus->set_port(0, saved_module->find_port("b"));
    saved_interface->add_port_bus(saved_bus);
    saved->close();

    NYX_DB *const loaded = NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
    NYX_INTERFACE *const loaded_interface = loaded->find_local_module("s")->find_interface("i");
    EXPECT_TRUE(loaded_interface->is_start());
    EXPECT_EQ(names_of(loaded_interface->iter_ports()), STRINGS({"c", "a"}));
    EXPECT_EQ(names_of(loaded_interface->iter_port_buses()), STRINGS({"v"}));
    EXPECT_EQ((*loaded_interface->iter_ports().begin())->get_interface(), loaded_interface);
    EXPECT_EQ((**loaded_interface->iter_port_buses().begin())[0]->get_interface(), loaded_interface);
    loaded->close();
}

TEST_F(Interface, GivesItsMemoryBack) {
    const auto cycle = [this] {
        NYX_INTERFACE *const made = NYX_INTERFACE::allocate(module, "j");
        made->add_port(port("a"));
        made->add_port_bus(bus);
        made->deallocate();
    };
    cycle();
    const auto used = db->get_internal_stats().get_used();
    for (int i = 0; i < 10; ++i)
        cycle();
    EXPECT_EQ(db->get_internal_stats().get_used(), used);
}

TEST_F(Interface, TellsObservers) {
    EVENT_LOG log;
    NYX_INTERFACE *const other = NYX_INTERFACE::allocate(module, "j");
    other->set_name("k");
    other->deallocate();
    EXPECT_EQ(log.take(), STRINGS({"interface j allocated in m", "interface k was j", "interface k deallocated in m"}));
}

TEST_F(Interface, PrintsItsName) {
    EXPECT_EQ(interface->get_name(), "i");
    EXPECT_EQ(interface->debug_get_name(), "i");
    EXPECT_EQ(interface->get_name({.with_parent = true, .with_type_prefix = true}), "ITF:m|i");
    std::string name = "old";
    interface->get_name(name);
    EXPECT_EQ(name, "i");
}

TEST_F(Interface, IsFoundByItsNewName) {
    EXPECT_EQ(module->find_interface("i"), interface);
    interface->set_name("j");
    EXPECT_EQ(module->find_interface("i"), nullptr);
    EXPECT_EQ(module->find_interface("j"), interface);
    EXPECT_RAISED(interface->set_name(""), NYX_INVALID_ARGUMENT, "Interface name cannot be empty",
                  "NYX_INTERFACE::set_name");
    EXPECT_EQ(interface->get_name(), "j");
}

TEST_F(Interface, HasASourceLocation) {
    EXPECT_EQ(interface->get_src_location(), "");
    interface->set_src_location("a.v", 12);
    EXPECT_EQ(interface->get_src_location(), "a.v:12");
    interface->set_file_name("b.v");
    interface->set_file_lineno(3);
    EXPECT_EQ(interface->get_file_name(), "b.v");
    EXPECT_EQ(interface->get_file_lineno(), 3u);
    interface->set_src_location(nullptr, 0);
    EXPECT_EQ(interface->get_file_name(), "");
}

TEST_F(Interface, RefusesMembersOfAnotherModule) {
    NYX_MODULE *const other = make_module(db, "o", {"x", "y"});
    NYX_PORT_BUS *const other_bus = NYX_PORT_BUS::allocate(other, "w", 0, 0);
    EXPECT_RAISED(interface->add_port(other->find_port("x")), NYX_INVALID_ARGUMENT,
                  "port desn't belong to the same module as the interface i", "NYX_INTERFACE::add_port");
    EXPECT_RAISED(interface->add_port_bus(other_bus), NYX_INVALID_ARGUMENT,
                  "port_bus desn't belong to the same module as the interface i", "NYX_INTERFACE::add_port_bus");
    EXPECT_TRUE(interface->iter_ports().empty());
    EXPECT_TRUE(interface->iter_port_buses().empty());
    EXPECT_EQ(other->find_port("x")->get_interface(), nullptr);
    EXPECT_EQ(other_bus->get_interface(), nullptr);
}

TEST_F(Interface, RefusesAPortOfABus) {
    EXPECT_RAISED(interface->add_port(port("v0")), NYX_INVALID_ARGUMENT, "Cannot add a port in a bus to interface",
                  "NYX_PORT::set_interface");
    EXPECT_TRUE(interface->iter_ports().empty());
    bus->set_port(0, nullptr);
    EXPECT_EQ(port("v0")->get_interface(), nullptr);
}

TEST_F(Interface, RefusesNull) {
    EXPECT_RAISED(interface->add_port(nullptr), NYX_INVALID_ARGUMENT, "port to add cannot be NULL",
                  "NYX_INTERFACE::add_port");
    EXPECT_RAISED(interface->remove_port(nullptr), NYX_INVALID_ARGUMENT, "port to remove cannot be NULL",
                  "NYX_INTERFACE::remove_port");
    EXPECT_RAISED(interface->add_port_bus(nullptr), NYX_INVALID_ARGUMENT, "port_bus to add cannot be NULL",
                  "NYX_INTERFACE::add_port_bus");
    EXPECT_RAISED(interface->remove_port_bus(nullptr), NYX_INVALID_ARGUMENT, "port_bus to remove cannot be NULL",
                  "NYX_INTERFACE::remove_port_bus");
}

TEST_F(InterfaceDeathTest, NeedsAParentAndAName) {
    EXPECT_DEATH(NYX_INTERFACE::allocate(nullptr, "j"), "check failed: parent: Parent must be non-null");
    EXPECT_DEATH(NYX_INTERFACE::allocate(module, ""),
                 "check failed: !name.empty\\(\\): Interface must have non-empty name");
}

TEST_F(InterfaceDeathTest, TakesAMemberOnce) {
    NYX_INTERFACE *const other = NYX_INTERFACE::allocate(module, "j");
    other->add_port(port("a"));
    other->add_port_bus(bus);
    constexpr const char *text = "check failed: !obj->get_interface\\(\\): Attempt to add already owned object";
    EXPECT_DEATH(interface->add_port(port("a")), text);
    EXPECT_DEATH(other->add_port(port("a")), text);
    EXPECT_DEATH(interface->add_port_bus(bus), text);
    EXPECT_DEATH(interface->add_port(port("v0")), text);
}

TEST_F(InterfaceDeathTest, RemovesOnlyItsMembers) {
    NYX_INTERFACE *const other = NYX_INTERFACE::allocate(module, "j");
    other->add_port(port("a"));
    other->add_port_bus(bus);
    constexpr const char *text = "check failed: obj->get_interface\\(\\) == this: Attempt to remove object from "
                                 "non-owner";
    EXPECT_DEATH(interface->remove_port(port("a")), text);
    EXPECT_DEATH(interface->remove_port(port("b")), text);
    EXPECT_DEATH(interface->remove_port_bus(bus), text);
    // It is in the interface by its bus.
    EXPECT_DEATH(other->remove_port(port("v0")), text);
}

TEST_F(Interface, IsFoundAmongManyWhateverChanges) {
    std::vector<NYX_INTERFACE *> many;
    for (int n = 0; n < 40; ++n)
        many.push_back(NYX_INTERFACE::allocate(module, "i" + std::to_string(n)));
    EXPECT_EQ(module->find_interface("i0"), many[0]);
    many[0]->set_name("x");
    EXPECT_EQ(module->find_interface("i0"), nullptr);
    EXPECT_EQ(module->find_interface("x"), many[0]);
    many[1]->deallocate();
    EXPECT_EQ(module->find_interface("i1"), nullptr);
}

TEST_F(Interface, HasItsMembersWhenObserversHearOfItsDeletion) {
    struct LISTENER : NYX_OBSERVER<NYX_INTERFACE> {
        LISTENER() : NYX_OBSERVER<NYX_INTERFACE>(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_INTERFACE *object, NYX_MODULE *) override {
            members = names_of(object->iter_ports());
            buses = names_of(object->iter_port_buses());
        }
        STRINGS members, buses;
    } listener;
    interface->add_port(port("a"));
    interface->add_port_bus(bus);
    interface->deallocate();
    EXPECT_EQ(listener.members, STRINGS({"a"}));
    EXPECT_EQ(listener.buses, STRINGS({"v"}));
}

// Whether the lists of interfaces and what their members say agree.
TEST_F(Interface, ThatDiffersFromWhatItsMembersSayIsFoundByTheCheck) {
    interface->add_port(port("a"));
    interface->add_port_bus(bus);
    expect_sound(db);
    const NYX_BUILTIN_TRAITS &traits = NYX_BUILTIN_TRAITS::of(db);
    const auto id_of = [this](const char *name) {
        return std::to_string(NYX_PORT_TABLE::get_id(port(name)->get_impl()).get());
    };
    port("b")->set_value(traits.m_port_interface_id_trait, 0);
    port("a")->set_value(traits.m_port_interface_id_trait, -1);
    bus->set_value(traits.m_port_bus_interface_id_trait, 7);
    EXPECT_EQ(nyx_check_netlist(*root_of(db)),
              STRINGS({"port " + id_of("b") + " says that it is in interface 0, which does not list it",
                       "port " + id_of("a") + " is in the list of interface 0, but does not say so",
                       "port bus 0 says that it is in interface 7, which does not list it",
                       "port bus 0 is in the list of interface 0, but does not say so"}));
    bus->set_value(traits.m_port_bus_interface_id_trait, 0);
    port("b")->set_value(traits.m_port_interface_id_trait, -1);
    port("a")->set_value(traits.m_port_interface_id_trait, 0);
}

TEST_F(Interface, ThatListsPortsOfAnotherModuleOrTwiceIsFoundByTheCheck) {
    interface->add_port(port("a"));
    interface->add_port(port("b"));
    NYX_MODULE *const other = make_module(db, "n", {"p"});
    auto &members = *nyx_interface_members<NYX_PORT>(interface->get_impl());
    const auto expect_fault = [this](const std::string &text) {
        const STRINGS faults = nyx_check_netlist(*root_of(db));
        ASSERT_FALSE(faults.empty());
        EXPECT_EQ(faults.front(), "module 'm' (1): interface 'i' (0): " + text);
    };
    const auto id_of = [](NYX_PORT *of) { return std::to_string(NYX_PORT_TABLE::get_id(of->get_impl()).get()); };
    members[1] = other->find_port("p");
    expect_fault("port " + id_of(other->find_port("p")) + " is in its list, but not one of the module");
    members[1] = port("a");
    expect_fault("port " + id_of(port("a")) + " is in a list of an interface twice");
    members[1] = reinterpret_cast<NYX_PORT *>(&members);
    expect_fault("a port in its list does not exist");
    members[1] = port("b");
}

TEST_F(InterfaceDeathTest, DoesNotTakeOutWhatItDoesNotList) {
    const NYX_BUILTIN_TRAITS &traits = NYX_BUILTIN_TRAITS::of(db);
    port("a")->set_value(traits.m_port_interface_id_trait, 0);
    EXPECT_DEATH(interface->remove_port(port("a")), "check failed: members");
    interface->add_port(port("b"));
    EXPECT_DEATH(interface->remove_port(port("a")), "check failed: place != members->end\\(\\)");
    port("a")->set_value(traits.m_port_interface_id_trait, -1);
}

TEST_F(Interface, OfABusLeadsOverTheNetsOfItsPorts) {
    NYX_INTERFACE *const other = NYX_INTERFACE::allocate(module, "j");
    other->add_port(port("a"));
    interface->add_port_bus(bus);
    NYX_NET *const net = NYX_NET::allocate(module, "n");
    port("v0")->connect(net);
    port("a")->connect(net);
    EXPECT_EQ(names_of(interface->get_interface_net().iter_interfaces()), STRINGS({"j", "i"}));
}

TEST_F(Interface, IsSeenOnInstancesInAnotherDatabase) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const cell = make_module(lib, "cell", {"a", "b"});
    NYX_INTERFACE *const remote = NYX_INTERFACE::allocate(cell, "r");
    remote->add_port(cell->find_port("a"));
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE *const w = make_instance("w", cell);
    NYX_NET *const n = NYX_NET::allocate(top, "n");
    u->find_inst_port("a")->connect(n);
    w->find_inst_port("a")->connect(n);
    const NYX_INTERFACE_INSTANCE value(u, remote);
    EXPECT_EQ(value.get_db(), static_cast<NYX_DB *>(db));
    EXPECT_EQ(value.get_interface_net().iter_interface_instances().size(), 2u);
}

TEST_F(Interface, ComesOverAPortThatWasPutInABusOnce) {
    interface->add_port(port("a"));
    NYX_PORT_BUS *const own = NYX_PORT_BUS::allocate(module, "w", 0, 0);
    own->set_port(0, port("a"));
    interface->add_port_bus(own);
    NYX_INSTANCE *const u = make_instance("u", module);
    EXPECT_EQ(names_of(u->get_interface_instance(interface).iter_inst_ports()), STRINGS({"a"}));
}

} // namespace
