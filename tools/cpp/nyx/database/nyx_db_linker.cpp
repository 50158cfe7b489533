#include "database/nyx_db_linker.h"

#include "database/nyx_db_impl.h"
#include "database/nyx_db_lock.h"
#include "database/nyx_db_paths.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <mutex>

using NYX_REPORT::PREFIX_VIEW;

namespace {

constexpr const char *s_paths_file_name = "nyx.paths";

// Part of a message: what is open by that name is not in mode MODIFY.
const char *mode_word(NYX_DB::ACCESS_MODE mode) {
    switch (mode) {
    case NYX_DB::ACCESS_MODE::READ_ONLY:
        return "read-only";
    case NYX_DB::ACCESS_MODE::COPY_ON_WRITE:
        return "copy-on-write";
    default:
        return "<other>";
    }
}

std::string mode_number(NYX_DB::ACCESS_MODE mode) {
    return std::to_string(static_cast<unsigned>(mode));
}

// What two paths of one file have in common, whether it is there or not: it is absolute and free of links.
std::string key_of_file(const std::string &path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    std::filesystem::path key = std::filesystem::weakly_canonical(absolute, error);
    return error || key.empty() ? path : key.string();
}

// Makes the linker before any call.
[[maybe_unused]] const NYX_DB_LINKER &s_made_at_load = NYX_DB_LINKER::get();

} // namespace

bool NYX_DB_LIST::add(NYX_DB *db) {
    if (!m_members.insert(db).second)
        return false;
    try {
        m_in_order.push_back(db);
    } catch (...) {
        m_members.erase(db);
        throw;
    }
    return true;
}

bool NYX_DB_LIST::remove(const NYX_DB *db) {
    if (m_members.erase(db) == 0)
        return false;
    std::erase(m_in_order, db);
    return true;
}

class NYX_DB_LINKER::DB_REG_BY_NAME {
public:
    DB_REG_BY_NAME(NYX_DB_GROUP &group, const std::string &db_name, NYX_DB_PERSISTENT *persistent)
        : m_group(&group)
        , m_db_name(db_name) {
        group.register_db(db_name, persistent);
        group.change_use_count(db_name, +1);
    }
    ~DB_REG_BY_NAME() {
        if (m_group != nullptr)
            m_group->unregister_db(m_db_name);
    }
    DB_REG_BY_NAME(const DB_REG_BY_NAME &) = delete;
    DB_REG_BY_NAME &operator=(const DB_REG_BY_NAME &) = delete;

    void keep() { m_group = nullptr; }

private:
    NYX_DB_GROUP *m_group;
    const std::string &m_db_name;
};

NYX_DB_LINKER::NYX_DB_LINKER() : NYX_DB_GROUP(std::string()) {}

NYX_DB_LINKER &NYX_DB_LINKER::get() {
    static NYX_DB_LINKER *const s_linker = new NYX_DB_LINKER;
    return *s_linker;
}

bool NYX_DB_LINKER::init(bool verbose) {
    const char *const root = std::getenv("DEVDATA_NYX_PATHS_ROOT");
    if (root != nullptr && *root != '\0')
        return load_paths_file(std::string(root) + "/" + s_paths_file_name, true);

    const std::string file = NYX_DB::find_installed_file(s_paths_file_name);
    const bool result = !file.empty() && load_paths_file(file, verbose);
    if (file.empty() && verbose)
        NYX_REPORT::warn(PREFIX_VIEW()) << "Cannot find " << s_paths_file_name << " file";
    const NYX_DB_LOCK lock;
    if (!has_paths() && verbose)
        NYX_REPORT::warn(PREFIX_VIEW()) << "No device DB paths were loaded! Top level DB won't find its sub-DBs. "
                                        << "Open them directly first.";
    return result;
}

bool NYX_DB_LINKER::add_paths(std::istream &paths, const std::string &base_dir, bool verbose, std::size_t &num_added) {
    NYX_DB_PATHS_READER reader(*this, verbose);
    const bool result = reader.read_paths_stream(paths, base_dir);
    num_added = reader.num_added();
    return result;
}

bool NYX_DB_LINKER::load_paths_file(const std::string &file, bool verbose) {
    return NYX_DB_PATHS_READER(*this, verbose).load_paths_file(file);
}

NYX_DB_GROUP *NYX_DB_LINKER::find_group(const std::string &group_name) {
    const NYX_DB_LOCK lock;
    if (group_name.empty())
        return this;
    const auto found = m_groups.find(group_name);
    return found != m_groups.end() ? &found->second : nullptr;
}

NYX_DB_GROUP *NYX_DB_LINKER::find_or_add_group(const std::string &group_name) {
    const NYX_DB_LOCK lock;
    return group_name.empty() ? this : &m_groups.try_emplace(group_name, group_name).first->second;
}

void NYX_DB_LINKER::remove_group(const std::string &group_name) {
    const NYX_DB_LOCK lock;
    const auto found = m_groups.find(group_name);
    if (found == m_groups.end())
        return;
    // One without a name is not registered in the group, but refers to it all the same.
    if (found->second.has_open_dbs() || find_first_db(&found->second) != nullptr)
        NYX_RAISE_INVALID_ARGUMENT("NYX_DB_LINKER::remove_group",
                                   "Cannot remove DB group " + group_name + " while it has open DBs");
    m_groups.erase(found);
}

NYX_DB *NYX_DB_LINKER::find_first_db(const NYX_DB_GROUP *group) const {
    const NYX_DB_LOCK lock;
    for (const auto &[persistent, db] : m_persistent_to_db)
        if (NYX_DB_IMPL::of(*db).m_group == group)
            return db;
    return nullptr;
}

void NYX_DB_LINKER::find_known_group_names(std::set<std::string> &names) const {
    const NYX_DB_LOCK lock;
    for (const auto &[name, group] : m_groups)
        names.insert(name);
}

NYX_DB_PERSISTENT *NYX_DB_LINKER::find_db_persistent(const std::string &db_name, const NYX_DB_GROUP *group) const {
    const NYX_DB_LOCK lock;
    return group_or_default(group).find_db_persistent(db_name);
}

int NYX_DB_LINKER::change_use_count(const std::string &db_name, int change_num, NYX_DB_GROUP *group) {
    const NYX_DB_LOCK lock;
    return group_or_default(group).change_use_count(db_name, change_num);
}

int NYX_DB_LINKER::get_use_count(const std::string &db_name, const NYX_DB_GROUP *group) const {
    const NYX_DB_LOCK lock;
    return group_or_default(group).get_use_count(db_name);
}

void NYX_DB_LINKER::register_db(const std::string &db_name, NYX_DB *db) {
    const NYX_DB_LOCK lock;
    const NYX_DB_IMPL &record = NYX_DB_IMPL::of(*db);
    const std::string *const file = record.m_file_name ? &*record.m_file_name : nullptr;

    DB_REG_BY_NAME by_name(group_or_default(record.m_group), db_name, record.m_persistent);
    const std::string file_key = file != nullptr ? key_of_file(*file) : std::string();
    if (file != nullptr) {
        if (const NYX_DB *const other = find_open_db_by_file(*file))
            NYX_RAISE_RUNTIME_ERROR("NYX_DB_LINKER::register_db", "The db file " + *file + " is already in use as '" +
                                                                      other->get_name() +
                                                                      "' db and cannot be loaded as '" + db_name + "'");
    }
    NYX_CHECK_AS(!m_persistent_to_db.contains(record.m_persistent), "inserted",
                 "Could not insert into persistent_to_db map - entry already exists");
    try {
        if (file != nullptr)
            m_file_to_db.emplace(file_key, db);
        m_links.try_emplace(db).first->second.file_key = file_key;
        {
            const std::unique_lock write(m_persistent_to_db_mutex);
            m_persistent_to_db.emplace(record.m_persistent, db);
        }
        // Asks for the database of the root, so it comes behind that and without that lock.
        if (m_instances_of_module_initialized)
            index_instances_in(record.m_persistent);
    } catch (...) {
        erase_db(db, record.m_persistent, file_key);
        throw;
    }
    by_name.keep();
}

void NYX_DB_LINKER::unregister_db(const std::string &db_name, NYX_DB *db, bool force) {
    constexpr const char *function = "NYX_DB_LINKER::unregister_db";
    const NYX_DB_LOCK lock;
    const NYX_DB_IMPL &record = NYX_DB_IMPL::of(*db);
    NYX_DB_GROUP &group = group_or_default(record.m_group);
    const std::string *const file = record.m_file_name ? &*record.m_file_name : nullptr;

    if (!force)
        check_not_in_use(db_name, db);
    // A copy: the links change below.
    const std::vector<NYX_DB *> parents = get_parents(db);
    if (group.find_db_persistent(db_name) == nullptr)
        group.unregister_db(db_name); // raises, unless there is no name
    // The key of its registration: the same path may lead elsewhere by now.
    const auto links = m_links.find(db);
    const std::string file_key = links != m_links.end() ? links->second.file_key : std::string();
    if (file != nullptr && (file_key.empty() || !m_file_to_db.contains(file_key)))
        NYX_RAISE_RUNTIME_ERROR(function, "DB file '" + *file + "' is not registered");
    if (const auto found = m_persistent_to_db.find(record.m_persistent);
        found == m_persistent_to_db.end() || found->second != db)
        NYX_RAISE_RUNTIME_ERROR(function, "db_persistent for '" + db_name + "' is not registered");
    // Only forced closings have ancestors, and only theirs are the lists that lead through this database. What takes
    // memory comes before the first change.
    const std::vector<NYX_DB *> ancestors = find_ancestors(db);
    group.unregister_db(db_name);
    for (NYX_DB *const parent : parents) {
        NYX_REPORT::warn(PREFIX_VIEW()) << "The db '" << db_name << "' is still in use by db '" << parent->get_name()
                                        << "'";
        m_links.at(parent).direct.remove(db);
    }
    for (NYX_DB *const child : m_links.at(db).direct.in_order())
        m_links.at(child).parents.remove(db);
    erase_db(db, record.m_persistent, file_key);
    for (NYX_DB *const ancestor : ancestors) {
        if (ancestor != db)
            m_links.at(ancestor).all = collect_sub_dbs(ancestor);
    }
}

void NYX_DB_LINKER::check_not_in_use(const std::string &db_name, const NYX_DB *db) const {
    const NYX_DB_LOCK lock;
    if (const std::vector<NYX_DB *> &parents = get_parents(db); !parents.empty())
        NYX_RAISE_RUNTIME_ERROR("NYX_DB_LINKER::unregister_db",
                                "Sub db '" + db_name + "' is still in use by '" + parents.front()->get_name() + "'");
}

void NYX_DB_LINKER::erase_db(const NYX_DB *db, NYX_DB_PERSISTENT *persistent, const std::string &file_key) {
    if (const auto found = m_file_to_db.find(file_key); found != m_file_to_db.end() && found->second == db)
        m_file_to_db.erase(found);
    m_links.erase(db);
    const NYX_MANAGED_SERIALISED_FILE &segment = *NYX_DB_IMPL::of(*db).m_file;
    const char *const begin = static_cast<const char *>(segment.get_starting_address());
    purge_instances(begin, begin + segment.get_size());
    purge_module_links(persistent, begin, begin + segment.get_size());
    m_trait_links.purge(persistent);
    const std::unique_lock write(m_persistent_to_db_mutex);
    m_persistent_to_db.erase(persistent);
}

NYX_DB *NYX_DB_LINKER::db_for_persistent(const NYX_DB_PERSISTENT *persistent) const {
    const std::shared_lock read(m_persistent_to_db_mutex);
    const auto it = m_persistent_to_db.find(const_cast<NYX_DB_PERSISTENT *>(persistent));
    NYX_CHECK_MSG(it != m_persistent_to_db.end(), "db not found for db_persistent %p",
                  static_cast<const void *>(persistent));
    return it->second;
}

std::pair<NYX_DB_PERSISTENT *, NYX_DB *> NYX_DB_LINKER::find_next_open_db(const NYX_DB_PERSISTENT *persistent) const {
    const std::shared_lock read(m_persistent_to_db_mutex);
    const auto it = m_persistent_to_db.upper_bound(const_cast<NYX_DB_PERSISTENT *>(persistent));
    if (it == m_persistent_to_db.end())
        return {};
    return *it;
}

NYX_DB *NYX_DB_LINKER::find_open_db(const std::string &file_path, NYX_DB::ACCESS_MODE mode, const std::string &db_name,
                                    const std::string &group_name) {
    constexpr const char *function = "NYX_DB_LINKER::find_open_db";
    const NYX_DB_LOCK lock;
    const NYX_DB_GROUP *const group = find_group(group_name);
    if (group == nullptr)
        return nullptr;
    if (const NYX_DB_PERSISTENT *const persistent = group->find_db_persistent(db_name)) {
        NYX_DB *const db = db_for_persistent(persistent);
        const NYX_DB::ACCESS_MODE open_mode = db->get_access_mode();
        if (open_mode == NYX_DB::ACCESS_MODE::MODIFY)
            NYX_RAISE_RUNTIME_ERROR(function,
                                    "DB '" + db_name + "' is already opened in MODIFY mode and cannot be shared.");
        const std::string open_file = db->get_file_name();
        const bool same_file = open_file == file_path || find_open_db_by_file(file_path) == db;
        if (same_file && open_mode == mode)
            return db;
        NYX_RAISE_RUNTIME_ERROR(function, "DB '" + db_name + "' (" + (same_file ? "" : "from " + file_path) +
                                              " in mode " + mode_number(mode) + ") is already loaded, " +
                                              (same_file ? "" : "but from " + open_file) + " in mode " +
                                              mode_word(open_mode) + " (" + mode_number(open_mode) + ")");
    }
    if (const NYX_DB *const other = find_open_db_by_file(file_path))
        NYX_RAISE_RUNTIME_ERROR(function, "DB from " + file_path + " is already open as '" + other->get_name() +
                                              "' and cannot be loaded as '" + db_name + ".");
    return nullptr;
}

NYX_DB *NYX_DB_LINKER::find_open_db_by_file(const std::string &file_path) const {
    const NYX_DB_LOCK lock;
    const auto found = m_file_to_db.find(key_of_file(file_path));
    return found != m_file_to_db.end() ? found->second : nullptr;
}

NYX_DB_PERSISTENT *NYX_DB_LINKER::find_or_open_db_persistent(const std::string &db_name, NYX_DB_GROUP *group) {
    ENTRY entry;
    std::string group_name;
    {
        const NYX_DB_LOCK lock;
        const NYX_DB_GROUP &searched = group_or_default(group);
        if (NYX_DB_PERSISTENT *const db_persistent = searched.find_db_persistent(db_name)) {
            change_use_count(db_name, +1, group);
            return db_persistent;
        }
        entry = searched.lookup(db_name);
        group_name = searched.get_name();
    }
    if (entry.path.empty())
        NYX_RAISE_RUNTIME_ERROR("NYX_DB_LINKER::find_or_open_db_persistent",
                                "Can't find path to db named '" + db_name +
                                    "'. Have you done NYX_DB::init(...) or group initialization?");
    const NYX_DB *const db =
        NYX_DB::open(entry.path.c_str(), entry.mode, db_name.c_str(), group_name.c_str(), NYX_DB::s_keep_size);
    NYX_CHECK_MSG(db, "Unexpected null db from NYX_DB::open('%s')", entry.path.c_str());
    NYX_DB_PERSISTENT *const db_persistent = find_db_persistent(db_name, group);
    NYX_CHECK_MSG(db_persistent, "Unexpected null db_persistent after opened DB '%s'", db_name.c_str());
    return db_persistent;
}

bool NYX_DB_LINKER::add_sub_db(NYX_DB *parent, NYX_DB *child) {
    const NYX_DB_LOCK lock;
    LINKS &parent_links = m_links.at(parent);
    LINKS &child_links = m_links.at(child);
    if (!parent_links.direct.add(child))
        return false;
    try {
        child_links.parents.add(parent);
        std::vector<NYX_DB *> ancestors = find_ancestors(parent);
        ancestors.push_back(parent);
        // A copy: in a circle the child's list is among those that grow.
        const std::vector<NYX_DB *> below = child_links.all.in_order();
        for (NYX_DB *const ancestor : ancestors) {
            NYX_DB_LIST &all = m_links.at(ancestor).all;
            all.add(child);
            for (NYX_DB *const db : below)
                all.add(db);
        }
    } catch (...) {
        parent_links.direct.remove(child);
        child_links.parents.remove(parent);
        throw;
    }
    return true;
}

const std::vector<NYX_DB *> &NYX_DB_LINKER::get_sub_dbs(const NYX_DB *db, bool direct) const {
    const NYX_DB_LOCK lock;
    const auto found = m_links.find(db);
    if (found == m_links.end())
        NYX_RAISE_RUNTIME_ERROR("NYX_DB_LINKER::get_sub_dbs",
                                "Db " + db->get_name() + " not found in hierarchy linker maps");
    return (direct ? found->second.direct : found->second.all).in_order();
}

NYX_DB *NYX_DB_LINKER::find_sub_db(const NYX_DB *db, bool direct, std::size_t index) const {
    const NYX_DB_LOCK lock;
    const auto found = m_links.find(db);
    if (found == m_links.end())
        return nullptr;
    const std::vector<NYX_DB *> &list = (direct ? found->second.direct : found->second.all).in_order();
    return index < list.size() ? list[index] : nullptr;
}

const std::vector<NYX_DB *> &NYX_DB_LINKER::get_parents(const NYX_DB *db) const {
    static const std::vector<NYX_DB *> s_none;
    const NYX_DB_LOCK lock;
    const auto found = m_links.find(db);
    return found != m_links.end() ? found->second.parents.in_order() : s_none;
}

std::vector<NYX_DB *> NYX_DB_LINKER::find_ancestors(const NYX_DB *db) const {
    NYX_DB_LIST found;
    for (NYX_DB *const parent : m_links.at(db).parents.in_order())
        found.add(parent);
    for (std::size_t i = 0; i < found.in_order().size(); ++i) {
        for (NYX_DB *const parent : m_links.at(found.in_order()[i]).parents.in_order())
            found.add(parent);
    }
    return found.in_order();
}

NYX_DB_LIST NYX_DB_LINKER::collect_sub_dbs(const NYX_DB *db) const {
    NYX_DB_LIST found;
    for (NYX_DB *const child : m_links.at(db).direct.in_order())
        found.add(child);
    for (std::size_t i = 0; i < found.in_order().size(); ++i) {
        for (NYX_DB *const child : m_links.at(found.in_order()[i]).direct.in_order())
            found.add(child);
    }
    return found;
}
