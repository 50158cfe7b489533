#include "traits/nyx_builtin_traits.h"

#include "database/nyx_db_impl.h"
#include "nyx_report/nyx_report.h"
#include "traits/nyx_trait_core.h"

namespace {

constexpr std::uint64_t s_version = 1;

template <class TRAIT>
struct DECLARATION {
    const NYX_BEARER_CLASS &objects;
    TRAIT *NYX_BUILTIN_TRAITS::*member;
    const char *member_name;
    const char *name;
    typename NYX_TRAIT_TYPE<TRAIT>::value default_value;
    const char *description;
    bool is_internal = true;

    std::string internal_name() const {
        std::string result;
        if (is_internal)
            result.append(name).append(NYX_INTERNAL_SUFFIX);
        return result;
    }
};

using STRING = DECLARATION<NYX_STRING_TRAIT>;
using BOOL = DECLARATION<NYX_BOOL_TRAIT>;
using INT = DECLARATION<NYX_INT_TRAIT>;
using APP = DECLARATION<NYX_APP_TRAIT>;

#define MEMBER(name) &NYX_BUILTIN_TRAITS::name, #name

// In the order in which they are declared, which is stored.
template <class VISIT>
void for_each_builtin_trait(VISIT &&visit) {
    const auto &module = nyx_bearer_class<NYX_MODULE>;
    const auto &hier_module = nyx_bearer_class<NYX_HIER_MODULE>;
    const auto &inst_header = nyx_bearer_class<NYX_INST_HEADER>;
    const auto &instance = nyx_bearer_class<NYX_INSTANCE>;
    const auto &net = nyx_bearer_class<NYX_NET>;
    const auto &port = nyx_bearer_class<NYX_PORT>;
    const auto &inst_port = nyx_bearer_class<NYX_INST_PORT>;
    const auto &instance_bus = nyx_bearer_class<NYX_INSTANCE_BUS>;
    const auto &net_bus = nyx_bearer_class<NYX_NET_BUS>;
    const auto &port_bus = nyx_bearer_class<NYX_PORT_BUS>;
    visit(STRING{module, MEMBER(m_module_entity_name_trait), "entity_name", "", "Entity name of this module"});
    visit(STRING{hier_module, MEMBER(m_hier_module_entity_name_trait), "entity_name", "",
                 "Entity name of this hier module"});
    visit(STRING{module, MEMBER(m_module_library_name_trait), "library_name", "", "Library name of this module"});
    visit(STRING{hier_module, MEMBER(m_hier_module_library_name_trait), "library_name", "",
                 "Library name of this hier module"});
    visit(BOOL{module, MEMBER(m_module_case_sensitivity_trait), "case_sensitivity", false,
               "Case sensitivity of this module"});
    visit(BOOL{hier_module, MEMBER(m_hier_module_case_sensitivity_trait), "case_sensitivity", false,
               "Case sensitivity of this hier module"});
    visit(BOOL{module, MEMBER(m_module_is_encrypted_trait), "is_encrypted", false, "Is this module encrypted"});
    visit(BOOL{hier_module, MEMBER(m_hier_module_is_encrypted_trait), "is_encrypted", false,
               "Is this hier module encrypted?"});
    visit(BOOL{inst_header, MEMBER(m_inst_header_is_user_group_trait), "is_user_group", false, "", false});
    visit(BOOL{instance, MEMBER(m_instance_has_init_value_trait), "has_init_value", false,
               "Does instance has initial value?"});
    visit(BOOL{instance, MEMBER(m_instance_init_value_trait), "init_value", false, "Instance initial value"});
    visit(BOOL{net, MEMBER(m_net_is_global_trait), "is_global", false, "Is net a global net?"});
    visit(STRING{net, MEMBER(m_net_file_name_trait), "file_name", "", "Name of the file where the net is defined"});
    visit(INT{net, MEMBER(m_net_file_lineno_trait), "file_lineno", 0,
              "Line number in the file where the net is defined"});
    visit(STRING{port, MEMBER(m_port_file_name_trait), "file_name", "", "Name of the file where the port is defined"});
    visit(INT{port, MEMBER(m_port_file_lineno_trait), "file_lineno", 0,
              "Line number in the file where the port is defined"});
    visit(INT{port, MEMBER(m_port_interface_id_trait), "interface_id", -1,
              "Internal ID of interface the port belongs to"});
    visit(BOOL{inst_port, MEMBER(m_inst_port_is_inverted_trait), "is_inverted", false, "Is inst port inverted?"});
    visit(APP{instance_bus, MEMBER(m_instance_bus_bus_dimensions_trait), "dimensions", {}, "Bus dimensions"});
    visit(APP{net_bus, MEMBER(m_net_bus_bus_dimensions_trait), "dimensions", {}, "Bus dimensions"});
    visit(APP{port_bus, MEMBER(m_port_bus_bus_dimensions_trait), "dimensions", {}, "Bus dimensions"});
    visit(INT{port_bus, MEMBER(m_port_bus_interface_id_trait), "interface_id", -1,
              "Internal ID of interface the port bus belongs to"});
}

} // namespace

void NYX_BUILTIN_TRAITS::declare(NYX_DB *db) {
    for_each_builtin_trait([db]<class TRAIT>(const DECLARATION<TRAIT> &trait) {
        NYX_TRAIT_CORE<TRAIT>::create(trait.objects, db, trait.name, trait.default_value, std::string(),
                                      trait.description, trait.internal_name());
    });
}

NYX_BUILTIN_TRAITS::NYX_BUILTIN_TRAITS(const NYX_DB *db) {
    NYX_CHECK_MSG(db, "Database cannot be NULL");
    for_each_builtin_trait([this, db]<class TRAIT>(const DECLARATION<TRAIT> &trait) {
        TRAIT *const found =
            NYX_TRAIT_CORE<TRAIT>::find(trait.objects, db, trait.is_internal ? trait.internal_name() : trait.name);
        NYX_CHECK_AS(found != nullptr, trait.member_name);
        this->*trait.member = found;
    });
}

bool NYX_BUILTIN_TRAITS::are_in(const NYX_DB *db) {
    bool result = true;
    for_each_builtin_trait([&result, db]<class TRAIT>(const DECLARATION<TRAIT> &trait) {
        result = result && NYX_TRAIT_CORE<TRAIT>::find(
                               trait.objects, db, trait.is_internal ? trait.internal_name() : trait.name) != nullptr;
    });
    return result;
}

const NYX_BUILTIN_TRAITS &NYX_BUILTIN_TRAITS::of(const NYX_DB *db) {
    const auto &traits = NYX_DB_IMPL::of(*db).m_builtin_traits;
    NYX_CHECK(traits != nullptr);
    return *traits;
}

std::uint64_t NYX_BUILTIN_TRAITS::get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members) {
    if (members != nullptr)
        members->push_back(NYX_SCHEMA_MEMBER{s_version, "NYX_BUILTIN_TRAITS"});
    return s_version;
}
