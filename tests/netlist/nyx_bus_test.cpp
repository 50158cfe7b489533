#include "bus_test_support.h"

#include "support/temp_dir.h"

using namespace bus_test;

namespace {

template <class KIND>
class Bus : public BUS_TEST<KIND> {};
TYPED_TEST_SUITE(Bus, KINDS);

TYPED_TEST(Bus, IsNewAndEmptyAtTheFrontOfItsModule) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const a = OWN_BUS::allocate(this->module, "a", 3, 0);
    OWN_BUS *const b = OWN_BUS::allocate(this->module, "b", 0, 0);
    EXPECT_EQ(names_of(TypeParam::buses(this->module)), STRINGS({"b", "a"}));
    EXPECT_EQ(a->get_left_index(), 3);
    EXPECT_EQ(a->get_right_index(), 0);
    EXPECT_EQ(a->get_size(), 4);
    EXPECT_FALSE(a->is_upwards());
    EXPECT_EQ(a->get_dimensions(), DIMENSIONS({{3, 0}}));
    EXPECT_EQ(a->get_dimension_size(), 1u);
    EXPECT_EQ(a->get_db(), this->db);
    EXPECT_EQ(b->get_size(), 1);
    EXPECT_TRUE(b->is_upwards());
    EXPECT_EQ(names_of(TypeParam::iter(a)), STRINGS({"-", "-", "-", "-"}));
}

TYPED_TEST(Bus, TellsObservers) {
    using OWN_BUS = typename TypeParam::BUS;
    EVENT_LOG log;
    OWN_BUS *const a = OWN_BUS::allocate(this->module, "a", 3, 0);
    OWN_BUS *const b = OWN_BUS::allocate(this->module, "b", {{1, 0}, {0, 2}});
    a->set_name("c");
    a->deallocate();
    b->deallocate();
    const std::string kind = TypeParam::s_member + std::string(" bus ");
    EXPECT_EQ(log.take(), STRINGS({kind + "a allocated in m", kind + "b allocated in m", kind + "c was a",
                                   kind + "c deallocated in m", kind + "b deallocated in m"}));
}

TYPED_TEST(Bus, CountsPositionsFromTheLeft) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const down = OWN_BUS::allocate(this->module, "down", 3, 0);
    auto *const p = this->make("p");
    TypeParam::set(down, 3, p);
    EXPECT_EQ(names_of(TypeParam::iter(down)), STRINGS({"p", "-", "-", "-"}));
    EXPECT_EQ(p->get_bus(), down);
    EXPECT_EQ((*down)[3], p);
    EXPECT_EQ((*down)[0], nullptr);
    EXPECT_EQ(TypeParam::remove(down, p), 3);
    EXPECT_EQ(p->get_bus(), nullptr);
    EXPECT_EQ((*down)[3], nullptr);

    OWN_BUS *const up = OWN_BUS::allocate(this->module, "up", 0, 3);
    TypeParam::set(up, 2, p);
    EXPECT_EQ(names_of(TypeParam::iter(up)), STRINGS({"-", "-", "p", "-"}));
    EXPECT_EQ(p->get_bus(), up);
    EXPECT_EQ(TypeParam::remove(up, p), 2);
}

TYPED_TEST(Bus, HasNegativeIndices) {
    auto *const bus = this->make_full("a", -2, 1);
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"a-2", "a-1", "a0", "a1"}));
    EXPECT_EQ(TypeParam::remove(bus, (*bus)[-1]), -1);
}

TYPED_TEST(Bus, GivesAPositionFreeForNull) {
    auto *const bus = this->make_full("a", 1, 0);
    auto *const member = (*bus)[1];
    TypeParam::set(bus, 1, nullptr);
    EXPECT_EQ(member->get_bus(), nullptr);
    EXPECT_EQ((*bus)[1], nullptr);
    TypeParam::set(bus, 1, nullptr);
    EXPECT_EQ((*bus)[1], nullptr);
    TypeParam::set(bus, 1, member);
    EXPECT_EQ((*bus)[1], member);
}

TYPED_TEST(Bus, LosesAMemberThatIsDeleted) {
    auto *const bus = this->make_full("a", 2, 0);
    (*bus)[1]->deallocate();
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"a2", "-", "a0"}));
}

TYPED_TEST(Bus, LeavesItsMembersWhenItIsDeleted) {
    auto *const bus = this->make_full("a", 2, 0);
    auto *const first = (*bus)[2];
    auto *const last = (*bus)[0];
    TypeParam::set(bus, 1, nullptr);
    bus->deallocate();
    EXPECT_EQ(first->get_bus(), nullptr);
    EXPECT_EQ(last->get_bus(), nullptr);
    EXPECT_EQ(first->get_name(), "a2");
    EXPECT_TRUE(TypeParam::buses(this->module).empty());
    EXPECT_EQ(TypeParam::find(this->module, "a"), nullptr);
}

TYPED_TEST(Bus, GivesItsMemoryBack) {
    using OWN_BUS = typename TypeParam::BUS;
    const auto make_and_delete = [this] {
        OWN_BUS *const a = OWN_BUS::allocate(this->module, "a", 999, 0);
        a->set_indices(99, 0);
        OWN_BUS *const b = OWN_BUS::allocate(this->module, "b", {{9, 0}, {0, 9}});
        a->deallocate();
        b->deallocate();
    };
    make_and_delete(); // pages, names and the tables of values stay
    const auto used = this->db->get_internal_stats().get_used();
    for (int i = 0; i < 10; ++i)
        make_and_delete();
    EXPECT_EQ(this->db->get_internal_stats().get_used(), used);
}

TYPED_TEST(Bus, IsWalkedOverAsConst) {
    const auto *const bus = this->make_full("a", 1, 0);
    STRINGS names;
    for (const auto *const member : TypeParam::const_iter(bus))
        names.push_back(member->get_name());
    EXPECT_EQ(names, STRINGS({"a1", "a0"}));
}

TYPED_TEST(Bus, MayChangeDuringAWalk) {
    auto *const bus = this->make_full("a", 3, 0);
    STRINGS names;
    int index = 3;
    for (auto *const member : TypeParam::iter(bus)) {
        names.push_back(member->get_name());
        TypeParam::set(bus, index--, nullptr);
    }
    EXPECT_EQ(names, STRINGS({"a3", "a2", "a1", "a0"}));
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"-", "-", "-", "-"}));
}

TYPED_TEST(Bus, FindsItsModuleByItsMembers) {
    auto *const bus = this->make_full("a", 1, 0);
    TypeParam::set(bus, 1, nullptr);
    EXPECT_EQ(bus->find_parent(), this->module);
}

TYPED_TEST(Bus, WithoutMembersIsSearchedFor) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const first = OWN_BUS::allocate(this->module, "a", 1, 0);
    OWN_BUS *const second = OWN_BUS::allocate(this->module, "b", 1, 0);
    OWN_BUS *const other = OWN_BUS::allocate(this->top, "c", 1, 0);
    EXPECT_EQ(first->find_parent(), this->module);
    EXPECT_EQ(second->find_parent(), this->module);
    EXPECT_EQ(other->find_parent(), this->top);
}

TYPED_TEST(Bus, PrintsItsName) {
    using OWN_BUS = typename TypeParam::BUS;
    const OWN_BUS *const bus = OWN_BUS::allocate(this->module, "a", 1, 0);
    EXPECT_EQ(bus->get_name(), "a");
    EXPECT_EQ(bus->debug_get_name(), "a");
    EXPECT_EQ(bus->get_name({.with_parent = true, .parent_separator = '/'}), "m/a");
    EXPECT_EQ(bus->get_name({.with_parent = true, .with_type_prefix = true}), TypeParam::s_prefix + std::string("m|a"));
    std::string name = "old";
    bus->get_name(name, {.with_type_prefix = true});
    EXPECT_EQ(name, TypeParam::s_prefix + std::string("a"));
}

TYPED_TEST(Bus, IsFoundByItsNewName) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const bus = OWN_BUS::allocate(this->module, "a", 1, 0);
    EXPECT_EQ(TypeParam::find(this->module, "a"), bus);
    bus->set_name("b");
    EXPECT_EQ(TypeParam::find(this->module, "a"), nullptr);
    EXPECT_EQ(TypeParam::find(this->module, "b"), bus);
    EXPECT_EQ(this->query(bus, "b"), STRINGS({"-", "-"}));
}

TYPED_TEST(Bus, HasASourceLocation) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const bus = OWN_BUS::allocate(this->module, "a", 1, 0);
    EXPECT_EQ(bus->get_file_name(), "");
    EXPECT_EQ(bus->get_file_lineno(), 0u);
    EXPECT_EQ(bus->get_src_location(), "");
    bus->set_src_location("a.v", 12);
    EXPECT_EQ(bus->get_file_name(), "a.v");
    EXPECT_EQ(bus->get_file_lineno(), 12u);
    EXPECT_EQ(bus->get_src_location(), "a.v:12");
    bus->set_file_name("b.v");
    bus->set_file_lineno(7);
    EXPECT_EQ(bus->get_src_location(), "b.v:7");
    bus->set_src_location(nullptr, 3);
    EXPECT_EQ(bus->get_file_name(), "");
    EXPECT_EQ(bus->get_file_lineno(), 3u);
}

TYPED_TEST(Bus, IsCountedWithItsArray) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS::allocate(this->module, "a", 99, 0);
    OWN_BUS::allocate(this->module, "b", {{1, 0}, {0, 24}});
    const NYX_STATS stats = this->db->get_internal_stats();
    long bytes = 0;
    for (const NYX_TYPE_STATS &type : stats.get_type_stats()) {
        for (const NYX_FIELD_STATS &field : type.get_field_stats()) {
            if (type.get_type() == std::string(TypeParam::s_table) &&
                field.get_type() == '*' + std::string(TypeParam::s_member) + 's')
                bytes += field.get_bytes();
        }
    }
    EXPECT_EQ(bytes, 150 * 4);
}

TYPED_TEST(Bus, SurvivesASaveAndALoad) {
    using OWN_BUS = typename TypeParam::BUS;
    const TEMP_DIR dir;
    const std::string path = (dir / "saved.nyx").string();
    NYX_DB *const saved = NYX_DB::create(path.c_str(), 64, NYX_DB_TYPE::USER);
    NYX_MODULE *const saved_module = make_module(saved, "s", STRINGS(4));
    OWN_BUS *const bus = OWN_BUS::allocate(saved_module, "a", 1, 0);
    TypeParam::set(bus, 1, TypeParam::make(saved_module, "x"));
    bus->set_src_location("a.v", 12);
    OWN_BUS *const grid = OWN_BUS::allocate(saved_module, "b", {{1, 0}, {0, 2}});
    TypeParam::set(grid, {0, 1}, TypeParam::make(saved_module, "y"));
    saved->close();

    NYX_DB *const loaded = NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
    NYX_MODULE *const loaded_module = loaded->find_local_module("s");
    const OWN_BUS *const loaded_bus = TypeParam::find(loaded_module, "a");
    EXPECT_EQ(names_of(TypeParam::const_iter(loaded_bus)), STRINGS({"x", "-"}));
    EXPECT_EQ((*loaded_bus)[1]->get_bus(), loaded_bus);
    EXPECT_EQ(loaded_bus->find_parent(), loaded_module);
    EXPECT_EQ(loaded_bus->get_src_location(), "a.v:12");
    const OWN_BUS *const loaded_grid = TypeParam::find(loaded_module, "b");
    EXPECT_EQ(loaded_grid->get_dimensions(), DIMENSIONS({{1, 0}, {0, 2}}));
    EXPECT_EQ(TypeParam::get(loaded_grid, {0, 1})->get_name(), "y");
    this->expect_sound(loaded);
    loaded->close();
}

using NetBus = BUS_TEST<NETS>;

TYPED_TEST(Bus, IsFoundAmongManyWhateverChanges) {
    using OWN_BUS = typename TypeParam::BUS;
    std::vector<OWN_BUS *> buses;
    for (int i = 0; i < 40; ++i)
        buses.push_back(OWN_BUS::allocate(this->module, "b" + std::to_string(i), 0, 0));
    EXPECT_EQ(TypeParam::find(this->module, "b0"), buses[0]);
    buses[0]->set_name("x");
    EXPECT_EQ(TypeParam::find(this->module, "b0"), nullptr);
    EXPECT_EQ(TypeParam::find(this->module, "x"), buses[0]);
    buses[1]->deallocate();
    EXPECT_EQ(TypeParam::find(this->module, "b1"), nullptr);
    OWN_BUS *const newest = OWN_BUS::allocate(this->module, "b2", 0, 0);
    EXPECT_EQ(TypeParam::find(this->module, "b2"), newest);
    newest->deallocate();
    EXPECT_EQ(TypeParam::find(this->module, "b2"), buses[2]);
}

TYPED_TEST(Bus, IsWholeWhenObserversHearOfItsDeletion) {
    using OWN_BUS = typename TypeParam::BUS;
    struct LISTENER : NYX_OBSERVER<OWN_BUS> {
        LISTENER() : NYX_OBSERVER<OWN_BUS>(1) { NYX_OBSERVER<OWN_BUS>::set_enabled(true); }
        ~LISTENER() override { NYX_OBSERVER<OWN_BUS>::set_enabled(false); }
        void deallocated(OWN_BUS *object, NYX_MODULE *parent) override {
            members = names_of(TypeParam::iter(object));
            found = TypeParam::find(parent, "a") == object;
        }
        STRINGS members;
        bool found = false;
    } listener;
    auto *const bus = this->make_full("a", 1, 0);
    bus->deallocate();
    EXPECT_EQ(listener.members, STRINGS({"a1", "a0"}));
    EXPECT_TRUE(listener.found);
}

TEST_F(NetBus, KnowsItsModuleByAConnectionOfANet) {
    NYX_NET_BUS *const bus = make_full("a", 1, 0);
    // No search would find it now.
    module->remove_net_bus(bus);
    NYX_INSTANCE *const u = NYX_INSTANCE::allocate(module, "u", make_module(db, "cell", {"p"}));
    u->find_inst_port("p")->connect((*bus)[0]);
    EXPECT_EQ(bus->find_parent(), module);
    u->find_inst_port("p")->disconnect();
    NYX_PORT::allocate(module, "q", 0, (*bus)[0]);
    EXPECT_EQ(bus->find_parent(), module);
    module->add_net_bus(bus);
}

} // namespace
