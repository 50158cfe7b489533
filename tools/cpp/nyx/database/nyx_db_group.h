#ifndef NYX_DB_GROUP_H
#define NYX_DB_GROUP_H

#include "nyx/nyx_db.h"

#include <map>
#include <set>
#include <string>

/// A set of names of databases, with their paths and those of them that are open. Guarded by NYX_DB_LOCK.
///
/// Invariant: the names that have a use count are the registered ones.
class NYX_DB_GROUP {
public:
    /// Where a name leads.
    struct ENTRY {
        std::string path; ///< empty: nowhere
        NYX_DB::ACCESS_MODE mode = NYX_DB::ACCESS_MODE::READ_ONLY;
    };

    explicit NYX_DB_GROUP(std::string name);
    NYX_DB_GROUP(const NYX_DB_GROUP &) = delete;
    NYX_DB_GROUP &operator=(const NYX_DB_GROUP &) = delete;

    /// Empty for the default group.
    const std::string &get_name() const { return m_name; }

    /// Names without a path of their own are looked for in this directory; empty for none.
    void set_base_directory(std::string directory);

    /// \name Paths
    /// \{

    /// Stores the path of `db_name`, in place of the one that it may have; a relative path is joined to `base_dir`.
    /// Fails for an empty name and an empty path, and says so at the end of `errors`. With `errors` it also reports
    /// when this changes the path of a known name or of an open database; null keeps it silent.
    bool add_group_entry(const std::string &db_name, const std::string &path, NYX_DB::ACCESS_MODE mode,
                         const std::string &base_dir, std::string *errors);

    /// The entry of `db_name`, else its place in the base directory, to be read only, else an empty path.
    ENTRY lookup(const std::string &db_name) const;

    bool has_paths() const { return !m_paths.empty(); }
    /// Adds the names that have a path of their own.
    void find_known_db_names(std::set<std::string> &names) const;
    /// \}

    /// \name Open databases
    /// \{

    /// The root of the open database `db_name`, else null.
    NYX_DB_PERSISTENT *find_db_persistent(const std::string &db_name) const;
    bool has_open_dbs() const { return !m_registered.empty(); }

    /// Enters an open database, with no use. Does nothing for an empty name. Raises NYX_RUNTIME_ERROR "db_name 'NAME'
    /// is already in use.".
    void register_db(const std::string &db_name, NYX_DB_PERSISTENT *persistent);
    /// Takes it out, with its uses. Does nothing for an empty name. Raises NYX_RUNTIME_ERROR "DB 'NAME' name is not
    /// registered".
    void unregister_db(const std::string &db_name);

    /// Adds `change_num`, which is not 0, to the uses of an open database, and returns what they are now, 0 at the
    /// least. 0 for an empty name, which has no uses.
    int change_use_count(const std::string &db_name, int change_num);
    /// The uses; 0 if there is no open database of that name.
    int get_use_count(const std::string &db_name) const;
    /// \}

protected:
    std::map<std::string, ENTRY> m_paths;
    std::string m_name;
    std::string m_base_directory;
    std::map<std::string, NYX_DB_PERSISTENT *> m_registered;
    std::map<std::string, int> m_name_to_use_count;
};

/// `path`, or `base_dir` joined with it if it is relative. An empty directory leaves it relative.
std::string nyx_join_to_base_dir(const std::string &base_dir, const std::string &path);

#endif
