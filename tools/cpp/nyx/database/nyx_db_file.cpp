// The members of NYX_DB that work on files.
#include "database/nyx_db_diagnostics.h"
#include "database/nyx_db_files.h"
#include "database/nyx_db_image_check.h"
#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_lock.h"
#include "file/nyx_file_stream.h"
#include "netlist/nyx_db_observer.h"
#include "nyx/nyx_db.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <cerrno>
#include <filesystem>
#include <limits>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace {

bool exists(const std::string &path) {
    std::error_code error;
    return fs::exists(path, error);
}

// Removes what a new database will replace: a file or a link, never a directory.
void remove_file(const std::string &path) {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (fs::is_regular_file(status) || fs::is_symlink(status))
        fs::remove(path, error);
}

NYX_DB_FILE_STATS read_stats(const std::string &name) {
    const std::string path = to_db_file_path(name);
    if (!exists(path))
        nyx_db_exception_with_msg_code("DB-NO-SUCH-FILE", path.c_str());
    errno = 0;
    NYX_FILE_INPUT stream(path);
    if (stream.fail())
        throw NYX_FILE_IO_EXCEPTION(
            path, errno != 0 ? std::error_code(errno, std::system_category()) : make_error_code(std::io_errc::stream),
            NYX_FILE_IO_EXCEPTION::READ);
    return NYX_MANAGED_SERIALISED_FILE::read_header(stream, path);
}

// Databases with headers that were reached since the outermost opening of this thread. Openings that are nested in it
// share the set, since a circle is seen only from where it began.
class VISITED {
public:
    VISITED() : m_is_outermost(s_current == nullptr) {
        if (m_is_outermost)
            s_current = &m_set;
    }
    ~VISITED() {
        if (m_is_outermost)
            s_current = nullptr;
    }
    VISITED(const VISITED &) = delete;
    VISITED &operator=(const VISITED &) = delete;

    std::set<const NYX_DB_PERSISTENT *> &get() { return *s_current; }

    // While it lives, an opening begins a set of its own: what an observer opens is no part of the design.
    class SUSPENDED {
    public:
        SUSPENDED() : m_current(std::exchange(s_current, nullptr)) {}
        ~SUSPENDED() { s_current = m_current; }
        SUSPENDED(const SUSPENDED &) = delete;
        SUSPENDED &operator=(const SUSPENDED &) = delete;

    private:
        std::set<const NYX_DB_PERSISTENT *> *const m_current;
    };

private:
    static thread_local std::set<const NYX_DB_PERSISTENT *> *s_current;
    std::set<const NYX_DB_PERSISTENT *> m_set;
    const bool m_is_outermost;
};

thread_local std::set<const NYX_DB_PERSISTENT *> *VISITED::s_current = nullptr;

} // namespace

NYX_DB *NYX_DB::create(const char *db_file_path, unsigned long long size_MiB, NYX_DB_TYPE type, const char *db_name,
                       const char *group_name, boost::string_view client_id) {
    constexpr const char *function = "NYX_DB::create";
    if (type == NYX_DB_TYPE::WORKING_LIBRARY)
        NYX_RAISE_INVALID_ARGUMENT(function, "Working library cannot be created as persistent");
    NYX_CHECK_MSG(type >= NYX_DB_TYPE::DEVICE && type <= NYX_DB_TYPE::DEFINITION, "Unknown DB_TYPE");
    const NYX_REPORT::NYX_REPORT_PROFILE profile(function);
    const std::string stripped = strip_db_extension(nyx_text(db_file_path));
    const std::string name = db_name != nullptr ? db_name : std::string(nyx_filename_of(stripped));
    const std::string group = nyx_text(group_name);
    const std::string path = to_normal_path(stripped + s_nyx_db_extension);
    NYX_DB *db;
    {
        NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
        const NYX_DB_LOCK lock;
        // An unknown group is not the default one: it has no databases yet.
        const NYX_DB_GROUP *const known_group = linker.find_group(group);
        if (known_group != nullptr && known_group->find_db_persistent(name) != nullptr)
            NYX_RAISE_RUNTIME_ERROR(function, "DB '" + name + "' is already open or being created. Cannot create.\n");
        if (const NYX_DB *const other = linker.find_open_db_by_file(path))
            NYX_RAISE_RUNTIME_ERROR(function, "DB '" + path + "' is already open as '" + other->get_name() +
                                                  "' or being created. Cannot create.\n");
        remove_file(path);
        db = register_new({"create()", nyx_bytes_of_MiB(size_MiB), type, name, group, path,
                           std::string(client_id.data(), client_id.size())});
    }
    complete_new(db);
    return db;
}

NYX_DB *NYX_DB::open(const char *db_file_path, ACCESS_MODE mode, const char *db_name, const char *group_name,
                     double size_factor) {
    constexpr const char *function = "NYX_DB::open";
    const NYX_REPORT::NYX_REPORT_PROFILE profile(function);
    nyx_check_size_factor(function, size_factor);
    const std::string path = to_db_file_path_as_told(nyx_text(db_file_path));
    const std::string full_path = to_normal_path(path);
    const bool is_there = exists(full_path);
    if (!is_there && !exists(path))
        nyx_db_exception_with_msg_code("DB-NO-SUCH-FILE", path.c_str());
    // A link in front of a "..": the normal form leads elsewhere.
    NYX_CHECK_AS(is_there, "boost_fs::exists(full_path)",
                 "Path normalization of '%s' resulted in non-existing path '%s'", path.c_str(), full_path.c_str());
    const std::string name = db_name != nullptr ? db_name : nyx_db_name_of_file(full_path);
    const auto [db, is_new] = register_opened(full_path, mode, name, nyx_text(group_name), size_factor);
    if (is_new)
        complete_opened(db);
    return db;
}

NYX_DB::OPENED NYX_DB::register_opened(const std::string &path, ACCESS_MODE mode, const std::string &db_name,
                                       const std::string &group_name, double size_factor) {
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    const NYX_DB_LOCK lock;
    if (NYX_DB *const db = linker.find_open_db(path, mode, db_name, group_name)) {
        trace_db_access("open() of existing DB", db);
        linker.change_use_count(db_name, +1, db->get_db_group());
        return {db, false};
    }
    auto record = std::make_unique<NYX_DB_IMPL>();
    NYX_FILE_OPTIONS options;
    if (mode != ACCESS_MODE::READ_ONLY) {
        if (mode == ACCESS_MODE::COPY_ON_WRITE)
            NYX_FATAL("COPY_ON_WRITE removed!");
        NYX_CHECK(mode == ACCESS_MODE::MODIFY);
        require_db_file_exists_and_is_writable(path);
        options.size_rule = nyx_size_rule(size_factor);
    }
    record->m_file = std::make_unique<NYX_MANAGED_SERIALISED_FILE>(mode == ACCESS_MODE::READ_ONLY);
    if (!record->m_file->load(path, options))
        throw NYX_FILE_IO_EXCEPTION(path, {ENOENT, std::generic_category()}, NYX_FILE_IO_EXCEPTION::READ);
    // Nothing that lies in the blocks is looked at before this.
    record->m_persistent = nyx_find_sound_root(record->m_file->get_segment_manager(), record->m_file->take_blocks(),
                                               record->m_file->get_type(), mode == ACCESS_MODE::MODIFY);
    if (record->m_persistent == nullptr)
        throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
    record->m_file_name = path;
    record->m_name = db_name;
    record->m_access_mode = mode;
    record->m_group = group_name.empty() ? nullptr : linker.find_or_add_group(group_name);

    NYX_DB *const db = NYX_DB_IMPL::attach(std::move(record));
    trace_db_access("open() of new DB", db);
    try {
        // The traits first: an index of instances that is there already asks by them where headers lead.
        if (!NYX_BUILTIN_TRAITS::are_in(db))
            throw NYX_DATABASE_CORRUPTED_EXCEPTION(path);
        db->get_impl().m_builtin_traits = std::make_unique<NYX_BUILTIN_TRAITS>(db);
        linker.register_db(db_name, db);
    } catch (...) {
        NYX_DB_IMPL::detach(db);
        throw;
    }
    return {db, true};
}

void NYX_DB::complete_opened(NYX_DB *db) {
    {
        const VISITED::SUSPENDED suspended;
        nyx_notify<NYX_DB>(&NYX_OBSERVER<NYX_DB>::opened, db);
    }
    VISITED visited;
    db->get_db_persistent()->open_sub_dbs(db->get_db_group(), visited.get());
}

NYX_DB *NYX_DB::find_by_name(const std::string &db_name, ACCESS_MODE mode, const std::string &group_name) {
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    const NYX_DB_LOCK lock;
    const NYX_DB_GROUP *const group = linker.find_group(group_name);
    const NYX_DB_PERSISTENT *const persistent = group != nullptr ? group->find_db_persistent(db_name) : nullptr;
    if (persistent == nullptr)
        return nullptr;
    NYX_DB *const db = linker.db_for_persistent(persistent);
    if (db->get_access_mode() != mode)
        NYX_RAISE_RUNTIME_ERROR("NYX_DB::find_by_name",
                                "DB " + db_name + " was opened in mode " +
                                    std::to_string(static_cast<unsigned>(db->get_access_mode())) +
                                    " and cannot be obtained in mode " + std::to_string(static_cast<unsigned>(mode)));
    linker.change_use_count(db_name, +1, db->get_db_group());
    return db;
}

NYX_DB *NYX_DB::open_by_name(const std::string &db_name, ACCESS_MODE mode, const std::string &group_name) {
    std::string path;
    {
        NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
        const NYX_DB_LOCK lock;
        const NYX_DB_GROUP *const group = linker.find_group(group_name);
        if (group == nullptr)
            return nullptr;
        const NYX_DB_PERSISTENT *const persistent = group->find_db_persistent(db_name);
        path =
            persistent != nullptr ? linker.db_for_persistent(persistent)->get_file_name() : group->lookup(db_name).path;
    }
    return path.empty() ? nullptr : open(path.c_str(), mode, db_name.c_str(), group_name.c_str(), s_keep_size);
}

std::shared_ptr<NYX_DB> NYX_DB::shared_access(const std::string &db_file_path) {
    return {open(db_file_path.c_str(), ACCESS_MODE::READ_ONLY, nullptr, nullptr, s_keep_size), DESTRUCTOR()};
}

void NYX_DB::DESTRUCTOR::operator()(NYX_DB *db) const {
    if (db == nullptr)
        return;
    // A deleter must not throw, and who let the last pointer go expects nothing of the kind.
    try {
        db->close();
    } catch (const std::exception &exception) {
        NYX_REPORT::warn("%s", exception.what());
    }
}

void NYX_DB::commit(const std::string &db_file_path, double size_factor) {
    constexpr const char *function = "NYX_DB::commit";
    const NYX_REPORT::NYX_REPORT_PROFILE profile(function);
    nyx_check_size_factor(function, size_factor);
    const std::string path = to_db_file_path(db_file_path);
    require_db_file_is_writable(path);
    NYX_FILE_OPTIONS options;
    options.size_rule = nyx_size_rule(size_factor);
    get_impl().m_file->commit_impl(path, options);
}

bool NYX_DB::flush(bool) {
    return true;
}

void NYX_DB::set_shrink_on_close(bool) {}

void NYX_DB::destroy(const char *db_file_path) {
    const std::string path = to_db_file_path(nyx_text(db_file_path));
    require_db_file_is_writable(path);
    std::error_code error;
    if (!fs::is_directory(path, error))
        fs::remove(path, error);
    else
        error = std::make_error_code(std::errc::is_a_directory);
    if (error)
        nyx_db_exception_with_msg_code("CANNOT-DELETE-DB", path.c_str());
}

void NYX_DB::clone_db(const char *from, const char *to) {
    const NYX_REPORT::NYX_REPORT_PROFILE profile("NYX_DB::clone_db");
    const std::string from_path = to_db_file_path(nyx_text(from));
    require_db_file_exists_and_is_writable(from_path);
    const std::string to_path = to_db_file_path(nyx_text(to));
    const std::string new_top = strip_db_extension(nyx_text(to));
    const std::string name = nyx_db_name_of_file(to_path);
    NYX_DB *db = nullptr;
    {
        // Nobody opens the target in between. What is open is told of before it is lost, and not after.
        const NYX_DB_LOCK lock;
        NYX_DB_LINKER::get().find_open_db(to_path, ACCESS_MODE::MODIFY, name, "");
        std::error_code error;
        fs::copy_file(from_path, to_path, fs::copy_options::overwrite_existing, error);
        if (error)
            throw NYX_FILE_IO_EXCEPTION(to_path, error, NYX_FILE_IO_EXCEPTION::WRITE);
        db = register_opened(to_path, ACCESS_MODE::MODIFY, name, "", s_keep_size).db;
    }
    try {
        complete_opened(db);
        db->get_db_persistent()->rename_top_module(new_top.c_str());
        db->get_impl().m_file->commit_impl(to_path);
    } catch (...) {
        discard(db);
        throw;
    }
    discard(db);
}

void NYX_DB::grow_db(const char *db_file_path, unsigned long long extra_MiB) {
    constexpr const char *function = "NYX_DB::grow_db";
    const NYX_REPORT::NYX_REPORT_PROFILE profile("NYX_DB::grow");
    if (extra_MiB == 0)
        return;
    const std::string path = to_db_file_path(nyx_text(db_file_path));
    require_db_file_exists_and_is_writable(path);
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    const NYX_DB_LOCK lock; // nobody opens it before it is rewritten
    if (linker.find_open_db_by_file(path) != nullptr)
        NYX_RAISE_RUNTIME_ERROR(function, "grow_db attempted on DB '" + path + "' when it is open.\n");
    NYX_FILE_OPTIONS options;
    options.size_rule = [extra = nyx_bytes_of_MiB(extra_MiB)](std::size_t, std::size_t default_size) {
        constexpr std::size_t max = std::numeric_limits<std::size_t>::max();
        return extra <= max - default_size ? default_size + extra : max;
    };
    NYX_MANAGED_SERIALISED_FILE::rewrite(path, options);
}

void NYX_DB::set_db_size(const char *db_file_path, unsigned long long size_MiB) {
    const NYX_REPORT::NYX_REPORT_PROFILE profile("NYX_DB::set_db_size");
    const std::string path = to_db_file_path(nyx_text(db_file_path));
    require_db_file_exists_and_is_writable(path);
    NYX_FILE_OPTIONS options;
    options.size_rule = [size = nyx_bytes_of_MiB(size_MiB)](std::size_t, std::size_t) { return size; };
    NYX_MANAGED_SERIALISED_FILE::rewrite(path, options);
}

unsigned long long NYX_DB::get_db_schema(const char *db_file_path) {
    return read_stats(nyx_text(db_file_path)).schema_id;
}

std::string NYX_DB::get_db_client_id(const char *db_file_path) {
    return read_stats(nyx_text(db_file_path)).tag;
}

NYX_DB_FILE_STATS NYX_DB::get_file_stats(boost::string_view db_file_path) {
    return read_stats(std::string(db_file_path.data(), db_file_path.size()));
}
