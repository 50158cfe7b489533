#include "netlist_test_support.h"

#include "netlist/nyx_chain.h"

#include <set>

using namespace netlist_test;

namespace {

constexpr unsigned not_specified = ~0u;

using Module = DESIGN;
using ModuleType = DESIGN;
using ModuleLocation = DESIGN;
using ModuleDeletion = DESIGN;
using ModuleRename = DESIGN;
using ModuleBounds = DESIGN;

TEST_F(Module, IsFoundByItsName) {
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0);
    EXPECT_EQ(module->get_name(), "m");
    EXPECT_EQ(db->find_local_module("m"), module);
    EXPECT_EQ(db->find_local_module("n"), nullptr);
    EXPECT_EQ(module->get_db(), db);
}

TEST_F(Module, ShowsAPrefixAndNoParent) {
    EXPECT_EQ(top->get_name({.with_type_prefix = true}), "MODULE:top");
    EXPECT_EQ(top->get_name({.with_parent = true}), "top");
    EXPECT_EQ(top->get_base_name(), "top");
    EXPECT_EQ(top->debug_get_name(), "top");
    std::string name = "old";
    top->get_name(name, {.with_type_prefix = true});
    EXPECT_EQ(name, "MODULE:top");
}

TEST_F(Module, IsNewWithNothingInIt) {
    const NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 3);
    EXPECT_TRUE(module->is_empty());
    EXPECT_TRUE(module->contains_no_instances());
    EXPECT_FALSE(module->is_defined());
    EXPECT_EQ(module->get_num_instances(), 0u);
    EXPECT_EQ(module->get_num_nets(), 0u);
    EXPECT_EQ(module->get_num_ports(), 3u);
    EXPECT_EQ(port_names(module), STRINGS({"-", "-", "-"}));
    EXPECT_EQ(module->get_bounds(), NYX_BOX());
    EXPECT_TRUE(module->const_iter_instances().empty());
    EXPECT_TRUE(module->const_iter_nets().empty());
    EXPECT_TRUE(module->const_iter_port_buses().empty());
    EXPECT_TRUE(module->const_iter_net_buses().empty());
    EXPECT_TRUE(module->const_iter_instance_buses().empty());
    EXPECT_TRUE(module->const_iter_interfaces().empty());
    EXPECT_EQ(module->get_impl()->m_type_data, not_specified);
}

TEST_F(Module, WithoutPortsHasNoRun) {
    EXPECT_EQ(top->get_impl()->m_first_port, NYX_PORT_ID::INVALID);
    EXPECT_EQ(top->get_num_ports(), 0u);
    EXPECT_TRUE(top->iter_ports().empty());
    EXPECT_TRUE(top->const_iter_ports().empty());
}

TEST_F(Module, CountsWhatIsInItAndPlacesForPorts) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a", "", "z"});
    EXPECT_EQ(leaf->get_num_ports(), 3u);
    make_instance("u", leaf);
    make_instance("v", leaf);
    NYX_NET::allocate(top, "n");
    EXPECT_EQ(top->get_num_instances(), 2u);
    EXPECT_EQ(top->get_num_nets(), 1u);
    EXPECT_FALSE(top->is_empty());
    EXPECT_FALSE(top->contains_no_instances());
}

TEST_F(Module, WithNetsAloneIsNotEmpty) {
    NYX_NET::allocate(top, "n");
    EXPECT_TRUE(top->contains_no_instances());
    EXPECT_FALSE(top->is_empty());
}

TEST_F(Module, ListsInstancesInTheirOrderAndTheOthersNewestFirst) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    for (const char *const name : {"1", "2", "3"}) {
        make_instance(name, leaf);
        NYX_NET::allocate(top, name);
        NYX_PORT_BUS::allocate(top, name, 0, 1);
        NYX_NET_BUS::allocate(top, name, 0, 1);
        NYX_INSTANCE_BUS::allocate(top, name, 0, 1);
        NYX_INTERFACE::allocate(top, name);
    }
    const STRINGS oldest_first{"1", "2", "3"};
    const STRINGS newest_first{"3", "2", "1"};
    EXPECT_EQ(names_of(top->iter_instances()), oldest_first);
    EXPECT_EQ(names_of(top->iter_nets()), newest_first);
    EXPECT_EQ(names_of(top->iter_port_buses()), newest_first);
    EXPECT_EQ(names_of(top->iter_net_buses()), newest_first);
    EXPECT_EQ(names_of(top->iter_instance_buses()), newest_first);
    EXPECT_EQ(names_of(top->iter_interfaces()), newest_first);
    EXPECT_EQ(names_of(top->const_iter_instances()), oldest_first);
    EXPECT_EQ(names_of(top->const_iter_nets()), newest_first);
    EXPECT_EQ(names_of(top->const_iter_port_buses()), newest_first);
    EXPECT_EQ(names_of(top->const_iter_net_buses()), newest_first);
    EXPECT_EQ(names_of(top->const_iter_instance_buses()), newest_first);
    EXPECT_EQ(names_of(top->const_iter_interfaces()), newest_first);
}

TEST_F(Module, IsTopWhenTheDatabaseSaysSo) {
    NYX_MODULE *const other = NYX_MODULE::allocate(db, "other", 0);
    EXPECT_TRUE(top->is_top_module());
    EXPECT_FALSE(other->is_top_module());
    db->set_top_module(other);
    EXPECT_FALSE(top->is_top_module());
    EXPECT_TRUE(other->is_top_module());
}

TEST_F(Module, InALibraryIsNeverTop) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    EXPECT_FALSE(NYX_MODULE::allocate(library, "first", 0)->is_top_module());
}

TEST_F(Module, IsUniqueWithFewerThanTwoInstances) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    EXPECT_TRUE(leaf->is_unique());
    make_instance("u", leaf);
    EXPECT_TRUE(leaf->is_unique());
    make_instance("v", leaf);
    EXPECT_FALSE(leaf->is_unique());
}

TEST_F(Module, KnowsItsInstancesInAllDatabases) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const leaf = make_module(library, "leaf");
    NYX_MODULE *const parent = make_module(library, "parent");
    NYX_INSTANCE *const u = make_instance("u", leaf);
    NYX_INSTANCE *const v = NYX_INSTANCE::allocate(parent, "v", leaf);
    const auto range = leaf->iter_instances_of();
    EXPECT_EQ(std::set<NYX_INSTANCE *>(range.begin(), range.end()), (std::set<NYX_INSTANCE *>{u, v}));
    u->deallocate();
    EXPECT_EQ(names_of(leaf->iter_instances_of()), STRINGS({"v"}));
    EXPECT_TRUE(parent->iter_instances_of().empty());
}

TEST_F(Module, TellsOfItsCreationWhenItIsComplete) {
    struct LISTENER : NYX_OBSERVER<NYX_MODULE> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void allocated(NYX_MODULE *module) override {
            seen.push_back(module->get_name() + ' ' + module->get_src_location() + ' ' +
                           std::to_string(module->get_num_ports()) + (module->is_sgate() ? " sgate" : "") +
                           (module->get_db()->find_local_module("m") == module ? " found" : ""));
        }
        STRINGS seen;
    } listener;
    NYX_MODULE::allocate(db, "m", 2, NYX_MODULE::TYPE::SGATE, "f.v", 7);
    EXPECT_EQ(listener.seen, STRINGS({"m f.v:7 2 sgate found"}));
}

TEST_F(Module, TellsOfCopies) {
    NYX_MODULE *const copy = NYX_MODULE::allocate(db, "copy", 0);
    EVENT_LOG log;
    copy->on_copy(top);
    EXPECT_EQ(log.take(), STRINGS({"module copy copied from top"}));
}

TEST_F(Module, OrdersByName) {
    const NYX_MODULE *const a = NYX_MODULE::allocate(db, "a", 0);
    const NYX_MODULE_NAME_COMPARE less;
    EXPECT_TRUE(less(a, top));
    EXPECT_FALSE(less(top, a));
    EXPECT_FALSE(less(a, a));
}

TEST_F(Module, TakesARowThatWasFreedAsANewOne) {
    NYX_MODULE *const old = NYX_MODULE::allocate(db, "old", 2, NYX_MODULE::TYPE::ATOM, "f", 3);
    old->set_atom_type("AND");
    old->set_bounds(NYX_BOX(1, 2, 3, 4));
    NYX_NET::allocate(old, "n");
    old->deallocate();
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "new", 0);
    ASSERT_EQ(module, old);
    EXPECT_TRUE(module->is_hierarchy());
    EXPECT_TRUE(module->is_empty());
    EXPECT_EQ(module->get_src_location(), "");
    EXPECT_EQ(module->get_file_lineno(), 0u);
    EXPECT_EQ(module->get_bounds(), NYX_BOX());
    EXPECT_EQ(module->get_client_type(), not_specified);
    EXPECT_TRUE(module->iter_ports().empty());
}

TEST_F(Module, IsNotMadeInAFullDatabase) {
    NYX_DB *const small = NYX_DB::create_non_persistent(2, NYX_DB_TYPE::USER, "small", "");
    std::string name;
    unsigned num_modules = 0;
    // Ever shorter runs of ports: a module fails for want of its ports, of its entry, and of its name.
    for (unsigned num_ports = 5000; num_ports > 0; num_ports /= 2) {
        try {
            for (;; ++num_modules) {
                name = "module" + std::to_string(num_modules);
                NYX_MODULE::allocate(small, name, num_ports);
            }
        } catch (const boost::interprocess::bad_alloc &) {
            EXPECT_EQ(small->find_local_module(name.c_str()), nullptr);
            EXPECT_EQ(static_cast<unsigned>(boost::distance(small->iter_modules())), num_modules);
            expect_sound(small);
        }
    }
    EXPECT_GT(num_modules, 10u);
    small->purge();
}

TEST_F(Module, IsNotToldOfToObserversThatAreNotEnabled) {
    struct LISTENER : NYX_OBSERVER<NYX_MODULE> {
        LISTENER() : NYX_OBSERVER(1) {}
        void allocated(NYX_MODULE *) override { ++events; }
        void deallocated(NYX_MODULE *) override { ++events; }
        void name_changed(NYX_MODULE *, const std::string &) override { ++events; }
        int events = 0;
    } listener;
    ASSERT_FALSE(NYX_OBSERVER<NYX_MODULE>::is_enabled());
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0);
    module->set_name("n");
    module->deallocate();
    EXPECT_EQ(listener.events, 0);
}

// ---- Kinds

TEST_F(ModuleType, HasItsBits) {
    struct EXPECTED {
        NYX_MODULE::TYPE type;
        int bits;
        bool hierarchy, sgate, atom, leaf;
    };
    const EXPECTED all[] = {
        {NYX_MODULE::TYPE::HIERARCHY, 0, true, false, false, false},
        {NYX_MODULE::TYPE::SGATE, 1, false, true, false, true},
        {NYX_MODULE::TYPE::ATOM, 2, false, false, true, true},
    };
    for (int i = 0; i < 3; ++i) {
        const EXPECTED &expected = all[i];
        EXPECT_EQ(static_cast<int>(expected.type), i);
        NYX_MODULE *const module = NYX_MODULE::allocate(db, std::to_string(i), 0, expected.type);
        EXPECT_EQ(module->get_impl()->m_type_bits, expected.bits);
        EXPECT_EQ(module->get_type(), expected.type);
        EXPECT_EQ(module->is_hierarchy(), expected.hierarchy);
        EXPECT_EQ(module->is_sgate(), expected.sgate);
        EXPECT_EQ(module->is_atom(), expected.atom);
        EXPECT_EQ(module->is_leaf(), expected.leaf);
    }
}

TEST_F(ModuleType, WithBothBitsReadsAsSgate) {
    top->get_impl()->m_type_bits = 3;
    EXPECT_EQ(top->get_type(), NYX_MODULE::TYPE::SGATE);
    top->get_impl()->m_type_bits = 0;
}

TEST_F(ModuleType, OfAHierarchyModuleBecomesSgate) {
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0);
    module->convert_to_sgate(17);
    EXPECT_EQ(module->get_type(), NYX_MODULE::TYPE::SGATE);
    EXPECT_EQ(module->get_client_type(), 17u);
}

TEST_F(ModuleType, OfALeafStaysWhenConversionIsRefused) {
    const std::string function = "NYX_MODULE::convert_to_sgate";
    NYX_MODULE *const atom = NYX_MODULE::allocate(db, "a", 0, NYX_MODULE::TYPE::ATOM);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { atom->convert_to_sgate(1); }),
              RAISED("Cannot convert module a to sgate. The module is not a hierarchy module.", function));
    EXPECT_TRUE(atom->is_atom());
    EXPECT_EQ(atom->get_impl()->m_type_data, not_specified);
    NYX_MODULE *const sgate = NYX_MODULE::allocate(db, "s", 0, NYX_MODULE::TYPE::SGATE);
    sgate->set_client_type(5);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { sgate->convert_to_sgate(1); }),
              RAISED("Cannot convert module s to sgate. The module is not a hierarchy module.", function));
    EXPECT_EQ(sgate->get_client_type(), 5u);
}

TEST_F(ModuleType, OfAnSgateHasAClientTypeOnceItIsSet) {
    NYX_MODULE *const sgate = NYX_MODULE::allocate(db, "s", 0, NYX_MODULE::TYPE::SGATE);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { sgate->get_client_type(); }),
              RAISED("SGATE type is not specified for SGATE module", "NYX_MODULE::get_client_type"));
    sgate->set_client_type(0);
    EXPECT_EQ(sgate->get_client_type(), 0u);
}

TEST_F(ModuleType, ClientTypeOfOtherKindsIsTheStoredWord) {
    EXPECT_EQ(top->get_client_type(), not_specified);
    top->set_client_type(4);
    EXPECT_EQ(top->get_client_type(), 4u);
    NYX_MODULE *const atom = NYX_MODULE::allocate(db, "a", 0, NYX_MODULE::TYPE::ATOM);
    EXPECT_EQ(atom->get_client_type(), not_specified);
    atom->set_atom_type("AND");
    EXPECT_EQ(atom->get_client_type(), root_of(db)->names().find_id("AND").get());
}

TEST_F(ModuleType, OfAnAtomRefusesAClientType) {
    NYX_MODULE *const atom = NYX_MODULE::allocate(db, "a", 0, NYX_MODULE::TYPE::ATOM);
    atom->set_atom_type("AND");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { atom->set_client_type(1); }),
              RAISED("Cannot set client type for atom module", "NYX_MODULE::set_client_type"));
    EXPECT_EQ(atom->get_atom_type(), "AND");
}

TEST_F(ModuleType, OfAnAtomHasAnAtomTypeOnceItIsSet) {
    NYX_MODULE *const atom = NYX_MODULE::allocate(db, "a", 0, NYX_MODULE::TYPE::ATOM);
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { atom->get_atom_type(); }),
              RAISED("Atom type is not specified for atom module", "NYX_MODULE::get_atom_type"));
    atom->set_atom_type("AND2");
    EXPECT_EQ(atom->get_atom_type(), "AND2");
    atom->set_atom_type("OR2");
    EXPECT_EQ(atom->get_atom_type(), "OR2");
}

TEST_F(ModuleType, AtomTypeIsForAtomsOnly) {
    const std::string text = "Atom type is defined for atom module only";
    NYX_MODULE *const sgate = NYX_MODULE::allocate(db, "s", 0, NYX_MODULE::TYPE::SGATE);
    sgate->set_client_type(3);
    for (NYX_MODULE *const module : {top, sgate}) {
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { module->get_atom_type(); }),
                  RAISED(text, "NYX_MODULE::get_atom_type"));
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { module->set_atom_type("AND"); }),
                  RAISED(text, "NYX_MODULE::set_atom_type"));
    }
    EXPECT_EQ(sgate->get_client_type(), 3u);
}

// ---- Source location

TEST_F(ModuleLocation, ComesWithTheModule) {
    const NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0, NYX_MODULE::TYPE::HIERARCHY, "dir/f.v", 12);
    EXPECT_EQ(module->get_file_name(), "dir/f.v");
    EXPECT_EQ(module->get_file_lineno(), 12u);
    EXPECT_EQ(module->get_src_location(), "dir/f.v:12");
    EXPECT_TRUE(module->is_defined());
}

TEST_F(ModuleLocation, IsNoneWithoutAFile) {
    for (const char *const file_name : {static_cast<const char *>(nullptr), ""}) {
        NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 0, NYX_MODULE::TYPE::HIERARCHY, file_name, 12);
        EXPECT_EQ(module->get_file_name(), "");
        EXPECT_EQ(module->get_file_lineno(), 12u);
        EXPECT_EQ(module->get_src_location(), "");
        EXPECT_FALSE(module->is_defined());
        module->deallocate();
    }
}

TEST_F(ModuleLocation, CanBeChanged) {
    top->set_src_location("a.v", 1);
    EXPECT_EQ(top->get_src_location(), "a.v:1");
    top->set_file_name("b.v");
    top->set_file_lineno(2);
    EXPECT_EQ(top->get_src_location(), "b.v:2");
    top->set_file_name("");
    EXPECT_FALSE(top->is_defined());
    EXPECT_EQ(top->get_file_lineno(), 2u);
    top->set_src_location("a.v", 1);
    top->set_src_location(nullptr, 5);
    EXPECT_FALSE(top->is_defined());
    EXPECT_EQ(top->get_file_lineno(), 5u);
}

// ---- Origin

TEST_F(Module, HasAnOriginOnceItIsSet) {
    NYX_MODULE *const other = NYX_MODULE::allocate(db, "other", 0);
    EXPECT_EQ(top->get_entity_name(), "");
    EXPECT_EQ(top->get_library_name(), "");
    EXPECT_FALSE(top->get_case_sensitivity());
    EXPECT_FALSE(top->is_encrypted());
    top->set_entity_name("entity");
    EXPECT_EQ(top->get_entity_name(), "entity");
    EXPECT_EQ(top->get_library_name(), "");
    top->set_library_name("work");
    EXPECT_EQ(top->get_library_name(), "work");
    top->set_case_sensitivity(true);
    EXPECT_TRUE(top->get_case_sensitivity());
    EXPECT_FALSE(top->is_encrypted());
    top->set_is_encrypted(true);
    EXPECT_TRUE(top->is_encrypted());
    top->set_case_sensitivity(false);
    EXPECT_FALSE(top->get_case_sensitivity());
    EXPECT_EQ(other->get_entity_name(), "");
    EXPECT_EQ(other->get_library_name(), "");
    EXPECT_FALSE(other->is_encrypted());
}

// ---- Renaming

TEST_F(ModuleRename, MovesTheModuleToItsNewName) {
    top->set_name("other");
    EXPECT_EQ(top->get_name(), "other");
    EXPECT_EQ(db->find_local_module("other"), top);
    EXPECT_EQ(db->find_local_module("top"), nullptr);
    EXPECT_TRUE(top->is_top_module());
    EXPECT_NE(NYX_MODULE::allocate(db, "top", 0), top);
}

TEST_F(ModuleRename, RefusesNoNameAndTakenNames) {
    const std::string function = "NYX_MODULE::set_name";
    NYX_MODULE::allocate(db, "taken", 0);
    EVENT_LOG log;
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { top->set_name(""); }),
              RAISED("Module name cannot be empty", function));
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { top->set_name("taken"); }),
              RAISED("Module with name taken already exists", function));
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { top->set_name("top"); }),
              RAISED("Module with name top already exists", function));
    EXPECT_EQ(db->find_local_module("top"), top);
    EXPECT_EQ(log.take(), STRINGS());
}

TEST_F(ModuleRename, IsToldWithTheOldName) {
    EVENT_LOG log;
    top->set_name("new");
    EXPECT_EQ(log.take(), STRINGS({"module new was top"}));
}

TEST_F(ModuleRename, ReachesTheHeadersInOtherDatabases) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const leaf = make_module(library, "leaf", {"a"});
    NYX_INSTANCE *const instance = make_instance("u", leaf);
    leaf->set_name("renamed");
    EXPECT_EQ(instance->get_inst_header()->get_module_name(), "renamed");
    EXPECT_EQ(instance->get_module(), leaf);
    // The header is found again under the new name.
    EXPECT_EQ(make_instance("v", leaf)->get_inst_header(), instance->get_inst_header());
}

TEST_F(ModuleRename, LeavesHeadersThatMayNotBeWrittenAndWarns) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const leaf = make_module(library, "leaf");
    NYX_INSTANCE *const instance = make_instance("u", leaf);
    NYX_DB_IMPL::of(*db).m_access_mode = NYX_DB::ACCESS_MODE::READ_ONLY;
    {
        CAPTURING_SINK sink;
        leaf->set_name("renamed");
        EXPECT_EQ(sink.texts(NYX_REPORT::SEVERITY::WARNING),
                  STRINGS({"Module 'leaf' is now 'renamed', but the read-only database 'design' still refers to it by "
                           "the old name"}));
    }
    EXPECT_EQ(instance->get_inst_header()->get_module_name(), "leaf");
    EXPECT_EQ(leaf->get_name(), "renamed");
    NYX_DB_IMPL::of(*db).m_access_mode = NYX_DB::ACCESS_MODE::MODIFY;
}

// ---- Deletion

TEST_F(ModuleDeletion, TakesTheNameAndAllContents) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a", "z"});
    NYX_MODULE *const module = make_module(db, "m", {"p", "q", "", "r"});
    NYX_NET *const net = NYX_NET::allocate(module, "n");
    NYX_NET_BUS::allocate(module, "nb", 0, 1)->set_net(0, net);
    module->get_port_by_index(0)->connect(net);
    NYX_PORT_BUS::allocate(module, "pb", 0, 1)->set_port(1, module->get_port_by_index(1));
    NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(module, "u", leaf);
    NYX_INSTANCE_BUS::allocate(module, "ib", 0, 1)->set_instance(0, instance);
    instance->get_inst_port_by_index(0)->connect(net);
    NYX_INTERFACE::allocate(module, "itf")->add_port(module->get_port_by_index(3));

    module->deallocate();
    EXPECT_EQ(db->find_local_module("m"), nullptr);
    EXPECT_EQ(names_of(db->iter_modules()), STRINGS({"top", "leaf"}));
    const NYX_DB_PERSISTENT &root = *root_of(db);
    EXPECT_EQ(root.table<NYX_NET>().num_allocated(), 0u);
    EXPECT_EQ(root.table<NYX_NET_BUS>().num_allocated(), 0u);
    EXPECT_EQ(root.table<NYX_PORT_BUS>().num_allocated(), 0u);
    EXPECT_EQ(root.table<NYX_INSTANCE>().num_allocated(), 0u);
    EXPECT_EQ(root.table<NYX_INSTANCE_BUS>().num_allocated(), 0u);
    EXPECT_EQ(root.table<NYX_INST_PORT>().num_allocated(), 0u);
    EXPECT_EQ(root.table<NYX_INTERFACE>().num_allocated(), 0u);
    EXPECT_EQ(root.table<NYX_PORT>().num_allocated(), 2u);
    EXPECT_EQ(root.table<NYX_MODULE>().num_allocated(), 2u);
    leaf->deallocate();
    EXPECT_EQ(root.table<NYX_PORT>().num_allocated(), 0u);
}

TEST_F(ModuleDeletion, IsToldInAFixedOrder) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a"});
    NYX_MODULE *const module = make_module(db, "m", {"p", "", "q"});
    NYX_NET *const net = NYX_NET::allocate(module, "n");
    NYX_NET_BUS::allocate(module, "nb", 0, 0)->set_net(0, net);
    module->get_port_by_index(0)->connect(net);
    NYX_PORT_BUS::allocate(module, "pb", 0, 0)->set_port(0, module->get_port_by_index(2));
    NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(module, "u", leaf);
    NYX_INSTANCE_BUS::allocate(module, "ib", 0, 0)->set_instance(0, instance);
    instance->get_inst_port_by_index(0)->connect(net);
    NYX_INTERFACE::allocate(module, "itf");
    EVENT_LOG log;
    module->deallocate();
    EXPECT_EQ(log.take(), STRINGS({
                              "port p deallocated in m",
                              "port q deallocated in m",
                              "module m deallocated",
                              "net bus nb deallocated in m",
                              "net n deallocated in m",
                              "instance bus ib deallocated in m",
                              "inst port u.a deallocated",
                              "instance u deallocated in m",
                              "port bus pb deallocated in m",
                              "interface itf deallocated in m",
                          }));
}

TEST_F(ModuleDeletion, TellsOfPortsWhileTheyAreComplete) {
    struct LISTENER : NYX_OBSERVER<NYX_PORT> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_PORT *port, NYX_MODULE *parent) override {
            seen.push_back(port->get_name() + " on " + port->get_net()->get_name() + " of " + parent->get_name());
        }
        STRINGS seen;
    } listener;
    NYX_MODULE *const module = make_module(db, "m", {"p"});
    module->get_port_by_index(0)->connect(NYX_NET::allocate(module, "n"));
    module->deallocate();
    EXPECT_EQ(listener.seen, STRINGS({"p on n of m"}));
}

TEST_F(ModuleDeletion, IsPossibleWhenTheLastInstanceHasGone) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a"});
    NYX_INSTANCE *const instance = make_instance("u", leaf);
    EXPECT_EQ(nyx_cell(&NYX_MODULE_TABLE::m_reference_count, leaf->get_impl()), 1u);
    instance->deallocate();
    EXPECT_EQ(nyx_cell(&NYX_MODULE_TABLE::m_reference_count, leaf->get_impl()), 0u);
    leaf->deallocate();
    EXPECT_EQ(db->find_local_module("leaf"), nullptr);
}

TEST_F(ModuleDeletion, InALibraryWorksForTheFirstModule) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE::allocate(library, "first", 1)->deallocate();
    EXPECT_TRUE(library->iter_modules().empty());
}

TEST_F(ModuleDeletion, GivesTheRunOfPortsBackWithAllItsRowsNew) {
    NYX_MODULE *const module = make_module(db, "m", {"p", "q"});
    NYX_PORT *const p = module->get_port_by_index(0);
    p->set_input();
    p->set_layer(3);
    p->set_re_index(9);
    p->set_bounds(NYX_BOX(0, 0, 1, 1));
    module->deallocate();
    NYX_MODULE *const again = NYX_MODULE::allocate(db, "again", 2);
    EXPECT_EQ(port_names(again), STRINGS({"-", "-"}));
    NYX_PORT *const port = NYX_PORT::allocate(again, "x", 0);
    ASSERT_EQ(port, p);
    EXPECT_FALSE(port->is_input());
    EXPECT_EQ(port->get_layer(), 0);
    EXPECT_EQ(port->get_re_index(), 0);
    EXPECT_EQ(port->get_bounds(), NYX_BOX());
    EXPECT_EQ(port->get_net(), nullptr);
    EXPECT_EQ(port->get_bus(), nullptr);
}

TEST_F(ModuleDeletion, TakesTheTraitsAndPropertiesOfTheModuleAndItsPorts) {
    NYX_INT_TRAIT *const port_trait = NYX_PORT::create_int_trait(db, "weight", 1, "", "", "");
    NYX_INT_TRAIT *const module_trait = NYX_MODULE::create_int_trait(db, "weight", 1, "", "", "");
    NYX_MODULE *const module = make_module(db, "m", {"p", "q"});
    NYX_PORT *const q = module->get_port_by_index(1);
    q->set_value(port_trait, 7);
    q->set_property("note", 8);
    module->set_value(module_trait, 9);
    module->set_property("note", 10);
    module->set_entity_name("entity");
    module->deallocate();
    EXPECT_TRUE(NYX_PORT::trait_is_empty(port_trait));
    EXPECT_TRUE(NYX_MODULE::trait_is_empty(module_trait));
    EXPECT_TRUE(root_of(db)->table<NYX_PORT>().m_properties.empty());
    EXPECT_TRUE(root_of(db)->table<NYX_MODULE>().m_properties.empty());
    EXPECT_EQ(make_module(db, "again")->get_entity_name(), "");
}

// ---- Bounds

TEST_F(ModuleBounds, AreWhatWasSet) {
    top->set_bounds(NYX_BOX(1, 2, 3, 4));
    EXPECT_EQ(top->get_bounds(), NYX_BOX(1, 2, 3, 4));
}

TEST_F(ModuleBounds, AreFoundFromPortsAndPlacedInstances) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    leaf->set_bounds(NYX_BOX(0, 0, 10, 20));
    NYX_MODULE *const module = make_module(db, "m", {"p", "", "q"});
    module->set_bounds(NYX_BOX(-1000, -1000, 1000, 1000));
    module->get_port_by_index(0)->set_bounds(NYX_BOX(-5, 0, -4, 1));
    NYX_TRANSFORM transform;
    transform.set_offset(NYX_POINT(100, 200));
    NYX_INSTANCE::allocate(module, "u", leaf, transform);
    NYX_INSTANCE::allocate(module, "unplaced", leaf);
    module->update_bounds();
    EXPECT_EQ(module->get_bounds(), NYX_BOX(-5, 0, 110, 220));
}

TEST_F(ModuleBounds, AreInvertedWithNothingInThem) {
    top->set_bounds(NYX_BOX(1, 2, 3, 4));
    top->update_bounds();
    EXPECT_EQ(top->get_bounds(), NYX_BOX());
}

TEST_F(ModuleRename, ToANameThatAHeaderHoldsIsRefusedBeforeAnyChange) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const x = make_module(library, "x", {"a"});
    NYX_INSTANCE *const u = make_instance("u", x);
    SCOPED_DB other("other");
    NYX_INSTANCE *const w = NYX_INSTANCE::allocate(make_module(other, "top"), "w", x);
    // Of the header of this one the module is not there.
    NYX_MODULE *const y = make_module(library, "y", {"a"});
    NYX_INST_HEADER *const stale = make_instance("v", y)->get_inst_header();
    y->set_name("z");
    stale->set_module_name("y");
    EVENT_LOG log;
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { x->set_name("y"); }),
              std::pair(std::string("There is an inst header for module y in db library already"),
                        std::string("NYX_MODULE::set_name")));
    EXPECT_EQ(log.take(), STRINGS());
    EXPECT_EQ(x->get_name(), "x");
    EXPECT_EQ(library->find_local_module("x"), x);
    EXPECT_EQ(library->find_local_module("y"), nullptr);
    EXPECT_EQ(u->get_inst_header()->get_module_name(), "x");
    EXPECT_EQ(w->get_inst_header()->get_module_name(), "x");
    // Nothing is left under the new name, in whatever order the headers were tried.
    stale->set_module_name("z");
    x->set_name("y");
    EXPECT_EQ(u->get_module(), x);
    EXPECT_EQ(w->get_inst_header()->get_module_name(), "y");
    expect_sound(other);
}

TEST_F(ModuleDeletion, TakesItsPortsOffNetsOfOtherModules) {
    NYX_NET *const net = NYX_NET::allocate(top, "n");
    NYX_MODULE *const module = make_module(db, "m", {"p"});
    module->get_port_by_index(0)->connect(net);
    module->deallocate();
    EXPECT_TRUE(net->iter_ports().empty());
}

TEST_F(ModuleDeletion, TakesItsPortsOutOfBusesOfOtherModules) {
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(top, "v", 0, 0);
    NYX_MODULE *const module = make_module(db, "m", {"p"});
    bus->set_port(0, module->get_port_by_index(0));
    module->deallocate();
    EXPECT_EQ((*bus)[0], nullptr);
}

} // namespace
