// Inst ports whose port was deleted while the instance's database was closed, so that they could not follow.

#include "netlist_test_support.h"
#include "support/temp_dir.h"

using namespace netlist_test;

namespace {

/// A library whose cell has lost its port b of a, b and c, and a design with an instance from before that, the inst
/// ports of which are on nets of their names.
class StaleInstPort : public testing::Test {
protected:
    StaleInstPort() {
        const std::string path = dir / "design.nyx";
        db = NYX_DB::create(path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
        NYX_MODULE *const old_top = NYX_MODULE::allocate(db, "top", 0);
        for (NYX_INST_PORT *const inst_port : NYX_INSTANCE::allocate(old_top, "u", cell)->iter_inst_ports())
            inst_port->connect(NYX_NET::allocate(old_top, inst_port->get_name()));
        db->close();
        cell->find_port("b")->deallocate();
        db = NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::MODIFY);
        top = db->find_local_module("top");
        u = top->find_instance("u");
        stale = u->get_inst_port_by_index(1);
    }
    ~StaleInstPort() override {
        db->disable_commit_on_close();
        db->close();
    }

    STRINGS inst_ports() const {
        STRINGS names;
        for (const NYX_INST_PORT *const inst_port : u->const_iter_inst_ports())
            names.push_back(inst_port->is_valid() ? inst_port->get_name() : "-");
        return names;
    }

    const TEMP_DIR dir;
    const SCOPED_DB library{"library", NYX_DB_TYPE::COMPONENT};
    NYX_MODULE *cell = make_module(library, "cell", {"a", "b", "c"});
    NYX_DB *db;
    NYX_MODULE *top;
    NYX_INSTANCE *u;
    NYX_INST_PORT *stale;
};

TEST_F(StaleInstPort, IsNamedByItsIndex) {
    EXPECT_TRUE(stale->is_valid());
    EXPECT_EQ(stale->get_port(), nullptr);
    EXPECT_EQ(stale->get_name(), "<deleted port 1>");
    EXPECT_EQ(stale->get_name({.with_parent = true, .with_type_prefix = true}), "INST_PORT:u|<deleted port 1>");
}

TEST_F(StaleInstPort, IsToldByVerify) {
    EXPECT_EQ(db->verify(),
              STRINGS({"module 'top': instance 'u' (0): inst port 1 stands for a port that module 'cell' of database "
                       "'library' has lost; update_num_ports() of that module takes it away"}));
}

TEST_F(StaleInstPort, IsDeletedWhenThePortsAreCompacted) {
    EVENT_LOG log;
    cell->update_num_ports();
    const STRINGS events = log.take();
    ASSERT_GE(events.size(), 3u);
    EXPECT_EQ(STRINGS(events.begin(), events.begin() + 3),
              STRINGS({"inst port u.<deleted port 1> pre_disconnect on b",
                       "inst port u.<deleted port 1> post_disconnect", "inst port u.<deleted port 1> deallocated"}));
    EXPECT_EQ(inst_ports(), STRINGS({"a", "c"}));
    EXPECT_TRUE(top->find_net("b")->iter_inst_ports().empty());
    EXPECT_EQ(u->find_inst_port("c")->get_net(), top->find_net("c"));
    EXPECT_EQ(db->verify(), STRINGS());
}

TEST_F(StaleInstPort, IsDeletedWhenPlacesForPortsAreAdded) {
    cell->increase_num_ports(1);
    EXPECT_EQ(inst_ports(), STRINGS({"a", "c", "-", "-"}));
    EXPECT_EQ(db->verify(), STRINGS());
}

TEST_F(StaleInstPort, IsLeftOutByAChangeOfTheModule) {
    u->change_module(make_module(library, "other", {"c", "b"}));
    EXPECT_EQ(inst_ports(), STRINGS({"c", "b"}));
    EXPECT_EQ(u->find_inst_port("c")->get_net(), top->find_net("c"));
    EXPECT_EQ(u->find_inst_port("b")->get_net(), nullptr);
    EXPECT_EQ(db->verify(), STRINGS());
}

TEST_F(StaleInstPort, IsInNoInterface) {
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(cell, "i");
    interface->add_port(cell->find_port("a"));
    u->find_inst_port("a")->disconnect();
    u->find_inst_port("a")->connect(top->find_net("b"));
    EXPECT_EQ(u->get_interface_instance(interface).get_interface_net().iter_interface_instances().size(), 1u);
}

TEST_F(StaleInstPort, GoesWithItsInstance) {
    u->deallocate();
    EXPECT_TRUE(top->find_net("b")->iter_inst_ports().empty());
    EXPECT_EQ(db->verify(), STRINGS());
}

} // namespace
