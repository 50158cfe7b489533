// The order of the virtual functions is interface: a tool that was compiled against an earlier header is called through
// it. A pointer to a virtual member function holds the function's place in the virtual table.

#include "observer_test_support.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

using namespace observer_test;

namespace {

/// As the Itanium C++ ABI has it.
struct MEMBER_POINTER {
    std::ptrdiff_t offset_in_table; // in bytes, plus 1 on machines that tell virtual functions here
    std::ptrdiff_t base_offset;     // of the base whose table it is
};

template <class MEMBER>
MEMBER_POINTER take_apart(MEMBER member) {
    MEMBER_POINTER parts;
    static_assert(sizeof member == sizeof parts);
    std::memcpy(&parts, &member, sizeof parts);
    return parts;
}

/// Counted from 1. The destructor is 1 and has entries 0 and 1 of the table, so that the others stand at their number.
template <class MEMBER>
std::ptrdiff_t slot(MEMBER member) {
    return take_apart(member).offset_in_table / static_cast<std::ptrdiff_t>(sizeof(void *));
}

/// Where the table that has a function lies in an observer of T.
template <class T, class RESULT, class OWNER, class... ARGUMENTS>
std::ptrdiff_t base_offset(RESULT (OWNER::*member)(ARGUMENTS...)) {
    return take_apart(static_cast<RESULT (NYX_OBSERVER<T>::*)(ARGUMENTS...)>(member)).base_offset;
}

} // namespace

TEST(ObserverSlots, OfTheBase) {
    EXPECT_EQ(slot(&NYX_OBSERVER_BASE<NYX_NET>::moved), 2);
    EXPECT_EQ(slot(&NYX_OBSERVER_BASE<NYX_NET>::name_changed), 3);
    EXPECT_EQ(slot(&NYX_OBSERVER_BASE<NYX_NET>::enabled), 4);
}

TEST(ObserverSlots, OfTheMixIns) {
    EXPECT_EQ(slot(&NYX_ALLOCATE_OBSERVER<NYX_NET>::allocated), 2);
    EXPECT_EQ(slot(&NYX_ALLOCATE_OBSERVER<NYX_NET>::deallocated), 3);
    EXPECT_EQ(slot(&NYX_CONNECTION_OBSERVER<NYX_PORT>::pre_connect), 2);
    EXPECT_EQ(slot(&NYX_CONNECTION_OBSERVER<NYX_PORT>::post_connect), 3);
    EXPECT_EQ(slot(&NYX_CONNECTION_OBSERVER<NYX_PORT>::pre_disconnect), 4);
    EXPECT_EQ(slot(&NYX_CONNECTION_OBSERVER<NYX_PORT>::post_disconnect), 5);
    EXPECT_EQ(slot(&NYX_COPY_OBSERVER<NYX_MODULE>::copied), 2);
}

TEST(ObserverSlots, OfModules) {
    EXPECT_EQ(slot(&NYX_OBSERVER<NYX_MODULE>::allocated), 5);
    EXPECT_EQ(slot(&NYX_OBSERVER<NYX_MODULE>::deallocated), 6);
    EXPECT_GT(base_offset<NYX_MODULE>(&NYX_COPY_OBSERVER<NYX_MODULE>::copied), 0);
}

TEST(ObserverSlots, OfPortsLieInTheTablesOfTheirMixIns) {
    const auto allocate = base_offset<NYX_PORT>(&NYX_ALLOCATE_OBSERVER<NYX_PORT>::allocated);
    const auto connect = base_offset<NYX_PORT>(&NYX_CONNECTION_OBSERVER<NYX_PORT>::pre_connect);
    EXPECT_EQ(base_offset<NYX_PORT>(&NYX_OBSERVER_BASE<NYX_PORT>::moved), 0);
    EXPECT_LT(0, allocate);
    EXPECT_LT(allocate, connect);
}

TEST(ObserverSlots, OfInstPorts) {
    EXPECT_EQ(slot(&NYX_OBSERVER<NYX_INST_PORT>::allocated), 5);
    EXPECT_EQ(slot(&NYX_OBSERVER<NYX_INST_PORT>::deallocated), 6);
    EXPECT_GT(base_offset<NYX_INST_PORT>(&NYX_CONNECTION_OBSERVER<NYX_INST_PORT>::pre_connect), 0);
}

TEST(ObserverSlots, OfInstances) {
    EXPECT_EQ(slot(&NYX_OBSERVER<NYX_INSTANCE>::module_changed), 5);
    EXPECT_GT(base_offset<NYX_INSTANCE>(&NYX_ALLOCATE_OBSERVER<NYX_INSTANCE>::allocated), 0);
}

TEST(ObserverSlots, OfDatabases) {
    EXPECT_EQ(slot(&NYX_OBSERVER<NYX_DB>::opened), 5);
    EXPECT_EQ(slot(&NYX_OBSERVER<NYX_DB>::closing), 6);
}

template <class TYPE>
class ObserverSlotsWithoutModule : public testing::Test {};
using ObserverSlotsWithoutModuleTypes = TYPES<NYX_RELATIVE_OBJECT, NYX_CONSTRAINT_COLLECTION, NYX_CONSTRAINT_STMT,
                                              NYX_CONSTRAINT_ARG, NYX_SOURCE_FILE, NYX_ENTITY, NYX_SDC_CLOCK>;
TYPED_TEST_SUITE(ObserverSlotsWithoutModule, ObserverSlotsWithoutModuleTypes);

TYPED_TEST(ObserverSlotsWithoutModule, FollowThoseOfTheBase) {
    using T = typename TypeParam::type;
    EXPECT_EQ(slot(&NYX_OBSERVER<T>::allocated), 5);
    EXPECT_EQ(slot(&NYX_OBSERVER<T>::deallocated), 6);
}

template <class TYPE>
class ObserverSlotsOfAModulesObject : public testing::Test {};
using ObserverSlotsOfAModulesObjectTypes = TYPES<NYX_NET, NYX_PORT_BUS, NYX_NET_BUS, NYX_INSTANCE_BUS, NYX_INTERFACE>;
TYPED_TEST_SUITE(ObserverSlotsOfAModulesObject, ObserverSlotsOfAModulesObjectTypes);

TYPED_TEST(ObserverSlotsOfAModulesObject, LieInTheTableOfTheMixIn) {
    using T = typename TypeParam::type;
    EXPECT_EQ(base_offset<T>(&NYX_OBSERVER_BASE<T>::moved), 0);
    EXPECT_GT(base_offset<T>(&NYX_ALLOCATE_OBSERVER<T>::allocated), 0);
}
