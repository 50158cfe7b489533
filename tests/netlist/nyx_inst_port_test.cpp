// Inst ports: making, deleting, connecting, names.

#include "netlist_test_support.h"

#include <utility>

using namespace netlist_test;

namespace {

class INST_PORT : public DESIGN {
protected:
    NYX_MODULE *cell = make_module(db, "cell", {"a", "z"});
    NYX_INSTANCE *u = make_instance("u", cell);
    NYX_INST_PORT *a = u->get_inst_port_by_index(0);
    NYX_NET *n = NYX_NET::allocate(top, "n");
};

} // namespace

TEST_F(INST_PORT, KnowsItsInstanceItsPortAndItsDatabase) {
    EXPECT_TRUE(a->is_valid());
    EXPECT_EQ(a->get_inst(), u);
    EXPECT_EQ(a->get_port(), cell->find_port("a"));
    EXPECT_EQ(a->get_db(), static_cast<NYX_DB *>(db));
}

TEST_F(INST_PORT, IsOnANetWhenConnected) {
    a->connect(n);
    EXPECT_EQ(a->get_net(), n);
    EXPECT_EQ(*n->iter_inst_ports().begin(), a);
    a->disconnect();
    EXPECT_EQ(a->get_net(), nullptr);
    EXPECT_TRUE(n->iter_inst_ports().empty());
}

TEST_F(INST_PORT, GoesToTheFrontOfItsNet) {
    NYX_INST_PORT *const z = u->find_inst_port("z");
    a->connect(n);
    z->connect(n);
    EXPECT_EQ(names_of(n->iter_inst_ports()), (STRINGS{"z", "a"}));
}

TEST_F(INST_PORT, TellsOfItsConnectionBeforeAndAfter) {
    EVENT_LOG log;
    a->connect(n);
    a->disconnect();
    EXPECT_EQ(log.take(), (STRINGS{"inst port u.a pre_connect", "inst port u.a post_connect on n",
                                   "inst port u.a pre_disconnect on n", "inst port u.a post_disconnect"}));
}

TEST_F(INST_PORT, IsMadeAgainWhereItWasDeleted) {
    a->deallocate();
    EXPECT_FALSE(a->is_valid());
    EXPECT_EQ(a->get_inst(), nullptr);
    EXPECT_EQ(u->get_inst_port_by_index(0), nullptr);
    EXPECT_EQ(u->find_inst_port("a"), nullptr);
    EVENT_LOG log;
    EXPECT_EQ(NYX_INST_PORT::allocate(u, cell->find_port("a")), a);
    EXPECT_EQ(log.take(), (STRINGS{"inst port u.a allocated"}));
    EXPECT_EQ(u->get_inst_port_by_index(0), a);
    EXPECT_EQ(a->get_net(), nullptr);
}

TEST_F(INST_PORT, MadeOnANetTellsOfNoConnection) {
    a->deallocate();
    EVENT_LOG log;
    NYX_INST_PORT::allocate(u, cell->find_port("a"), n);
    EXPECT_EQ(log.take(), (STRINGS{"inst port u.a allocated"}));
    EXPECT_EQ(a->get_net(), n);
    EXPECT_EQ(*n->iter_inst_ports().begin(), a);
}

TEST_F(INST_PORT, IsMadeForAPortThatCameLater) {
    NYX_MODULE *const gap = make_module(db, "gap", {"a", ""});
    NYX_INSTANCE *const v = make_instance("v", gap);
    NYX_PORT *const late = NYX_PORT::allocate(gap, "late", 1);
    EXPECT_EQ(v->get_inst_port_by_index(1), nullptr);
    NYX_INST_PORT *const inst_port = NYX_INST_PORT::allocate(v, late);
    EXPECT_EQ(v->find_inst_port("late"), inst_port);
}

TEST_F(INST_PORT, IsDisconnectedAndToldWhenItIsDeleted) {
    a->connect(n);
    EVENT_LOG log;
    a->deallocate();
    EXPECT_EQ(log.take(), (STRINGS{"inst port u.a pre_disconnect on n", "inst port u.a post_disconnect",
                                   "inst port u.a deallocated"}));
    EXPECT_TRUE(n->iter_inst_ports().empty());
    EXPECT_EQ(u->get_num_inst_ports(), 2u);
}

TEST_F(INST_PORT, TakesItsValuesAlong) {
    NYX_BOOL_TRAIT *const trait = NYX_INST_PORT::create_bool_trait(db, "mark", false, "", "", "");
    a->set_value(trait, true);
    a->set_property("mark", 1);
    a->deallocate();
    NYX_INST_PORT::allocate(u, cell->find_port("a"));
    EXPECT_FALSE(a->get_value(trait));
    EXPECT_FALSE(a->has_property("mark"));
}

TEST_F(INST_PORT, IsDeletedWithItsPort) {
    a->connect(n);
    cell->find_port("a")->deallocate();
    EXPECT_FALSE(a->is_valid());
    EXPECT_EQ(u->get_inst_port_by_index(0), nullptr);
    EXPECT_TRUE(n->iter_inst_ports().empty());
}

TEST_F(INST_PORT, HasThePortsName) {
    EXPECT_EQ(a->get_name(), "a");
    EXPECT_EQ(a->debug_get_name(), "a");
    EXPECT_EQ(a->get_name({.with_parent = true}), "u|a");
    EXPECT_EQ(a->get_name({.with_type_prefix = true}), "INST_PORT:a");
    EXPECT_EQ(a->get_name({.with_parent = true, .with_type_prefix = true, .parent_separator = '.'}), "INST_PORT:u.a");
    std::string name = "old";
    a->get_name(name, {.with_parent = true});
    EXPECT_EQ(name, "u|a");
    cell->find_port("a")->set_name("in");
    EXPECT_EQ(a->get_name(), "in");
}

TEST_F(INST_PORT, HasTheNameThatThePortHasInItsOwnDatabase) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    // Identifiers of names in the two databases differ.
    for (const char *const name : {"p", "q", "r"})
        root_of(lib)->names().get_id(name);
    NYX_INSTANCE *const v = make_instance("v", make_module(lib, "remote", {"clk", "rst"}));
    EXPECT_EQ(names_of(v->iter_inst_ports()), (STRINGS{"clk", "rst"}));
    EXPECT_EQ(v->find_inst_port("rst")->get_name({.with_parent = true}), "v|rst");
}

TEST_F(INST_PORT, KnowsItsPortWhereverItsRowLies) {
    // Runs of several lengths over several pages, with gaps, with empty rows, and with runs between them given back.
    const std::vector<NYX_MODULE *> modules = {make_module(db, "m1", {"a"}), make_module(db, "m4", {"a", "", "c", "d"}),
                                               make_module(db, "m12", STRINGS(12, "p"))};
    std::vector<NYX_INSTANCE *> instances;
    for (unsigned i = 0; i < 300; ++i)
        instances.push_back(make_instance("i" + std::to_string(i), modules[i % modules.size()]));
    for (unsigned i = 0; i < instances.size(); i += 7)
        std::exchange(instances[i], nullptr)->deallocate();
    for (unsigned i = 2; i < instances.size(); i += 5) {
        if (instances[i] != nullptr && instances[i]->get_module() == modules[2])
            instances[i]->get_inst_port_by_index(i % 12)->deallocate();
    }
    unsigned checked = 0;
    for (const NYX_INSTANCE *const instance : instances) {
        for (unsigned i = 0; instance != nullptr && i < instance->get_num_inst_ports(); ++i) {
            if (const NYX_INST_PORT *const inst_port = instance->get_inst_port_by_index(i)) {
                ASSERT_EQ(inst_port->get_port(), instance->get_module()->get_port_by_index(i));
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 1000u);
}
