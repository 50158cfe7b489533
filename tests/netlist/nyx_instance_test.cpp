// Instances: how they are made and deleted, their inst ports, names, placement and location.

#include "netlist/nyx_inst_port_table.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_module_table.h"
#include "netlist_test_support.h"

#include <algorithm>

using namespace netlist_test;

namespace {

class INSTANCE : public DESIGN {
protected:
    NYX_MODULE *cell = make_module(db, "cell", {"a", "b", "z"}, NYX_MODULE::TYPE::SGATE);

    static unsigned references(NYX_MODULE *module) {
        NYX_MODULE_TABLE &table = nyx_get_persistent(module)->table<NYX_MODULE>();
        return *table.m_reference_count.get(NYX_MODULE_TABLE::get_id(module->get_impl()));
    }
};

} // namespace

// ---- Creating

TEST_F(INSTANCE, KnowsWhereItIsAndWhatItIsOneOf) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_EQ(u->get_module(), cell);
    EXPECT_EQ(u->get_master(), cell);
    EXPECT_EQ(u->get_parent(), top);
    EXPECT_EQ(u->get_db(), static_cast<NYX_DB *>(db));
    EXPECT_EQ(u->get_inst_header(), nullptr);
    EXPECT_EQ(u->get_bus(), nullptr);
    EXPECT_TRUE(u->module_in_same_db());
    EXPECT_TRUE(u->master_in_same_db());
}

TEST_F(INSTANCE, IsALeafIfItsModuleIsOne) {
    EXPECT_TRUE(make_instance("u", cell)->is_leaf());
    EXPECT_FALSE(make_instance("v", make_module(db, "block"))->is_leaf());
}

TEST_F(INSTANCE, CountsAtItsModule) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE *const v = make_instance("v", cell);
    EXPECT_EQ(references(cell), 2u);
    u->deallocate();
    EXPECT_EQ(references(cell), 1u);
    v->deallocate();
    EXPECT_EQ(references(cell), 0u);
}

TEST_F(INSTANCE, ComesBehindThoseThatWereMadeBefore) {
    make_instance("u", cell);
    make_instance("v", cell);
    make_instance("w", cell);
    EXPECT_EQ(names_of(top->iter_instances()), (STRINGS{"u", "v", "w"}));
}

TEST_F(INSTANCE, ReusesAFreedRowInItsInitialState) {
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(top, "u", cell, NYX_TRANSFORM(1, 2, NYX_ORIENTATION::W));
    u->set_src_location("top.v", 7);
    u->deallocate();
    NYX_INSTANCE *const v = make_instance("v", cell);
    ASSERT_EQ(u, v);
    EXPECT_EQ(v->get_placement_status(), NYX_INSTANCE::UNPLACED);
    v->set_placement_status(NYX_INSTANCE::PLACED);
    EXPECT_EQ(v->get_transform(), NYX_TRANSFORM());
    EXPECT_EQ(v->get_src_location(), "");
    EXPECT_EQ(v->get_file_lineno(), 0u);
    EXPECT_FALSE(v->has_trait(NYX_INSTANCE::mux_type));
}

TEST_F(INSTANCE, OfNoModuleOrInNoneIsRefused) {
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_INSTANCE::allocate(nullptr, "u", cell); }),
              RAISED("Cannot allocate instance u in null parent module", "NYX_INSTANCE::allocate"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_INSTANCE::allocate(top, "u", nullptr); }),
              RAISED("Cannot allocate instance u in top using null module", "NYX_INSTANCE::allocate"));
    EXPECT_EQ(top->get_num_instances(), 0u);
}

TEST_F(INSTANCE, ANullParentIsToldBeforeANullModule) {
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_INSTANCE::allocate(nullptr, "u", nullptr); }).first,
              "Cannot allocate instance u in null parent module");
}

TEST_F(INSTANCE, InLibrariesOfDefinitionsAndVariantsIsRefused) {
    SCOPED_DB definitions("definitions", NYX_DB_TYPE::DEFINITION);
    SCOPED_DB working("working", NYX_DB_TYPE::WORKING_LIBRARY);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>(
                  [&] { NYX_INSTANCE::allocate(make_module(definitions, "m"), "u", make_module(definitions, "n")); }),
              RAISED("Cannot create an instance inside definition library definitions", "NYX_INSTANCE::allocate"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>(
                  [&] { NYX_INSTANCE::allocate(make_module(working, "m"), "u", make_module(working, "n")); }),
              RAISED("Cannot create an instance inside working library working", "NYX_INSTANCE::allocate"));
}

TEST_F(INSTANCE, OfADefinitionModuleIsRefusedAndLeavesNothing) {
    SCOPED_DB definitions("definitions", NYX_DB_TYPE::DEFINITION);
    NYX_MODULE *const module = make_module(definitions, "m", {"a"});
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { make_instance("u", module); }),
              RAISED("Cannot use module m: instances of modules in definition libraries are not supported",
                     "NYX_INSTANCE::allocate"));
    EXPECT_EQ(top->get_num_instances(), 0u);
    EXPECT_FALSE(root_of(db)->has_inst_headers());
}

TEST_F(INSTANCE, ParametersAreForDefinitionModulesOnly) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const module = make_module(lib, "m", {"a"});
    NYX_PARAM_VALUES params;
    EXPECT_NO_THROW(NYX_INSTANCE::allocate(top, "empty", module, false, &params));
    params.set("width", 4);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { NYX_INSTANCE::allocate(top, "u", module, false, &params); }),
              RAISED("Cannot specify parameters for non-definition module m", "NYX_INSTANCE::allocate"));
    EXPECT_EQ(top->get_num_instances(), 1u);
}

// What can't be made because the segment is full has left nothing.
TEST_F(INSTANCE, ThatFindsNoRoomIsNotMade) {
    NYX_MODULE *const wide = NYX_MODULE::allocate(db, "wide", 10000);
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = NYX_MODULE::allocate(lib, "remote", 10000);
    unsigned made = 0;
    EXPECT_THROW(
        {
            for (;; ++made)
                make_instance("u", wide);
        },
        boost::interprocess::bad_alloc);
    EXPECT_GT(made, 10u);
    EXPECT_EQ(top->get_num_instances(), made);
    EXPECT_EQ(references(wide), made);
    EXPECT_THROW(make_instance("v", remote), boost::interprocess::bad_alloc);
    EXPECT_FALSE(root_of(db)->has_inst_headers());
    while (top->get_num_instances() != 0)
        (*top->iter_instances().begin())->deallocate();
    EXPECT_EQ(references(wide), 0u);
}

// ---- Inst ports

TEST_F(INSTANCE, HasAnInstPortForEachPort) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_EQ(u->get_num_inst_ports(), 3u);
    EXPECT_EQ(names_of(u->iter_inst_ports()), (STRINGS{"a", "b", "z"}));
    EXPECT_EQ(names_of(u->const_iter_inst_ports()), (STRINGS{"a", "b", "z"}));
    for (unsigned i = 0; i < 3; ++i) {
        NYX_INST_PORT *const inst_port = u->get_inst_port_by_index(i);
        EXPECT_EQ(inst_port->get_port(), cell->get_port_by_index(i));
        EXPECT_EQ(inst_port->get_inst(), u);
        EXPECT_EQ(inst_port->get_net(), nullptr);
        EXPECT_EQ(u->get_inst_port_for_port(cell->get_port_by_index(i)), inst_port);
    }
}

TEST_F(INSTANCE, FindsAnInstPortByThePortsName) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_EQ(u->find_inst_port("b"), u->get_inst_port_by_index(1));
    EXPECT_EQ(u->find_inst_port("c"), nullptr);
    EXPECT_EQ(u->find_inst_port("cell"), nullptr);
}

TEST_F(INSTANCE, OfAModuleWithoutPortsHasNoRun) {
    NYX_INSTANCE *const u = make_instance("u", make_module(db, "empty"));
    EXPECT_EQ(u->get_num_inst_ports(), 0u);
    EXPECT_TRUE(u->iter_inst_ports().empty());
    NYX_INSTANCE_TABLE &table = root_of(db)->table<NYX_INSTANCE>();
    EXPECT_EQ(*table.m_first_inst_port.get(NYX_INSTANCE_TABLE::get_id(u->get_impl())), NYX_INST_PORT_ID::INVALID);
    u->deallocate();
    EXPECT_EQ(root_of(db)->table<NYX_INST_PORT>().num_allocated(), 0u);
}

TEST_F(INSTANCE, HasNoInstPortForAnEmptyPlace) {
    NYX_INSTANCE *const u = make_instance("u", make_module(db, "gap", {"a", "", "c"}));
    EXPECT_EQ(u->get_num_inst_ports(), 3u);
    EXPECT_NE(u->get_inst_port_by_index(0), nullptr);
    EXPECT_EQ(u->get_inst_port_by_index(1), nullptr);
    std::vector<bool> valid;
    for (const NYX_INST_PORT *const inst_port : u->const_iter_inst_ports())
        valid.push_back(inst_port->is_valid());
    EXPECT_EQ(valid, (std::vector<bool>{true, false, true}));
}

// ---- Events and deletion

TEST_F(INSTANCE, AndItsInstPortsAreToldWhenTheyAreMade) {
    EVENT_LOG log;
    make_instance("u", cell);
    EXPECT_EQ(log.take(), (STRINGS{"inst port u.a allocated", "inst port u.b allocated", "inst port u.z allocated",
                                   "instance u allocated in top"}));
}

TEST_F(INSTANCE, IsToldBeforeItsConnectionsEnd) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_NET *const n = NYX_NET::allocate(top, "n");
    u->find_inst_port("a")->connect(n);
    u->find_inst_port("z")->connect(n);
    EVENT_LOG log;
    u->deallocate();
    EXPECT_EQ(log.take(), (STRINGS{"inst port u.a deallocated", "inst port u.b deallocated",
                                   "inst port u.z deallocated", "instance u deallocated in top",
                                   "inst port u.a pre_disconnect on n", "inst port u.a post_disconnect",
                                   "inst port u.z pre_disconnect on n", "inst port u.z post_disconnect"}));
    EXPECT_TRUE(n->iter_inst_ports().empty());
}

TEST_F(INSTANCE, ThatIsDeletedTellsOfNoInstPortInAnEmptyPlace) {
    NYX_INSTANCE *const u = make_instance("u", make_module(db, "gap", {"a", "", "c"}));
    EVENT_LOG log;
    u->deallocate();
    EXPECT_EQ(log.take(),
              (STRINGS{"inst port u.a deallocated", "inst port u.c deallocated", "instance u deallocated in top"}));
}

TEST_F(INSTANCE, GivesItsRunBack) {
    make_instance("u", cell)->deallocate();
    EXPECT_EQ(root_of(db)->table<NYX_INST_PORT>().num_allocated(), 0u);
    NYX_INSTANCE *const v = make_instance("v", cell);
    EXPECT_EQ(NYX_INST_PORT_TABLE::get_id(v->get_inst_port_by_index(0)->get_impl()).get(), 0u);
    EXPECT_EQ(v->find_inst_port("a")->get_net(), nullptr);
}

TEST_F(INSTANCE, TakesItsValuesAndThoseOfItsInstPortsAlong) {
    NYX_INT_TRAIT *const weight = NYX_INSTANCE::create_int_trait(db, "weight", 0, "", "", "");
    NYX_INT_TRAIT *const delay = NYX_INST_PORT::create_int_trait(db, "delay", 0, "", "", "");
    NYX_INSTANCE *const u = make_instance("u", cell);
    u->set_property("owner", std::string("me"));
    u->set_value(weight, 1);
    u->set_initial_value(true);
    u->find_inst_port("b")->set_property("owner", std::string("me"));
    u->find_inst_port("b")->set_value(delay, 2);
    u->deallocate();
    NYX_INSTANCE *const v = make_instance("v", cell);
    ASSERT_EQ(v, u);
    EXPECT_FALSE(v->has_property("owner"));
    EXPECT_EQ(v->get_value(weight), 0);
    EXPECT_FALSE(v->has_initial_value());
    EXPECT_FALSE(v->find_inst_port("b")->has_property("owner"));
    EXPECT_EQ(v->find_inst_port("b")->get_value(delay), 0);
    EXPECT_TRUE(root_of(db)->table<NYX_INST_PORT>().m_properties.empty());
}

TEST_F(INSTANCE, LeavesItsBus) {
    NYX_INSTANCE_BUS *const bus = NYX_INSTANCE_BUS::allocate(top, "u", 1, 0);
    NYX_INSTANCE *const u = make_instance("u[0]", cell);
    bus->set_instance(0, u);
    EXPECT_EQ(u->get_bus(), bus);
    EVENT_LOG log;
    u->deallocate();
    EXPECT_EQ(log.take().back(), "instance u[0] deallocated in top");
    EXPECT_EQ(bus->get_instance({0}), nullptr);
}

TEST_F(INSTANCE, DeletedWithItsParentIsTold) {
    NYX_MODULE *const block = make_module(db, "block");
    NYX_INSTANCE::allocate(block, "u", cell);
    EVENT_LOG log;
    block->deallocate();
    const STRINGS events = log.take();
    EXPECT_NE(std::find(events.begin(), events.end(), "instance u deallocated in block"), events.end());
    EXPECT_EQ(references(cell), 0u);
}

// ---- Names

TEST_F(INSTANCE, ShowsItsParentAndItsKind) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_EQ(u->get_name(), "u");
    EXPECT_EQ(u->debug_get_name(), "u");
    EXPECT_EQ(u->get_name({.with_parent = true}), "top|u");
    EXPECT_EQ(u->get_name({.with_type_prefix = true}), "INSTANCE:u");
    EXPECT_EQ(u->get_name({.with_parent = true, .with_type_prefix = true, .parent_separator = '/'}), "INSTANCE:top/u");
    std::string name = "old";
    u->get_name(name);
    EXPECT_EQ(name, "u");
}

TEST_F(INSTANCE, MadeUniqueHasANumberBehindItsName) {
    NYX_INSTANCE *const first = NYX_INSTANCE::allocate(top, "u", cell, true);
    NYX_INSTANCE *const second = NYX_INSTANCE::allocate(top, "u", cell, true);
    EXPECT_EQ(first->get_name(), "u_0");
    EXPECT_EQ(second->get_name(), "u_1");
    EXPECT_EQ(second->get_original_name(), "u");
    EXPECT_EQ(top->find_instance("u_1"), second);
}

TEST_F(INSTANCE, MadeUniquePassesOverANumberThatIsTaken) {
    make_instance("u_0", cell);
    EXPECT_EQ(NYX_INSTANCE::allocate(top, "u", cell, true)->get_name(), "u_1");
}

TEST_F(INSTANCE, IsRenamedAndToldSo) {
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(top, "u", cell, true);
    EVENT_LOG log;
    u->set_name("v");
    EXPECT_EQ(log.take(), (STRINGS{"instance v was u_0"}));
    EXPECT_EQ(u->get_name(), "v");
    EXPECT_EQ(top->find_instance("v"), u);
    EXPECT_EQ(top->find_instance("u_0"), nullptr);
    u->set_name("v", true);
    EXPECT_EQ(u->get_name(), "v_0");
}

TEST_F(INSTANCE, IsFoundByItsNewNameInALongListToo) {
    std::vector<NYX_INSTANCE *> instances;
    for (int i = 0; i < 100; ++i)
        instances.push_back(make_instance("u" + std::to_string(i), cell));
    ASSERT_EQ(top->find_instance("u50"), instances[50]);
    instances[50]->set_name("v");
    EXPECT_EQ(top->find_instance("v"), instances[50]);
    EXPECT_EQ(top->find_instance("u50"), nullptr);
    instances[50]->set_name("v", true);
    EXPECT_EQ(top->find_instance("v_0"), instances[50]);
    EXPECT_EQ(top->find_instance("v"), nullptr);
}

TEST_F(INSTANCE, KeepsItsNameWhenTheNewOneIsEmpty) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { u->set_name(""); }),
              RAISED("Instance name cannot be empty", "NYX_INSTANCE::set_name"));
    EXPECT_EQ(u->get_name(), "u");
}

TEST_F(INSTANCE, IsOrderedByName) {
    NYX_INSTANCE *const b = make_instance("b", cell);
    NYX_INSTANCE *const a = make_instance("a", cell);
    const NYX_INSTANCE_NAME_COMPARE before;
    EXPECT_TRUE(before(a, b));
    EXPECT_FALSE(before(b, a));
    EXPECT_FALSE(before(a, a));
}

// ---- Placement

TEST_F(INSTANCE, MadeWithATransformIsPlacedThere) {
    const NYX_TRANSFORM at(10, 20, NYX_ORIENTATION::W);
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(top, "u", cell, at);
    EXPECT_NE(u->get_placement_status(), NYX_INSTANCE::UNPLACED);
    EXPECT_EQ(u->get_transform(), at);
    EXPECT_EQ(u->get_location(), NYX_POINT(10, 20));
    EXPECT_EQ(u->get_orientation(), NYX_ORIENTATION::W);
    NYX_TRANSFORM there_and_back = at;
    there_and_back.concat(u->get_inverse_transform());
    EXPECT_EQ(there_and_back, NYX_TRANSFORM());
    EXPECT_EQ(u->get_name(), "u");
}

TEST_F(INSTANCE, IsToldOfBeforeItIsPlaced) {
    struct WATCH : NYX_OBSERVER<NYX_INSTANCE> {
        WATCH() : NYX_OBSERVER(1) { set_enabled(true); }
        ~WATCH() override { set_enabled(false); }
        void allocated(NYX_INSTANCE *instance, NYX_MODULE *) override { status = instance->get_placement_status(); }
        int status = -1;
    } watch;
    NYX_INSTANCE::allocate(top, "u", cell, NYX_TRANSFORM(10, 20, NYX_ORIENTATION::N));
    EXPECT_EQ(watch.status, NYX_INSTANCE::UNPLACED);
}

TEST_F(INSTANCE, ThatIsNotPlacedHasNoTransform) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    const RAISED expected("Attempting to get_transform on an unplaced instance u cell", "NYX_INSTANCE::get_transform");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { u->get_transform(); }), expected);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { u->get_inverse_transform(); }), expected);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { u->get_location(); }), expected);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { u->get_orientation(); }), expected);
    u->set_transform(NYX_TRANSFORM(1, 2, NYX_ORIENTATION::S));
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { u->get_transform(); }), expected);
    u->set_placement_status(NYX_INSTANCE::PLACEMENT_STATUS(7));
    EXPECT_EQ(u->get_transform(), NYX_TRANSFORM(1, 2, NYX_ORIENTATION::S));
    EXPECT_EQ(u->get_placement_status(), 7);
}

TEST_F(INSTANCE, ThatIsNotPlacedHasInvertedBounds) {
    cell->set_bounds(NYX_BOX(0, 0, 4, 2));
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_TRUE(u->get_bounds().is_inverted());
    EXPECT_FALSE(u->get_bounds().is_valid());
    EXPECT_EQ(u->get_bounds(), NYX_BOX(0x7fffffff, 0x7fffffff, -0x7fffffff - 1, -0x7fffffff - 1));
}

TEST_F(INSTANCE, HasTheBoundsOfItsModuleWhereItIsPlaced) {
    cell->set_bounds(NYX_BOX(0, 0, 4, 2));
    EXPECT_EQ(NYX_INSTANCE::allocate(top, "u", cell, NYX_TRANSFORM(10, 20, NYX_ORIENTATION::W))->get_bounds(),
              NYX_BOX(8, 20, 10, 24));
    cell->set_bounds(NYX_BOX(3, 0, 1, 0));
    EXPECT_EQ(NYX_INSTANCE::allocate(top, "v", cell, NYX_TRANSFORM(10, 20, NYX_ORIENTATION::W))->get_bounds(),
              NYX_BOX(3, 0, 1, 0));
}

// ---- Initial value, source location and flags

TEST_F(INSTANCE, MayHaveAnInitialValue) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_FALSE(u->has_initial_value());
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { u->get_initial_value(); }),
              RAISED("Net u has no initial value", "NYX_INSTANCE::get_initial_value"));
    u->set_initial_value(true);
    EXPECT_TRUE(u->has_initial_value());
    EXPECT_TRUE(u->get_initial_value());
    u->set_initial_value(false);
    EXPECT_TRUE(u->has_initial_value());
    EXPECT_FALSE(u->get_initial_value());
}

TEST_F(INSTANCE, GivesTheViewOnAnInterfaceOfItsModule) {
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(cell, "bus");
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_EQ(u->get_interface_instance(interface), NYX_INTERFACE_INSTANCE(u, interface));
    EXPECT_EQ(u->get_interface_instance(interface).get_instance(), u);
}

TEST_F(INSTANCE, RemembersWhereItWasWritten) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_EQ(u->get_file_name(), "");
    EXPECT_EQ(u->get_src_location(), "");
    u->set_src_location("top.v", 12);
    EXPECT_EQ(u->get_file_name(), "top.v");
    EXPECT_EQ(u->get_file_lineno(), 12u);
    EXPECT_EQ(u->get_src_location(), "top.v:12");
    u->set_file_name("other.v");
    u->set_file_lineno(13);
    EXPECT_EQ(u->get_src_location(), "other.v:13");
    u->set_src_location(nullptr, 5);
    EXPECT_EQ(u->get_src_location(), "");
    EXPECT_EQ(u->get_file_lineno(), 5u);
}

TEST_F(INSTANCE, ShowsItsFlags) {
    NYX_INSTANCE *const u = make_instance("u", cell);
    EXPECT_STREQ(NYX_INSTANCE::get_name_of_trait(NYX_INSTANCE::mux_type), "mux_type");
    EXPECT_FALSE(u->has_trait(NYX_INSTANCE::mux_type));
    *root_of(db)->table<NYX_INSTANCE>().m_trait_bits.get(NYX_INSTANCE_TABLE::get_id(u->get_impl())) = 1;
    EXPECT_TRUE(u->has_trait(NYX_INSTANCE::mux_type));
    *root_of(db)->table<NYX_INSTANCE>().m_trait_bits.get(NYX_INSTANCE_TABLE::get_id(u->get_impl())) = 2;
    EXPECT_FALSE(u->has_trait(NYX_INSTANCE::mux_type));
}

TEST_F(INSTANCE, LeavesItsBusItsModuleAndItsValuesBeforeItsConnectionsEnd) {
    struct LISTENER : NYX_OBSERVER<NYX_INST_PORT> {
        explicit LISTENER(NYX_MODULE *of) : NYX_OBSERVER(1), parent(of) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void pre_disconnect(NYX_INST_PORT *told) override {
            ++events;
            EXPECT_EQ(told->get_inst()->get_bus(), nullptr);
            EXPECT_TRUE(parent->contains_no_instances());
            EXPECT_FALSE(told->get_inst()->has_initial_value());
        }
        NYX_MODULE *parent;
        int events = 0;
    } listener(top);
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE_BUS::allocate(top, "u", 0, 0)->set_instance(0, u);
    u->set_initial_value(true);
    u->find_inst_port("a")->connect(NYX_NET::allocate(top, "n"));
    u->deallocate();
    EXPECT_EQ(listener.events, 1);
}

TEST_F(INSTANCE, IsToldOfWhileItIsInItsBusWithItsValues) {
    struct LISTENER : NYX_OBSERVER<NYX_INSTANCE> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_INSTANCE *told, NYX_MODULE *parent) override {
            ++events;
            EXPECT_NE(told->get_bus(), nullptr);
            EXPECT_TRUE(told->has_initial_value());
            EXPECT_EQ(parent->get_num_instances(), 1u);
        }
        int events = 0;
    } listener;
    NYX_INSTANCE *const u = make_instance("u", cell);
    NYX_INSTANCE_BUS::allocate(top, "u", 0, 0)->set_instance(0, u);
    u->set_initial_value(true);
    u->deallocate();
    EXPECT_EQ(listener.events, 1);
}

TEST_F(INSTANCE, OfAVariantIsRefusedAndLeavesNothing) {
    SCOPED_DB working("working", NYX_DB_TYPE::WORKING_LIBRARY);
    NYX_MODULE *const variant = make_module(working, "m", {"a"});
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { make_instance("u", variant); }),
              RAISED("Cannot use module m: instances of modules in definition libraries are not supported",
                     "NYX_INSTANCE::allocate"));
    EXPECT_EQ(top->get_num_instances(), 0u);
    EXPECT_FALSE(root_of(db)->has_inst_headers());
}
