// How a module's places for ports grow and are compacted, and what goes along.

#include "netlist_test_support.h"

#include "memory/segment_image.h"
#include "netlist/nyx_chain.h"

#include <random>

using namespace netlist_test;

namespace {

class ModulePorts : public DESIGN {
protected:
    static unsigned num_rows(NYX_DB *database) { return root_of(database)->table<NYX_PORT>().num_allocated(); }

    /// "INST.PORT" for each inst port of an instance, "-" for empty rows.
    static STRINGS inst_ports(NYX_INSTANCE *instance) {
        STRINGS names;
        for (NYX_INST_PORT *const inst_port : instance->iter_inst_ports())
            names.push_back(inst_port->is_valid() ? inst_port->get_name() : "-");
        return names;
    }
};

TEST_F(ModulePorts, AreAtTheirIndex) {
    NYX_MODULE *const module = make_module(db, "m", {"a", "", "c"});
    EXPECT_EQ(module->get_port_by_index(0)->get_name(), "a");
    EXPECT_EQ(module->get_port_by_index(1), nullptr);
    EXPECT_EQ(module->get_port_by_index(2)->get_name(), "c");
    EXPECT_EQ(module->get_port_by_index(2)->get_index(), 2u);
}

// ---- Growing

TEST_F(ModulePorts, GrowByNoneWithoutAnyChange) {
    NYX_MODULE *const module = make_module(db, "m", {"a", "", "c"});
    const NYX_PORT_ID first = module->get_impl()->m_first_port;
    EVENT_LOG log;
    module->increase_num_ports(0);
    EXPECT_EQ(module->get_impl()->m_first_port, first);
    EXPECT_EQ(port_names(module), STRINGS({"a", "-", "c"}));
    EXPECT_EQ(log.take(), STRINGS());
}

TEST_F(ModulePorts, GrowFromNone) {
    top->increase_num_ports(2);
    EXPECT_EQ(port_names(top), STRINGS({"-", "-"}));
    EXPECT_NE(top->get_impl()->m_first_port, NYX_PORT_ID::INVALID);
    NYX_PORT::allocate(top, "p", 1);
    EXPECT_EQ(port_names(top), STRINGS({"-", "p"}));
    EXPECT_EQ(num_rows(db), 2u);
}

TEST_F(ModulePorts, GrowingClosesGapsAndAddsPlacesBehind) {
    NYX_MODULE *const module = make_module(db, "m", {"a", "", "c"});
    module->increase_num_ports(2);
    EXPECT_EQ(port_names(module), STRINGS({"a", "c", "-", "-", "-"}));
    EXPECT_EQ(num_rows(db), 5u);
}

TEST_F(ModulePorts, GrowingGivesTheOldRunBack) {
    NYX_MODULE *const module = make_module(db, "m", {"a", "b"});
    const NYX_PORT_ID old_first = module->get_impl()->m_first_port;
    module->increase_num_ports(1);
    NYX_MODULE *const other = NYX_MODULE::allocate(db, "other", 2);
    EXPECT_EQ(other->get_impl()->m_first_port, old_first);
    EXPECT_EQ(port_names(other), STRINGS({"-", "-"}));
}

TEST_F(ModulePorts, GrowingMovesInstancesAlong) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a", "", "c"});
    NYX_INSTANCE *const u = make_instance("u", leaf);
    NYX_NET *const net = NYX_NET::allocate(top, "n");
    u->find_inst_port("c")->connect(net);
    leaf->increase_num_ports(1);
    EXPECT_EQ(u->get_num_inst_ports(), 4u);
    EXPECT_EQ(inst_ports(u), STRINGS({"a", "c", "-", "-"}));
    EXPECT_EQ(u->find_inst_port("c")->get_net(), net);
    EXPECT_EQ(u->find_inst_port("a")->get_net(), nullptr);
    expect_sound(db);
}

// ---- Compaction

TEST_F(ModulePorts, CompactionWithoutGapsTouchesNothing) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a", "b"});
    NYX_INSTANCE *const u = make_instance("u", leaf);
    const NYX_INST_PORT *const inst_port = u->get_inst_port_by_index(0);
    const NYX_PORT *const a = leaf->get_port_by_index(0);
    EVENT_LOG log;
    leaf->update_num_ports();
    EXPECT_EQ(leaf->get_port_by_index(0), a);
    EXPECT_EQ(u->get_inst_port_by_index(0), inst_port);
    EXPECT_EQ(log.take(), STRINGS());
}

TEST_F(ModulePorts, CompactionKeepsTheOrderAndTheRun) {
    NYX_MODULE *const module = make_module(db, "m", {"", "b", "", "", "e", "f", ""});
    const NYX_PORT_ID first = module->get_impl()->m_first_port;
    module->update_num_ports();
    EXPECT_EQ(module->get_impl()->m_first_port, first);
    EXPECT_EQ(port_names(module), STRINGS({"b", "e", "f"}));
    EXPECT_EQ(num_rows(db), 3u);
    EXPECT_EQ(module->find_port("f"), module->get_port_by_index(2));
}

TEST_F(ModulePorts, CompactionGivesTheEndOfTheRunBack) {
    NYX_MODULE *const module = make_module(db, "m", {"", "b", ""});
    const unsigned first = module->get_impl()->m_first_port.get();
    module->update_num_ports();
    NYX_MODULE *const other = NYX_MODULE::allocate(db, "other", 2);
    EXPECT_EQ(other->get_impl()->m_first_port.get(), first + 1);
    EXPECT_EQ(port_names(other), STRINGS({"-", "-"}));
}

TEST_F(ModulePorts, CompactionToNoneLeavesNoRun) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a", ""});
    NYX_INSTANCE *const u = make_instance("u", leaf);
    leaf->get_port_by_index(0)->deallocate();
    leaf->update_num_ports();
    EXPECT_EQ(leaf->get_num_ports(), 0u);
    EXPECT_EQ(leaf->get_impl()->m_first_port, NYX_PORT_ID::INVALID);
    EXPECT_TRUE(leaf->iter_ports().empty());
    EXPECT_EQ(u->get_num_inst_ports(), 0u);
    EXPECT_EQ(num_rows(db), 0u);
    leaf->increase_num_ports(1);
    EXPECT_EQ(port_names(leaf), STRINGS({"-"}));
}

TEST_F(ModulePorts, DeletingOneInTheMiddleAndCompactingMovesInstancesAlong) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a", "b", "c"});
    NYX_INSTANCE *const u = make_instance("u", leaf);
    NYX_INSTANCE *const v = make_instance("v", leaf);
    NYX_NET *const net = NYX_NET::allocate(top, "n");
    for (NYX_INSTANCE *const instance : {u, v})
        instance->find_inst_port("c")->connect(net);
    leaf->find_port("b")->deallocate();
    EXPECT_EQ(inst_ports(u), STRINGS({"a", "-", "c"}));
    leaf->update_num_ports();
    for (NYX_INSTANCE *const instance : {u, v}) {
        EXPECT_EQ(inst_ports(instance), STRINGS({"a", "c"}));
        EXPECT_EQ(instance->find_inst_port("c")->get_net(), net);
        EXPECT_EQ(instance->get_inst_port_for_port(leaf->find_port("c")), instance->get_inst_port_by_index(1));
    }
    EXPECT_EQ(std::distance(net->iter_inst_ports().begin(), net->iter_inst_ports().end()), 2);
}

TEST_F(ModulePorts, MovesReachInstancesInOtherDatabases) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const leaf = make_module(library, "leaf", {"a", "b", "c"});
    NYX_INSTANCE *const u = make_instance("u", leaf);
    NYX_NET *const net = NYX_NET::allocate(top, "n");
    u->find_inst_port("c")->connect(net);
    leaf->find_port("a")->deallocate();
    leaf->update_num_ports();
    EXPECT_EQ(inst_ports(u), STRINGS({"b", "c"}));
    EXPECT_EQ(u->find_inst_port("c")->get_net(), net);
    EXPECT_EQ(u->get_inst_header()->get_num_ports(), 2u);
    leaf->increase_num_ports(3);
    EXPECT_EQ(inst_ports(u), STRINGS({"b", "c", "-", "-", "-"}));
    EXPECT_EQ(u->get_inst_header()->get_num_ports(), 5u);
    expect_sound(library);
}

// ---- What goes along

class MovedPorts : public ModulePorts, public testing::WithParamInterface<bool> {
protected:
    /// Moves c from index 2 to index 1, within the run or to another one.
    void move() {
        if (GetParam())
            module->increase_num_ports(2);
        else
            module->update_num_ports();
        ASSERT_EQ(module->get_port_by_index(1)->get_name(), "c");
        c = module->get_port_by_index(1);
    }

    NYX_MODULE *module = make_module(db, "m", {"a", "", "c", "d"});
    NYX_PORT *c = module->get_port_by_index(2);
};

INSTANTIATE_TEST_SUITE_P(InBothWays, MovedPorts, testing::Bool(),
                         [](const auto &test) { return test.param ? "ToALongerRun" : "WithinTheRun"; });

TEST_P(MovedPorts, KeepTheirColumns) {
    c->set_bidir();
    c->set_inverted(true);
    c->set_initial_value(true);
    c->set_layer(7);
    c->set_re_index(-3);
    c->set_bounds(NYX_BOX(1, 2, 3, 4));
    move();
    EXPECT_TRUE(c->is_bidir());
    EXPECT_TRUE(c->is_inverted());
    EXPECT_TRUE(c->get_initial_value());
    EXPECT_FALSE(c->is_physical_only_port());
    EXPECT_EQ(c->get_layer(), 7);
    EXPECT_EQ(c->get_re_index(), -3);
    EXPECT_EQ(c->get_bounds(), NYX_BOX(1, 2, 3, 4));
    EXPECT_EQ(c->get_parent(), module);
    EXPECT_EQ(c->get_index(), 1u);
    EXPECT_FALSE(module->get_port_by_index(2) != nullptr && module->get_port_by_index(2)->is_bidir());
}

TEST_P(MovedPorts, StayOnTheirNetInTheirOrder) {
    NYX_NET *const net = NYX_NET::allocate(module, "n");
    for (const char *const name : {"a", "c", "d"})
        module->find_port(name)->connect(net);
    move();
    EXPECT_EQ(names_of(net->iter_ports()), STRINGS({"d", "c", "a"}));
    for (const NYX_PORT *const port : net->iter_ports())
        EXPECT_EQ(port->get_net(), net);
    expect_sound(db);
    c->disconnect();
    EXPECT_EQ(names_of(net->iter_ports()), STRINGS({"d", "a"}));
}

TEST_P(MovedPorts, StayAtTheirPlaceInTheirBuses) {
    NYX_PORT_BUS *const down = NYX_PORT_BUS::allocate(module, "down", 3, 0);
    down->set_port(3, c);
    down->set_port(0, module->find_port("a"));
    NYX_PORT_BUS *const up = NYX_PORT_BUS::allocate(module, "up", -1, 1);
    up->set_port(1, module->find_port("d"));
    move();
    EXPECT_EQ(names_of(down->iter_ports()), STRINGS({"c", "-", "-", "a"}));
    EXPECT_EQ(names_of(up->iter_ports()), STRINGS({"-", "-", "d"}));
    EXPECT_EQ((*down)[3], c);
    EXPECT_EQ(c->get_bus(), down);
    EXPECT_EQ(module->find_port("a")->get_bus(), down);
    EXPECT_EQ(module->find_port("d")->get_bus(), up);
    EXPECT_EQ(down->remove_port(c), 3);
}

TEST_P(MovedPorts, KeepTheirPropertiesAndLeaveNoneBehind) {
    c->set_property("weight", 42);
    move();
    EXPECT_EQ(root_of(db)->table<NYX_PORT>().m_properties.size(), 1u);
    ASSERT_TRUE(c->has_property("weight"));
    EXPECT_EQ(boost::get<int>(c->get_property("weight")), 42);
    EXPECT_FALSE(module->find_port("d")->has_property("weight"));
}

TEST_P(MovedPorts, KeepTheirTraitsOfAllWidthsAndLeaveNoneBehind) {
    NYX_BOOL_TRAIT *const flag = NYX_PORT::create_bool_trait(db, "flag", false, "", "", "");
    NYX_STRING_TRAIT *const text = NYX_PORT::create_string_trait(db, "text", "none", "", "", "");
    NYX_DOUBLE_TRAIT *const number = NYX_PORT::create_double_trait(db, "number", 0, "", "", "");
    c->set_value(flag, true);
    c->set_value(text, "c's");
    c->set_value(number, 1.5);
    module->find_port("d")->set_value(text, "d's");
    c->set_src_location("f.v", 12);
    move();
    EXPECT_TRUE(c->get_value(flag));
    EXPECT_EQ(c->get_value(text), "c's");
    EXPECT_EQ(c->get_value(number), 1.5);
    EXPECT_EQ(c->get_src_location(), "f.v:12");
    NYX_PORT *const d = module->find_port("d");
    EXPECT_FALSE(d->get_value(flag));
    EXPECT_EQ(d->get_value(text), "d's");
    // New ports in the rows that were left start from the defaults.
    module->increase_num_ports(3);
    for (unsigned i = 0; i < module->get_num_ports(); ++i) {
        if (module->get_port_by_index(i) == nullptr) {
            EXPECT_EQ(NYX_PORT::allocate(module, "new", i)->get_value(text), "none");
        }
    }
    NYX_MODULE *const other = make_module(db, "other", {"x", "y", "z", "w"});
    for (NYX_PORT *const port : other->iter_ports()) {
        EXPECT_EQ(port->get_value(text), "none");
        EXPECT_EQ(port->get_src_location(), "");
    }
}

TEST_P(MovedPorts, StayInTheirInterfacesInTheirOrder) {
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "itf");
    for (const char *const name : {"d", "c", "a"})
        interface->add_port(module->find_port(name));
    move();
    EXPECT_EQ(names_of(interface->iter_ports()), STRINGS({"d", "c", "a"}));
    EXPECT_EQ(c->get_interface(), interface);
    interface->remove_port(c);
    EXPECT_EQ(names_of(interface->iter_ports()), STRINGS({"d", "a"}));
}

TEST_P(MovedPorts, AreToldWhenAllIsDone) {
    NYX_MODULE *const parent = make_module(db, "parent");
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(parent, "u", module);
    struct LISTENER : NYX_OBSERVER<NYX_PORT> {
        explicit LISTENER(NYX_INSTANCE *instance) : NYX_OBSERVER(1), m_instance(instance) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void moved(NYX_PORT *from, NYX_PORT *to) override {
            froms.push_back(from);
            tos.push_back(to);
            seen.push_back(to->get_name() + " " + std::to_string(to->get_index()) + " " +
                           m_instance->get_inst_port_for_port(to)->get_name());
        }
        NYX_INSTANCE *m_instance;
        std::vector<NYX_PORT *> froms, tos;
        STRINGS seen;
    } listener(u);
    const std::vector<NYX_PORT *> old{module->find_port("a"), module->find_port("c"), module->find_port("d")};
    move();
    const std::vector<NYX_PORT *> now{module->find_port("a"), module->find_port("c"), module->find_port("d")};
    // Within the run the first port does not move.
    const long stay = GetParam() ? 0 : 1;
    EXPECT_EQ(listener.froms, std::vector<NYX_PORT *>(old.begin() + stay, old.end()));
    EXPECT_EQ(listener.tos, std::vector<NYX_PORT *>(now.begin() + stay, now.end()));
    EXPECT_EQ(listener.seen, GetParam() ? STRINGS({"a 0 a", "c 1 c", "d 2 d"}) : STRINGS({"c 1 c", "d 2 d"}));
}

TEST_P(MovedPorts, AreFoundByTheirNames) {
    EXPECT_EQ(module->find_port("c"), c);
    move();
    EXPECT_EQ(module->find_port("c"), c);
    c->set_name("x");
    EXPECT_EQ(module->find_port("x"), c);
    EXPECT_EQ(module->find_port("c"), nullptr);
}

// ---- What is refused

TEST_F(ModulePorts, DoNotMoveWhenAnInstanceMayNotFollow) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const leaf = make_module(library, "leaf", {"a", "", "c"});
    NYX_INSTANCE *const u = make_instance("u", leaf);
    const std::string text =
        "Cannot change ports of module leaf: its instances in read-only database 'design' can't follow";
    NYX_DB_IMPL::of(*db).m_access_mode = NYX_DB::ACCESS_MODE::READ_ONLY;
    EVENT_LOG log;
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { leaf->increase_num_ports(1); }),
              RAISED(text, "NYX_MODULE::increase_num_ports"));
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { leaf->update_num_ports(); }),
              RAISED(text, "NYX_MODULE::update_num_ports"));
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { leaf->get_port_by_index(0)->deallocate(); }),
              RAISED(text, "NYX_PORT::deallocate"));
    EXPECT_EQ(log.take(), STRINGS());
    EXPECT_EQ(port_names(leaf), STRINGS({"a", "-", "c"}));
    EXPECT_EQ(inst_ports(u), STRINGS({"a", "-", "c"}));
    NYX_DB_IMPL::of(*db).m_access_mode = NYX_DB::ACCESS_MODE::MODIFY;
}

TEST_F(ModulePorts, StayAsTheyAreWhenADatabaseIsFull) {
    NYX_MODULE *const leaf = make_module(db, "leaf", {"a", "", "c"});
    NYX_INSTANCE *const u = make_instance("u", leaf);
    NYX_INSTANCE *const v = make_instance("v", leaf);
    u->find_inst_port("c")->connect(NYX_NET::allocate(top, "n"));
    const NYX_PORT *const a = leaf->get_port_by_index(0);
    const unsigned rows = root_of(db)->table<NYX_INST_PORT>().num_allocated();
    // Two instances and the module need three runs, for which there is room at first, then for two, one and none.
    int failures = 0;
    for (const unsigned size : {10000000u, 300000u, 250000u, 200000u, 150000u, 120000u, 100000u}) {
        bool failed = false;
        try {
            leaf->increase_num_ports(size);
        } catch (const boost::interprocess::bad_alloc &) {
            failed = true;
        }
        if (!failed)
            break;
        ++failures;
        EXPECT_EQ(leaf->get_port_by_index(0), a);
        EXPECT_EQ(port_names(leaf), STRINGS({"a", "-", "c"}));
        for (NYX_INSTANCE *const instance : {u, v})
            EXPECT_EQ(inst_ports(instance), STRINGS({"a", "-", "c"}));
        EXPECT_EQ(root_of(db)->table<NYX_INST_PORT>().num_allocated(), rows);
        expect_sound(db);
    }
    EXPECT_GT(failures, 1);
}

// Values of traits and properties go to rows two thousand further, where no row has had any; those of all instances to
// the same leaf. All room is taken before the first one moves.
TEST_F(ModulePorts, KeepTraitsAndPropertiesWhenADatabaseIsFull) {
    constexpr unsigned num_ports = 40;
    const auto value_of = [](unsigned index) { return index % 3 == 0 ? static_cast<int>(index) + 1 : 0; };
    unsigned failures = 0;
    for (std::size_t left = 0;; left += 8) {
        SCOPED_DB full("full");
        NYX_MODULE *const user = NYX_MODULE::allocate(full, "user", 0);
        NYX_MODULE *const leaf = NYX_MODULE::allocate(full, "leaf", num_ports);
        for (unsigned i = 0; i < num_ports; ++i)
            NYX_PORT::allocate(leaf, "p" + std::to_string(i), i);
        NYX_MODULE *const large = NYX_MODULE::allocate(full, "large", 2100);
        NYX_INSTANCE *const u = NYX_INSTANCE::allocate(user, "u", leaf);
        NYX_INSTANCE *const v = NYX_INSTANCE::allocate(user, "v", leaf);
        NYX_INSTANCE::allocate(user, "w", large);
        // The runs that they leave behind will do, so that rows need no room.
        NYX_MODULE *const gone = NYX_MODULE::allocate(full, "gone", num_ports + 1);
        for (NYX_INSTANCE *const instance :
             {NYX_INSTANCE::allocate(user, "x", gone), NYX_INSTANCE::allocate(user, "y", gone)})
            instance->deallocate();
        gone->deallocate();
        NYX_INT_TRAIT *const of_ports = NYX_PORT::create_int_trait(full, "t", 0, "", "", "");
        NYX_INT_TRAIT *const of_inst_ports = NYX_INST_PORT::create_int_trait(full, "t", 0, "", "", "");
        for (unsigned i = 0; i < num_ports; ++i) {
            leaf->get_port_by_index(i)->set_value(of_ports, value_of(i));
            for (NYX_INSTANCE *const instance : {u, v})
                instance->get_inst_port_by_index(i)->set_value(of_inst_ports, value_of(i));
            if (i % 5 == 0) {
                leaf->get_port_by_index(i)->set_property("p", value_of(i));
                for (NYX_INSTANCE *const instance : {u, v})
                    instance->get_inst_port_by_index(i)->set_property("p", value_of(i));
            }
        }
        bool done = false;
        {
            const JUNK junk(*nyx_get_algorithm(root_of(full)->get_segment_manager()), left == 0 ? 0 : left + 32);
            try {
                leaf->increase_num_ports(1);
                done = true;
            } catch (const boost::interprocess::bad_alloc &) {
                ++failures;
            }
        }
        EXPECT_EQ(leaf->get_num_ports(), num_ports + (done ? 1 : 0));
        for (unsigned i = 0; i < num_ports; ++i) {
            const auto property = [i](const auto *object) {
                return i % 5 == 0 ? boost::get<int>(object->find_property("p").value()) : -1;
            };
            ASSERT_EQ(leaf->get_port_by_index(i)->get_value(of_ports), value_of(i)) << left;
            ASSERT_EQ(property(leaf->get_port_by_index(i)), i % 5 == 0 ? value_of(i) : -1) << left;
            for (NYX_INSTANCE *const instance : {u, v}) {
                ASSERT_EQ(instance->get_inst_port_by_index(i)->get_value(of_inst_ports), value_of(i)) << left;
                ASSERT_EQ(property(instance->get_inst_port_by_index(i)), i % 5 == 0 ? value_of(i) : -1) << left;
            }
        }
        expect_sound(full);
        if (done)
            break;
    }
    EXPECT_GT(failures, 4u);
}

// ---- Many changes

TEST_F(ModulePorts, SurviveManyChangesWithAllThatHangsOnThem) {
    std::mt19937 random(3);
    NYX_MODULE *const leaf = NYX_MODULE::allocate(db, "leaf", 8);
    NYX_MODULE *const user = NYX_MODULE::allocate(db, "user", 0);
    NYX_NET *const inside = NYX_NET::allocate(leaf, "inside");
    NYX_NET *const outside = NYX_NET::allocate(user, "outside");
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(leaf, "bus", 0, 99);
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(user, "u", leaf);
    NYX_INSTANCE *const v = NYX_INSTANCE::allocate(user, "v", leaf);
    int next = 0;
    for (int step = 0; step < 2000; ++step) {
        const unsigned num_ports = leaf->get_num_ports();
        const unsigned index = num_ports != 0 ? random() % num_ports : 0;
        NYX_PORT *const port = num_ports != 0 ? leaf->get_port_by_index(index) : nullptr;
        switch (random() % 6) {
        case 0:
            leaf->increase_num_ports(random() % 4);
            break;
        case 1:
            leaf->update_num_ports();
            break;
        case 2:
            if (port != nullptr)
                port->deallocate();
            break;
        default:
            if (num_ports != 0 && port == nullptr) {
                // The number of a port is in all that hangs on it.
                const int number = next++;
                NYX_PORT *const made =
                    NYX_PORT::allocate(leaf, std::to_string(number), index, number % 2 != 0 ? inside : nullptr);
                made->set_re_index(number);
                if (number < 100)
                    bus->set_port(number, made);
                NYX_INST_PORT::allocate(u, made, outside);
            }
        }
        for (NYX_PORT *const other : leaf->iter_ports()) {
            if (other->get_parent() == nullptr)
                continue;
            const int number = other->get_re_index();
            ASSERT_EQ(other->get_name(), std::to_string(number));
            ASSERT_EQ(other->get_net(), number % 2 != 0 ? inside : nullptr);
            ASSERT_EQ(other->get_bus(), number < 100 ? bus : nullptr);
            if (number < 100) {
                ASSERT_EQ((*bus)[number], other);
            }
            ASSERT_EQ(u->get_inst_port_for_port(other)->get_net(), outside);
            ASSERT_EQ(v->get_inst_port_for_port(other), nullptr);
        }
        ASSERT_EQ(u->get_num_inst_ports(), leaf->get_num_ports());
        ASSERT_EQ(v->get_num_inst_ports(), leaf->get_num_ports());
        if (step % 20 == 0) {
            ASSERT_EQ(nyx_check_netlist(*root_of(db)), STRINGS());
        }
    }
    // Some are beyond the bus, too.
    EXPECT_GT(next, 100);
}

TEST_F(ModulePorts, MovesOfInstPortsAreToldWhenAllInstancesHaveFollowed) {
    struct LISTENER : NYX_OBSERVER<NYX_INST_PORT> {
        explicit LISTENER(NYX_MODULE *of) : NYX_OBSERVER(1), module(of) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void moved(NYX_INST_PORT *, NYX_INST_PORT *) override {
            ++events;
            for (const NYX_INSTANCE *const instance : module->iter_instances_of())
                EXPECT_EQ(instance->get_num_inst_ports(), module->get_num_ports());
        }
        NYX_MODULE *module;
        int events = 0;
    } listener(make_module(db, "leaf", {"a"}));
    make_instance("u", listener.module);
    make_instance("v", listener.module);
    listener.module->increase_num_ports(1);
    EXPECT_EQ(listener.events, 2);
}

TEST_F(ModulePorts, OfABusOfAnotherModuleStopTheMoveBeforeItBegins) {
    NYX_MODULE *const module = make_module(db, "m", {"a"});
    NYX_MODULE *const other = make_module(db, "n", {"b"});
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "v", 0, 0);
    bus->set_port(0, other->get_port_by_index(0));
    EXPECT_DEATH(module->increase_num_ports(1), "Port bus v has a member that is not a port of module m");
    EXPECT_DEATH(other->increase_num_ports(1), "Port b is in a bus that is not one of module n");
    bus->set_port(0, nullptr);
}

} // namespace
