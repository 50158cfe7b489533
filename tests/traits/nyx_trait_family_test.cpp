// The trait members, once for every class of objects that has them.
#include "netlist/nyx_schema.h"
#include "traits/nyx_trait_object_type.h"
#include "traits/trait_test_support.h"

namespace {

template <class T>
class TraitFamily : public testing::Test {
protected:
    static std::string name() { return nyx_bearer_class<T>.name; }
    static RAISED says(const std::string &text, const std::string &member) { return {text, name() + "::" + member}; }

    SCOPED_DB m_db{"family"};
};

TYPED_TEST_SUITE(TraitFamily, BEARER_TYPES);

TYPED_TEST(TraitFamily, ValuesComeBackAndTheDefaultTakesThemOut) {
    TypeParam *const object = add_object<TypeParam>(this->m_db);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        SCOPED_TRACE(V::s_word);
        TRAIT *const trait = V::template create<TypeParam>(this->m_db, V::s_word);
        EXPECT_EQ(object->get_value(trait), V::by_default());
        EXPECT_TRUE(object->is_default_value(trait));
        EXPECT_TRUE(TypeParam::trait_is_empty(trait));
        object->set_value(trait, V::by_default());
        EXPECT_TRUE(TypeParam::trait_is_empty(trait));
        object->set_value(trait, V::other());
        EXPECT_EQ(object->get_value(trait), V::other());
        object->set_value(trait, V::third());
        EXPECT_EQ(object->get_value(trait), V::third());
        EXPECT_FALSE(object->is_default_value(trait));
        EXPECT_FALSE(TypeParam::trait_is_empty(trait));
        EXPECT_EQ(object->convert_value_to_str(trait), TRAIT::convert_value_to_str(V::third()));
        object->set_value(trait, V::by_default());
        EXPECT_EQ(object->get_value(trait), V::by_default());
        EXPECT_TRUE(object->is_default_value(trait));
        EXPECT_TRUE(TypeParam::trait_is_empty(trait));
        EXPECT_EQ(V::template find<TypeParam>(this->m_db, V::s_word), trait);
    });
}

TYPED_TEST(TraitFamily, TraitsTellWhatTheyWereDeclaredWith) {
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        SCOPED_TRACE(V::s_word);
        const TRAIT *const trait = V::template create<TypeParam>(this->m_db, V::s_word);
        EXPECT_EQ(trait->get_default_value(), V::by_default());
        EXPECT_EQ(trait->get_name(), V::s_word);
        EXPECT_EQ(trait->get_group(), "a group");
        EXPECT_EQ(trait->get_description(), "a description");
        EXPECT_EQ(trait->get_internal_name(), "");
        EXPECT_FALSE(trait->is_internal());
        EXPECT_EQ(trait->get_db(), this->m_db);
        EXPECT_EQ(trait->get_object_type(), nyx_bearer_class<TypeParam>.kind);
        EXPECT_EQ(trait->python_hash(), nyx_hash_address(trait));
        EXPECT_FALSE(trait->output_to_str().empty());
    });
}

TYPED_TEST(TraitFamily, InternalTraitsAreFoundByTheirInternalNameAlone) {
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        const std::string name = V::s_word;
        const std::string internal = name + "_internal";
        SCOPED_TRACE(name);
        TRAIT *const trait = V::template create<TypeParam>(this->m_db, name, internal);
        EXPECT_EQ(V::template find<TypeParam>(this->m_db, internal), trait);
        EXPECT_EQ(V::template find<TypeParam>(this->m_db, name), nullptr);
        EXPECT_TRUE(TypeParam::trait_exists(this->m_db, name));
        EXPECT_TRUE(TypeParam::trait_exists(this->m_db, internal));
        EXPECT_TRUE(trait->is_internal());
        EXPECT_EQ(trait->get_name(), name);
        EXPECT_EQ(trait->get_internal_name(), internal);
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { V::template create<TypeParam>(this->m_db, name); }),
                  this->says(this->name() + " already has trait named " + name, "create_" + name + "_trait"));
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { V::template create<TypeParam>(this->m_db, "x" + name, internal); }),
                  this->says(this->name() + " already has trait using internal name " + internal,
                             "create_" + name + "_trait"));
        EXPECT_EQ(V::template find_or_create<TypeParam>(this->m_db, name, V::by_default(), internal), trait);
    });
}

TYPED_TEST(TraitFamily, NamesAreUniqueAcrossTypesOfValues) {
    TypeParam::create_int_trait(this->m_db, "t", 0, "", "", "");
    EXPECT_EQ(TypeParam::find_bool_trait(this->m_db, "t"), nullptr);
    EXPECT_EQ(TypeParam::find_string_trait(this->m_db, "t"), nullptr);
    EXPECT_EQ(TypeParam::find_int_trait(this->m_db, "u"), nullptr);
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        EXPECT_EQ(
            raised<NYX_RUNTIME_ERROR>([&] { V::template create<TypeParam>(this->m_db, "t"); }),
            this->says(this->name() + " already has trait named t", "create_" + std::string(V::s_word) + "_trait"));
    });
}

TYPED_TEST(TraitFamily, FindsOrDeclares) {
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        const std::string name = V::s_word;
        const std::string member = "find_or_create_" + name + "_trait";
        SCOPED_TRACE(name);
        TRAIT *const trait = V::template find_or_create<TypeParam>(this->m_db, name, V::by_default());
        EXPECT_EQ(trait->get_description(), "another description");
        EXPECT_EQ(V::template find_or_create<TypeParam>(this->m_db, name, V::by_default()), trait);
        EXPECT_EQ(
            raised<NYX_RUNTIME_ERROR>([&] { V::template find_or_create<TypeParam>(this->m_db, name, V::other()); }),
            this->says(this->name() + " already has trait named " + name + " with a default value of " +
                           TRAIT::convert_value_to_str(V::by_default()) +
                           " that does not match the input default value of " + TRAIT::convert_value_to_str(V::other()),
                       member));
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>(
                      [&] { V::template find_or_create<TypeParam>(this->m_db, name, V::by_default(), "inner"); }),
                  this->says(this->name() + " already has an internal trait named " + name + ".", member));
        TRAIT *const given = V::template create<TypeParam>(this->m_db, name + "2");
        EXPECT_EQ(V::template find_or_create<TypeParam>(this->m_db, name + "2", V::by_default()), given);
        EXPECT_EQ(given->get_description(), "a description");
    });
}

TYPED_TEST(TraitFamily, RefusesNullAndEmptyNames) {
    const std::string no_db = "Input database cannot be NULL";
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        const std::string word = V::s_word;
        SCOPED_TRACE(word);
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([] { V::template create<TypeParam>(nullptr, "t"); }),
                  this->says(no_db, "create_" + word + "_trait"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { V::template create<TypeParam>(this->m_db, ""); }),
                  this->says("Cannot create a trait with an empty name", "create_" + word + "_trait"));
        EXPECT_EQ(
            raised<NYX_INVALID_ARGUMENT>([&] { V::template create<TypeParam>(this->m_db, std::string("a\0b", 3)); }),
            this->says("Cannot create a trait with a NUL in its name", "create_" + word + "_trait"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([] { V::template find<TypeParam>(nullptr, "t"); }),
                  this->says(no_db, "find_" + word + "_trait"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { V::template find<TypeParam>(this->m_db, ""); }),
                  this->says("Input name cannot be empty", "find_" + word + "_trait"));
    });
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([] { TypeParam::trait_exists(nullptr, "t"); }),
              this->says(no_db, "trait_exists"));
    EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { TypeParam::trait_exists(this->m_db, ""); }),
              this->says("Input name cannot be NULL", "trait_exists"));
}

TYPED_TEST(TraitFamily, RefusesNullTraits) {
    TypeParam *const object = add_object<TypeParam>(this->m_db);
    const std::string text = "Input trait cannot be NULL";
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        SCOPED_TRACE(V::s_word);
        TRAIT *const none = nullptr;
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { object->get_value(none); }), this->says(text, "get_value"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { object->set_value(none, V::other()); }),
                  this->says(text, "set_value"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { object->is_default_value(none); }),
                  this->says(text, "is_default_value"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { object->convert_value_to_str(none); }),
                  this->says(text, "convert_value_to_str"));
        EXPECT_EQ(raised<NYX_INVALID_ARGUMENT>([&] { TypeParam::trait_is_empty(none); }),
                  this->says(text, "trait_is_empty"));
    });
}

TYPED_TEST(TraitFamily, OneTraitOfANameForEachClass) {
    auto *const here = TypeParam::create_int_trait(this->m_db, "t", 1, "", "", "");
    if constexpr (!std::is_same_v<TypeParam, NYX_NET>) {
        EXPECT_FALSE(NYX_NET::trait_exists(this->m_db, "t"));
        auto *const there = NYX_NET::create_int_trait(this->m_db, "t", 2, "", "", "");
        EXPECT_NE(here, there);
        EXPECT_EQ(there->get_default_value(), 2);
    }
    EXPECT_EQ(here->get_default_value(), 1);
    EXPECT_EQ(TypeParam::find_int_trait(this->m_db, "t"), here);
}

TYPED_TEST(TraitFamily, SchemaHasTheStorageOfEachTypeOfValues) {
    std::vector<NYX_SCHEMA_MEMBER> members;
    EXPECT_EQ(TypeParam::get_trait_schema_id(&members), TypeParam::get_trait_schema_id(nullptr));
    EXPECT_EQ(TypeParam::get_trait_schema_id(nullptr), NYX_NET::get_trait_schema_id(nullptr));
    ASSERT_EQ(members.size(), 15u);
    EXPECT_EQ(members[0].name, this->name() + " (trait schema)");
    EXPECT_EQ(members[0].id, 1u);
    const char *const widths[] = {"4", "4", "8", "8", "4", "1", "8"};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(members[1 + 2 * i].name, "NYX_BYTE" + std::string(widths[i]) + "_TRAIT_TABLE");
        EXPECT_EQ(members[2 + 2 * i].name, "NYX_BYTE" + std::string(widths[i]) + "_TRAIT_LOOKUP");
        EXPECT_EQ(members[2 + 2 * i].id, *widths[i] == '1' ? 5u : 4u);
    }
}

TYPED_TEST(TraitFamily, IteratesTheObjectsThatHaveAValue) {
    auto *const trait = TypeParam::create_int_trait(this->m_db, "t", 0, "", "", "");
    std::set<TypeParam *> expected;
    for (int i = 0; i < (std::is_same_v<TypeParam, NYX_DB> ? 1 : 20); ++i) {
        TypeParam *const object = add_object<TypeParam>(this->m_db);
        object->set_value(trait, i % 3 == 0 ? i + 1 : 0);
        if (i % 3 == 0)
            expected.insert(object);
    }
    std::size_t in_all = 0;
    const auto count = [&](const auto &range) {
        for (auto *const object : range) {
            ++in_all;
            if constexpr (std::is_same_v<decltype(object), TypeParam *const>) {
                EXPECT_EQ(expected.erase(object), 1u);
            }
        }
    };
    count(trait->iter_modules(true));
    count(trait->iter_ports(true));
    count(trait->iter_nets(true));
    count(trait->iter_instances(true));
    count(trait->iter_instance_buses(true));
    count(trait->iter_inst_ports(true));
    count(trait->iter_port_buses(true));
    count(trait->iter_net_buses(true));
    count(trait->iter_interfaces(true));
    count(trait->iter_inst_headers(true));
    count(trait->iter_relative_objects(true));
    count(trait->iter_constraint_stmts(true));
    count(trait->iter_source_files(true));
    count(trait->iter_entities(true));
    count(trait->iter_sdc_clocks(true));
    count(trait->iter_dbs(true));
    count(trait->iter_hier_modules(true));
    EXPECT_TRUE(expected.empty());
    EXPECT_EQ(in_all, (std::is_same_v<TypeParam, NYX_DB> ? 1u : 7u));
}

/// An object called "named", where the type has names.
template <class T>
T *add_named_object(NYX_DB *db) {
    if constexpr (std::is_same_v<T, NYX_INST_PORT>) {
        NYX_MODULE *const cell = NYX_MODULE::allocate(db, "cell", 1);
        NYX_PORT::allocate(cell, "named", 0);
        return NYX_INSTANCE::allocate(NYX_MODULE::allocate(db, "top", 0), "u", cell)->get_inst_port_by_index(0);
    } else {
        T *const object = add_object<T>(db);
        if constexpr (!std::is_same_v<T, NYX_DB>) {
            using TRAITS = NYX_OBJECT_TRAITS<T>;
            auto *const row = static_cast<typename TRAITS::impl *>(object);
            const NYX_NAME_ID name_id = root_of(db)->names().get_id("named");
            if constexpr (requires { row->m_name_id; })
                row->m_name_id = name_id;
            else if constexpr (requires { root_of(db)->template table<T>().m_name_id; })
                *root_of(db)->template table<T>().m_name_id.get(TRAITS::table::get_id(row)) = name_id;
        }
        return object;
    }
}

TYPED_TEST(TraitFamily, ListsValuesAndDeclarations) {
    TypeParam *const object = add_named_object<TypeParam>(this->m_db);
    auto *const trait = TypeParam::create_bool_trait(this->m_db, "t", false, "", "", "");
    object->set_value(trait, true);
    CAPTURING_SINK sink;
    std::ostringstream values;
    object->output_sparse_traits(values, false, false);
    EXPECT_NE(values.str().find("t                              bool       True            False "), std::string::npos)
        << values.str();
    std::ostringstream declarations;
    TypeParam::output_all_sparse_traits(declarations, this->m_db, false);
    EXPECT_NE(declarations.str().find("t                              bool       False "), std::string::npos)
        << declarations.str();
}

TYPED_TEST(TraitFamily, FindsOrDeclaresByInternalNames) {
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        const std::string word = V::s_word;
        const std::string member = "find_or_create_" + word + "_trait";
        SCOPED_TRACE(word);
        TRAIT *const trait = V::template find_or_create<TypeParam>(this->m_db, word, V::by_default(), word + "_i");
        EXPECT_EQ(trait->get_internal_name(), word + "_i");
        // Its plain name leads to nobody, and nobody else gets it.
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>(
                      [&] { V::template find_or_create<TypeParam>(this->m_db, word, V::by_default()); }),
                  this->says(this->name() + " already has trait named " + word, "create_" + word + "_trait"));
        // The default counts here too, under the name that was asked for.
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>(
                      [&] { V::template find_or_create<TypeParam>(this->m_db, "asked", V::other(), word + "_i"); }),
                  this->says(this->name() + " already has trait named asked with a default value of " +
                                 TRAIT::convert_value_to_str(V::by_default()) +
                                 " that does not match the input default value of " +
                                 TRAIT::convert_value_to_str(V::other()),
                             member));
    });
}

TYPED_TEST(TraitFamily, InternalNamesAreUniqueAcrossTypesOfValues) {
    TypeParam::create_int_trait(this->m_db, "t", 0, "", "", "");
    for_each_trait_type([&]<class TRAIT>() {
        using V = VALUES<TRAIT>;
        EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { V::template create<TypeParam>(this->m_db, "u", "t"); }),
                  this->says(this->name() + " already has trait using internal name t",
                             "create_" + std::string(V::s_word) + "_trait"));
        EXPECT_FALSE(TypeParam::trait_exists(this->m_db, "u"));
    });
}

TYPED_TEST(TraitFamily, NameWithANulLeadsToNobody) {
    TypeParam::create_int_trait(this->m_db, "t", 0, "", "", "");
    const std::string kind = nyx_get_trait_object_type_text(nyx_bearer_class<TypeParam>.kind);
    const std::string name = "t" + kind + std::string(1, '\0') + "x";
    EXPECT_EQ(TypeParam::find_int_trait(this->m_db, name), nullptr);
    EXPECT_FALSE(TypeParam::trait_exists(this->m_db, name));
    EXPECT_EQ(
        raised<NYX_INVALID_ARGUMENT>([&] { TypeParam::find_or_create_int_trait(this->m_db, name, 0, "", "", ""); }),
        this->says("Cannot create a trait with a NUL in its name", "create_int_trait"));
}

TYPED_TEST(TraitFamily, TraitWhoseNamesAreEqualIsReservedByItself) {
    TypeParam::create_int_trait(this->m_db, "same", 0, "", "", "same");
    EXPECT_EQ(TypeParam::find_int_trait(this->m_db, "same"), nullptr);
    EXPECT_TRUE(TypeParam::trait_exists(this->m_db, "same"));
    EXPECT_EQ(this->m_db->verify(), TEXTS());
}

TEST(TraitFamilyOfNets, DefaultsThatDifferInTheSignOfZeroDoNotMatch) {
    SCOPED_DB db("family");
    NYX_NET::create_double_trait(db, "t", 0.0, "", "", "");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { NYX_NET::find_or_create_double_trait(db, "t", -0.0, "", "", ""); }),
              RAISED("NYX_NET already has trait named t with a default value of 0 that does not match the input "
                     "default value of -0",
                     "NYX_NET::find_or_create_double_trait"));
}

} // namespace
