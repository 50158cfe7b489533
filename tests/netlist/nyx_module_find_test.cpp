#include "netlist_test_support.h"

#include <random>
#include <set>

using namespace netlist_test;

namespace {

using ModuleFind = DESIGN;
using ModuleFindInstance = DESIGN;
using ModuleFindInstances = DESIGN;
using ModuleWalk = DESIGN;

bool match(const std::string &pattern, const std::string &text) {
    return NYX_MODULE::match_wildcard(pattern.c_str(), text.c_str());
}

TEST_F(ModuleFind, GivesNullForANameThatIsUnknownAndDoesNotEnterIt) {
    const std::size_t names = root_of(db)->names().get_size();
    EXPECT_EQ(top->find_instance("x"), nullptr);
    EXPECT_EQ(top->find_instance("x_12"), nullptr);
    EXPECT_EQ(top->find_net("x"), nullptr);
    EXPECT_EQ(top->find_port("x"), nullptr);
    EXPECT_EQ(top->find_port_bus("x"), nullptr);
    EXPECT_EQ(top->find_net_bus("x"), nullptr);
    EXPECT_EQ(top->find_instance_bus("x"), nullptr);
    EXPECT_EQ(top->find_interface("x"), nullptr);
    EXPECT_TRUE(top->find_instances("x|*").empty());
    EXPECT_EQ(root_of(db)->names().get_size(), names);
}

TEST_F(ModuleFind, KeepsTheKindsApart) {
    NYX_MODULE *const module = make_module(db, "m", {"x"});
    EXPECT_EQ(module->find_port("x"), module->get_port_by_index(0));
    EXPECT_EQ(module->find_net("x"), nullptr);
    EXPECT_EQ(module->find_instance("x"), nullptr);
    EXPECT_EQ(module->find_port_bus("x"), nullptr);
    EXPECT_EQ(module->find_net_bus("x"), nullptr);
    EXPECT_EQ(module->find_instance_bus("x"), nullptr);
    EXPECT_EQ(module->find_interface("x"), nullptr);
    NYX_NET *const net = NYX_NET::allocate(module, "x");
    EXPECT_EQ(module->find_net("x"), net);
    NYX_PORT_BUS *const port_bus = NYX_PORT_BUS::allocate(module, "x", 0, 1);
    EXPECT_EQ(module->find_port_bus("x"), port_bus);
    NYX_NET_BUS *const net_bus = NYX_NET_BUS::allocate(module, "x", 0, 1);
    EXPECT_EQ(module->find_net_bus("x"), net_bus);
    NYX_INSTANCE_BUS *const instance_bus = NYX_INSTANCE_BUS::allocate(module, "x", 0, 1);
    EXPECT_EQ(module->find_instance_bus("x"), instance_bus);
    NYX_INTERFACE *const interface = NYX_INTERFACE::allocate(module, "x");
    EXPECT_EQ(module->find_interface("x"), interface);
    NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(module, "x", top);
    EXPECT_EQ(module->find_instance("x"), instance);
    EXPECT_EQ(module->find_port("x"), module->get_port_by_index(0));
    EXPECT_EQ(top->find_net("x"), nullptr);
}

TEST_F(ModuleFind, FollowsNewAndOldNames) {
    NYX_MODULE *const module = make_module(db, "m", {"p", "q"});
    NYX_NET *const net = NYX_NET::allocate(module, "n");
    module->find_port("p")->set_name("r");
    net->set_name("o");
    EXPECT_EQ(module->find_port("p"), nullptr);
    EXPECT_EQ(module->find_port("r"), module->get_port_by_index(0));
    EXPECT_EQ(module->find_net("n"), nullptr);
    EXPECT_EQ(module->find_net("o"), net);
    module->get_port_by_index(0)->deallocate();
    EXPECT_EQ(module->find_port("r"), nullptr);
    net->deallocate();
    EXPECT_EQ(module->find_net("o"), nullptr);
}

TEST_F(ModuleFind, TakesTheNewestNetOfANameAndTheFirstPort) {
    NYX_MODULE *const module = make_module(db, "m", {"p", "p"});
    NYX_NET::allocate(module, "n");
    NYX_NET *const newest = NYX_NET::allocate(module, "n");
    EXPECT_EQ(module->find_net("n"), newest);
    EXPECT_EQ(module->find_port("p"), module->get_port_by_index(0));
}

// The names of a module's objects, in a long list of which some are renamed, deleted and made again: each look-up is
// compared with a walk over the list.
TEST_F(ModuleFind, AnswersAsAWalkWouldAfterAnyChange) {
    std::mt19937 random(1);
    const auto any_name = [&random] { return "n" + std::to_string(random() % 60); };
    NYX_MODULE *const module = NYX_MODULE::allocate(db, "m", 100);
    for (unsigned i = 0; i < 100; ++i) {
        NYX_NET::allocate(module, any_name(), random() % 4 == 0);
        NYX_PORT::allocate(module, any_name(), i);
        NYX_INSTANCE::allocate(module, any_name(), top, random() % 4 == 0);
    }
    for (int step = 0; step < 600; ++step) {
        const unsigned index = random() % module->get_num_ports();
        NYX_PORT *const port = module->get_port_by_index(index);
        switch (random() % 8) {
        case 0:
            NYX_NET::allocate(module, any_name());
            break;
        case 1:
            (*std::next(module->iter_nets().begin(), static_cast<long>(random() % module->get_num_nets())))
                ->deallocate();
            break;
        case 2:
            module->iter_nets().front()->set_name(any_name());
            break;
        case 3:
            if (port != nullptr)
                port->deallocate();
            else
                NYX_PORT::allocate(module, any_name(), index);
            break;
        case 4:
            if (port != nullptr)
                port->set_name(any_name());
            break;
        case 5:
            NYX_INSTANCE::allocate(module, any_name(), top, random() % 2 == 0);
            break;
        case 6:
            module->iter_instances().front()->deallocate();
            break;
        default:
            if (random() % 20 == 0)
                module->update_num_ports();
        }
        const std::string name = any_name();
        NYX_NET *net = nullptr;
        for (NYX_NET *const other : module->iter_nets()) {
            if (other->get_original_name() == name) {
                net = other;
                break;
            }
        }
        ASSERT_EQ(module->find_net(name.c_str()), net) << step;
        NYX_PORT *found = nullptr;
        for (NYX_PORT *const other : module->iter_ports()) {
            if (other->get_parent() != nullptr && other->get_name() == name) {
                found = other;
                break;
            }
        }
        ASSERT_EQ(module->find_port(name.c_str()), found) << step;
        NYX_INSTANCE *instance = nullptr;
        for (NYX_INSTANCE *const other : module->iter_instances()) {
            if (other->get_name() == name) {
                instance = other;
                break;
            }
        }
        ASSERT_EQ(module->find_instance(name.c_str()), instance) << step;
    }
}

// ---- Instances and their numbers

TEST_F(ModuleFindInstance, FindsOneByItsNameAndNumber) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    STRINGS names;
    std::vector<NYX_INSTANCE *> instances;
    for (int i = 0; i < 13; ++i)
        instances.push_back(NYX_INSTANCE::allocate(top, "a", leaf, true));
    ASSERT_EQ(instances[12]->get_name(), "a_12");
    EXPECT_EQ(root_of(db)->names().find_id("a_12"), NYX_NAME_ID::INVALID);
    EXPECT_EQ(top->find_instance("a_12"), instances[12]);
    EXPECT_EQ(top->find_instance("a_0"), instances[0]);
    EXPECT_EQ(top->find_instance("a_13"), nullptr);
    EXPECT_EQ(top->find_instance("a"), nullptr);
}

TEST_F(ModuleFindInstance, DoesNotFindNetsByTheirNumber) {
    NYX_NET *const net = NYX_NET::allocate(top, "a", true);
    ASSERT_EQ(net->get_name(), "a_0");
    EXPECT_EQ(top->find_net("a_0"), nullptr);
    EXPECT_EQ(top->find_net("a"), net);
}

TEST_F(ModuleFindInstance, FindsAKnownNameOnlyWithoutANumber) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_INSTANCE *const numbered = NYX_INSTANCE::allocate(top, "a", leaf, true);
    ASSERT_EQ(numbered->get_name(), "a_0");
    EXPECT_EQ(top->find_instance("a_0"), numbered);
    NYX_NET::allocate(top, "a_0"); // the name of something
    EXPECT_EQ(top->find_instance("a_0"), nullptr);
    NYX_INSTANCE *const plain = make_instance("a_0", leaf);
    EXPECT_EQ(top->find_instance("a_0"), plain);
}

TEST_F(ModuleFindInstance, TakesNoOtherShapeForANumber) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_INSTANCE *const instance = NYX_INSTANCE::allocate(top, "a", leaf, true);
    NYX_INSTANCE *const with_bar = NYX_INSTANCE::allocate(top, "a_", leaf, true);
    ASSERT_EQ(instance->get_name(), "a_0");
    ASSERT_EQ(with_bar->get_name(), "a__0");
    EXPECT_EQ(top->find_instance("a__0"), with_bar);
    for (const char *const name : {"", "_", "0", "_0", "12", "_12", "a0", "a-0", "a_0x", "a_x0", "a_+0", "b_0", "a_0_"})
        EXPECT_EQ(top->find_instance(name), nullptr) << name;
    // Leading zeros don't count.
    EXPECT_EQ(top->find_instance("a_000"), instance);
}

TEST_F(ModuleFindInstance, DoesNotSplitAtAnUnderscoreThatEndsTheName) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_INSTANCE::allocate(top, "a", leaf, true);
    EXPECT_EQ(top->find_instance("a_"), nullptr);
}

TEST_F(ModuleFindInstance, TakesNumbersUpToTheReservedOne) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_INSTANCE *const plain = make_instance("a", leaf);
    NYX_INSTANCE *const last = make_instance("b", leaf);
    last->get_impl()->m_unique_suffix = 4294967294u;
    EXPECT_EQ(top->find_instance("b_4294967294"), last);
    // The reserved number is that of an instance without one.
    EXPECT_EQ(top->find_instance("a_4294967295"), plain);
    EXPECT_EQ(top->find_instance("a_4294967296"), nullptr);
    EXPECT_EQ(top->find_instance("a_99999999999999999999"), nullptr);
    last->get_impl()->m_unique_suffix = ~0u;
}

// ---- Wildcards

TEST(ModuleWildcard, MatchesPlainTextToTheLetter) {
    EXPECT_TRUE(match("abc", "abc"));
    EXPECT_TRUE(match("", ""));
    EXPECT_FALSE(match("", "a"));
    EXPECT_FALSE(match("a", ""));
    EXPECT_FALSE(match("abc", "abd"));
    EXPECT_FALSE(match("abc", "ab"));
    EXPECT_FALSE(match("ab", "abc"));
    EXPECT_FALSE(match("ABC", "abc"));
    EXPECT_TRUE(match("[a-z]\\.", "[a-z]\\."));
}

TEST(ModuleWildcard, AQuestionMarkIsOneCharacter) {
    EXPECT_TRUE(match("a?c", "abc"));
    EXPECT_FALSE(match("a?c", "ac"));
    EXPECT_FALSE(match("a?c", "abbc"));
    EXPECT_FALSE(match("?", ""));
    EXPECT_TRUE(match("???", "abc"));
    EXPECT_FALSE(match("abc?", "abc"));
}

TEST(ModuleWildcard, AStarIsAnyNumberOfCharacters) {
    EXPECT_TRUE(match("a*c", "abbc"));
    EXPECT_TRUE(match("a*c", "ac"));
    EXPECT_FALSE(match("a*c", "abcd"));
    EXPECT_TRUE(match("*", ""));
    EXPECT_TRUE(match("*", "abc"));
    EXPECT_TRUE(match("**", "abc"));
    EXPECT_TRUE(match("a*", "abc"));
    EXPECT_TRUE(match("abc*", "abc"));
    EXPECT_TRUE(match("*c", "abc"));
    EXPECT_TRUE(match("*b*", "abc"));
    EXPECT_TRUE(match("a*b*a*b", "aabab"));
    EXPECT_FALSE(match("a*b*a*b", "aaba"));
    EXPECT_TRUE(match("*?", "a"));
    EXPECT_FALSE(match("*?", ""));
    EXPECT_TRUE(match("*aab", "aaaab"));
}

// The definition, word for word: slow, and right.
bool matches_by_definition(const char *pattern, const char *text) {
    if (*pattern == '\0')
        return *text == '\0';
    if (*pattern == '*')
        return matches_by_definition(pattern + 1, text) || (*text != '\0' && matches_by_definition(pattern, text + 1));
    return *text != '\0' && (*pattern == '?' || *pattern == *text) && matches_by_definition(pattern + 1, text + 1);
}

TEST(ModuleWildcard, MatchesAsTheDefinitionSays) {
    std::mt19937 random(7);
    const auto text_of = [&random](const std::string &letters, unsigned length) {
        std::string text;
        for (unsigned i = 0; i < length; ++i)
            text += letters[random() % letters.size()];
        return text;
    };
    int num_matches = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string pattern = text_of("ab*?", random() % 8);
        const std::string text = text_of("ab", random() % 8);
        const bool expected = matches_by_definition(pattern.c_str(), text.c_str());
        num_matches += expected;
        ASSERT_EQ(match(pattern, text), expected) << pattern << " on " << text;
    }
    EXPECT_GT(num_matches, 1000);
}

TEST(ModuleWildcard, OfManyStarsDoesNotExplode) {
    std::string pattern;
    for (int i = 0; i < 200; ++i)
        pattern += "a*";
    pattern += 'b';
    // An exponential matcher would never come back.
    EXPECT_FALSE(match(pattern, std::string(20000, 'a')));
    std::string text(20000, 'a');
    text.push_back('b');
    EXPECT_TRUE(match(pattern, text));
}

// ---- Paths with wildcards

TEST_F(ModuleFindInstances, FollowsPathsThroughBaseModules) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_MODULE *const block = make_module(db, "block");
    NYX_INSTANCE *const g1 = NYX_INSTANCE::allocate(block, "g1", leaf);
    NYX_INSTANCE *const g2 = NYX_INSTANCE::allocate(block, "g2", leaf);
    NYX_INSTANCE *const b1 = make_instance("b1", block);
    NYX_INSTANCE *const b2 = make_instance("b2", block);
    NYX_INSTANCE *const c = make_instance("c", leaf);
    using FOUND = std::vector<NYX_INSTANCE *>;
    EXPECT_EQ(top->find_instances("b1"), FOUND({b1}));
    EXPECT_EQ(top->find_instances("b?"), FOUND({b1, b2}));
    EXPECT_EQ(top->find_instances("*"), FOUND({b1, b2, c}));
    EXPECT_EQ(top->find_instances("b1|g2"), FOUND({g2}));
    EXPECT_EQ(top->find_instances("b2|*"), FOUND({g1, g2}));
    EXPECT_EQ(top->find_instances("*|g1"), FOUND({g1, g1})); // on two paths
    EXPECT_EQ(top->find_instances("c|*"), FOUND());
    EXPECT_EQ(top->find_instances("g1"), FOUND());
    EXPECT_EQ(top->find_instances("B1"), FOUND());
    EXPECT_EQ(top->find_instances("b1|g1|*"), FOUND());
    EXPECT_EQ(block->find_instances("g*"), FOUND({g1, g2}));
}

TEST_F(ModuleFindInstances, DropsEmptyNamesAndKnowsNoEscape) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_MODULE *const block = make_module(db, "block");
    NYX_INSTANCE *const g = NYX_INSTANCE::allocate(block, "g", leaf);
    make_instance("b", block);
    make_instance("b|g", leaf);
    EXPECT_EQ(top->find_instances("|b||g|"), std::vector<NYX_INSTANCE *>({g}));
    EXPECT_EQ(top->find_instances("b\\|g"), std::vector<NYX_INSTANCE *>());
    EXPECT_EQ(top->find_instances(""), std::vector<NYX_INSTANCE *>());
    EXPECT_EQ(top->find_instances("||"), std::vector<NYX_INSTANCE *>());
}

TEST_F(ModuleFindInstances, AppendsToWhatIsThere) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_INSTANCE *const a = make_instance("a", leaf);
    NYX_INSTANCE *const b = make_instance("b", leaf);
    std::vector<NYX_INSTANCE *> found{b};
    top->find_instances("a", found);
    EXPECT_EQ(found, std::vector<NYX_INSTANCE *>({b, a}));
}

TEST_F(ModuleFindInstances, SeesNumbersInWildcardsAndIgnoresThemForPlainNames) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_INSTANCE *const a = make_instance("a", leaf);
    NYX_INSTANCE *const a_0 = NYX_INSTANCE::allocate(top, "a", leaf, true);
    NYX_INSTANCE *const a_1 = NYX_INSTANCE::allocate(top, "a", leaf, true);
    using FOUND = std::vector<NYX_INSTANCE *>;
    EXPECT_EQ(top->find_instances("a_?"), FOUND({a_0, a_1}));
    EXPECT_EQ(top->find_instances("?"), FOUND({a}));
    EXPECT_EQ(top->find_instances("a"), FOUND({a, a_0, a_1}));
    EXPECT_EQ(top->find_instances("a_1"), FOUND({a_1}));
    EXPECT_EQ(top->find_instances("a_2"), FOUND());
}

TEST_F(ModuleFindInstances, LooksNamesUpInTheDatabaseThatTheyAreIn) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    // Names that have other numbers there than here.
    make_module(library, "filler");
    NYX_MODULE *const leaf = make_module(library, "leaf");
    NYX_MODULE *const block = make_module(library, "block");
    NYX_INSTANCE *const g = NYX_INSTANCE::allocate(block, "g", leaf);
    NYX_MODULE *const local = make_module(db, "local");
    NYX_INSTANCE *const local_g = NYX_INSTANCE::allocate(local, "g", leaf);
    make_instance("b1", block);
    make_instance("b2", local);
    make_instance("b3", block);
    EXPECT_EQ(top->find_instances("*|g"), std::vector<NYX_INSTANCE *>({g, local_g, g}));
}

TEST_F(ModuleFindInstances, MatchesNamesThatHoldWildcards) {
    NYX_INSTANCE *const odd = make_instance("a*b", make_module(db, "leaf"));
    EXPECT_EQ(top->find_instances("a?b"), std::vector<NYX_INSTANCE *>({odd}));
}

// ---- Walks

TEST_F(ModuleWalk, ReachesEachModuleBelowOnce) {
    const SCOPED_DB library("library", NYX_DB_TYPE::COMPONENT);
    NYX_MODULE *const leaf = make_module(library, "leaf");
    NYX_MODULE *const block = make_module(db, "block");
    make_module(db, "unused");
    NYX_INSTANCE::allocate(block, "g", leaf);
    make_instance("b1", block);
    make_instance("b2", block);
    make_instance("c", leaf);
    const std::set<NYX_MODULE *> below_top{block, leaf};
    EXPECT_EQ(top->find_modules_recursive(), below_top);
    EXPECT_EQ(block->find_modules_recursive(), (std::set<NYX_MODULE *>{leaf}));
    EXPECT_TRUE(leaf->find_modules_recursive().empty());
}

TEST_F(ModuleWalk, AddsToASetAndGoesNotBelowWhatIsInIt) {
    NYX_MODULE *const leaf = make_module(db, "leaf");
    NYX_MODULE *const block = make_module(db, "block");
    NYX_INSTANCE::allocate(block, "g", leaf);
    make_instance("b", block);
    std::set<NYX_MODULE *> modules{block};
    top->find_modules_recursive(modules);
    EXPECT_EQ(modules, (std::set<NYX_MODULE *>{block}));
}

TEST_F(ModuleWalk, GoesDownADeepDesignWithoutRecursion) {
    NYX_MODULE *below = make_module(db, "m0");
    for (int i = 1; i < 20000; ++i) {
        NYX_MODULE *const module = make_module(db, "m" + std::to_string(i));
        NYX_INSTANCE::allocate(module, "u", below);
        below = module;
    }
    EXPECT_EQ(below->find_modules_recursive().size(), 19999u);
}

TEST_F(ModuleWalk, FindsPowerAndGroundNets) {
    NYX_NET *const vdd = NYX_NET::allocate(top, "vdd");
    NYX_NET *const vss = NYX_NET::allocate(top, "vss");
    NYX_NET::allocate(top, "n");
    EXPECT_TRUE(top->find_const_nets().empty());
    vdd->set_is_power(true);
    vss->set_is_ground(true);
    EXPECT_EQ(top->find_const_nets(), (std::set<NYX_NET *>{vdd, vss}));
}

TEST_F(ModuleFindInstance, FindsANumberBehindTheNameOfABusBit) {
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(top, "g[3]", make_module(db, "leaf"), true);
    EXPECT_EQ(u->get_name(), "g[3]_0");
    EXPECT_EQ(top->find_instance("g[3]_0"), u);
}

} // namespace
