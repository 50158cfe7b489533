#include "nyx/nyx_db.h"

#include "database/nyx_db_diagnostics.h"
#include "database/nyx_db_files.h"
#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_lock.h"
#include "database/nyx_db_paths.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_schema.h"
#include "nyx/nyx_module.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <cstdlib>
#include <deque>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

using NYX_REPORT::PREFIX_VIEW;

namespace {

class HANDLE final : public NYX_DB {};

// What outlives all databases. Never destroyed, for static objects that close theirs in their destructors. Guarded by
// NYX_DB_LOCK.
struct PROCESS_STATE {
    std::string install_root;
    unsigned long long initial_working_library_size_MiB = 4096;
    std::deque<HANDLE> handles;
};

PROCESS_STATE &process_state() {
    static PROCESS_STATE *const s_state = new PROCESS_STATE;
    return *s_state;
}

std::string environment(const char *variable) {
    const char *const value = std::getenv(variable);
    return value != nullptr ? value : "";
}

std::string current_directory() {
    std::error_code error;
    return std::filesystem::current_path(error).string();
}

} // namespace

NYX_DB *NYX_DB_IMPL::attach(std::unique_ptr<NYX_DB_IMPL> impl) {
    NYX_DB *const db = &process_state().handles.emplace_back();
    db->m_impl = impl.release();
    return db;
}

std::unique_ptr<NYX_DB_IMPL> NYX_DB_IMPL::detach(NYX_DB *db) {
    return std::unique_ptr<NYX_DB_IMPL>(std::exchange(db->m_impl, nullptr));
}

unsigned long long NYX_DB_IMPL::get_initial_working_library_size() {
    const NYX_DB_LOCK lock;
    return process_state().initial_working_library_size_MiB;
}

bool NYX_DB::init(const std::string &install_root, bool verbose) {
    {
        const NYX_DB_LOCK lock;
        process_state().install_root = install_root;
    }
    return NYX_DB_LINKER::get().init(verbose);
}

std::string NYX_DB::find_install_root_directory() {
    const NYX_DB_LOCK lock;
    if (const std::string &root = process_state().install_root; !root.empty())
        return root;
    if (std::string root = environment("DEVDATA_ROOT"); !root.empty())
        return root;
    const std::string root = environment("ORBA_DEST_ROOT");
    return root.empty() ? root : root + "/devdata";
}

std::string NYX_DB::find_installed_file(const std::string &file_name) {
    std::vector<std::string> directories;
    {
        const NYX_DB_LOCK lock;
        directories.push_back(process_state().install_root);
    }
    if (directories.front().empty()) {
        directories.front() = current_directory();
        if (std::string root = environment("DEVDATA_ROOT"); !root.empty())
            directories.push_back(std::move(root));
        if (const std::string root = environment("ORBA_DEST_ROOT"); !root.empty())
            directories.push_back(root + "/devdata");
    }
    for (const std::string &directory : directories) {
        const std::filesystem::path path = std::filesystem::path(directory) / file_name;
        std::error_code error;
        if (std::filesystem::exists(path, error))
            return path.string();
    }
    return {};
}

void NYX_DB::set_initial_working_library_size(unsigned long long size_MiB) {
    const NYX_DB_LOCK lock;
    process_state().initial_working_library_size_MiB = size_MiB;
}

NYX_DB *NYX_DB::create_non_persistent(unsigned long long size_MiB, NYX_DB_TYPE type, const std::string &db_name,
                                      const std::string &group_name) {
    const NYX_REPORT::NYX_REPORT_PROFILE profile("NYX_DB::create_non_persistent");
    NYX_CHECK_MSG(type >= NYX_DB_TYPE::DEVICE && type <= NYX_DB_TYPE::WORKING_LIBRARY, "Unknown DB_TYPE");
    NYX_DB *db;
    {
        NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
        const NYX_DB_LOCK lock;
        // An unknown group is not the default one: it has no databases yet.
        const NYX_DB_GROUP *const known_group = db_name.empty() ? nullptr : linker.find_group(group_name);
        if (known_group != nullptr && known_group->find_db_persistent(db_name) != nullptr)
            NYX_RAISE_RUNTIME_ERROR("NYX_DB::create_non_persistent",
                                    "DB " + db_name + (group_name.empty() ? "" : " from group " + group_name) +
                                        " is already open or being created. Cannot create.");
        db = register_new(
            {"create_non_persistent()", nyx_bytes_of_MiB(size_MiB), type, db_name, group_name, std::nullopt, {}});
    }
    complete_new(db);
    return db;
}

NYX_DB *NYX_DB::register_new(const NEW_DB &description) {
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    auto record = std::make_unique<NYX_DB_IMPL>();
    record->m_file =
        std::make_unique<NYX_MANAGED_SERIALISED_FILE>(description.size, description.type, description.client_id);
    NYX_SEGMENT_MANAGER *const manager = record->m_file->get_segment_manager();
    record->m_persistent = nyx_clear_object_padding(
        manager->construct<NYX_DB_PERSISTENT>(NYX_DB_PERSISTENT::s_object_name)(manager, description.type));
    record->m_file_name = description.file_name;
    record->m_name = description.name;
    record->m_group = description.group_name.empty() ? nullptr : linker.find_or_add_group(description.group_name);

    NYX_DB *const db = NYX_DB_IMPL::attach(std::move(record));
    trace_db_access(description.caller, db);
    try {
        linker.register_db(description.name, db);
    } catch (...) {
        NYX_DB_IMPL::detach(db);
        throw;
    }
    try {
        db->init_builtin_traits();
        db->get_impl().m_builtin_traits = std::make_unique<NYX_BUILTIN_TRAITS>(db);
    } catch (...) {
        discard(db);
        throw;
    }
    return db;
}

void NYX_DB::init_builtin_traits() {
    NYX_BUILTIN_TRAITS::declare(this);
}

void NYX_DB::complete_new(NYX_DB *db) {
    try {
        nyx_notify<NYX_DB>(&NYX_OBSERVER<NYX_DB>::opened, db);
    } catch (...) {
        // Those that were told of it are told of its end. Nothing of it is saved.
        db->disable_commit_on_close();
        try {
            db->close();
        } catch (...) {
            discard(db);
        }
        throw;
    }
}

void NYX_DB::discard(NYX_DB *db) {
    const NYX_DB_LOCK lock;
    if (NYX_DB_IMPL::is_closed(*db))
        return;
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    const std::vector<NYX_DB *> sub_dbs = linker.get_sub_dbs(db, true);
    linker.unregister_db(db->get_impl().m_name, db, true);
    NYX_DB_IMPL::detach(db).reset();
    close_sub_dbs(sub_dbs);
}

int NYX_DB::close() {
    trace_db_access("close()", this);
    return close(false);
}

void NYX_DB::purge() {
    trace_db_access("purge()", this);
    close(true);
}

int NYX_DB::close(bool purge) {
    const NYX_REPORT::NYX_REPORT_PROFILE profile("NYX_DB::close");
    const NYX_DB_LOCK lock;
    if (m_impl == nullptr || m_impl->m_persistent == nullptr)
        NYX_FATAL("Closing already closed %p NYX_DB (open/close unbalanced somewhere). Debug with %s=1.\n",
                  static_cast<const void *>(this), s_nyx_db_debug_access);

    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    const std::string &name = m_impl->m_name;
    NYX_DB_GROUP *const group = m_impl->m_group;
    const int uses = linker.get_use_count(name, group);
    const int remaining = linker.change_use_count(name, -1, group);
    if (remaining >= 1 && !purge)
        return remaining;

    std::vector<NYX_DB *> sub_dbs;
    try {
        nyx_notify<NYX_DB>(&NYX_OBSERVER<NYX_DB>::closing, this);
        // Before anything is saved: a refused close leaves the file as it is.
        if (!purge)
            linker.check_not_in_use(name, this);
        // While it is registered: one that can't be saved stays open.
        if (m_impl->m_commit_on_close && is_persistent() && !is_read_only())
            m_impl->m_file->commit_impl(*m_impl->m_file_name);
        sub_dbs = linker.get_sub_dbs(this, true);
        linker.unregister_db(name, this, purge);
    } catch (...) {
        // It stays open, so the use that was to be given back is still one.
        if (uses != remaining)
            linker.change_use_count(name, uses - remaining, group);
        throw;
    }
    NYX_DB_IMPL::detach(this).reset();
    close_sub_dbs(sub_dbs);
    return remaining;
}

void NYX_DB::close_sub_dbs(const std::vector<NYX_DB *> &sub_dbs) {
    // The first failure is kept until each sub-database got its use back.
    std::exception_ptr failure;
    for (NYX_DB *const sub_db : sub_dbs) {
        if (NYX_DB_IMPL::is_closed(*sub_db))
            continue;
        try {
            trace_db_access("close()", sub_db);
            sub_db->close(false);
        } catch (...) {
            if (failure == nullptr)
                failure = std::current_exception();
        }
    }
    if (failure != nullptr)
        std::rethrow_exception(failure);
}

void NYX_DB::disable_commit_on_close() {
    get_impl().m_commit_on_close = false;
}

bool NYX_DB::add_nyx_db_path(const std::string &db_name, const std::string &file_path, bool verbose) {
    constexpr const char *function = "NYX_DB::add_nyx_db_path";
    if (file_path.empty())
        NYX_RAISE_INVALID_ARGUMENT(function, "DB file path cannot be empty");
    if (db_name.empty())
        NYX_RAISE_INVALID_ARGUMENT(function, "DB name cannot be empty");
    // The two become a line of a paths file, and must not become more than one.
    if (file_path.find('\n') != std::string::npos)
        NYX_RAISE_INVALID_ARGUMENT(function, "DB file path cannot hold a line break");
    if (db_name.find('\n') != std::string::npos)
        NYX_RAISE_INVALID_ARGUMENT(function, "DB name cannot hold a line break");
    std::istringstream line("DEFINE  " + db_name + " " + file_path);
    std::size_t num_added = 0;
    return NYX_DB_LINKER::get().add_paths(line, current_directory(), verbose, num_added);
}

bool NYX_DB::add_nyx_paths(std::istream &paths, const std::string &base_dir, bool verbose) {
    std::size_t num_added = 0;
    const bool result =
        NYX_DB_LINKER::get().add_paths(paths, base_dir.empty() ? current_directory() : base_dir, verbose, num_added);
    if (num_added == 0 && verbose)
        NYX_REPORT::warn(PREFIX_VIEW())
            << "No components DB paths were loaded! User design DBs won't find their sub-DBs. "
            << "Open them directly first.";
    return result;
}

bool NYX_DB::add_nyx_paths(const std::string &paths_file, const std::string &base_dir, bool verbose) {
    const std::unique_ptr<std::ifstream> file = nyx_open_paths_file(paths_file);
    if (file == nullptr)
        NYX_RAISE_INVALID_ARGUMENT("NYX_DB::add_nyx_paths", "Could not open '" + paths_file + "'");
    return add_nyx_paths(*file, base_dir, verbose);
}

std::string NYX_DB::find_db_path_from_db_name(const std::string &db_name, const std::string &group_name) {
    const NYX_DB_LOCK lock;
    const NYX_DB_GROUP *const group = NYX_DB_LINKER::get().find_group(group_name);
    return group != nullptr ? group->lookup(db_name).path : std::string();
}

void NYX_DB::find_known_db_names(std::set<std::string> &names, const std::string &group_name) {
    const NYX_DB_LOCK lock;
    if (const NYX_DB_GROUP *const group = NYX_DB_LINKER::get().find_group(group_name))
        group->find_known_db_names(names);
}

void NYX_DB::find_known_group_names(std::set<std::string> &names) {
    NYX_DB_LINKER::get().find_known_group_names(names);
}

int NYX_DB::get_num_users(const std::string &db_name, const std::string &group_name) {
    const NYX_DB_LOCK lock;
    const NYX_DB_GROUP *const group = NYX_DB_LINKER::get().find_group(group_name);
    return group != nullptr ? group->get_use_count(db_name) : 0;
}

NYX_DB_IMPL &NYX_DB::get_impl() const {
    NYX_CHECK_MSG(m_impl != nullptr, "%p NYX_DB is closed", static_cast<const void *>(this));
    return *m_impl;
}

NYX_DB_GROUP *NYX_DB::get_db_group() const {
    return get_impl().m_group;
}

NYX_DB_PERSISTENT *NYX_DB::get_db_persistent() const {
    return get_impl().m_persistent;
}

std::string NYX_DB::get_name() const {
    return get_impl().m_name;
}

std::string NYX_DB::get_file_name() const {
    return get_impl().m_file_name.value_or(std::string());
}

NYX_DB::ACCESS_MODE NYX_DB::get_access_mode() const {
    return get_impl().m_access_mode;
}

NYX_DB_TYPE NYX_DB::get_db_type() const {
    return get_db_persistent()->get_type();
}

std::string NYX_DB::get_db_group_name() const {
    const NYX_DB_GROUP *const group = get_db_group();
    return group != nullptr ? group->get_name() : std::string();
}

std::size_t NYX_DB::get_size() const {
    return get_impl().m_file->get_size();
}

const void *NYX_DB::get_starting_address() const {
    return get_impl().m_file->get_starting_address();
}

NYX_STATS NYX_DB::get_internal_stats() const {
    return get_db_persistent()->get_stats();
}

std::uint64_t NYX_DB::get_schema_id(NYX_DB_TYPE, std::vector<NYX_SCHEMA_MEMBER> *members) {
    const std::uint64_t schema = NYX_DB_PERSISTENT::get_schema_id(members);
    return nyx_hash_combine(schema, NYX_BUILTIN_TRAITS::get_schema_id(members));
}

bool NYX_DB::is_user() const {
    return get_db_type() == NYX_DB_TYPE::USER;
}

bool NYX_DB::is_component() const {
    return get_db_type() == NYX_DB_TYPE::COMPONENT;
}

bool NYX_DB::is_definition() const {
    return get_db_type() == NYX_DB_TYPE::DEFINITION;
}

bool NYX_DB::is_device() const {
    return get_db_type() == NYX_DB_TYPE::DEVICE;
}

bool NYX_DB::is_working() const {
    return get_db_type() == NYX_DB_TYPE::WORKING_LIBRARY;
}

bool NYX_DB::is_library() const {
    return is_component() || is_definition() || is_working();
}

bool NYX_DB::is_component_library() const {
    return is_definition() || is_working() || (is_user() && get_db_group() == nullptr);
}

bool NYX_DB::is_top() const {
    const NYX_DB_LOCK lock;
    return is_user() && NYX_DB_LINKER::get().get_parents(this).empty();
}

bool NYX_DB::is_partition() const {
    const NYX_DB_LOCK lock;
    return is_user() && get_db_group() != nullptr && !NYX_DB_LINKER::get().get_parents(this).empty();
}

bool NYX_DB::is_read_only() const {
    return get_access_mode() == ACCESS_MODE::READ_ONLY;
}

bool NYX_DB::is_persistent() const {
    return get_impl().m_file_name.has_value();
}

const NYX_DB *NYX_DB::get_top_db() const {
    constexpr const char *function = "NYX_DB::get_top_db";
    const NYX_DB_LOCK lock;
    NYX_DB_LIST passed;
    NYX_DB *db = const_cast<NYX_DB *>(this);
    while (passed.add(db)) {
        if (db->get_db_group() == nullptr)
            NYX_RAISE_INVALID_ARGUMENT(function, "Cannot get top db for " + db->get_name() +
                                                     ". Single top db is defined for user design db only.");
        const std::vector<NYX_DB *> &parents = NYX_DB_LINKER::get().get_parents(db);
        if (parents.empty())
            return db;
        if (parents.size() > 1)
            NYX_RAISE_RUNTIME_ERROR(function, db->get_name() + " has multiple parent dbs");
        db = parents.front();
    }
    NYX_RAISE_RUNTIME_ERROR(function, db->get_name() + " is a sub-db of itself");
}

NYX_MODULE *NYX_DB::find_local_module(const char *name) const {
    return get_impl().m_persistent->find_module(name);
}

NYX_MODULE *NYX_DB::get_top_module() const {
    return get_impl().m_persistent->get_top_module();
}

void NYX_DB::set_top_module(NYX_MODULE *module) {
    NYX_DB_PERSISTENT *const persistent = get_impl().m_persistent;
    persistent->check_has_top_module("NYX_DB::set_top_module");
    NYX_CHECK_MSG(module, "Top module must be non-null");
    NYX_CHECK_MSG(module->get_db() == this, "Top module must be in this database");
    persistent->set_top_module(module);
}

void NYX_DB::rename_top_module(const char *new_name) {
    get_impl().m_persistent->rename_top_module(new_name);
}

void NYX_DB::enable_cache(bool enable, bool track_updates, bool this_db_only) const {
    const NYX_DB_LOCK lock;
    get_impl().m_cache = enable ? std::make_unique<NYX_DB_CACHE>() : nullptr;
    if (this_db_only)
        return;
    for (const NYX_DB *const sub_db : NYX_DB_LINKER::get().get_sub_dbs(this, false))
        sub_db->enable_cache(enable, track_updates, true);
}

NYX_DB_CACHE *NYX_DB::get_cache() const {
    return get_impl().m_cache.get();
}
