#include "traits/nyx_builtin_traits.h"

#include "support/temp_dir.h"
#include "traits/trait_test_support.h"

namespace {

struct EXPECTED {
    NYX_TRAIT_OBJ_TYPE kind;
    const char *type;
    const char *name;
    const char *default_text;
    const char *description;
};

template <class TRAIT>
void expect(const TRAIT *trait, const EXPECTED &expected) {
    SCOPED_TRACE(expected.description);
    ASSERT_NE(trait, nullptr);
    EXPECT_EQ(trait->get_object_type(), expected.kind);
    EXPECT_STREQ(NYX_TRAIT_TYPE<TRAIT>::s_text, expected.type);
    EXPECT_EQ(trait->get_name(), expected.name);
    EXPECT_EQ(TRAIT::convert_value_to_str(trait->get_default_value()), expected.default_text);
    EXPECT_EQ(trait->get_description(), expected.description);
    EXPECT_EQ(trait->get_group(), "");
    EXPECT_EQ(trait->get_internal_name(),
              *expected.description == '\0' ? "" : std::string(expected.name) + "NYX_INTERNAL_SUFFIX");
}

void expect_all(const NYX_BUILTIN_TRAITS &traits) {
    using KIND = NYX_TRAIT_OBJ_TYPE;
    const char *const empty = "App Data (0 bytes)";
    expect(traits.m_module_entity_name_trait,
           {KIND::MODULE_SPARSE, "string", "entity_name", "", "Entity name of this module"});
    expect(traits.m_hier_module_entity_name_trait,
           {KIND::HIER_MODULE_SPARSE, "string", "entity_name", "", "Entity name of this hier module"});
    expect(traits.m_module_library_name_trait,
           {KIND::MODULE_SPARSE, "string", "library_name", "", "Library name of this module"});
    expect(traits.m_hier_module_library_name_trait,
           {KIND::HIER_MODULE_SPARSE, "string", "library_name", "", "Library name of this hier module"});
    expect(traits.m_module_case_sensitivity_trait,
           {KIND::MODULE_SPARSE, "bool", "case_sensitivity", "False", "Case sensitivity of this module"});
    expect(traits.m_hier_module_case_sensitivity_trait,
           {KIND::HIER_MODULE_SPARSE, "bool", "case_sensitivity", "False", "Case sensitivity of this hier module"});
    expect(traits.m_module_is_encrypted_trait,
           {KIND::MODULE_SPARSE, "bool", "is_encrypted", "False", "Is this module encrypted"});
    expect(traits.m_hier_module_is_encrypted_trait,
           {KIND::HIER_MODULE_SPARSE, "bool", "is_encrypted", "False", "Is this hier module encrypted?"});
    expect(traits.m_inst_header_is_user_group_trait, {KIND::INST_HEADER_SPARSE, "bool", "is_user_group", "False", ""});
    expect(traits.m_instance_has_init_value_trait,
           {KIND::INSTANCE_SPARSE, "bool", "has_init_value", "False", "Does instance has initial value?"});
    expect(traits.m_instance_init_value_trait,
           {KIND::INSTANCE_SPARSE, "bool", "init_value", "False", "Instance initial value"});
    expect(traits.m_net_is_global_trait, {KIND::NET_SPARSE, "bool", "is_global", "False", "Is net a global net?"});
    expect(traits.m_net_file_name_trait,
           {KIND::NET_SPARSE, "string", "file_name", "", "Name of the file where the net is defined"});
    expect(traits.m_net_file_lineno_trait,
           {KIND::NET_SPARSE, "int", "file_lineno", "0", "Line number in the file where the net is defined"});
    expect(traits.m_port_file_name_trait,
           {KIND::PORT_SPARSE, "string", "file_name", "", "Name of the file where the port is defined"});
    expect(traits.m_port_file_lineno_trait,
           {KIND::PORT_SPARSE, "int", "file_lineno", "0", "Line number in the file where the port is defined"});
    expect(traits.m_port_interface_id_trait,
           {KIND::PORT_SPARSE, "int", "interface_id", "-1", "Internal ID of interface the port belongs to"});
    expect(traits.m_inst_port_is_inverted_trait,
           {KIND::INST_PORT_SPARSE, "bool", "is_inverted", "False", "Is inst port inverted?"});
    expect(traits.m_instance_bus_bus_dimensions_trait,
           {KIND::INSTANCE_BUS_SPARSE, "app", "dimensions", empty, "Bus dimensions"});
    expect(traits.m_net_bus_bus_dimensions_trait, {KIND::NET_BUS_SPARSE, "app", "dimensions", empty, "Bus dimensions"});
    expect(traits.m_port_bus_bus_dimensions_trait,
           {KIND::PORT_BUS_SPARSE, "app", "dimensions", empty, "Bus dimensions"});
    expect(traits.m_port_bus_interface_id_trait,
           {KIND::PORT_BUS_SPARSE, "int", "interface_id", "-1", "Internal ID of interface the port bus belongs to"});
}

TEST(BuiltinTraits, AreThereInEveryNewDatabase) {
    for (const NYX_DB_TYPE type : {NYX_DB_TYPE::DEVICE, NYX_DB_TYPE::USER, NYX_DB_TYPE::COMPONENT,
                                   NYX_DB_TYPE::DEFINITION, NYX_DB_TYPE::WORKING_LIBRARY}) {
        SCOPED_DB db("builtin", type);
        expect_all(NYX_BUILTIN_TRAITS::of(db));
    }
}

TEST(BuiltinTraits, AreFoundAgainInADatabaseThatHasThem) {
    SCOPED_DB db("builtin");
    const NYX_BUILTIN_TRAITS found(db);
    expect_all(found);
    EXPECT_EQ(found.m_net_file_name_trait, NYX_BUILTIN_TRAITS::of(db).m_net_file_name_trait);
    EXPECT_EQ(&nyx_builtin_traits(add_object<NYX_NET>(db)), &NYX_BUILTIN_TRAITS::of(db));
}

TEST(BuiltinTraits, AreTheOnlyTraitsOfANewDatabase) {
    SCOPED_DB db("builtin");
    NYX_TRAIT_COLLECT_VISITOR all;
    root_of(db)->visit(NYX_TRAIT_OBJ_TYPE::ALL_SPARSE, &all, true);
    EXPECT_EQ(all.get_traits().size(), 22u);
    NYX_TRAIT_COLLECT_VISITOR visible;
    root_of(db)->visit(NYX_TRAIT_OBJ_TYPE::ALL_SPARSE, &visible, false);
    ASSERT_EQ(visible.get_traits().size(), 1u);
    EXPECT_EQ(*visible.get_traits().begin(),
              NYX_TRAIT_COLLECT_VISITOR::TRAIT(NYX_BUILTIN_TRAITS::of(db).m_inst_header_is_user_group_trait));
}

TEST(BuiltinTraits, KeepTheirNames) {
    SCOPED_DB db("builtin");
    EXPECT_EQ(raised<NYX_RUNTIME_ERROR>([&] { NYX_NET::create_string_trait(db, "file_name", "", "", "", ""); }),
              RAISED("NYX_NET already has trait named file_name", "NYX_NET::create_string_trait"));
    EXPECT_EQ(NYX_NET::find_string_trait(db, "file_name"), nullptr);
    EXPECT_NE(NYX_NET::find_string_trait(db, "file_nameNYX_INTERNAL_SUFFIX"), nullptr);
    EXPECT_NE(NYX_MODULE::create_string_trait(db, "file_name", "", "", "", ""), nullptr);
}

TEST(BuiltinTraits, HaveAVersion) {
    std::vector<NYX_SCHEMA_MEMBER> members;
    EXPECT_EQ(NYX_BUILTIN_TRAITS::get_schema_id(nullptr), 1u);
    EXPECT_EQ(NYX_BUILTIN_TRAITS::get_schema_id(&members), 1u);
    ASSERT_EQ(members.size(), 1u);
    EXPECT_EQ(members[0].name, "NYX_BUILTIN_TRAITS");
    EXPECT_EQ(members[0].id, 1u);
}

TEST(BuiltinTraits, DatabaseTooSmallForThemLeavesNothingBehind) {
    // Somewhere between too small for the tables and large enough for all.
    const auto before = to_vector(NYX_DB::iter_open_dbs());
    for (unsigned long long size_MiB : {1ull}) {
        try {
            NYX_DB *const db = NYX_DB::create_non_persistent(size_MiB, NYX_DB_TYPE::USER, "small", "");
            expect_all(NYX_BUILTIN_TRAITS::of(db));
            db->close();
        } catch (const boost::interprocess::bad_alloc &) {
        }
        EXPECT_EQ(to_vector(NYX_DB::iter_open_dbs()), before);
        EXPECT_EQ(NYX_DB::get_num_users("small", ""), 0);
    }
}

TEST(BuiltinTraitsDeathTest, MissingOnesEndTheRun) {
    EXPECT_DEATH(NYX_BUILTIN_TRAITS(nullptr), "Database cannot be NULL");
    SCOPED_DB db("builtin");
    NYX_BYTE4_TRAIT *const trait = NYX_BUILTIN_TRAITS::of(db).m_net_file_name_trait;
    nyx_row_of<NYX_BYTE4_TRAIT>(trait)->m_value_type = NYX_TRAIT_VALUE_TYPE::INT_TRAIT_VALUE;
    EXPECT_DEATH(NYX_BUILTIN_TRAITS{db}, "m_net_file_name_trait");
}

// Notes the handles that it is shown.
class HANDLES final : public NYX_SPARSE_TRAIT_VISITOR {
public:
    void visit(NYX_APP_TRAIT *trait) override { m_traits.push_back(trait); }
    void visit(NYX_TIME_TRAIT *trait) override { m_traits.push_back(trait); }
    void visit(NYX_DOUBLE_TRAIT *trait) override { m_traits.push_back(trait); }
    void visit(NYX_FLOAT_TRAIT *trait) override { m_traits.push_back(trait); }
    void visit(NYX_STRING_TRAIT *trait) override { m_traits.push_back(trait); }
    void visit(NYX_INT_TRAIT *trait) override { m_traits.push_back(trait); }
    void visit(NYX_BOOL_TRAIT *trait) override { m_traits.push_back(trait); }
    std::vector<const void *> m_traits;
};

TEST(BuiltinTraits, AreVisitedOnceEachInTheOrderOfTheirDeclaration) {
    SCOPED_DB db("builtin");
    HANDLES all;
    root_of(db)->visit(NYX_TRAIT_OBJ_TYPE::ALL_SPARSE, &all, true);
    const NYX_BUILTIN_TRAITS &t = NYX_BUILTIN_TRAITS::of(db);
    EXPECT_EQ(all.m_traits,
              (std::vector<const void *>{t.m_module_case_sensitivity_trait,   t.m_hier_module_case_sensitivity_trait,
                                         t.m_module_is_encrypted_trait,       t.m_hier_module_is_encrypted_trait,
                                         t.m_inst_header_is_user_group_trait, t.m_instance_has_init_value_trait,
                                         t.m_instance_init_value_trait,       t.m_net_is_global_trait,
                                         t.m_inst_port_is_inverted_trait,     t.m_module_entity_name_trait,
                                         t.m_hier_module_entity_name_trait,   t.m_module_library_name_trait,
                                         t.m_hier_module_library_name_trait,  t.m_net_file_name_trait,
                                         t.m_net_file_lineno_trait,           t.m_port_file_name_trait,
                                         t.m_port_file_lineno_trait,          t.m_port_interface_id_trait,
                                         t.m_port_bus_interface_id_trait,     t.m_instance_bus_bus_dimensions_trait,
                                         t.m_net_bus_bus_dimensions_trait,    t.m_port_bus_bus_dimensions_trait}));
}

TEST(BuiltinTraits, AreFoundInAFile) {
    TEMP_DIR dir;
    const std::string path = dir / "a.nyx";
    NYX_DB::create(path.c_str(), s_size_MiB, NYX_DB_TYPE::USER)->close();
    NYX_DB *const db = NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY);
    expect_all(NYX_BUILTIN_TRAITS::of(db));
    db->close();
}

TEST(BuiltinTraits, FileThatLacksOneIsCorrupted) {
    TEMP_DIR dir;
    const std::string path = dir / "a.nyx";
    NYX_DB *const db = NYX_DB::create(path.c_str(), s_size_MiB, NYX_DB_TYPE::USER);
    NYX_BYTE4_TRAIT *const trait = NYX_BUILTIN_TRAITS::of(db).m_net_file_name_trait;
    nyx_row_of<NYX_BYTE4_TRAIT>(trait)->m_value_type = NYX_TRAIT_VALUE_TYPE::INT_TRAIT_VALUE;
    db->close();
    EXPECT_THROW(NYX_DB::open(path.c_str(), NYX_DB::ACCESS_MODE::READ_ONLY), NYX_DATABASE_CORRUPTED_EXCEPTION);
    EXPECT_TRUE(NYX_DB::iter_open_dbs().empty());
}

} // namespace
