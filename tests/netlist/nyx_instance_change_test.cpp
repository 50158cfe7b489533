// Instances that get another base module, and how their inst ports follow the ports.

#include "memory/segment_image.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_inst_port_table.h"
#include "netlist/nyx_module_table.h"
#include "netlist_test_support.h"

using namespace netlist_test;

namespace {

class CHANGE : public DESIGN {
protected:
    static unsigned references(NYX_MODULE *module) {
        NYX_MODULE_TABLE &table = nyx_get_persistent(module)->table<NYX_MODULE>();
        return *table.m_reference_count.get(NYX_MODULE_TABLE::get_id(module->get_impl()));
    }
    // "PORT:NET" for each inst port, "-" for an empty place.
    static STRINGS connections(NYX_INSTANCE *instance) {
        STRINGS result;
        for (const NYX_INST_PORT *const inst_port : instance->const_iter_inst_ports())
            result.push_back(!inst_port->is_valid()
                                 ? "-"
                                 : inst_port->get_name() + ':' +
                                       (inst_port->get_net() != nullptr ? inst_port->get_net()->get_name() : ""));
        return result;
    }
    // Connects each inst port to a net of its own, named as the port.
    void connect_all(NYX_INSTANCE *instance) {
        for (NYX_INST_PORT *const inst_port : instance->iter_inst_ports())
            inst_port->connect(NYX_NET::allocate(top, inst_port->get_name()));
    }
    // A trait and a property, to be found again where the inst port went.
    void mark(NYX_INST_PORT *inst_port, int value) {
        inst_port->set_property("mark", value);
        inst_port->set_value(m_trait, value);
    }
    int mark_of(NYX_INST_PORT *inst_port) {
        const int value = inst_port->get_value(m_trait);
        EXPECT_EQ(inst_port->has_property("mark"), value != 0);
        if (value != 0) {
            EXPECT_EQ(boost::get<int>(inst_port->get_property("mark")), value);
        }
        return value;
    }

    NYX_MODULE *abc = make_module(db, "abc", {"a", "b", "c"});
    NYX_INT_TRAIT *m_trait = NYX_INST_PORT::create_int_trait(db, "mark", 0, "", "", "");
};

} // namespace

// ---- The same ports

TEST_F(CHANGE, ToAModuleWithTheSamePortsKeepsAll) {
    NYX_MODULE *const other = make_module(db, "other", {"a", "b", "c"});
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    NYX_INST_PORT *const b = u->find_inst_port("b");
    EVENT_LOG log;
    u->set_module(other);
    EXPECT_EQ(log.take(), (STRINGS{"instance u was one of abc"}));
    EXPECT_EQ(u->get_module(), other);
    EXPECT_EQ(u->find_inst_port("b"), b);
    EXPECT_EQ(b->get_port(), other->find_port("b"));
    EXPECT_EQ(connections(u), (STRINGS{"a:a", "b:b", "c:c"}));
    EXPECT_EQ(references(abc), 0u);
    EXPECT_EQ(references(other), 1u);
    u->set_master(abc);
    EXPECT_EQ(u->get_module(), abc);
}

// Who hears that an inst port goes may give values to those that are about to move, to rows where no one has had any.
// If there is no room for them, the instance keeps its module.
TEST_F(CHANGE, ValuesThatComeWhileAnInstPortGoesMoveAsWell) {
    struct LISTENER : NYX_OBSERVER<NYX_INST_PORT> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_INST_PORT *) override {
            for (NYX_INST_PORT *const inst_port : u->iter_inst_ports())
                if (inst_port->is_valid() && inst_port->get_name() != "c")
                    inst_port->set_value(trait, 7);
        }
        NYX_INSTANCE *u = nullptr;
        NYX_INT_TRAIT *trait = nullptr;
    };
    unsigned failures = 0;
    for (std::size_t left = 0;; left += 8) {
        SCOPED_DB full("full");
        NYX_MODULE *const user = NYX_MODULE::allocate(full, "user", 0);
        NYX_MODULE *const from = make_module(full, "from", {"a", "b", "c"});
        NYX_MODULE *const to = make_module(full, "to", {"x", "b", "a", "y"});
        NYX_INSTANCE *const u = NYX_INSTANCE::allocate(user, "u", from);
        // Behind two thousand rows there is a run that will do.
        NYX_INSTANCE::allocate(user, "w", NYX_MODULE::allocate(full, "large", 2100));
        NYX_INSTANCE::allocate(user, "gone", to)->deallocate();
        NYX_INT_TRAIT *const trait = NYX_INST_PORT::create_int_trait(full, "t", 0, "", "", "");
        // The leaf of the rows at hand is there.
        u->find_inst_port("c")->set_value(trait, 1);
        bool done = false;
        {
            LISTENER listener;
            listener.u = u;
            listener.trait = trait;
            const JUNK junk(*nyx_get_algorithm(root_of(full)->get_segment_manager()), left == 0 ? 0 : left + 32);
            try {
                u->change_module(to, {});
                done = true;
            } catch (const boost::interprocess::bad_alloc &) {
                ++failures;
            }
        }
        EXPECT_EQ(u->get_module(), done ? to : from);
        for (const char *const name : {"a", "b"}) {
            ASSERT_NE(u->find_inst_port(name), nullptr) << left;
            EXPECT_EQ(u->find_inst_port(name)->get_value(trait), 7) << left;
        }
        expect_sound(full);
        if (done)
            break;
    }
    EXPECT_GT(failures, 4u);
}

TEST_F(CHANGE, ToThePresentModuleDoesNothing) {
    NYX_INSTANCE *const u = make_instance("u", abc);
    EVENT_LOG log;
    u->set_module(abc);
    EXPECT_EQ(log.take(), STRINGS());
    EXPECT_EQ(references(abc), 1u);
}

TEST_F(CHANGE, ToNoModuleIsRefused) {
    NYX_INSTANCE *const u = make_instance("u", abc);
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { u->set_module(nullptr); }),
              RAISED("New module cannot be NULL", "NYX_INSTANCE::set_module"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { u->change_module(nullptr); }),
              RAISED("New module cannot be NULL", "NYX_INSTANCE::change_module_internal"));
    EXPECT_EQ(u->get_module(), abc);
}

TEST_F(CHANGE, WithinAnotherDatabaseGoesFromHeaderToHeader) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const first = make_module(lib, "first", {"a"});
    NYX_MODULE *const second = make_module(lib, "second", {"a"});
    NYX_INSTANCE *const u = make_instance("u", first);
    u->set_module(second);
    EXPECT_EQ(u->get_module(), second);
    EXPECT_EQ(u->get_inst_header()->get_module_name(), "second");
    EXPECT_EQ(u->get_inst_header()->get_reference_count(), 1u);
    EXPECT_EQ(root_of(db)->table<NYX_INST_HEADER>().num_allocated(), 1u);
    u->deallocate();
    EXPECT_FALSE(root_of(db)->has_inst_headers());
}

// ---- Other ports

TEST_F(CHANGE, MapsInstPortsByName) {
    NYX_MODULE *const other = make_module(db, "other", {"c", "x", "a", "b"});
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    mark(u->find_inst_port("a"), 1);
    mark(u->find_inst_port("c"), 3);
    u->change_module(other);
    EXPECT_EQ(u->get_module(), other);
    EXPECT_EQ(connections(u), (STRINGS{"c:c", "x:", "a:a", "b:b"}));
    EXPECT_EQ(mark_of(u->find_inst_port("a")), 1);
    EXPECT_EQ(mark_of(u->find_inst_port("b")), 0);
    EXPECT_EQ(mark_of(u->find_inst_port("c")), 3);
    EXPECT_EQ(mark_of(u->find_inst_port("x")), 0);
    EXPECT_EQ(references(abc), 0u);
    EXPECT_EQ(references(other), 1u);
    // The run of before is free again.
    EXPECT_EQ(root_of(db)->table<NYX_INST_PORT>().num_allocated(), 4u);
}

TEST_F(CHANGE, OfTheOrderInARunOfTheSameLengthSwapsWithoutLoss) {
    NYX_MODULE *const other = make_module(db, "other", {"c", "a", "b"});
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    mark(u->find_inst_port("b"), 2);
    u->change_module(other);
    EXPECT_EQ(connections(u), (STRINGS{"c:c", "a:a", "b:b"}));
    EXPECT_EQ(mark_of(u->find_inst_port("b")), 2);
    EXPECT_EQ(root_of(db)->table<NYX_INST_PORT>().num_allocated(), 3u);
}

TEST_F(CHANGE, MapsInstPortsByTheGivenNames) {
    NYX_MODULE *const other = make_module(db, "other", {"x", "b"});
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    u->change_module(other, {{"c", "x"}, {"a", "nowhere"}, {"unknown", "b"}});
    EXPECT_EQ(connections(u), (STRINGS{"x:c", "b:b"}));
    EXPECT_TRUE(top->find_net("a")->iter_inst_ports().empty());
}

TEST_F(CHANGE, DeletesAndMakesInstPortsAndTellsSo) {
    NYX_MODULE *const other = make_module(db, "other", {"b", "x"});
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    EVENT_LOG log;
    u->change_module(other);
    EXPECT_EQ(log.take(), (STRINGS{"inst port u.a pre_disconnect on a", "inst port u.a post_disconnect",
                                   "inst port u.a deallocated", "inst port u.c pre_disconnect on c",
                                   "inst port u.c post_disconnect", "inst port u.c deallocated", "inst port u.b moved",
                                   "inst port u.x allocated", "instance u was one of abc"}));
    EXPECT_EQ(connections(u), (STRINGS{"b:b", "x:"}));
}

TEST_F(CHANGE, OfTwoInstPortsToOnePortIsRefusedWithoutChange) {
    NYX_MODULE *const other = make_module(db, "other", {"a", "b"});
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    EVENT_LOG log;
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] {
                  u->change_module(other, {{"c", "a"}});
              }),
              RAISED("Cannot map inst ports a and c to same port a on new base module other.",
                     "NYX_INSTANCE::change_module_internal"));
    EXPECT_EQ(log.take(), STRINGS());
    EXPECT_EQ(u->get_module(), abc);
    EXPECT_EQ(connections(u), (STRINGS{"a:a", "b:b", "c:c"}));
    EXPECT_EQ(references(other), 0u);
}

TEST_F(CHANGE, LeavesEmptyPlacesOfTheNewModuleEmpty) {
    NYX_MODULE *const other = make_module(db, "other", {"", "b", ""});
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    u->change_module(other);
    EXPECT_EQ(connections(u), (STRINGS{"-", "b:b", "-"}));
}

TEST_F(CHANGE, ToAModuleWithoutPortsGivesTheRunBack) {
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    u->change_master(make_module(db, "empty"));
    EXPECT_EQ(u->get_num_inst_ports(), 0u);
    EXPECT_TRUE(u->iter_inst_ports().empty());
    EXPECT_EQ(root_of(db)->table<NYX_INST_PORT>().num_allocated(), 0u);
    u->change_master(abc);
    EXPECT_EQ(connections(u), (STRINGS{"a:", "b:", "c:"}));
}

TEST_F(CHANGE, MakesAnInstPortThatHadBeenDeleted) {
    NYX_INSTANCE *const u = make_instance("u", abc);
    u->find_inst_port("b")->deallocate();
    u->change_module(make_module(db, "other", {"a", "b", "c"}));
    EXPECT_EQ(connections(u), (STRINGS{"a:", "b:", "c:"}));
}

TEST_F(CHANGE, IntoAnotherDatabaseAndBackKeepsTheCounts) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote", {"b", "a"});
    NYX_INSTANCE *const u = make_instance("u", abc);
    NYX_INSTANCE *const v = make_instance("v", remote);
    connect_all(u);
    u->change_module(remote);
    EXPECT_FALSE(u->module_in_same_db());
    EXPECT_EQ(u->get_module(), remote);
    EXPECT_EQ(u->get_inst_header(), v->get_inst_header());
    EXPECT_EQ(u->get_inst_header()->get_reference_count(), 2u);
    EXPECT_EQ(connections(u), (STRINGS{"b:b", "a:a"}));
    EXPECT_EQ(references(abc), 0u);
    EXPECT_EQ(references(remote), 0u);
    v->deallocate();
    EXPECT_EQ(u->get_inst_header()->get_reference_count(), 1u);
    u->change_module(abc);
    EXPECT_TRUE(u->module_in_same_db());
    EXPECT_EQ(u->get_inst_header(), nullptr);
    EXPECT_EQ(references(abc), 1u);
    EXPECT_FALSE(root_of(db)->has_inst_headers());
}

TEST_F(CHANGE, ToADefinitionModuleIsRefusedWithoutChange) {
    SCOPED_DB definitions("definitions", NYX_DB_TYPE::DEFINITION);
    NYX_INSTANCE *const u = make_instance("u", abc);
    EXPECT_THROW(u->change_module(make_module(definitions, "m", {"a"})), NYX_RUNTIME_ERROR);
    EXPECT_EQ(u->get_module(), abc);
}

// ---- Ports that come, go and move

TEST_F(CHANGE, OfTheModulesPortsIsFollowed) {
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    mark(u->find_inst_port("c"), 3);
    abc->increase_num_ports(2);
    EXPECT_EQ(connections(u), (STRINGS{"a:a", "b:b", "c:c", "-", "-"}));
    abc->find_port("b")->deallocate();
    EXPECT_EQ(connections(u), (STRINGS{"a:a", "-", "c:c", "-", "-"}));
    abc->update_num_ports();
    EXPECT_EQ(connections(u), (STRINGS{"a:a", "c:c"}));
    EXPECT_EQ(mark_of(u->find_inst_port("c")), 3);
    EXPECT_EQ(root_of(db)->table<NYX_INST_PORT>().num_allocated(), 2u);
    EXPECT_EQ((*top->find_net("c")->iter_inst_ports().begin())->get_inst(), u);
}

TEST_F(CHANGE, OfTheModulesPortsReachesInstancesInOtherDatabases) {
    SCOPED_DB lib("lib", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const remote = make_module(lib, "remote", {"a", "b", "c"});
    NYX_INSTANCE *const u = make_instance("u", remote);
    connect_all(u);
    remote->find_port("a")->deallocate();
    remote->update_num_ports();
    EXPECT_EQ(connections(u), (STRINGS{"b:b", "c:c"}));
    EXPECT_EQ(u->get_inst_header()->get_num_ports(), 2u);
    remote->increase_num_ports(1);
    EXPECT_EQ(u->get_inst_header()->get_num_ports(), 3u);
    EXPECT_EQ(make_instance("v", remote)->get_inst_header(), u->get_inst_header());
}

TEST_F(CHANGE, OfThePortsToldAsMovesOfInstPorts) {
    NYX_INSTANCE *const u = make_instance("u", abc);
    u->find_inst_port("c")->connect(NYX_NET::allocate(top, "n"));
    abc->find_port("a")->deallocate();
    EVENT_LOG log;
    abc->update_num_ports();
    STRINGS moves;
    for (const std::string &event : log.take()) {
        if (event.starts_with("inst port"))
            moves.push_back(event);
    }
    EXPECT_EQ(moves, (STRINGS{"inst port u.b moved", "inst port u.c moved"}));
}

TEST_F(CHANGE, ThatFindsNoRoomChangesNothing) {
    NYX_MODULE *const wide = NYX_MODULE::allocate(db, "wide", 10000);
    NYX_INSTANCE *const u = make_instance("u", abc);
    connect_all(u);
    unsigned made = 0;
    EXPECT_THROW(
        {
            for (;; ++made)
                make_instance("f", wide);
        },
        boost::interprocess::bad_alloc);
    EVENT_LOG log;
    EXPECT_THROW(u->change_module(wide), boost::interprocess::bad_alloc);
    EXPECT_EQ(log.take(), STRINGS());
    EXPECT_EQ(u->get_module(), abc);
    EXPECT_EQ(connections(u), (STRINGS{"a:a", "b:b", "c:c"}));
    EXPECT_EQ(references(wide), made);
    EXPECT_EQ(references(abc), 1u);
}

TEST_F(CHANGE, ToThePresentModuleByOtherNamesSwapsInstPorts) {
    NYX_MODULE *const ab = make_module(db, "ab", {"a", "b"});
    NYX_INSTANCE *const u = make_instance("u", ab);
    EXPECT_EQ(names_of(ab->iter_instances_of()), STRINGS({"u"})); // indexed from here on
    u->find_inst_port("a")->connect(NYX_NET::allocate(top, "n"));
    u->change_module(ab, {{"a", "b"}, {"b", "a"}});
    EXPECT_EQ(u->find_inst_port("a")->get_net(), nullptr);
    EXPECT_EQ(u->find_inst_port("b")->get_net(), top->find_net("n"));
    EXPECT_EQ(references(ab), 1u);
    EXPECT_EQ(names_of(ab->iter_instances_of()), STRINGS({"u"}));
    u->deallocate();
    EXPECT_TRUE(ab->iter_instances_of().empty());
}

TEST_F(CHANGE, IsToldAsMovesWhenThePresentModuleHasTheCountAndTheOldOneHasNot) {
    struct LISTENER : NYX_OBSERVER<NYX_INST_PORT> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void moved(NYX_INST_PORT *, NYX_INST_PORT *to) override {
            counts.push_back(references(old_module));
            counts.push_back(references(to->get_inst()->get_module()));
        }
        NYX_MODULE *old_module = nullptr;
        std::vector<unsigned> counts;
    } listener;
    listener.old_module = make_module(db, "a", {"a"});
    make_instance("u", listener.old_module)->change_module(make_module(db, "ba", {"b", "a"}));
    EXPECT_EQ(listener.counts, (std::vector<unsigned>{0, 1}));
}
