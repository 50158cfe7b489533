// Ranges and dimensions of buses: how they change, and what queries give.
#include "bus_test_support.h"

#include <boost/interprocess/exceptions.hpp>

#include <limits>

using namespace bus_test;

namespace {

constexpr int s_min = std::numeric_limits<int>::min();
constexpr int s_max = std::numeric_limits<int>::max();

template <class KIND>
class BusRange : public BUS_TEST<KIND> {};
TYPED_TEST_SUITE(BusRange, KINDS);

template <class KIND>
class BusDimensions : public BUS_TEST<KIND> {
protected:
    // [1:0][0:2], all but one of its positions filled; members are named by their numbers.
    BusDimensions() {
        for (const int i : {1, 0}) {
            for (int j = 0; j < 3; ++j) {
                if (i != 0 || j != 1)
                    KIND::set(bus, {i, j}, this->make(std::to_string(i) + std::to_string(j)));
            }
        }
    }

    typename KIND::BUS *bus = KIND::BUS::allocate(this->module, "a", {{1, 0}, {0, 2}});
};
TYPED_TEST_SUITE(BusDimensions, KINDS);

TYPED_TEST(BusRange, IsChangedInPlace) {
    auto *const bus = this->make_full("a", 7, 0);
    auto *const kept = (*bus)[3];
    auto *const lost = (*bus)[4];
    bus->set_indices(3, 0);
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"a3", "a2", "a1", "a0"}));
    EXPECT_EQ(bus->get_left_index(), 3);
    EXPECT_EQ(bus->get_right_index(), 0);
    EXPECT_EQ(bus->get_size(), 4);
    EXPECT_EQ(kept->get_bus(), bus);
    EXPECT_EQ(lost->get_bus(), nullptr);
}

TYPED_TEST(BusRange, GrowsByEmptyPositionsOnBothSides) {
    auto *const bus = this->make_full("a", 0, 1);
    bus->set_indices(-1, 3);
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"-", "a0", "a1", "-", "-"}));
    bus->deallocate();
    auto *const down = this->make_full("b", 1, 0);
    down->set_indices(3, -1);
    EXPECT_EQ(names_of(TypeParam::iter(down)), STRINGS({"-", "-", "b1", "b0", "-"}));
}

TYPED_TEST(BusRange, LosesAllMembersWhereNoIndexIsShared) {
    auto *const bus = this->make_full("a", 1, 0);
    auto *const member = (*bus)[1];
    bus->set_indices(9, 8);
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"-", "-"}));
    EXPECT_EQ(member->get_bus(), nullptr);
}

TYPED_TEST(BusRange, OfOneIndexCountsAsOneThatFalls) {
    auto *const bus = this->make_full("a", 3, 0);
    bus->set_indices(2, 2);
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"a2"}));
    bus->set_indices(3, 1);
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"-", "a2", "-"}));
}

TYPED_TEST(BusRange, MayReachToTheEndsOfTheNumbers) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const bus = OWN_BUS::allocate(this->module, "a", s_max - 1, s_max);
    auto *const member = this->make("x");
    TypeParam::set(bus, s_max, member);
    EXPECT_EQ((*bus)[s_max], member);
    bus->set_indices(s_min, s_min + 1);
    EXPECT_EQ(member->get_bus(), nullptr);
    TypeParam::set(bus, s_min, member);
    EXPECT_EQ(TypeParam::remove(bus, member), s_min);
}

TYPED_TEST(BusRange, ThatIsTooLargeIsRefusedBeforeAnythingChanges) {
    using OWN_BUS = typename TypeParam::BUS;
    using boost::interprocess::bad_alloc;
    OWN_BUS *const bus = this->make_full("a", 1, 0);
    EXPECT_THROW(OWN_BUS::allocate(this->module, "b", s_min, 0), bad_alloc);
    EXPECT_THROW(OWN_BUS::allocate(this->module, "b", s_max, s_min), bad_alloc);
    EXPECT_THROW(OWN_BUS::allocate(this->module, "b", {{s_min, s_max}, {s_min, s_max}}), bad_alloc);
    EXPECT_THROW(OWN_BUS::allocate(this->module, "b", {{0, 0xffff}, {0, 0x8000}}), bad_alloc);
    EXPECT_THROW(OWN_BUS::allocate(this->module, "b", {{0, 0xffff}, {0, 0xffff}, {0, 0xffff}, {0, 0xffff}}), bad_alloc);
    EXPECT_THROW(bus->set_indices(s_max, s_min), bad_alloc);
    // Small enough for a bus, and too large for the database.
    EXPECT_THROW(OWN_BUS::allocate(this->module, "b", s_max, 0), bad_alloc);
    EXPECT_THROW(bus->set_indices(s_max, 0), bad_alloc);
    EXPECT_EQ(names_of(TypeParam::buses(this->module)), STRINGS({"a"}));
    EXPECT_EQ(names_of(TypeParam::iter(bus)), STRINGS({"a1", "a0"}));
}

TYPED_TEST(BusRange, GivesThePartOfAQuery) {
    auto *const bus = this->make_full("a", 3, 0);
    TypeParam::set(bus, 2, nullptr);
    EXPECT_EQ(this->query(bus, "a"), STRINGS({"a3", "-", "a1", "a0"}));
    EXPECT_EQ(this->query(bus, "a[3:1]"), STRINGS({"a3", "-", "a1"}));
    EXPECT_EQ(this->query(bus, "a[0]"), STRINGS({"a0"}));
    EXPECT_EQ(this->query(bus, "b[0]"), STRINGS());
    EXPECT_EQ(this->query(bus, "b[9]"), STRINGS());
}

TYPED_TEST(BusRange, IsReadUpwardsWhereItRises) {
    auto *const bus = this->make_full("a", 0, 3);
    EXPECT_EQ(this->query(bus, "a[1:2]"), STRINGS({"a1", "a2"}));
    EXPECT_EQ(names_of(TypeParam::get_all(bus, DIMENSIONS())), STRINGS({"a0", "a1", "a2", "a3"}));
}

TYPED_TEST(BusRange, TakesASingleIndexInEitherDirection) {
    auto *const up = this->make_full("a", 0, 3);
    auto *const down = this->make_full("b", 3, 0);
    EXPECT_EQ(names_of(TypeParam::get_all(up, DIMENSIONS{{3, 3}})), STRINGS({"a3"}));
    EXPECT_EQ(names_of(TypeParam::get_all(down, DIMENSIONS{{3, 3}})), STRINGS({"b3"}));
}

TYPED_TEST(BusRange, TakesAnIndexVectorOfOneNumber) {
    auto *const bus = this->make_full("a", 3, 0);
    EXPECT_EQ(TypeParam::get(bus, std::vector<int>{2})->get_name(), "a2");
    TypeParam::set(bus, std::vector<int>{2}, nullptr);
    EXPECT_EQ(TypeParam::get(bus, std::vector<int>{2}), nullptr);
}

TYPED_TEST(BusDimensions, OfASingleOneAreARange) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const one = OWN_BUS::allocate(this->module, "b", {{5, 2}});
    EXPECT_EQ(one->get_left_index(), 5);
    EXPECT_EQ(one->get_right_index(), 2);
    EXPECT_EQ(one->get_dimension_size(), 1u);
    EXPECT_EQ(one->get_dimensions(), DIMENSIONS({{5, 2}}));
}

TYPED_TEST(BusDimensions, AreStoredFlat) {
    EXPECT_EQ(this->bus->get_left_index(), 0);
    EXPECT_EQ(this->bus->get_right_index(), 5);
    EXPECT_EQ(this->bus->get_size(), 6);
    EXPECT_TRUE(this->bus->is_upwards());
    EXPECT_EQ(this->bus->get_dimension_size(), 2u);
    EXPECT_EQ(this->bus->get_dimensions(), DIMENSIONS({{1, 0}, {0, 2}}));
    EXPECT_EQ(names_of(TypeParam::iter(this->bus)), STRINGS({"10", "11", "12", "00", "-", "02"}));
    EXPECT_EQ((*this->bus)[2]->get_name(), "12");
    EXPECT_EQ(TypeParam::get(this->bus, {0, 2})->get_name(), "02");
    EXPECT_EQ(TypeParam::get(this->bus, {0, 1}), nullptr);
}

TYPED_TEST(BusDimensions, GiveTheFlatPositionOfWhatIsRemoved) {
    EXPECT_EQ(TypeParam::remove(this->bus, TypeParam::get(this->bus, {0, 2})), 5);
    EXPECT_EQ(TypeParam::remove(this->bus, TypeParam::get(this->bus, {1, 1})), 1);
}

TYPED_TEST(BusDimensions, AreSelectedPartByPart) {
    EXPECT_EQ(this->query(this->bus, "a"), STRINGS({"10", "11", "12", "00", "-", "02"}));
    EXPECT_EQ(this->query(this->bus, "a[0]"), STRINGS({"00", "-", "02"}));
    EXPECT_EQ(this->query(this->bus, "a[1:0]"), STRINGS({"10", "11", "12", "00", "-", "02"}));
    EXPECT_EQ(this->query(this->bus, "a[1:0][1:2]"), STRINGS({"11", "12", "-", "02"}));
    EXPECT_EQ(this->query(this->bus, "a[1][2]"), STRINGS({"12"}));
    EXPECT_EQ(this->query(this->bus, "a[0][0:1]"), STRINGS({"00", "-"}));
}

TYPED_TEST(BusDimensions, OfThreeAreSelectedOutermostFirst) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const cube = OWN_BUS::allocate(this->module, "c", {{0, 1}, {2, 0}, {5, 6}});
    for (int i = 0; i < 2; ++i)
        TypeParam::set(cube, {i, 1, 6}, this->make("x" + std::to_string(i)));
    EXPECT_EQ(this->query(cube, "c[0:1][1][6]"), STRINGS({"x0", "x1"}));
    EXPECT_EQ(this->query(cube, "c[1][1:0]"), STRINGS({"-", "x1", "-", "-"}));
    EXPECT_EQ(TypeParam::get_all(cube, DIMENSIONS()).size(), 12u);
}

TYPED_TEST(BusDimensions, StayWhenTheFlatRangeStays) {
    this->bus->set_indices(0, 5);
    EXPECT_EQ(this->bus->get_dimensions(), DIMENSIONS({{1, 0}, {0, 2}}));
}

TYPED_TEST(BusDimensions, AreGivenUpWithTheFlatRange) {
    this->bus->set_indices(1, 3);
    EXPECT_EQ(this->bus->get_dimensions(), DIMENSIONS({{1, 3}}));
    EXPECT_EQ(names_of(TypeParam::iter(this->bus)), STRINGS({"11", "12", "00"}));
}

TYPED_TEST(BusDimensions, GoWithTheBus) {
    using OWN_BUS = typename TypeParam::BUS;
    this->bus->deallocate();
    OWN_BUS *const next = OWN_BUS::allocate(this->module, "b", 5, 0);
    EXPECT_EQ(next->get_dimensions(), DIMENSIONS({{5, 0}}));
}

} // namespace
