// What buses refuse: indices of programs end the run, those of queries are raised.
#include "bus_test_support.h"

#include "netlist/nyx_bus_kind.h"

using namespace bus_test;

namespace {

template <class KIND>
class BusFailure : public BUS_TEST<KIND> {
protected:
    // The name of a class's member, such as "NYX_PORT_BUS::get_port".
    static std::string function(const std::string &verb) {
        return std::string(NYX_OBJECT_TRAITS<typename KIND::BUS>::s_name) + "::" + verb + KIND::s_member;
    }
};
TYPED_TEST_SUITE(BusFailure, KINDS);

using PortBusDeathTest = BUS_TEST<PORTS>;

template <class KIND>
class BusDeathTest : public BUS_TEST<KIND> {};
TYPED_TEST_SUITE(BusDeathTest, KINDS);

TYPED_TEST(BusDeathTest, NeedsAParent) {
    using OWN_BUS = typename TypeParam::BUS;
    EXPECT_DEATH(OWN_BUS::allocate(nullptr, "a", 1, 0), "check failed: parent: Parent must be non-null");
    EXPECT_DEATH(OWN_BUS::allocate(nullptr, "a", DIMENSIONS{{1, 0}}), "check failed: parent: Parent must be non-null");
}

TYPED_TEST(BusDeathTest, NeedsAName) {
    using OWN_BUS = typename TypeParam::BUS;
    EXPECT_DEATH(OWN_BUS::allocate(this->module, "", 1, 0),
                 std::string("check failed: !name.empty\\(\\): ") + TypeParam::s_empty_name);
    EXPECT_DEATH(OWN_BUS::allocate(this->module, "", DIMENSIONS{{1, 0}, {0, 1}}),
                 "check failed: !name.empty\\(\\): bus must have non-empty name");
}

TYPED_TEST(BusDeathTest, NeedsADimension) {
    using OWN_BUS = typename TypeParam::BUS;
    EXPECT_DEATH(OWN_BUS::allocate(this->module, "a", DIMENSIONS()),
                 "check failed: !dimensions.empty\\(\\): dimension must be non empty");
}

TYPED_TEST(BusDeathTest, TakesAMemberOnce) {
    auto *const bus = this->make_full("a", 1, 0);
    auto *const other = TypeParam::BUS::allocate(this->module, "b", 1, 0);
    const std::string word = TypeParam::s_member;
    EXPECT_DEATH(TypeParam::set(other, 0, (*bus)[0]),
                 "check failed: !\\(" + word + " && " + word + "->get_bus\\(\\)\\): " + word + " is already in a bus");
    EXPECT_DEATH(TypeParam::set(bus, 0, (*bus)[0]), word + " is already in a bus");
}

TYPED_TEST(BusDeathTest, HasNoPositionOutsideItsRange) {
    auto *const down = TypeParam::BUS::allocate(this->module, "a", 3, 1);
    auto *const up = TypeParam::BUS::allocate(this->module, "b", 1, 3);
    auto *const member = this->make("x");
    for (auto *const bus : {down, up}) {
        EXPECT_DEATH(TypeParam::set(bus, 0, member),
                     "check failed: index >= std::min\\(left, right\\): Index too small");
        EXPECT_DEATH(TypeParam::set(bus, 4, member),
                     "check failed: index <= std::max\\(left, right\\): Index too large");
        EXPECT_DEATH(TypeParam::set(bus, 4, nullptr), "Index too large");
    }
}

TYPED_TEST(BusDeathTest, HasOneMemberAtAnIndex) {
    auto *const bus = this->make_full("a", 1, 0);
    std::string type = NYX_OBJECT_TRAITS<typename TypeParam::MEMBER>::s_name;
    EXPECT_DEATH(TypeParam::set(bus, 1, this->make("x")), std::string("check failed: ") + TypeParam::s_member +
                                                              "s\\[loc\\] == " + type +
                                                              "_ID::INVALID: Index already in use");
}

TYPED_TEST(BusDeathTest, TakesNoMemberOfAnotherDatabase) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", 1, 0);
    SCOPED_DB other("other");
    auto *const member = TypeParam::make(make_module(other, "m", STRINGS(1)), "x");
    EXPECT_DEATH(TypeParam::set(bus, 1, member), "nyx_get_persistent\\(member\\) == nyx_get_persistent\\(row\\)");
}

TYPED_TEST(BusDeathTest, IsNotReversed) {
    using OWN_BUS = typename TypeParam::BUS;
    OWN_BUS *const down = OWN_BUS::allocate(this->module, "a", 7, 0);
    OWN_BUS *const up = OWN_BUS::allocate(this->module, "b", 0, 3);
    constexpr const char *text = "check failed: \\(left_index >= right_index\\) == \\(old_left >= old_right\\): Can't "
                                 "reverse a bus";
    EXPECT_DEATH(down->set_indices(0, 7), text);
    EXPECT_DEATH(up->set_indices(3, 0), text);
    EXPECT_DEATH(up->set_indices(3, 3), text);
}

TYPED_TEST(BusDeathTest, ThatIsInNoModuleHasNoParent) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", 1, 0);
    EXPECT_DEATH(
        {
            (this->module->*NYX_BUS_KIND<typename TypeParam::BUS>::s_remove)(bus);
            bus->find_parent();
        },
        std::string("check failed: parent: ") + TypeParam::s_lost);
}

TYPED_TEST(BusDeathTest, EndsItsWalk) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", 0, 0);
    using ITER = decltype(TypeParam::iter(bus).begin());
    const std::string text =
        std::string("m_index != ") + NYX_OBJECT_TRAITS<typename TypeParam::MEMBER>::s_name + "_ID::INVALID";
    ITER end;
    EXPECT_DEATH(*end, text);
    EXPECT_DEATH(++end, text);
    EXPECT_DEATH(ITER(nullptr), "parent != nullptr");
}

TYPED_TEST(BusFailure, TellsOfAnIndexOutOfRange) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", 3, 1);
    const std::string where = std::string(NYX_OBJECT_TRAITS<typename TypeParam::BUS>::s_name) + "::operator[]";
    EXPECT_RAISED((*bus)[4], NYX_INVALID_ARGUMENT, "index 4 out of range [3:1]", where);
    EXPECT_RAISED((*bus)[-1], NYX_INVALID_ARGUMENT, "index -1 out of range [3:1]", where);
    EXPECT_RAISED(TypeParam::get(bus, std::vector<int>{0}), NYX_INVALID_ARGUMENT, "index 0 out of range [3:1]", where);
}

TYPED_TEST(BusFailure, NeedsANumberForEachDimension) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", {{1, 0}, {0, 2}});
    auto *const member = this->make("x");
    EXPECT_RAISED(TypeParam::get(bus, std::vector<int>()), NYX_INVALID_ARGUMENT, "Input index size should not be empty",
                  this->function("get_"));
    EXPECT_RAISED(TypeParam::set(bus, std::vector<int>(), member), NYX_INVALID_ARGUMENT,
                  "Input index size should not be empty", this->function("set_"));
    EXPECT_RAISED(TypeParam::get(bus, std::vector<int>{1}), NYX_INVALID_ARGUMENT,
                  "Input index size does not equal to bus dimension size", this->function("get_"));
    EXPECT_RAISED(TypeParam::set(bus, {1, 0, 0}, member), NYX_INVALID_ARGUMENT,
                  "Input index size does not equal to bus dimension size", this->function("set_"));
    EXPECT_EQ(member->get_bus(), nullptr);
}

TYPED_TEST(BusFailure, TellsOfANumberOutsideItsDimension) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", {{1, 0}, {0, 2}});
    constexpr const char *where = "NYX_BUS_DIMENSION_UTIL::index_to_array_loc";
    EXPECT_RAISED(TypeParam::get(bus, {2, 0}), NYX_INVALID_ARGUMENT,
                  "Input index[0] is out of bound in coressponidng bus dimension", where);
    EXPECT_RAISED(TypeParam::set(bus, {0, 3}, nullptr), NYX_INVALID_ARGUMENT,
                  "Input index[1] is out of bound in coressponidng bus dimension", where);
}

TYPED_TEST(BusFailure, RemovesOnlyItsMembers) {
    auto *const bus = this->make_full("a", 1, 0);
    auto *const other = TypeParam::BUS::allocate(this->module, "b", 1, 0);
    auto *const stranger = this->make("x");
    const std::string word = TypeParam::s_member;
    const std::string where = this->function("remove_");
    EXPECT_RAISED(TypeParam::remove(bus, nullptr), NYX_INVALID_ARGUMENT, word + " must be non-null", where);
    EXPECT_RAISED(TypeParam::remove(bus, stranger), NYX_INVALID_ARGUMENT,
                  word + " x doesn't belong to " + word + " bus a", where);
    EXPECT_RAISED(TypeParam::remove(other, (*bus)[1]), NYX_INVALID_ARGUMENT,
                  word + " a1 doesn't belong to " + word + " bus b", where);
    EXPECT_EQ((*bus)[1]->get_bus(), bus);
}

TYPED_TEST(BusFailure, TellsOfAMemberThatItsArrayLacks) {
    auto *const bus = this->make_full("a", 1, 0);
    auto &place = bus->get_impl()->m_members_ptr[0];
    const auto kept = place;
    auto *const member = (*bus)[1];
    place = decltype(kept)::INVALID;
    const std::string word = TypeParam::s_member;
    EXPECT_RAISED(TypeParam::remove(bus, member), NYX_INVALID_ARGUMENT,
                  word + " a1 is not found on " + word + " bus a in module m", this->function("remove_"));
    place = kept;
}

TYPED_TEST(BusFailure, TellsOfPartsThatAreNone) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", {{3, 0}, {0, 2}});
    const std::string where = this->function("get_") + "s";
    const auto get = [bus](const DIMENSIONS &parts) { return TypeParam::get_all(bus, parts); };
    EXPECT_RAISED(get({{1, 1}, {1, 1}, {1, 1}}), NYX_INVALID_ARGUMENT,
                  "Input sub_dims's size should be greater or less than current bus dimension", where);
    EXPECT_RAISED(get({{0, 1}}), NYX_INVALID_ARGUMENT,
                  "Input sub_dims[0]  direction does not match corresponding bus dimnension", where);
    EXPECT_RAISED(get({{1, 0}, {2, 0}}), NYX_INVALID_ARGUMENT,
                  "Input sub_dims[1]  direction does not match corresponding bus dimnension", where);
    EXPECT_RAISED(get({{4, 0}}), NYX_INVALID_ARGUMENT,
                  "Input sub_dims[0] left_index is out of bound in coressponidng bus dimension", where);
    EXPECT_RAISED(get({{1, 0}, {1, 3}}), NYX_INVALID_ARGUMENT,
                  "Input sub_dims[1] right_index is out of bound in coressponidng bus dimension", where);
}

TYPED_TEST(BusFailure, TellsOfQueriesThatAreNone) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", 1, 0);
    constexpr const char *where = "NYX_BUS_DIMENSION_UTIL::convert_string_to_query";
    EXPECT_RAISED(this->query(bus, "[1]"), NYX_INVALID_ARGUMENT, "query has invalid format, name must be non-empty",
                  where);
    EXPECT_RAISED(this->query(bus, "a[x]"), NYX_INVALID_ARGUMENT, "input query does not match valid range format",
                  where);
    EXPECT_RAISED(this->query(bus, "a[2147483648]"), NYX_INVALID_ARGUMENT,
                  "input query does not match valid range format", where);
}

TYPED_TEST(BusFailure, KeepsItsNameWhenTheNewOneIsEmpty) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", 1, 0);
    EXPECT_RAISED(bus->set_name(""), NYX_INVALID_ARGUMENT, TypeParam::s_unnamed,
                  std::string(NYX_OBJECT_TRAITS<typename TypeParam::BUS>::s_name) + "::set_name");
    EXPECT_EQ(bus->get_name(), "a");
}

TYPED_TEST(BusDeathTest, HasNoPositionOutsideItsRangeByAVectorOfOne) {
    auto *const bus = TypeParam::BUS::allocate(this->module, "a", 3, 1);
    EXPECT_DEATH(TypeParam::set(bus, std::vector<int>{0}, this->make("x")), "Index too small");
}

TEST_F(PortBusDeathTest, TakesNoPortThatIsDeleted) {
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "a", 0, 0);
    NYX_PORT *const deleted = *module->iter_ports().begin();
    EXPECT_DEATH(bus->set_port(0, deleted), "This port has not been allocated yet");
}

TEST_F(PortBusDeathTest, WithAMemberOfAnotherModuleIsTakenOutOfItsOwnListAlone) {
    NYX_MODULE *const other = make_module(db, "n", {"b"});
    NYX_PORT_BUS *const bus = NYX_PORT_BUS::allocate(module, "v", 0, 0);
    NYX_PORT_BUS::allocate(other, "w", 0, 0);
    bus->set_port(0, other->find_port("b"));
    EXPECT_EQ(nyx_check_netlist(*root_of(db)), STRINGS({"module 'm' (1): port bus 'v' (0): port " +
                                                        std::to_string(other->get_impl()->m_first_port.get()) +
                                                        " is in it, but not one of the module"}));
    bus->deallocate();
    EXPECT_TRUE(module->iter_port_buses().empty());
    EXPECT_EQ(names_of(other->iter_port_buses()), STRINGS({"w"}));
}

} // namespace
