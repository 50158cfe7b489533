#ifndef NYX_DB_H
#define NYX_DB_H

/// \file
/// Databases: how they come, how they go, what they are, and where the library looks for those that it is asked for by
/// name.

#include "nyx/nyx_api.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_stats.h"

#include <boost/iterator/iterator_facade.hpp>
#include <boost/range/iterator_range_core.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <set>
#include <string>
#include <vector>

class NYX_DB_GROUP;
class NYX_DB_CACHE;
class NYX_DB_IMPL;
class NYX_DB_PERSISTENT;

/// What a database is for. Stored in files: do not change the values; 0 and 1 stay unused.
enum class NYX_DB_TYPE : unsigned char {
    DEVICE = 2,          ///< a device; has a top module
    USER = 3,            ///< a design; has a top module, and may be a partition of another design
    COMPONENT = 4,       ///< a library of components
    DEFINITION = 5,      ///< a library of definition modules and their properties
    WORKING_LIBRARY = 6, ///< generated variants; lives in memory only
};

/// An open database.
///
/// A handle comes from a create function, belongs to the library, and is good until as many calls of close() as it has
/// users: its creator is the first user, and each database that refers to it is one more. A handle that is closed once
/// too often ends the run with a report and is never taken for another database, because handles are not used again.
///
/// Where a member names a group of databases, the empty name stands for the default group, which always exists. Names
/// of databases are free text and unique among the open databases of their group; any number may have no name.
///
/// A database is for one thread at a time. Databases of different threads are independent of one another: the static
/// members and close() lock what they share.
class NYX_API NYX_DB {
public:
    /// What a user may do with a database. The values appear in messages.
    enum class ACCESS_MODE : unsigned char {
        READ_ONLY = 0,     ///< shared: may be opened any number of times
        MODIFY = 1,        ///< exclusive in the process; saved on close when it has a file
        COPY_ON_WRITE = 2, ///< retired
    };

    NYX_DB(const NYX_DB &) = delete;
    NYX_DB &operator=(const NYX_DB &) = delete;

    /// \name Start
    /// \{

    /// Stores the directory that the library is installed in, empty for none, and reads the default paths file:
    /// "nyx.paths" in the directory named by the environment variable DEVDATA_NYX_PATHS_ROOT or, if that is not set or
    /// empty, the one that find_installed_file() finds. May be called again; paths are added to those known. `verbose`
    /// reports what is loaded, missing or mapped anew; the file named by the variable is always read verbosely.
    ///
    /// False if there is no such file, it can't be opened, or it has a fault, at which the reading stopped.
    static bool init(const std::string &install_root, bool verbose);

    /// The directory that init() stored, or else the value of the environment variable DEVDATA_ROOT, or else that of
    /// ORBA_DEST_ROOT with "/devdata" behind it. Empty if there is none.
    static std::string find_install_root_directory();

    /// The path of `file_name` in the first directory that has it: in the one that init() stored or, if it stored none,
    /// in the current directory, DEVDATA_ROOT, and ORBA_DEST_ROOT with "/devdata" behind it. Empty if none has it.
    static std::string find_installed_file(const std::string &file_name);

    /// How large a working library is made when one is first needed, in MiB. 4096 unless told otherwise.
    static void set_initial_working_library_size(unsigned long long size_MiB);
    /// \}

    /// \name Creating and closing
    /// \{

    /// A new, empty database that lives in memory only, in mode MODIFY, with one use. `size_MiB` is the address range
    /// that it may fill: memory is taken as it fills, and it can't outgrow the range. A group that does not exist is
    /// made. Tells NYX_OBSERVER<NYX_DB> when it stands; if an observer throws, it is closed again.
    ///
    /// Raises NYX_RUNTIME_ERROR: "DB NAME is already open or being created. Cannot create." if the group has an open
    /// database of that name, with " from group GROUP" behind the name in a named group; "Failed to create managed
    /// segment" if `size_MiB` is 0. Throws boost::interprocess::bad_alloc if the range is too small for the tables.
    /// Nothing stays behind then. A range that the system does not have ends the run, "Failed to reserve %zu bytes
    /// (%u)".
    static NYX_DB *create_non_persistent(unsigned long long size_MiB, NYX_DB_TYPE type, const std::string &db_name,
                                         const std::string &group_name);

    /// Gives back one use and returns how many are left. With the last one the database goes: observers are told, it
    /// leaves the tables of open databases, its memory is released, and each of its sub-databases is closed once, for
    /// it was a user of them.
    ///
    /// Raises NYX_RUNTIME_ERROR "Sub db 'NAME' is still in use by 'PARENT'" when it was the last use but a database
    /// refers to it; the use is then not given back. What an observer throws has the same effect. What the closing of a
    /// sub-database throws comes after all else is done. A handle that has been closed already ends the run with
    /// "Closing already closed %p NYX_DB (open/close unbalanced somewhere). Debug with NYX_DB_DEBUG_ACCESS=1.\n"; with
    /// that environment variable set, each close reports where it was called.
    int close();

    /// Closes whatever the number of uses left. Each database that refers to this one loses the link, with the warning
    /// "The db 'NAME' is still in use by db 'PARENT'". Fails as close() does, but never for a database that is in use.
    void purge();
    /// \}

    /// \name Paths of databases
    /// Where the database of a name is looked for when another one refers to it. Paths files have a line `DEFINE NAME
    /// PATH` for each database and lines `INCLUDE PATH`; a path in double quotes may hold blanks, with & before a
    /// character that is to be taken as it is. All other lines are comments. Relative paths belong to the directory of
    /// the file that they stand in. The last definition of a name counts.
    /// \{

    /// Tells where the database `db_name` of the default group is. A relative path is taken from the current directory
    /// as it is now. Neither can hold a blank: the text behind it is left out. `verbose` reports when this changes the
    /// path of a known name or an open database. False if `db_name` or `file_path` is nothing but blanks.
    ///
    /// Raises NYX_INVALID_ARGUMENT: "DB file path cannot be empty", "DB name cannot be empty", "DB file path cannot
    /// hold a line break", "DB name cannot hold a line break".
    static bool add_nyx_db_path(const std::string &db_name, const std::string &file_path, bool verbose);

    /// Reads the text of a paths file for the default group. `base_dir`, the current directory if empty, is where
    /// relative paths of the text belong. False if a line has a fault, at which the reading stops; the lines before it
    /// count. `verbose` reports that fault, names that get another path, and a text that defines nothing.
    static bool add_nyx_paths(std::istream &paths, const std::string &base_dir, bool verbose);

    /// Reads the file `paths_file` as above; note that `base_dir`, and not the file's directory, is where its relative
    /// paths belong. Raises NYX_INVALID_ARGUMENT "Could not open 'PATHS_FILE'".
    static bool add_nyx_paths(const std::string &paths_file, const std::string &base_dir, bool verbose);

    /// Where the database `db_name` is looked for: the path that it was given, or else the place of that name in the
    /// group's base directory. Empty if there is neither, or no such group. The file need not exist.
    static std::string find_db_path_from_db_name(const std::string &db_name, const std::string &group_name);

    /// Adds the names that have been given a path in the group; none if there is no such group.
    static void find_known_db_names(std::set<std::string> &names, const std::string &group_name);

    /// Adds the names of all groups but the default one.
    static void find_known_group_names(std::set<std::string> &names);
    /// \}

    /// \name Open databases
    /// \{

    /// The uses of the open database `db_name`; 0 if it is not open or there is no such group.
    static int get_num_users(const std::string &db_name, const std::string &group_name);

    /// All open databases in the order of their addresses. Databases may be opened and closed during the walk, the
    /// present one included.
    static boost::iterator_range<NYX_DB_OPEN_DB_ITER> iter_open_dbs();

    /// The databases that `db` refers to: only those that it names itself if `direct`, else those that they refer to in
    /// turn as well, each once. None if `db` is null or closed. The walk ends early when `db` is closed during it; a
    /// change of the links may make it skip or repeat databases.
    static boost::iterator_range<NYX_DB_SUB_DB_ITER> iter_sub_dbs(const NYX_DB *db, bool direct);

    /// iter_sub_dbs() of those that `db` names itself.
    static boost::iterator_range<NYX_DB_SUB_DB_ITER> iter_leaf_dbs(const NYX_DB *db);
    /// \}

    /// \name Modules
    /// \{

    /// The module of that name in this database, null if it has none. Enters no name. O(length of the name).
    NYX_MODULE *find_local_module(const char *name) const;

    /// The modules in the order of their identifiers; unless `this_db_only`, also those of the databases that this one
    /// refers to itself.
    boost::iterator_range<NYX_DB_MODULE_ITER> iter_modules(bool this_db_only = true) const;
    /// The interfaces of all modules, in the same manner.
    boost::iterator_range<NYX_DB_INTERFACE_ITER> iter_interfaces(bool this_db_only = true) const;

    /// The module at the top of the design: the one that was set, or else the first. Null without modules. Only USER
    /// and DEVICE databases have one, here and below: others raise NYX_RUNTIME_ERROR "Top module is defined for user
    /// databases only".
    NYX_MODULE *get_top_module() const;
    /// `module` must be one of this database; null ends the run.
    void set_top_module(NYX_MODULE *module);
    /// Raises NYX_RUNTIME_ERROR "Can't rename top module as a module with this name already exists: NAME", for its
    /// present name as well.
    void rename_top_module(const char *new_name);
    /// \}

    /// \name Indexes by name
    /// Look-ups by name in a module make an index of its own in ordinary memory when the list is long, and keep it in
    /// step with every change. On by default.
    /// \{

    /// Empties the indexes and, if `enable`, makes them anew on demand; otherwise look-ups walk the lists. Unless
    /// `this_db_only`, does the same for every database that this one refers to, itself or through others.
    /// `track_updates` is accepted and makes no difference: indexes always follow.
    void enable_cache(bool enable, bool track_updates, bool this_db_only) const;
    /// Null while they are disabled.
    NYX_DB_CACHE *get_cache() const;
    /// \}

    /// \name About this database
    /// Once it is closed, all of these end the run with "%p NYX_DB is closed".
    /// \{

    /// The name under which it was opened, empty if it has none.
    std::string get_name() const;
    /// The path of its file, empty if it lives in memory only.
    std::string get_file_name() const;
    ACCESS_MODE get_access_mode() const;
    NYX_DB_TYPE get_db_type() const;
    /// Empty for the default group.
    std::string get_db_group_name() const;
    /// The bytes of its address range that it may fill.
    std::size_t get_size() const;
    /// Where that range begins. It stays there while the database is open.
    const void *get_starting_address() const;

    /// How the memory is spent: every table with its columns, the names and the maps, in bytes and pages. Warns through
    /// the reporting library when they don't account for what is used. Takes time in proportion to what is stored.
    NYX_STATS get_internal_stats() const;

    /// The number of the stored layout of a database; a file with another one can't be loaded. The same for all types.
    /// The parts that went into it are appended to `members` when that is given.
    static std::uint64_t get_schema_id(NYX_DB_TYPE type, std::vector<NYX_SCHEMA_MEMBER> *members);

    bool is_user() const;
    bool is_component() const;
    bool is_definition() const;
    bool is_device() const;
    /// A working library.
    bool is_working() const;
    /// A component library, a definition library or a working library.
    bool is_library() const;
    /// A definition library, a working library, or a design in the default group. A library of type COMPONENT is none.
    bool is_component_library() const;
    /// A design that no open database refers to.
    bool is_top() const;
    /// A design in a named group that an open database refers to.
    bool is_partition() const;
    bool is_read_only() const;

    /// Follows the databases that refer to this one up to the design that none refers to; this database if it is that.
    ///
    /// Raises NYX_INVALID_ARGUMENT "Cannot get top db for NAME. Single top db is defined for user design db only." if
    /// one on the way, NAME, is in the default group; NYX_RUNTIME_ERROR "NAME has multiple parent dbs" if more than one
    /// refers to it, and "NAME is a sub-db of itself" if the way is a circle.
    const NYX_DB *get_top_db() const;
    /// \}

protected:
    NYX_DB() = default;
    ~NYX_DB() = default;

private:
    friend class NYX_DB_IMPL;

    static NYX_DB *register_non_persistent(std::size_t size, NYX_DB_TYPE type, const std::string &db_name,
                                           const std::string &group_name);
    /// Takes an open database out of all tables and releases it, without telling anybody.
    static void discard(NYX_DB *db);

    int close(bool purge);
    NYX_DB_IMPL &get_impl() const;
    NYX_DB_GROUP *get_db_group() const;
    NYX_DB_PERSISTENT *get_db_persistent() const;
    bool is_persistent() const;

    /// Null once the database is closed.
    NYX_DB_IMPL *m_impl = nullptr;
};

static_assert(sizeof(NYX_DB) == sizeof(void *));

/// Walks the open databases. A step is O(log n) of their number; the databases may change between steps.
class NYX_API NYX_DB_OPEN_DB_ITER
    : public boost::iterator_facade<NYX_DB_OPEN_DB_ITER, NYX_DB *, boost::forward_traversal_tag, NYX_DB *> {
public:
    /// The end.
    NYX_DB_OPEN_DB_ITER() = default;

private:
    friend class boost::iterator_core_access;
    friend class NYX_DB;

    NYX_DB_OPEN_DB_ITER(NYX_DB_PERSISTENT *persistent, NYX_DB *db) : m_persistent(persistent), m_db(db) {}

    void increment();
    bool equal(const NYX_DB_OPEN_DB_ITER &other) const { return m_persistent == other.m_persistent; }
    NYX_DB *dereference() const { return m_db; }

    NYX_DB_PERSISTENT *m_persistent = nullptr;
    NYX_DB *m_db = nullptr;
};

/// Walks the databases that one database refers to.
class NYX_API NYX_DB_SUB_DB_ITER
    : public boost::iterator_facade<NYX_DB_SUB_DB_ITER, NYX_DB *, boost::forward_traversal_tag, NYX_DB *> {
public:
    /// The end.
    NYX_DB_SUB_DB_ITER() = default;

private:
    friend class boost::iterator_core_access;
    friend class NYX_DB;

    NYX_DB_SUB_DB_ITER(const NYX_DB *parent, bool direct);

    void increment();
    bool equal(const NYX_DB_SUB_DB_ITER &other) const { return m_db == other.m_db; }
    NYX_DB *dereference() const { return m_db; }

    const NYX_DB *m_parent = nullptr;
    std::size_t m_index = 0;
    bool m_direct = false;
    NYX_DB *m_db = nullptr;
};

#include "nyx/nyx_db_table_iters.h" // they need what stands above

#endif
