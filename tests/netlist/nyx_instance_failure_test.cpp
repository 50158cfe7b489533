// What ends the run in instances, inst ports and headers.

#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_module_table.h"
#include "netlist_test_support.h"
#include "traits/nyx_builtin_traits.h"

#include <utility>

using namespace netlist_test;

namespace {

class INSTANCE_DEATH : public DESIGN {
protected:
    NYX_MODULE *cell = make_module(db, "cell", {"a", "z"});
};
using INST_PORT_DEATH = INSTANCE_DEATH;
using HEADER_DEATH = INSTANCE_DEATH;
using USERS_DEATH = INSTANCE_DEATH;

} // namespace

TEST_F(INSTANCE_DEATH, OfAModuleInItself) {
    EXPECT_DEATH(NYX_INSTANCE::allocate(cell, "u", cell), "check failed: parent != module");
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_DEATH(u->change_module(top), "check failed: parent != module");
    NYX_MODULE *const outer = make_module(db, "outer", {"a", "z"});
    EXPECT_DEATH(NYX_INSTANCE::allocate(outer, "v", cell)->set_module(outer), "check failed: parent != module");
}

TEST_F(INSTANCE_DEATH, OfNoName) {
    EXPECT_DEATH(make_instance("", cell), "!inst_name.empty\\(\\): Instance must have non-empty name");
}

TEST_F(INSTANCE_DEATH, AcrossTheBordersOfADevice) {
    SCOPED_DB device("device", NYX_DB_TYPE::DEVICE);
    NYX_MODULE *const in_device = make_module(device, "m");
    constexpr const char *text = "!top_db->is_device\\(\\) && !leaf_db->is_device\\(\\): Device dbs are not supported";
    EXPECT_DEATH(make_instance("u", in_device), text);
    EXPECT_DEATH(NYX_INSTANCE::allocate(in_device, "u", cell), text);
    NYX_PARAM_VALUES params;
    params.set("width", 4);
    EXPECT_DEATH(NYX_INSTANCE::allocate(top, "u", in_device, false, &params), text);
    // Within it there is nothing against them.
    EXPECT_NE(NYX_INSTANCE::allocate(in_device, "u", make_module(device, "n")), nullptr);
}

TEST_F(INSTANCE_DEATH, OfAnIndexThatNoPortHas) {
    NYX_MODULE *const with_file = NYX_MODULE::allocate(db, "filed", 2, NYX_MODULE::TYPE::SGATE, "filed.v", 3);
    NYX_INSTANCE *const u = make_instance("u", with_file);
    EXPECT_DEATH(u->get_inst_port_by_index(2),
                 "index < get_module\\(\\)->get_impl\\(\\)->get_num_ports\\(\\): Attempt to access inst_port index "
                 "\\(2\\) > module num_ports \\(2\\) inst u module filed file filed.v");
}

TEST_F(INSTANCE_DEATH, OfAPortOfAnotherModule) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_PORT *const foreign = make_module(db, "other", {"q"})->get_port_by_index(0);
    EXPECT_DEATH(u->get_inst_port_for_port(foreign),
                 "port->get_parent\\(\\) == get_module\\(\\): This port q doesn't belong to the module cell");
}

TEST_F(INSTANCE_DEATH, OfAnUnknownFlag) {
    EXPECT_DEATH(NYX_INSTANCE::get_name_of_trait(static_cast<NYX_INSTANCE::TRAIT>(1)), "Unknown NYX_INSTANCE::TRAIT");
}

TEST_F(INSTANCE_DEATH, ThatHasNeitherModuleNorHeader) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_DEATH(
        {
            u->get_impl()->m_module_ptr = nullptr;
            u->get_module();
        },
        "check failed: header: no header or module");
}

TEST_F(INSTANCE_DEATH, WhoseModuleHasLostCount) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_DEATH(
        {
            *root_of(db)->table<NYX_MODULE>().m_reference_count.get(NYX_MODULE_TABLE::get_id(cell->get_impl())) = 0;
            u->deallocate();
        },
        "check failed: ref_count > 0");
}

TEST_F(INSTANCE_DEATH, SetToAModuleInAnotherDatabase) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_DEATH(u->set_module(make_module(lib, "cell", {"a", "z"})),
                 "current_module->get_db\\(\\) == new_module->get_db\\(\\): Current and new module need to be in same "
                 "database");
}

TEST_F(INSTANCE_DEATH, SetToAModuleWithOtherPorts) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_DEATH(u->set_module(make_module(db, "more", {"a", "z", "y"})),
                 "current_module->get_num_ports\\(\\) == new_module->get_num_ports\\(\\): Current and new module need "
                 "the same number of ports");
    constexpr const char *text =
        "port->get_name\\(\\) == new_port->get_name\\(\\): Current and new module need to have "
        "the same ports with the same names";
    EXPECT_DEATH(u->set_module(make_module(db, "named", {"a", "y"})), text);
    EXPECT_DEATH(u->set_module(make_module(db, "swapped", {"z", "a"})), text);
    EXPECT_DEATH(u->set_module(make_module(db, "gap", {"a", ""})), text);
    NYX_INSTANCE *const v = make_instance("v", make_module(db, "gap", {"a", ""}));
    EXPECT_DEATH(v->set_module(cell), text);
}

// ---- Inst ports

TEST_F(INST_PORT_DEATH, OfNoInstanceOrNoPort) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_DEATH(NYX_INST_PORT::allocate(nullptr, cell->find_port("a")), "inst: Instance must be non-null");
    EXPECT_DEATH(NYX_INST_PORT::allocate(u, nullptr), "port: Port must be non-null");
}

TEST_F(INST_PORT_DEATH, OfADeletedOrForeignPort) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    u->set_src_location("top.v", 4);
    NYX_PORT *const foreign = make_module(db, "other", {"q"})->get_port_by_index(0);
    EXPECT_DEATH(NYX_INST_PORT::allocate(u, foreign),
                 "port->get_parent\\(\\) == inst->get_module\\(\\): Error creating inst_port on inst u in module top "
                 "top.v:4. Port parent is other instead of cell");
    NYX_PORT *const deleted = cell->find_port("a");
    deleted->deallocate();
    EXPECT_DEATH(NYX_INST_PORT::allocate(u, deleted),
                 "port->get_parent\\(\\): Error creating inst_port on inst u in module top top.v:4. Port has not been "
                 "allocated yet");
}

TEST_F(INST_PORT_DEATH, InAnInstanceWithoutRun) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_DEATH(
        {
            *root_of(db)->table<NYX_INSTANCE>().m_first_inst_port.get(NYX_INSTANCE_TABLE::get_id(u->get_impl())) =
                NYX_INST_PORT_ID::INVALID;
            NYX_INST_PORT::allocate(u, cell->find_port("a"));
        },
        "!= NYX_INST_PORT_ID::INVALID");
}

TEST_F(INST_PORT_DEATH, ThatIsThereAlready) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_DEATH(NYX_INST_PORT::allocate(u, cell->find_port("a")),
                 "!inst_port->is_valid\\(\\): Duplicate allocation of inst_port");
}

TEST_F(INST_PORT_DEATH, ThatIsDeletedTwice) {
    NYX_INST_PORT *const a = make_instance("u", cell)->find_inst_port("a");
    a->deallocate();
    EXPECT_DEATH(a->deallocate(), "is_valid\\(\\): This inst port has already been deallocated");
}

TEST_F(INST_PORT_DEATH, OfAnEmptyPlaceThatIsAskedForItsPort) {
    NYX_INSTANCE *const u = make_instance("u", make_module(db, "gap", {"", "z"}));
    NYX_INST_PORT *const empty = *u->iter_inst_ports().begin();
    NYX_NET *const n = NYX_NET::allocate(top, "n");
    EXPECT_DEATH(empty->get_port(), "impl->get_inst_ptr\\(\\).get\\(\\): This inst port has not been allocated yet");
    EXPECT_DEATH(empty->get_port(), "NYX_INST_PORT::allocate\\(\\) has not yet been called for this inst port!");
    EXPECT_DEATH(empty->get_name(), "This inst port has not been allocated yet");
    EXPECT_DEATH(empty->connect(n), "impl->get_inst_ptr\\(\\).get\\(\\): This inst port has not been allocated yet");
}

TEST_F(INST_PORT_DEATH, ThatIsConnectedWronglyOrNotAtAll) {
    NYX_INST_PORT *const a = make_instance("u", cell)->find_inst_port("a");
    NYX_NET *const n = NYX_NET::allocate(top, "n");
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    EXPECT_DEATH(a->connect(nullptr), "check failed: net");
    EXPECT_DEATH(a->connect(NYX_NET::allocate(make_module(lib, "m"), "n")),
                 "Inst port and net need to be in the same database");
    EXPECT_DEATH(a->disconnect(), "The inst port is not connected");
    a->connect(n);
    EXPECT_DEATH(a->connect(n), "!obj_impl->get_net_ptr\\(\\)");
}

// ---- Headers

TEST_F(HEADER_DEATH, OfADatabaseWithoutName) {
    SCOPED_DB unnamed("");
    NYX_MODULE *const module = make_module(unnamed, "m");
    EXPECT_DEATH(make_instance("u", module), "!db_name.empty\\(\\): db_name must be non-null");
}

TEST_F(HEADER_DEATH, OfAModuleWithAnotherNumberOfPortsThanItWasMadeFor) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote", {"a", "b"});
    NYX_INSTANCE *const u = make_instance("u", remote);
    EXPECT_DEATH(
        {
            u->get_inst_header()->get_impl()->m_num_ports = 3;
            make_instance("v", remote);
        },
        "header->get_num_ports\\(\\) == num_ports: number of ports mismatches");
    EXPECT_DEATH(
        {
            NYX_DB_LINKER::get().forget_module(remote);
            u->get_inst_header()->get_impl()->m_num_ports = 3;
            make_instance("v", remote);
        },
        "header->get_num_ports\\(\\) == num_ports: number of ports mismatches");
}

TEST_F(HEADER_DEATH, OfAGroupInALibrary) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_INST_HEADER *const header = NYX_INSTANCE::allocate(make_module(lib, "m"), "u", cell)->get_inst_header();
    EXPECT_DEATH(header->get_is_user_group(), "db->is_user\\(\\) && trait");
    EXPECT_DEATH(header->set_is_user_group(true), "db->is_user\\(\\) && trait");
    EXPECT_DEATH(header->set_is_user_group(false), "db->is_user\\(\\) && trait");
    // The library itself does not ask.
    EXPECT_EQ(header->get_module(), cell);
    SCOPED_DB definitions("definitions", NYX_DB_TYPE::DEFINITION);
    NYX_INST_HEADER *const other = root_of(definitions)->table<NYX_INST_HEADER>().allocate();
    EXPECT_DEATH(other->set_is_user_group(true), "!is_group_link");
}

// ---- The index of instances

TEST_F(USERS_DEATH, OfAModuleThatIsInUseInAnotherDatabase) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote");
    make_instance("u", remote);
    EXPECT_DEATH(
        {
            NYX_DB_LINKER::get().get_instances_of(remote);
            remote->deallocate();
        },
        "it->second.empty\\(\\): Can't deallocate a module which is a base module for an instance");
}

TEST_F(USERS_DEATH, OfAnInstanceThatIsNotInTheIndex) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE *const v = make_instance("v", cell);
    NYX_DB_LINKER::get().get_instances_of(cell);
    EXPECT_DEATH(
        {
            nyx_notify<NYX_INSTANCE>(&NYX_OBSERVER<NYX_INSTANCE>::deallocated, u, top);
            u->deallocate();
        },
        "it2 != instances.end\\(\\)");
    NYX_MODULE *const unknown = make_module(db, "unknown");
    EXPECT_DEATH(nyx_notify<NYX_INSTANCE>(&NYX_OBSERVER<NYX_INSTANCE>::module_changed, v, unknown),
                 "it != linker->m_instances_of_module.end\\(\\)");
}

TEST_F(INSTANCE_DEATH, ChangedToAModuleOfADevice) {
    SCOPED_DB device("device", NYX_DB_TYPE::DEVICE);
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_MODULE *const in_device = make_module(device, "m", {"a"});
    EXPECT_DEATH(u->change_module(in_device),
                 "!top_db->is_device\\(\\) && !leaf_db->is_device\\(\\): Device dbs are not supported");
}

TEST_F(INST_PORT_DEATH, ThatIsMadeOnANetOfAnotherDatabase) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    u->find_inst_port("a")->deallocate();
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_NET *const foreign = NYX_NET::allocate(make_module(lib, "m"), "n");
    EXPECT_DEATH(NYX_INST_PORT::allocate(u, cell->find_port("a"), foreign),
                 "Inst port and net need to be in the same database");
}

TEST_F(INSTANCE_DEATH, WithoutTheTraitsOfInitialValues) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    u->set_initial_value(true);
    NYX_BUILTIN_TRAITS &traits = *NYX_DB_IMPL::of(*db).m_builtin_traits;
    NYX_BOOL_TRAIT *const value = std::exchange(traits.m_instance_init_value_trait, nullptr);
    EXPECT_DEATH(u->get_initial_value(), "check failed: trait \\[");
    EXPECT_DEATH(u->set_initial_value(true), "check failed: trait \\[");
    traits.m_instance_init_value_trait = value;
    NYX_BOOL_TRAIT *const has_value = std::exchange(traits.m_instance_has_init_value_trait, nullptr);
    EXPECT_DEATH(u->has_initial_value(), "check failed: trait \\[");
    traits.m_instance_has_init_value_trait = has_value;
}
