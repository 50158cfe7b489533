// What port buses have beyond the other buses: directions, interfaces, and ports that move and have locations.
#include "bus_test_support.h"

using namespace bus_test;

namespace {

using PortBus = BUS_TEST<PORTS>;

TEST_F(PortBus, SetsTheDirectionOfEachPort) {
    NYX_PORT_BUS *const bus = make_full("a", 2, 0);
    bus->set_port(1, nullptr);
    bus->set_input();
    EXPECT_TRUE((*bus)[2]->is_input());
    EXPECT_TRUE((*bus)[0]->is_input());
    EXPECT_TRUE(bus->is_input());
    EXPECT_FALSE(bus->is_output());
    EXPECT_FALSE(bus->is_bidir());
    bus->set_output();
    EXPECT_TRUE((*bus)[0]->is_output());
    EXPECT_TRUE(bus->is_output());
    bus->set_bidir();
    EXPECT_TRUE((*bus)[0]->is_bidir());
    EXPECT_TRUE(bus->is_bidir());
    EXPECT_FALSE(bus->is_input());
}

TEST_F(PortBus, HasTheDirectionOfItsFirstPort) {
    NYX_PORT_BUS *const bus = make_full("a", 2, 0);
    bus->set_port(2, nullptr);
    (*bus)[1]->set_output();
    (*bus)[0]->set_input();
    EXPECT_TRUE(bus->is_output());
    EXPECT_FALSE(bus->is_input());
}

TEST_F(PortBus, WithoutPortsHasNoDirection) {
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "a", 1, 0);
    bus->set_bidir();
    EXPECT_FALSE(bus->is_input());
    EXPECT_FALSE(bus->is_output());
    EXPECT_FALSE(bus->is_bidir());
}

TEST_F(PortBus, FollowsPortsThatMove) {
    NYX_PORT_BUS *const bus = make_full("a", 2, 0);
    NYX_PORT *const single = make("x");
    bus->set_port(1, nullptr);
    module->increase_num_ports(200);
    EXPECT_EQ(names_of(bus->iter_ports()), STRINGS({"a2", "-", "a0"}));
    EXPECT_EQ((*bus)[2]->get_bus(), bus);
    EXPECT_EQ((*bus)[2], module->find_port("a2"));
    EXPECT_NE(module->find_port("x"), single);
    module->find_port("a1")->deallocate();
    module->update_num_ports();
    EXPECT_EQ(names_of(bus->iter_ports()), STRINGS({"a2", "-", "a0"}));
    EXPECT_EQ((*bus)[0]->get_bus(), bus);
    EXPECT_EQ(bus->remove_port(module->find_port("a0")), 0);
}

} // namespace
