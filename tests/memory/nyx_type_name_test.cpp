#include "memory/nyx_type_name.h"
#include "memory/segment_image.h"
#include "nyx/nyx_defs.h"

#include <boost/functional/hash.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <type_traits>
#include <unordered_set>

/// At namespace scope: its name is the plain one in every compiler's spelling.
struct NYX_NAMED_IN_A_TEST {};
template <class T>
struct NYX_TEMPLATE_IN_A_TEST {};

namespace {

static_assert(nyx_type_name<NYX_NAMED_IN_A_TEST>() == "NYX_NAMED_IN_A_TEST");
static_assert(nyx_type_name<unsigned char>() == "unsigned char");
static_assert(nyx_type_name<int>() == "int");
static_assert(nyx_type_name<NYX_MODULE_ID>() == "NYX_MODULE_ID");
static_assert(nyx_type_name<NYX_NAME_ID>() == "NYX_NAME_ID");

TEST(TypeName, TemplatesAndArraysAreNamedToTheirEnd) {
    EXPECT_EQ(nyx_type_name<NYX_TEMPLATE_IN_A_TEST<int>>(), "NYX_TEMPLATE_IN_A_TEST<int>");
    EXPECT_EQ(nyx_type_name<int[4]>().back(), ']');
    EXPECT_EQ((nyx_type_name<NYX_ID<unsigned int, unsigned int>>()), "NYX_ID<unsigned int, unsigned int>");
}

TEST(TypeName, EveryObjectTypeIsListedOnce) {
    std::set<std::string> names;
    unsigned count = 0;
#define NYX_OBJECT_TYPE(type)                                                                                          \
    names.insert(#type);                                                                                               \
    ++count;
#include "memory/nyx_object_types.def"
    EXPECT_EQ(count, 23u);
    EXPECT_EQ(names, (std::set<std::string>{"NYX_MODULE",
                                            "NYX_PORT",
                                            "NYX_NET",
                                            "NYX_INSTANCE",
                                            "NYX_INST_PORT",
                                            "NYX_INST_HEADER",
                                            "NYX_PORT_BUS",
                                            "NYX_NET_BUS",
                                            "NYX_INSTANCE_BUS",
                                            "NYX_INTERFACE",
                                            "NYX_RELATIVE_OBJECT",
                                            "NYX_CONSTRAINT_STMT",
                                            "NYX_CONSTRAINT_ARG",
                                            "NYX_CONSTRAINT_COLLECTION",
                                            "NYX_SOURCE_FILE",
                                            "NYX_ENTITY",
                                            "NYX_SDC_CLOCK",
                                            "NYX_HIER_MODULE",
                                            "NYX_HIER_INSTANCE",
                                            "NYX_HIER_PORT",
                                            "NYX_BYTE1_TRAIT",
                                            "NYX_BYTE4_TRAIT",
                                            "NYX_BYTE8_TRAIT"}));
}

// ---- Identifiers

template <class ID>
class EveryId : public testing::Test {};

using EVERY_ID =
    testing::Types<NYX_MODULE_ID, NYX_PORT_ID, NYX_NET_ID, NYX_INSTANCE_ID, NYX_INST_PORT_ID, NYX_INST_HEADER_ID,
                   NYX_PORT_BUS_ID, NYX_NET_BUS_ID, NYX_INSTANCE_BUS_ID, NYX_INTERFACE_ID, NYX_RELATIVE_OBJECT_ID,
                   NYX_CONSTRAINT_STMT_ID, NYX_CONSTRAINT_ARG_ID, NYX_CONSTRAINT_COLLECTION_ID, NYX_SOURCE_FILE_ID,
                   NYX_ENTITY_ID, NYX_SDC_CLOCK_ID, NYX_HIER_MODULE_ID, NYX_HIER_INSTANCE_ID, NYX_HIER_PORT_ID,
                   NYX_BYTE1_TRAIT_ID, NYX_BYTE4_TRAIT_ID, NYX_BYTE8_TRAIT_ID, NYX_NAME_ID>;
TYPED_TEST_SUITE(EveryId, EVERY_ID);

TYPED_TEST(EveryId, IsABareNumberOfFourBytes) {
    static_assert(sizeof(TypeParam) == 4 && alignof(TypeParam) == 4);
    static_assert(std::is_trivially_copyable_v<TypeParam> && std::is_standard_layout_v<TypeParam>);
    static_assert(!std::is_convertible_v<unsigned, TypeParam> && !std::is_convertible_v<TypeParam, unsigned>);
    const TypeParam id(0x01020304);
    EXPECT_EQ(stored<std::uint32_t>(&id, 0), 0x01020304u);
    EXPECT_EQ(id.get(), 0x01020304u);
    EXPECT_EQ(static_cast<unsigned>(id), 0x01020304u);
}

TYPED_TEST(EveryId, IsInvalidUntilItIsGivenANumber) {
    const TypeParam id;
    EXPECT_EQ(id, TypeParam::INVALID);
    EXPECT_EQ(stored<std::uint32_t>(&id, 0), 0xFFFFFFFFu);
    EXPECT_EQ(TypeParam::INVALID.get(), 0xFFFFFFFFu);
    static_assert(TypeParam().get() == 0xFFFFFFFFu);
}

TYPED_TEST(EveryId, InvalidIsUnequalToEveryRow) {
    for (const unsigned row : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu}) {
        EXPECT_NE(TypeParam(row), TypeParam::INVALID);
        EXPECT_LT(TypeParam(row), TypeParam::INVALID);
    }
}

TYPED_TEST(EveryId, IsOrderedByItsNumber) {
    EXPECT_LT(TypeParam(1), TypeParam(2));
    EXPECT_GT(TypeParam(0x80000000u), TypeParam(0x7FFFFFFFu));
    EXPECT_LE(TypeParam(2), TypeParam(2));
    EXPECT_EQ(TypeParam(2), TypeParam(2));
    EXPECT_EQ(TypeParam(2) <=> TypeParam(3), std::strong_ordering::less);
}

TYPED_TEST(EveryId, HashesToItsNumber) {
    EXPECT_EQ(hash_value(TypeParam(42)), 42u);
    EXPECT_EQ(boost::hash<TypeParam>()(TypeParam(42)), 42u);
    EXPECT_EQ(std::hash<TypeParam>()(TypeParam(42)), 42u);
    EXPECT_EQ(hash_value(TypeParam::INVALID), 0xFFFFFFFFu);
    std::unordered_set<TypeParam> ids{TypeParam(1), TypeParam(2), TypeParam(1)};
    EXPECT_EQ(ids.size(), 2u);
}

TYPED_TEST(EveryId, CheckLetsRowsPass) {
    nyx_check_id(TypeParam(0));
    nyx_check_id(TypeParam(0xFFFFFFFEu));
}

TYPED_TEST(EveryId, HasItsNameInTheCheck) {
    EXPECT_EQ(nyx_type_name<TypeParam>().substr(0, 4), "NYX_");
    EXPECT_EQ(nyx_type_name<TypeParam>().substr(nyx_type_name<TypeParam>().size() - 3), "_ID");
}

TEST(CheckIdDeathTest, InvalidEndsTheRunWithTheTypeOfTheIdentifier) {
#define NYX_OBJECT_TYPE(type)                                                                                          \
    EXPECT_DEATH(nyx_check_id(type##_ID::INVALID), failed_check("id != " #type "_ID::INVALID"));
#include "memory/nyx_object_types.def"
    EXPECT_DEATH(nyx_check_id(NYX_NAME_ID::INVALID), failed_check("id != NYX_NAME_ID::INVALID"));
}

TEST(CheckIdDeathTest, NamesTheVariable) {
    EXPECT_DEATH(nyx_check_id(NYX_NET_ID(), "net_id"), failed_check("net_id != NYX_NET_ID::INVALID"));
}

TEST(Id, CountersAreIdentifiersToo) {
    using COUNT = NYX_ID<unsigned int, unsigned int>;
    static_assert(sizeof(COUNT) == 4);
    EXPECT_EQ(COUNT(), COUNT::INVALID);
    EXPECT_EQ(COUNT(5).get(), 5u);
}

TEST(Id, MayBeWiderThan32Bits) {
    using WIDE = NYX_ID<NYX_NET, std::uint64_t>;
    EXPECT_EQ(WIDE::INVALID.get(), ~std::uint64_t(0));
    EXPECT_EQ(hash_value(WIDE(std::uint64_t(1) << 40)), std::uint64_t(1) << 40);
}

TEST(NameId, FieldsAreBitsOfTheNumber) {
    NYX_NAME_ID id(0);
    id.fields.bus.name_index = 9;
    id.fields.bus.bus_index = 5;
    id.fields.bus.is_bus = 1;
    EXPECT_EQ(id.get(), 0x82800009u);
    EXPECT_EQ(id, NYX_NAME_ID(0x82800009u));
}

TEST(NameId, NumberIsReadAsFields) {
    const NYX_NAME_ID last(0x80000000u | (255u << 23) | 0x7FFFFEu);
    EXPECT_EQ(last.fields.bus.is_bus, 1u);
    EXPECT_EQ(last.fields.bus.bus_index, 255u);
    EXPECT_EQ(last.fields.bus.name_index, 0x7FFFFEu);
    const NYX_NAME_ID plain(0x7FFFFFFFu);
    EXPECT_EQ(plain.fields.bus.is_bus, 0u);
    EXPECT_EQ(NYX_NAME_ID::INVALID.fields.bus.is_bus, 1u);
}

} // namespace
