#ifndef NYX_DB_H
#define NYX_DB_H

/// \file
/// Databases: how they come, how they go, what they are, and where the library looks for those that it is asked for by
/// name.

#include "nyx/nyx_api.h"
#include "nyx/nyx_defs.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_object.h"
#include "nyx/nyx_stats.h"

#include <boost/iterator/iterator_facade.hpp>
#include <boost/range/iterator_range_core.hpp>
#include <boost/utility/string_view.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <memory>
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

/// What the header of a database file says.
struct NYX_DB_FILE_STATS {
    unsigned int version = 0;                ///< of the format
    NYX_DB_TYPE type{};                      ///< of the database
    std::uint64_t schema_id = 0;             ///< of the table layout, see NYX_DB::get_schema_id()
    std::string tag;                         ///< the client id of the database's creation
    std::uint32_t compression_algorithm = 0; ///< 0 none, 1 LZ4, 2 Zstandard
    std::uint32_t chunk_size = 0;            ///< bytes that are compressed together
    std::uint64_t default_size = 0;          ///< bytes of address space that the database may fill
    std::uint64_t data_size = 0;             ///< bytes of the image
    std::uint64_t payload_size = 0;          ///< bytes that the image takes in the file
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
class NYX_API NYX_DB : public NYX_TRAIT_BEARER<NYX_DB> {
public:
    /// What a user may do with a database. The values appear in messages.
    enum class ACCESS_MODE : unsigned char {
        READ_ONLY = 0,     ///< shared: may be opened any number of times
        MODIFY = 1,        ///< exclusive in the process; saved on close when it has a file
        COPY_ON_WRITE = 2, ///< retired
    };

    /// A database of a group: its name, its file, and the mode in which a reference to it opens it.
    struct GROUP_ENTRY {
        std::string name;
        std::string path; ///< a relative one belongs to the group's directory
        ACCESS_MODE mode = ACCESS_MODE::READ_ONLY;
    };

    /// Closes a database that a shared pointer holds.
    struct NYX_API DESTRUCTOR {
        void operator()(NYX_DB *db) const;
    };

    /// The size factor that leaves the size of a database as it is.
    static constexpr double s_keep_size = std::numeric_limits<double>::max();

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

    /// Gives back one use and returns how many are left. With the last one the database goes: observers are told, it is
    /// saved if it has a file and was opened to be modified, it leaves the tables of open databases, its memory is
    /// released, and each of its sub-databases is closed once, for it was a user of them.
    ///
    /// Raises NYX_RUNTIME_ERROR "Sub db 'NAME' is still in use by 'PARENT'" when it was the last use but a database
    /// refers to it, and what commit() raises when it can't be saved; the use is then not given back, and the database
    /// stays open. What an observer throws has the same effect. What the closing of a sub-database throws comes after
    /// all else is done. A handle that has been closed already ends the run with
    /// "Closing already closed %p NYX_DB (open/close unbalanced somewhere). Debug with NYX_DB_DEBUG_ACCESS=1.\n"; with
    /// that environment variable set, each close reports where it was called.
    int close();

    /// Closes whatever the number of uses left. Each database that refers to this one loses the link, with the warning
    /// "The db 'NAME' is still in use by db 'PARENT'". Fails as close() does, but never for a database that is in use.
    void purge();
    /// \}

    /// \name Databases in files
    /// A path that doesn't end in ".nyx" is first taken for the name of a database with a known path; whatever it is
    /// then gets ".nyx" behind it if it has another extension or none. A path without a file's name ends the run, "'%s'
    /// is not a valid filename". A null text stands for one that is not given.
    ///
    /// Files are replaced as a whole: a failed or killed save leaves the old file, a finished one the new file, and
    /// that is so after a power cut too.
    /// \{

    /// A new, empty database in mode MODIFY that will be saved to `db_file_path`, as create_non_persistent() makes
    /// them. What stands at the path is removed at once, but nothing is written before commit() or close(). The name is
    /// that of the file, without directory and ".nyx", unless `db_name` is given. `client_id` is kept in the file as it
    /// is.
    ///
    /// Raises NYX_INVALID_ARGUMENT "Working library cannot be created as persistent"; NYX_RUNTIME_ERROR "DB 'NAME' is
    /// already open or being created. Cannot create.", "DB 'PATH' is already open as 'NAME' or being created. Cannot
    /// create."; and as create_non_persistent() does.
    static NYX_DB *create(const char *db_file_path, unsigned long long size_MiB, NYX_DB_TYPE type,
                          const char *db_name = nullptr, const char *group_name = nullptr,
                          boost::string_view client_id = {});

    /// The database in `db_file_path`, and with it those that it refers to. READ_ONLY shares: a database that is open
    /// under that name, from that file and in that mode is returned again, with one use more. MODIFY is saved on
    /// close(). The name is that of the file, without directory and extension, unless `db_name` is given; a group that
    /// does not exist is made. With `size_factor` a database to be modified may grow to that multiple of what it uses;
    /// else to what the file says. Tells NYX_OBSERVER<NYX_DB>.
    ///
    /// Raises NYX_INVALID_ARGUMENT "size_factor must be >= 1"; NYX_RUNTIME_ERROR with the codes DB-NO-SUCH-FILE,
    /// DB-NOT-WRITABLE (MODIFY only) and DB-INCOMPATIBLE-IDS (a file of another table layout);
    /// NYX_DATABASE_OLD_VERSION_EXCEPTION; NYX_DATABASE_CORRUPTED_EXCEPTION for a file that no save has written;
    /// NYX_FILE_IO_EXCEPTION. NYX_RUNTIME_ERROR when the name or the file is open otherwise: "DB 'NAME' is already
    /// opened in MODIFY mode and cannot be shared.", "DB 'NAME' (from PATH in mode MODE) is already loaded, but from
    /// FILE in mode WORD (MODE)", "DB from PATH is already open as 'OTHER' and cannot be loaded as 'NAME.". Nothing
    /// stays open then.
    ///
    /// Raises NYX_RUNTIME_ERROR when a database that it refers to can't be opened, and "Circular or multiple
    /// dependencies are not allowed on non-leaf database NAME", "Module MODULE missing in sub-db NAME", "Mismatch
    /// between number of ports of inst header for db NAME (COUNT) and module in the sub-db MODULE (COUNT)". All that
    /// was opened stays open then, this database with one use: iter_open_dbs() and open_by_name() lead to it, and its
    /// close() closes the others.
    ///
    /// Mode COPY_ON_WRITE ends the run, "COPY_ON_WRITE removed!", and so does a factor that makes no number of bytes.
    ///
    /// What an opening rests on is looked at before it is used. What rows, properties and values hold is not, since
    /// that takes as long as reading all of it: verify() a file that comes from who knows where before using it.
    static NYX_DB *open(const char *db_file_path, ACCESS_MODE mode, const char *db_name = nullptr,
                        const char *group_name = nullptr, double size_factor = s_keep_size);

    /// open() of the file of an open database of that name, or else of the path that is known for the name. Null for an
    /// unknown group, a name without a path, and a database that lives in memory only.
    static NYX_DB *open_by_name(const std::string &db_name, ACCESS_MODE mode, const std::string &group_name);

    /// open() in mode READ_ONLY; the last pointer closes the database, and reports a failure of that as a warning.
    static std::shared_ptr<NYX_DB> shared_access(const std::string &db_file_path);

    /// Saves to `db_file_path`, which may be another file than the one it was opened from; that one stays its own. The
    /// access mode does not matter. With `size_factor` the database may grow to that multiple of what it uses when it
    /// is opened next; else to what it may fill now.
    ///
    /// Raises NYX_INVALID_ARGUMENT "size_factor must be >= 1"; NYX_RUNTIME_ERROR with the code DB-NOT-WRITABLE;
    /// NYX_FILE_IO_EXCEPTION. The old file is there then, and the database can be used and saved again. The new one is
    /// there if its operation is RENAME and only the directory could not be brought to the disk. A factor that makes no
    /// number of bytes ends the run.
    void commit(const std::string &db_file_path, double size_factor = s_keep_size);

    /// Does nothing and returns true; for callers that were written when there was something to be done.
    bool flush(bool);
    /// Does nothing; a save never writes the free end of a database.
    void set_shrink_on_close(bool);
    /// close() does not save any more.
    void disable_commit_on_close();

    /// Deletes a database file; one that isn't there is no error. Raises NYX_RUNTIME_ERROR with the codes
    /// DB-NOT-WRITABLE and CANNOT-DELETE-DB.
    static void destroy(const char *db_file_path);

    /// Copies a database file and renames the copy's top module to `to` without ".nyx". Replaces what stands at `to`,
    /// which must not be open. Raises NYX_RUNTIME_ERROR with the code DB-NOT-WRITABLE if the source isn't there or may
    /// not be written; NYX_FILE_IO_EXCEPTION if it can't be copied, be it onto itself; and as open(), commit() and
    /// NYX_DB_PERSISTENT::rename_top_module() do: databases that are no designs have no top module. The copy is not
    /// open afterwards, whether this raises or not.
    static void clone_db(const char *from, const char *to);

    /// Lets the database in a closed file grow by `extra_MiB` more, without reading what is in it. Raises
    /// NYX_RUNTIME_ERROR with the code DB-NOT-WRITABLE, and "grow_db attempted on DB 'PATH' when it is open.";
    /// NYX_FILE_IO_EXCEPTION and what is told of files in open(). 0 does nothing at all.
    static void grow_db(const char *db_file_path, unsigned long long extra_MiB);
    /// Sets to what the database in a file may grow. As grow_db(), but it may be open, and its next save to the file
    /// then undoes this. Raises NYX_INVALID_ARGUMENT "New NYX_DB default size is less than shrunk size".
    static void set_db_size(const char *db_file_path, unsigned long long size_MiB);

    /// \name About a file
    /// From its header alone. NYX_RUNTIME_ERROR with the code DB-NO-SUCH-FILE; NYX_FILE_IO_EXCEPTION;
    /// NYX_DATABASE_CORRUPTED_EXCEPTION; NYX_DATABASE_OLD_VERSION_EXCEPTION for a version below 2.
    /// \{
    static unsigned long long get_db_schema(const char *db_file_path);
    static std::string get_db_client_id(const char *db_file_path);
    static NYX_DB_FILE_STATS get_file_stats(boost::string_view db_file_path);
    /// \}
    /// \}

    /// \name Groups
    /// A group has names of databases of its own, so that two groups may have a database of one name open. References
    /// to libraries lead to the default group all the same; those that are marked as the user's stay in the group.
    /// \{

    /// A new group. Names without a path are looked for in `dir`, or in what is the current directory now if that is
    /// empty. Raises NYX_INVALID_ARGUMENT: "DB group name cannot be empty", "DB group NAME already exists. Cannot
    /// create DB group with the same name."
    static void create_group(const std::string &group_name, const std::string &dir);
    /// The same, with databases. The first entry without a name or a path raises NYX_INVALID_ARGUMENT "Cannot
    /// initialize DB group NAME : " with what is missing behind it; the group with the entries before it stays.
    static void create_group(const std::string &group_name, std::vector<GROUP_ENTRY> &entries, const std::string &dir);
    /// Raises NYX_INVALID_ARGUMENT: "DB group name cannot be empty", "Cannot remove DB group NAME while it has open
    /// DBs". An unknown group is no error.
    static void remove_group(const std::string &group_name);
    /// Closes all databases of the group, as purge() does, and removes it; an empty name does nothing. Raises
    /// NYX_INVALID_ARGUMENT "DB group NAME doesn't exists. Cannot purge."; what the closing of one raises leaves the
    /// rest and the group.
    static void purge_db_group(const std::string &group_name);
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
    static boost::iterator_range<NYX_DB_LEAF_DB_ITER> iter_leaf_dbs(const NYX_DB *db);
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
    /// present name as well, and "Can't rename top module as there is none".
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

    /// Looks at everything that is stored, whatever it may be, and tells each fault in words; empty for a sound
    /// database. Opening a file has seen to it that tables, pages and names can be used; this also looks at what they
    /// hold. Writes nothing, follows nothing that it has not looked at, and always ends. Takes time in proportion to
    /// what is stored.
    std::vector<std::string> verify() const;

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

    struct NEW_DB;
    struct OPENED;

    /// Builds a database in a segment of its own and registers it.
    static NYX_DB *register_new(const NEW_DB &description);
    /// What is left to do once a new database is registered. Closes it again if that fails.
    static void complete_new(NYX_DB *db);
    static OPENED register_opened(const std::string &path, ACCESS_MODE mode, const std::string &db_name,
                                  const std::string &group_name, double size_factor);
    /// What is left to do once a database that was loaded is registered.
    static void complete_opened(NYX_DB *db);
    /// Null if none of that name is open; with one use more otherwise.
    static NYX_DB *find_by_name(const std::string &db_name, ACCESS_MODE mode, const std::string &group_name);
    /// Takes an open database out of all tables and releases it, without telling anybody, and gives its uses of others
    /// back.
    static void discard(NYX_DB *db);
    static void close_sub_dbs(const std::vector<NYX_DB *> &sub_dbs);

    /// Declares the traits that the library itself uses.
    void init_builtin_traits();
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
