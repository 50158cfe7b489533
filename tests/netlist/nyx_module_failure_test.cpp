#include "netlist_test_support.h"

#include "netlist/nyx_chain.h"
#include "traits/nyx_builtin_traits.h"

#include <functional>
#include <utility>

using namespace netlist_test;

namespace {

using ModuleDeathTest = DESIGN;

// What a failed check prints, up to the place.
std::string check_text(const std::string &expression, const std::string &text) {
    std::string result;
    for (const char character : "check failed: " + expression + (text.empty() ? "" : ": " + text) + " [") {
        if (std::string("\\^$.|?*+()[]{}").find(character) != std::string::npos)
            result += '\\';
        result += character;
    }
    return result;
}

TEST_F(ModuleDeathTest, OfNoNameDies) {
    EXPECT_DEATH(NYX_MODULE::allocate(db, "", 0), check_text("!name.empty()", "Module must have non-empty name"));
}

TEST_F(ModuleDeathTest, OfATakenNameDies) {
    EXPECT_DEATH(NYX_MODULE::allocate(db, "top", 0),
                 check_text("!db->find_local_module(name.c_str())", "Module top already exists"));
}

TEST_F(ModuleDeathTest, TheTopModuleIsNotDeletedThoughNobodyRefersToIt) {
    EXPECT_DEATH(top->deallocate(), check_text("this != db->get_top_module()", "Can't deallocate the top module"));
}

TEST_F(ModuleDeathTest, ABaseModuleIsNotDeleted) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    ++nyx_cell(&NYX_MODULE_TABLE::m_reference_count, leaf->get_impl());
    EXPECT_DEATH(leaf->deallocate(),
                 check_text("impl->get_reference_count() == 0",
                            "Can't deallocate a module that has nonzero reference count (is an instance's base module "
                            "or is base module of some relative object)"));
    --nyx_cell(&NYX_MODULE_TABLE::m_reference_count, leaf->get_impl());
}

TEST_F(ModuleDeathTest, ABaseModuleOfAnInstanceIsNotDeletedOnceInstancesAreIndexed) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    make_instance("u", leaf);
    EXPECT_FALSE(leaf->iter_instances_of().empty());
    EXPECT_DEATH(leaf->deallocate(), "Can't deallocate a module which is a base module for an instance");
}

TEST_F(ModuleDeathTest, ARefusedDeletionHasBeenTold) {
    struct LISTENER : NYX_OBSERVER<NYX_MODULE> {
        LISTENER() : NYX_OBSERVER(1) { set_enabled(true); }
        ~LISTENER() override { set_enabled(false); }
        void deallocated(NYX_MODULE *module) override {
            std::fputs(("told of " + module->get_name() + "\n").c_str(), stderr);
        }
    };
    EXPECT_DEATH(
        {
            LISTENER listener;
            top->deallocate();
        },
        "told of top\n(.|\n)*Can't deallocate the top module");
}

TEST_F(ModuleDeathTest, AnIndexOutOfRangeDies) {
    const NYX_MODULE *const module = make_module(db, "m", {"a", "b"});
    EXPECT_DEATH(module->get_port_by_index(2),
                 check_text("index < impl->get_num_ports()", "Port index 2 exceeds number of ports 2 in module m"));
    EXPECT_DEATH(top->get_port_by_index(0), "Port index 0 exceeds number of ports 0 in module top");
}

TEST_F(ModuleDeathTest, AWildcardInTheTextDies) {
    const std::string text = check_text("(*text != '*') && (*text != '?')", "");
    EXPECT_DEATH(NYX_MODULE::match_wildcard("a*", "a*"), text);
    EXPECT_DEATH(NYX_MODULE::match_wildcard("*", "abc?"), text);
    EXPECT_DEATH(NYX_MODULE::match_wildcard("b", "a?"), text);
}

TEST_F(ModuleDeathTest, APortInTwoBusesIsNotMoved) {
    NYX_MODULE *const module = make_module(db, "m", {"", "b"});
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "bus", 0, 1);
    bus->set_port(0, module->get_port_by_index(1));
    bus->get_impl()->m_members_ptr[1] = bus->get_impl()->m_members_ptr[0];
    EXPECT_DEATH(module->update_num_ports(),
                 check_text("bus_info.find(mem_port) == bus_info.end()", "port in more than one bus"));
    bus->get_impl()->m_members_ptr[1] = NYX_PORT_ID::INVALID;
}

TEST_F(ModuleDeathTest, MorePortsThanCanBeCountedDie) {
    NYX_MODULE *const module = make_module(db, "m", {"a"});
    EXPECT_DEATH(module->increase_num_ports(~0u), "Too many ports");
}

TEST_F(ModuleDeathTest, IteratorsOfNothingDie) {
    EXPECT_DEATH(NYX_MODULE_PORT_ITER(static_cast<NYX_MODULE *>(nullptr)), check_text("parent != nullptr", ""));
    EXPECT_DEATH(*top->iter_ports().begin(), "m_index != NYX_PORT_ID::INVALID");
    EXPECT_DEATH(*top->iter_nets().begin(), "m_index != NYX_NET_ID::INVALID");
}

TEST_F(ModuleDeathTest, NullInTheListsDies) {
    EXPECT_DEATH(top->add_net(nullptr), check_text("net", ""));
    EXPECT_DEATH(top->remove_instance(nullptr), check_text("instance", ""));
    EXPECT_DEATH(top->remove_interface(nullptr), check_text("interface", ""));
}

TEST_F(ModuleDeathTest, NullArgumentsDie) {
    EXPECT_DEATH(NYX_MODULE::allocate(nullptr, "m", 0), check_text("db", ""));
    EXPECT_DEATH(NYX_MODULE::match_wildcard(nullptr, "a"), check_text("pattern", ""));
    EXPECT_DEATH(NYX_MODULE::match_wildcard("a", nullptr), check_text("text", ""));
    EXPECT_DEATH(top->find_instances(nullptr), check_text("pattern", ""));
    NYX_NET *const net = NYX_NET::allocate(top, "n");
    EXPECT_DEATH(net->add_port(nullptr), check_text("port", ""));
    EXPECT_DEATH(net->remove_inst_port(nullptr), check_text("inst_port", ""));
    EXPECT_DEATH(make_instance("u", make_module(db, "leaf"))->get_inst_port_for_port(nullptr), check_text("port", ""));
}

TEST_F(ModuleDeathTest, WithoutTheTraitsOfItsOriginDies) {
    NYX_BUILTIN_TRAITS &traits = *NYX_DB_IMPL::of(*db).m_builtin_traits;
    const auto dies_without = [](auto *&trait, const char *text, const std::vector<std::function<void()>> &calls) {
        auto *const kept = std::exchange(trait, nullptr);
        for (const auto &call : calls)
            EXPECT_DEATH(call(), std::string("check failed: ") + text + " \\[");
        trait = kept;
    };
    dies_without(traits.m_module_case_sensitivity_trait, "cs_trait",
                 {[this] { top->get_case_sensitivity(); }, [this] { top->set_case_sensitivity(true); }});
    dies_without(traits.m_module_is_encrypted_trait, "enc_trait",
                 {[this] { top->is_encrypted(); }, [this] { top->set_is_encrypted(true); }});
    dies_without(traits.m_module_entity_name_trait, "entity_trait",
                 {[this] { top->get_entity_name(); }, [this] { top->set_entity_name("e"); }});
    dies_without(traits.m_module_library_name_trait, "library_trait",
                 {[this] { top->get_library_name(); }, [this] { top->set_library_name("l"); }});
}

} // namespace
