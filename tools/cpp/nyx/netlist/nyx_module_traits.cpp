// What few modules have, and is kept in traits of the library's own.

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_module_table.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_traits.h"
#include "nyx_report/nyx_report.h"
#include "traits/nyx_attributes.h"

bool NYX_MODULE::get_case_sensitivity() const {
    const NYX_BOOL_TRAIT *const cs_trait = nyx_builtin_traits(this).m_module_case_sensitivity_trait;
    NYX_CHECK(cs_trait);
    return get_value(cs_trait);
}
void NYX_MODULE::set_case_sensitivity(bool case_sensitivity) {
    NYX_BOOL_TRAIT *const cs_trait = nyx_builtin_traits(this).m_module_case_sensitivity_trait;
    NYX_CHECK(cs_trait);
    set_value(cs_trait, case_sensitivity);
}

bool NYX_MODULE::is_encrypted() const {
    const NYX_BOOL_TRAIT *const enc_trait = nyx_builtin_traits(this).m_module_is_encrypted_trait;
    NYX_CHECK(enc_trait);
    return get_value(enc_trait);
}
void NYX_MODULE::set_is_encrypted(bool is_encrypted) {
    NYX_BOOL_TRAIT *const enc_trait = nyx_builtin_traits(this).m_module_is_encrypted_trait;
    NYX_CHECK(enc_trait);
    set_value(enc_trait, is_encrypted);
}

std::string NYX_MODULE::get_entity_name() const {
    const NYX_STRING_TRAIT *const entity_trait = nyx_builtin_traits(this).m_module_entity_name_trait;
    NYX_CHECK(entity_trait);
    return get_value(entity_trait);
}
void NYX_MODULE::set_entity_name(const std::string &entity_name) {
    NYX_STRING_TRAIT *const entity_trait = nyx_builtin_traits(this).m_module_entity_name_trait;
    NYX_CHECK(entity_trait);
    set_value(entity_trait, entity_name);
}

std::string NYX_MODULE::get_library_name() const {
    const NYX_STRING_TRAIT *const library_trait = nyx_builtin_traits(this).m_module_library_name_trait;
    NYX_CHECK(library_trait);
    return get_value(library_trait);
}
void NYX_MODULE::set_library_name(const std::string &library_name) {
    NYX_STRING_TRAIT *const library_trait = nyx_builtin_traits(this).m_module_library_name_trait;
    NYX_CHECK(library_trait);
    set_value(library_trait, library_name);
}
