#ifndef NYX_DB_LINKER_H
#define NYX_DB_LINKER_H

#include "database/nyx_db_group.h"
#include "database/nyx_db_persistent.h"
#include "nyx/nyx_db.h"
#include "traits/nyx_trait_links.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <set>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

/// Databases in the order in which they were added, each once, with a fast test for membership.
class NYX_DB_LIST {
public:
    /// False if it is in the list already.
    bool add(NYX_DB *db);
    /// False if it was not in the list. O(length).
    bool remove(const NYX_DB *db);
    bool contains(const NYX_DB *db) const { return m_members.contains(db); }

    const std::vector<NYX_DB *> &in_order() const { return m_in_order; }

private:
    std::vector<NYX_DB *> m_in_order;
    std::unordered_set<const NYX_DB *> m_members;
};

/// The process's register of databases: by name and group, by file, by root; who refers to whom; and where a name
/// leads. It is itself the default group. Every member takes NYX_DB_LOCK where it touches the tables; what refers into
/// them is good while the caller holds it.
///
/// Invariants, outside its members:
///  1. Every open database is in the table of roots and in the table of links, by its file if it has one, and in its
///     group's table of names if it has a name. A database that is not open is in no table, be it as key or as value.
///  2. B is in A's direct list exactly if A is in B's parents list, and A's list of all is what the direct lists lead
///  to.
class NYX_DB_LINKER final : public NYX_DB_GROUP {
public:
    /// The one linker, made when the library is loaded. It is never destroyed, so that a static object may still close
    /// its database in its destructor; databases that are open at the end of the process are not saved.
    static NYX_DB_LINKER &get();

    /// Reads the default paths file; see NYX_DB::init, whose result it gives.
    bool init(bool verbose);
    /// Reads the text of a paths file for the default group, and tells in `num_added` how many paths were stored. False
    /// if the reading stopped at a fault.
    bool add_paths(std::istream &paths, const std::string &base_dir, bool verbose, std::size_t &num_added);
    /// Reads the paths file `file` for the default group; relative paths in it belong to its directory. False if it
    /// does not open, or has a fault.
    bool load_paths_file(const std::string &file, bool verbose);

    /// \name Groups
    /// A null group stands for the default group.
    /// \{

    /// This object for an empty name, null for an unknown one.
    NYX_DB_GROUP *find_group(const std::string &group_name);
    /// This object for an empty name. A new group stays until it is removed.
    NYX_DB_GROUP *find_or_add_group(const std::string &group_name);
    /// Takes a group out. Raises NYX_INVALID_ARGUMENT "Cannot remove DB group NAME while it has open DBs". An unknown
    /// name does nothing.
    void remove_group(const std::string &group_name);
    /// The first open database of a group, by address of its root; null if there is none.
    NYX_DB *find_first_db(const NYX_DB_GROUP *group) const;
    /// Adds the names of the named groups.
    void find_known_group_names(std::set<std::string> &names) const;

    using NYX_DB_GROUP::find_db_persistent;
    NYX_DB_PERSISTENT *find_db_persistent(const std::string &db_name, const NYX_DB_GROUP *group) const;

    using NYX_DB_GROUP::change_use_count;
    int change_use_count(const std::string &db_name, int change_num, NYX_DB_GROUP *group);
    using NYX_DB_GROUP::get_use_count;
    int get_use_count(const std::string &db_name, const NYX_DB_GROUP *group) const;
    /// \}

    /// \name Open databases
    /// \{

    /// Enters an open database, with one use if it has a name. Raises NYX_RUNTIME_ERROR: "db_name 'NAME' is already in
    /// use.", or "The db file FILE is already in use as 'OTHER' db and cannot be loaded as 'NAME'". Ends the run if the
    /// root is registered. All or nothing.
    void register_db(const std::string &db_name, NYX_DB *db);

    /// Takes it out, and with it all that these tables keep of it. Unless `force` is set it raises NYX_RUNTIME_ERROR
    /// "Sub db 'NAME' is still in use by 'PARENT'" for a database that others refer to; else it warns and drops those
    /// links. Raises it for one that is not registered: "DB 'NAME' name is not registered", "DB file 'FILE' is not
    /// registered", "db_persistent for 'NAME' is not registered". All or nothing.
    void unregister_db(const std::string &db_name, NYX_DB *db, bool force);

    /// The open database with this root; ends the run if there is none. Does not wait for NYX_DB_LOCK, which another
    /// thread may hold for as long as it takes to read a file.
    NYX_DB *db_for_persistent(const NYX_DB_PERSISTENT *persistent) const;

    /// The first open database, by address of the root, whose root lies behind `persistent`; all lie behind null. Two
    /// nulls if there is none.
    std::pair<NYX_DB_PERSISTENT *, NYX_DB *> find_next_open_db(const NYX_DB_PERSISTENT *persistent) const;

    /// The database to share when `file_path` is to be opened as `db_name` in `mode`: one of that name, file and mode
    /// that is open in the group. Null if neither name nor file is open, or there is no such group.
    ///
    /// Raises NYX_RUNTIME_ERROR: "DB 'NAME' is already opened in MODIFY mode and cannot be shared."; "DB 'NAME' (from
    /// PATH in mode MODE) is already loaded, but from FILE in mode WORD (MODE)", without what is equal; "DB from PATH
    /// is already open as 'OTHER' and cannot be loaded as 'NAME.".
    NYX_DB *find_open_db(const std::string &file_path, NYX_DB::ACCESS_MODE mode, const std::string &db_name,
                         const std::string &group_name);
    /// The open database with this file, by whatever path it was opened, else null.
    NYX_DB *find_open_db_by_file(const std::string &file_path) const;

    /// The root of the database `db_name` of a group, opened if it isn't open, with one use more. Raises
    /// NYX_RUNTIME_ERROR "Can't find path to db named 'NAME'. Have you done NYX_DB::init(...) or group
    /// initialization?", and what NYX_DB::open() raises.
    NYX_DB_PERSISTENT *find_or_open_db_persistent(const std::string &db_name, NYX_DB_GROUP *group);

    /// Raises NYX_RUNTIME_ERROR "Sub db 'NAME' is still in use by 'PARENT'" for a database that others refer to.
    void check_not_in_use(const std::string &db_name, const NYX_DB *db) const;
    /// \}

    /// \name Who refers to whom
    /// \{

    /// Both must be registered. False if the link is there already. Counts no use.
    bool add_sub_db(NYX_DB *parent, NYX_DB *child);

    /// The databases that `db` refers to, itself or, unless `direct`, through others. Raises NYX_RUNTIME_ERROR "Db NAME
    /// not found in hierarchy linker maps" for one that is not registered.
    const std::vector<NYX_DB *> &get_sub_dbs(const NYX_DB *db, bool direct) const;
    /// Number `index` of these, null behind the last and for a database that is not registered.
    NYX_DB *find_sub_db(const NYX_DB *db, bool direct, std::size_t index) const;
    /// Links `db` to the open databases that its instances refer to, and these to theirs, the first time that it is
    /// called for a database. A link that is new is a use. Not to be called under the lock.
    void update_hierarchy_maps(NYX_DB *db);

    /// The databases that refer to `db` themselves; none for one that is not registered.
    const std::vector<NYX_DB *> &get_parents(const NYX_DB *db) const;
    /// \}

    /// \name Modules and their users
    /// What is known by address here goes with the database that it lies in.
    /// \{

    /// The instances in all open databases whose base module is `module`. The first call walks all instances of all
    /// open databases, and from then on each one that comes, goes or changes its module is entered: nobody pays for
    /// the index who does not ask for it. The set changes as instances do.
    const std::set<NYX_INSTANCE *> &get_instances_of(NYX_MODULE *module);
    /// Whether at most one instance uses `module`; builds the index as above.
    bool has_fewer_than_two_instances(NYX_MODULE *module);

    /// The module that a header has been found to stand for, null if it has not been looked for. Takes no lock: the
    /// links of a database are its user's. O(1).
    NYX_MODULE *find_linked_module(const NYX_INST_HEADER *header) const;
    /// Keeps what a header stands for until one of the two is forgotten.
    void link_header(NYX_INST_HEADER *header, NYX_MODULE *module);
    /// To be called for a header that goes, or stands for something else from now on.
    void forget_header(NYX_INST_HEADER *header);
    /// To be called for a module that goes.
    void forget_module(NYX_MODULE *module);
    /// The headers in all open databases that stand for `module`. O(headers in open databases).
    std::vector<NYX_INST_HEADER *> get_headers_of(NYX_MODULE *module);
    /// One of these headers that lies in `persistent` and is linked already, null if there is none.
    NYX_INST_HEADER *find_linked_header(const NYX_DB_PERSISTENT *persistent, const NYX_MODULE *module) const;
    /// \}

    /// \name Traits of several databases
    /// \{

    /// The trait of another open database, by its root, that corresponds to `trait`: same name, internal name, type of
    /// objects and of values. Null if it has none. TRAIT is a width or a class of typed traits.
    template <class TRAIT>
    const TRAIT *find_corresponding_trait(const TRAIT *trait, const NYX_DB_PERSISTENT *root) {
        // Both lead to the row's address, and the row decides what it is.
        return static_cast<const TRAIT *>(find_corresponding(trait, root));
    }
    NYX_TRAIT_LINKS &trait_links() { return m_trait_links; }
    /// \}

private:
    /// The registration of a database by its name, with one use: taken back with this object unless it is kept.
    class DB_REG_BY_NAME;
    /// Keeps the index of instances in step with the databases.
    class OBSERVER;

    /// By the number of a header the module that it stands for, null if that is not known.
    using MODULE_LINKS = std::vector<NYX_MODULE *>;

    struct LINKS {
        NYX_DB_LIST direct;
        NYX_DB_LIST parents;
        NYX_DB_LIST all;
        std::string file_key;     ///< in the table of files; empty without a file
        bool initialized = false; ///< update_hierarchy_maps() has been here
    };

    NYX_DB_LINKER();
    ~NYX_DB_LINKER() = delete;

    NYX_DB_GROUP &group_or_default(NYX_DB_GROUP *group) { return group != nullptr ? *group : *this; }
    const NYX_DB_GROUP &group_or_default(const NYX_DB_GROUP *group) const { return group != nullptr ? *group : *this; }
    const void *find_corresponding(const NYX_BYTE1_TRAIT *trait, const NYX_DB_PERSISTENT *root);
    const void *find_corresponding(const NYX_BYTE4_TRAIT *trait, const NYX_DB_PERSISTENT *root);
    const void *find_corresponding(const NYX_BYTE8_TRAIT *trait, const NYX_DB_PERSISTENT *root);
    template <class WIDTH>
    const void *find_corresponding_of_width(const WIDTH *trait, const NYX_DB_PERSISTENT *root);
    bool is_registered(const NYX_DB_PERSISTENT *persistent) const;
    void erase_db(const NYX_DB *db, NYX_DB_PERSISTENT *persistent, const std::string &file_key);
    std::vector<NYX_DB *> find_ancestors(const NYX_DB *db) const;
    NYX_DB_LIST collect_sub_dbs(const NYX_DB *db) const;

    static NYX_MODULE *find_base_module(const NYX_INSTANCE *instance);
    void index_instance(NYX_INSTANCE *instance);
    void index_instances_in(const NYX_DB_PERSISTENT *persistent);
    void index_waiting_instances(const NYX_INST_HEADER *header, NYX_MODULE *module);
    void wait_for_module(const NYX_INST_HEADER *header, const NYX_MODULE *old_module);
    void purge_instances(const void *begin, const void *end);
    void purge_module_links(const NYX_DB_PERSISTENT *persistent, const void *begin, const void *end);

    std::map<std::string, NYX_DB_GROUP> m_groups;
    std::map<NYX_DB_PERSISTENT *, NYX_DB *> m_persistent_to_db;
    /// Guards m_persistent_to_db, which every handle's way to its database reads. Written with NYX_DB_LOCK held as
    /// well, so its holder may read without.
    mutable std::shared_mutex m_persistent_to_db_mutex;
    std::unordered_map<std::string, NYX_DB *> m_file_to_db;
    std::unordered_map<const NYX_DB *, LINKS> m_links;

    /// Guards the two tables of headers; taken after NYX_DB_LOCK by those who need both.
    mutable std::shared_mutex m_module_links_mutex;
    std::unordered_map<const NYX_DB_PERSISTENT *, MODULE_LINKS> m_module_links; // by the root of the headers
    std::atomic<std::uint64_t> m_module_links_generation{1};                    // changes when one of them goes
    std::map<const NYX_MODULE *, std::vector<NYX_INST_HEADER *>> m_headers_of_module;

    bool m_instances_of_module_initialized = false;
    std::map<NYX_MODULE *, std::set<NYX_INSTANCE *>> m_instances_of_module;
    /// Those whose base module is in no open database, by the header that would lead to it.
    std::map<const NYX_INST_HEADER *, std::set<NYX_INSTANCE *>> m_instances_without_module;
    OBSERVER *m_observer = nullptr; // as lasting as the linker
    NYX_TRAIT_LINKS m_trait_links;
};

#endif
