#include "bus_test_support.h"

#include "support/temp_dir.h"

using namespace bus_test;

namespace {

template <class KIND>
class Bus : public BUS_TEST<KIND> {};
TYPED_TEST_SUITE(Bus, KINDS);

TYPED_TEST(Bus, IsNewAndEmptyAtTheFrontOfItsModule) {
    using BUS = typename TypeParam::BUS;
    BUS *const a = BUS::allocate(this->module, "a", 3, 0);
    BUS *const b = BUS::allocate(this->module, "b", 0, 0);
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
    using BUS = typename TypeParam::BUS;
    EVENT_LOG log;
    BUS *const a = BUS::allocate(this->module, "a", 3, 0);
    BUS *const b = BUS::allocate(this->module, "b", {{1, 0}, {0, 2}});
    a->set_name("c");
    a->deallocate();
    b->deallocate();
    const std::string kind = TypeParam::s_member + std::string(" bus ");
    EXPECT_EQ(log.take(), STRINGS({kind + "a allocated in m", kind + "b allocated in m", kind + "c was a",
                                   kind + "c deallocated in m", kind + "b deallocated in m"}));
}

TYPED_TEST(Bus, CountsPositionsFromTheLeft) {
    using BUS = typename TypeParam::BUS;
    BUS *const down = BUS::allocate(this->module, "down", 3, 0);
    auto *const p = this->make("p");
    TypeParam::set(down, 3, p);
    EXPECT_EQ(names_of(TypeParam::iter(down)), STRINGS({"p", "-", "-", "-"}));
    EXPECT_EQ(p->get_bus(), down);
    EXPECT_EQ((*down)[3], p);
    EXPECT_EQ((*down)[0], nullptr);
    EXPECT_EQ(TypeParam::remove(down, p), 3);
    EXPECT_EQ(p->get_bus(), nullptr);
    EXPECT_EQ((*down)[3], nullptr);

    BUS *const up = BUS::allocate(this->module, "up", 0, 3);
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
    using BUS = typename TypeParam::BUS;
    BUS::allocate(this->module, "a", 999, 0)->deallocate();
    const auto used = this->db->get_internal_stats().get_used();
    for (int i = 0; i < 10; ++i) {
        BUS *const a = BUS::allocate(this->module, "a", 999, 0);
        a->set_indices(99, 0);
        BUS *const b = BUS::allocate(this->module, "a", {{9, 0}, {0, 9}});
        a->deallocate();
        b->deallocate();
    }
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
    using BUS = typename TypeParam::BUS;
    BUS *const first = BUS::allocate(this->module, "a", 1, 0);
    BUS *const second = BUS::allocate(this->module, "b", 1, 0);
    BUS *const other = BUS::allocate(this->top, "c", 1, 0);
    EXPECT_EQ(first->find_parent(), this->module);
    EXPECT_EQ(second->find_parent(), this->module);
    EXPECT_EQ(other->find_parent(), this->top);
}

TYPED_TEST(Bus, PrintsItsName) {
    using BUS = typename TypeParam::BUS;
    const BUS *const bus = BUS::allocate(this->module, "a", 1, 0);
    EXPECT_EQ(bus->get_name(), "a");
    EXPECT_EQ(bus->debug_get_name(), "a");
    EXPECT_EQ(bus->get_name({.with_parent = true, .parent_separator = '/'}), "m/a");
    EXPECT_EQ(bus->get_name({.with_parent = true, .with_type_prefix = true}), TypeParam::s_prefix + std::string("m|a"));
    std::string name = "old";
    bus->get_name(name, {.with_type_prefix = true});
    EXPECT_EQ(name, TypeParam::s_prefix + std::string("a"));
}

TYPED_TEST(Bus, IsFoundByItsNewName) {
    using BUS = typename TypeParam::BUS;
    BUS *const bus = BUS::allocate(this->module, "a", 1, 0);
    EXPECT_EQ(TypeParam::find(this->module, "a"), bus);
    bus->set_name("b");
    EXPECT_EQ(TypeParam::find(this->module, "a"), nullptr);
    EXPECT_EQ(TypeParam::find(this->module, "b"), bus);
    EXPECT_EQ(TypeParam::query(bus, "b"), STRINGS({"-", "-"}));
}

TYPED_TEST(Bus, HasASourceLocation) {
    using BUS = typename TypeParam::BUS;
    BUS *const bus = BUS::allocate(this->module, "a", 1, 0);
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
    using BUS = typename TypeParam::BUS;
    BUS::allocate(this->module, "a", 99, 0);
    BUS::allocate(this->module, "b", {{1, 0}, {0, 24}});
    const NYX_STATS stats = this->db->get_internal_stats();
    long bytes = 0;
    for (const NYX_TYPE_STATS &type : stats.get_type_stats()) {
        for (const NYX_FIELD_STATS &field : type.get_field_stats()) {
            if (type.get_name() == std::string(TypeParam::s_table) &&
                field.get_name() == '*' + std::string(TypeParam::s_member) + 's')
                bytes += field.get_bytes();
        }
    }
    EXPECT_EQ(bytes, 150 * 4);
}

TYPED_TEST(Bus, SurvivesASaveAndALoad) {
    using BUS = typename TypeParam::BUS;
    const TEMP_DIR dir;
    const std::string path = (dir / "saved.nyx").string();
    NYX_DB *const saved = NYX_DB::create(path.c_str(), 64, NYX_DB_TYPE::USER);
    NYX_MODULE *const saved_module = make_module(saved, "s", STRINGS(4));
    BUS *const bus = BUS::allocate(saved_module, "a", 1, 0);
    TypeParam::set(bus, 1, TypeParam::make(saved_module, "x"));
    bus->set_src_location("a.v", 12);
    BUS *const grid = BUS::allocate(saved_module, "b", {{1, 0}, {0, 2}});
    TypeParam::set(grid, {0, 1}, TypeParam::make(saved_module, "y"));
    saved->close();

    NYX_DB *const loaded = NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
    NYX_MODULE *const loaded_module = loaded->find_local_module("s");
    const BUS *const loaded_bus = TypeParam::find(loaded_module, "a");
    EXPECT_EQ(names_of(TypeParam::const_iter(loaded_bus)), STRINGS({"x", "-"}));
    EXPECT_EQ((*loaded_bus)[1]->get_bus(), loaded_bus);
    EXPECT_EQ(loaded_bus->find_parent(), loaded_module);
    EXPECT_EQ(loaded_bus->get_src_location(), "a.v:12");
    const BUS *const loaded_grid = TypeParam::find(loaded_module, "b");
    EXPECT_EQ(loaded_grid->get_dimensions(), DIMENSIONS({{1, 0}, {0, 2}}));
    EXPECT_EQ(TypeParam::get(loaded_grid, {0, 1})->get_name(), "y");
    this->expect_sound(loaded);
    loaded->close();
}

} // namespace
