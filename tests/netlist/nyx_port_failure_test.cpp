#include "netlist_test_support.h"

#include "traits/nyx_builtin_traits.h"

#include <cstdio>
#include <iterator>
#include <utility>

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

TEST_F(PortDeathTest, AnEmptyPlaceIsNotConnected) {
    NYX_NET *const net = NYX_NET::allocate(module, "n");
    NYX_PORT *const empty = *std::next(module->iter_ports().begin());
    EXPECT_DEATH(empty->connect(net), "This port has not been allocated yet");
}

TEST_F(PortDeathTest, AnEmptyPlaceIsNotNamed) {
    NYX_PORT *const empty = *std::next(module->iter_ports().begin());
    EXPECT_DEATH(empty->set_name("b"), "This port has not been allocated yet");
}

TEST_F(PortDeathTest, AWrongConnectionHasBeenTold) {
    struct LISTENER : NYX_OBSERVER<NYX_PORT> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void pre_connect(NYX_PORT *told) override {
            std::fputs(("connect " + told->get_name() + '\n').c_str(), stderr);
        }
        void pre_disconnect(NYX_PORT *told) override {
            std::fputs(("disconnect " + told->get_name() + '\n').c_str(), stderr);
        }
    } listener;
    EXPECT_DEATH(port->connect(nullptr), "^connect a\n(.|\n)*check failed: net \\[");
    EXPECT_DEATH(port->disconnect(), "^disconnect a\n(.|\n)*The port is not connected");
}

TEST_F(PortDeathTest, ALocationWithoutItsTraitsDies) {
    NYX_BUILTIN_TRAITS &traits = *NYX_DB_IMPL::of(*db).m_builtin_traits;
    auto *const file = std::exchange(traits.m_port_file_name_trait, nullptr);
    EXPECT_DEATH(port->get_file_name(), "check failed: file_trait \\[");
    EXPECT_DEATH(port->set_src_location("f", 1), "check failed: file_trait \\[");
    traits.m_port_file_name_trait = file;
    auto *const line = std::exchange(traits.m_port_file_lineno_trait, nullptr);
    EXPECT_DEATH(port->get_file_lineno(), "check failed: line_trait \\[");
    EXPECT_DEATH(port->set_src_location("f", 1), "check failed: line_trait \\[");
    traits.m_port_file_lineno_trait = line;
}

TEST_F(PortDeathTest, ANameThatNobodyKnowsDies) {
    const NYX_NAME_ID kept = std::exchange(port->get_impl()->m_name_id, NYX_NAME_ID(0x7ffffff0u));
    EXPECT_DEATH(port->get_name(), "check failed: found \\[");
    port->get_impl()->m_name_id = kept;
}

} // namespace
