#include "netlist_test_support.h"

#include "traits/nyx_builtin_traits.h"

using namespace netlist_test;

namespace {

class PortDeathTest : public DESIGN {
protected:
    NYX_MODULE *module = make_module(db, "m", {"a", ""});
    NYX_PORT *port = module->get_port_by_index(0);
};

TEST_F(PortDeathTest, WithoutAModuleDies) {
    EXPECT_DEATH(NYX_PORT::allocate(nullptr, "p", 0), "check failed: parent: Parent must be non-null");
}

TEST_F(PortDeathTest, OfNoNameDies) {
    EXPECT_DEATH(NYX_PORT::allocate(module, "", 1), "check failed: !name.empty\\(\\): Port must have non-empty name");
}

TEST_F(PortDeathTest, BehindTheLastPlaceDies) {
    EXPECT_DEATH(NYX_PORT::allocate(module, "p", 2),
                 "check failed: index < parent_impl->get_num_ports\\(\\): Index 2 exceeds total number of ports 2");
    EXPECT_DEATH(NYX_PORT::allocate(top, "p", 0), "Index 0 exceeds total number of ports 0");
}

TEST_F(PortDeathTest, InATakenPlaceDies) {
    module->set_file_name("f.v");
    EXPECT_DEATH(NYX_PORT::allocate(module, "p", 0),
                 "check failed: !port->get_parent\\(\\): Duplicate allocation of port p in module m file f.v");
}

TEST_F(PortDeathTest, InAModuleThatLostItsRunDies) {
    module->get_impl()->m_first_port = NYX_PORT_ID::INVALID;
    EXPECT_DEATH(NYX_PORT::allocate(module, "p", 1), "check failed: id != NYX_PORT_ID::INVALID");
    module->get_impl()->m_first_port = NYX_PORT_ID(0);
}

TEST_F(PortDeathTest, DeletedTwiceDies) {
    port->deallocate();
    EXPECT_DEATH(port->deallocate(), "check failed: parent: This port has not been allocated yet");
}

TEST_F(PortDeathTest, IndexOfAnEmptyPlaceDies) {
    port->deallocate();
    EXPECT_DEATH(port->get_index(), "This port has not been allocated yet");
}

TEST_F(PortDeathTest, ConnectedToNothingDies) {
    EXPECT_DEATH(port->connect(nullptr), "check failed: net \\[");
}

TEST_F(PortDeathTest, ConnectedTwiceDies) {
    NYX_NET *const net = NYX_NET::allocate(module, "n");
    port->connect(net);
    EXPECT_DEATH(port->connect(net), "check failed: !obj_impl->get_net_ptr\\(\\)");
}

TEST_F(PortDeathTest, ConnectedAcrossDatabasesDies) {
    const SCOPED_DB other("other");
    NYX_NET *const net = NYX_NET::allocate(NYX_MODULE::allocate(other, "m", 0), "n");
    EXPECT_DEATH(port->connect(net), "Port and net need to be in the same database");
    EXPECT_DEATH(NYX_PORT::allocate(module, "p", 1, net), "Port and net need to be in the same database");
}

TEST_F(PortDeathTest, DisconnectedFromNothingDies) {
    EXPECT_DEATH(port->disconnect(), "check failed: net: The port is not connected");
}

TEST_F(PortDeathTest, ALineBelowZeroDies) {
    port->set_value(NYX_BUILTIN_TRAITS::of(db).m_port_file_lineno_trait, -1);
    EXPECT_DEATH(port->get_file_lineno(), "check failed: lineno >= 0 \\[");
    EXPECT_DEATH(port->set_src_location("f", 0x80000000u), "check failed: lineno >= 0 \\[");
}

} // namespace
