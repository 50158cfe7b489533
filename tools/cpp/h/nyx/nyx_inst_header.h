#ifndef NYX_INST_HEADER_H
#define NYX_INST_HEADER_H

#include "nyx/nyx_api.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"

#include <string>

struct INST_HEADER_KEY;

/// Stands in a database for a module that lies in another one, which it names: the link is followed by the names of
/// database and module, so that it survives that either is closed and opened again. Instances and relative objects
/// share it, and it goes with the last of them.
///
/// Making one, by making such an instance, throws NYX_INVALID_ARGUMENT "The module MODULE is in db DB from different
/// user design group GROUP" for a module in a group that is not this database's, and NYX_RUNTIME_ERROR "Cannot create
/// instance of module 'MODULE' from super-db 'DB' in its sub-db 'DB'" for one in a database that uses this one. It ends
/// the run for a database without a name, when there is a header for the module that was made for another number of
/// ports, and for a module of a group when this database is a component library, "db->is_user() && trait".
///
/// A handle is its row's address: it owns nothing, and is valid until the object is deleted or the database closed.
class NYX_API NYX_INST_HEADER : public NYX_OBJECT<NYX_INST_HEADER> {
public:
    /// The module, in an open database. Throws NYX_RUNTIME_ERROR: "Unable to locate db DB for module MODULE for inst
    /// header in db DB"; "Unable to locate module MODULE in db DB for inst header in db DB". O(1) but for the first
    /// call.
    NYX_MODULE *get_module() const;

    /// Of the database that holds the module.
    std::string get_db_name() const;
    std::string get_module_name() const;
    /// Makes the header stand for the module of that name. What renames a module does this with its headers. Throws
    /// NYX_INVALID_ARGUMENT "Module name cannot be empty", and NYX_RUNTIME_ERROR "There is an inst header for module
    /// MODULE in db DB already" if that would make two of one.
    void set_module_name(const std::string &name);

    /// The ports that the module had when the header was made, or was told of last.
    unsigned int get_num_ports() const;
    /// The instances and relative objects that use the header.
    unsigned int get_reference_count() const;

    /// True in a component library.
    bool is_unique() const;

    /// Whether the other database is looked for in this one's group rather than in the default one. False in databases
    /// that are neither a design nor a component library; ends the run in the latter, "db->is_user() && trait".
    bool get_is_user_group() const;
    /// Ends the run in component libraries, and with true in all others but designs, "!is_group_link". Throws
    /// NYX_RUNTIME_ERROR "There is an inst header for module MODULE in db DB already" if that would make two of one.
    void set_is_user_group(bool value);

    /// \internal The row.
    NYX_INST_HEADER_IMPL *get_impl();
    const NYX_INST_HEADER_IMPL *get_impl() const;

protected:
    NYX_INST_HEADER() = default;
    ~NYX_INST_HEADER() = default;

private:
    friend class NYX_INSTANCE;
    friend class NYX_MODULE; // it is renamed
    friend class NYX_RELATIVE_OBJECT;
    friend class NYX_DB_LINKER;

    /// The header of `module` in the database `db`, made if there is none, with no reference yet.
    static NYX_INST_HEADER *find_or_create(NYX_DB_PERSISTENT *db, NYX_MODULE *module, const NYX_PARAM_VALUES *params);

    static NYX_INST_HEADER *create(NYX_DB_PERSISTENT *db, const INST_HEADER_KEY &key, unsigned int num_ports);

    /// The module, null if it or its database is not there.
    NYX_MODULE *find_module() const;
    const NYX_DB_PERSISTENT *find_sub_db() const;

    /// get_is_user_group, but false in a component library.
    bool links_to_user_group() const;
    /// \name Change of the key
    /// In two halves, so that several headers change together or not at all. The first one files the header under the
    /// new key beside the present one, and is all that can fail: NYX_RUNTIME_ERROR "There is an inst header for module
    /// MODULE in db DB already", in the name of `function`. leave_key() undoes it, take_key() carries it out.
    /// \{
    INST_HEADER_KEY enter_key(bool is_group_link, NYX_NAME_ID module_name_id, const char *function);
    INST_HEADER_KEY enter_module_name(const std::string &name, const char *function);
    void leave_key(const INST_HEADER_KEY &key);
    void take_key(const INST_HEADER_KEY &key);
    /// \}
    INST_HEADER_KEY get_key() const;

    void set_num_ports(unsigned int num_ports);
    void increase_reference_count();
    /// Deletes the header with the last reference.
    void decrease_reference_count();
    void deallocate();
};

#endif
