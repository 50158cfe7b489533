#ifndef NYX_BUILTIN_TRAITS_H
#define NYX_BUILTIN_TRAITS_H

#include "nyx/nyx_defs.h"
#include "nyx/nyx_fwd.h"

#include <cstdint>
#include <string>
#include <vector>

/// The internal name of a trait of the library's own: its name with this behind it.
inline constexpr const char *NYX_INTERNAL_SUFFIX = "NYX_INTERNAL_SUFFIX";

/// The handles of the traits that the library itself uses, so that objects reach them without a look-up by name: what
/// few objects have and no column is kept for. Every database has all of them. The record is the open database's, not
/// the file's: it is filled when a database is created, and again when it is opened.
class NYX_BUILTIN_TRAITS {
public:
    /// Declares the traits in a new database. boost::interprocess::bad_alloc when it is full.
    static void declare(NYX_DB *db);

    /// Finds the traits in a database that has them. Ends the run with "Database cannot be NULL" for null, and with the
    /// name of the member whose trait is missing.
    explicit NYX_BUILTIN_TRAITS(const NYX_DB *db);

    /// Whether a database has all of them. One that was read from a file may lack what its creation declared.
    static bool are_in(const NYX_DB *db);

    /// The record of an open database.
    static const NYX_BUILTIN_TRAITS &of(const NYX_DB *db);

    /// The version of the list below. Appended to `members` under the class's name when that is given.
    static std::uint64_t get_schema_id(std::vector<NYX_SCHEMA_MEMBER> *members);

    NYX_STRING_TRAIT *m_module_entity_name_trait = nullptr;
    NYX_STRING_TRAIT *m_hier_module_entity_name_trait = nullptr;
    NYX_STRING_TRAIT *m_module_library_name_trait = nullptr;
    NYX_STRING_TRAIT *m_hier_module_library_name_trait = nullptr;
    NYX_BOOL_TRAIT *m_module_case_sensitivity_trait = nullptr;
    NYX_BOOL_TRAIT *m_hier_module_case_sensitivity_trait = nullptr;
    NYX_BOOL_TRAIT *m_module_is_encrypted_trait = nullptr;
    NYX_BOOL_TRAIT *m_hier_module_is_encrypted_trait = nullptr;
    NYX_BOOL_TRAIT *m_inst_header_is_user_group_trait = nullptr; ///< the one that is not internal
    NYX_BOOL_TRAIT *m_instance_has_init_value_trait = nullptr;
    NYX_BOOL_TRAIT *m_instance_init_value_trait = nullptr;
    NYX_BOOL_TRAIT *m_net_is_global_trait = nullptr;
    NYX_STRING_TRAIT *m_net_file_name_trait = nullptr;
    NYX_INT_TRAIT *m_net_file_lineno_trait = nullptr;
    NYX_STRING_TRAIT *m_port_file_name_trait = nullptr;
    NYX_INT_TRAIT *m_port_file_lineno_trait = nullptr;
    NYX_INT_TRAIT *m_port_interface_id_trait = nullptr; ///< -1: NYX_INTERFACE_ID::INVALID
    NYX_BOOL_TRAIT *m_inst_port_is_inverted_trait = nullptr;
    NYX_APP_TRAIT *m_instance_bus_bus_dimensions_trait = nullptr;
    NYX_APP_TRAIT *m_net_bus_bus_dimensions_trait = nullptr;
    NYX_APP_TRAIT *m_port_bus_bus_dimensions_trait = nullptr;
    NYX_INT_TRAIT *m_port_bus_interface_id_trait = nullptr; ///< -1: NYX_INTERFACE_ID::INVALID
};

#endif
