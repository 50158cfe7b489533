#include "database/nyx_db_group.h"

#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <utility>

NYX_DB_GROUP::NYX_DB_GROUP(std::string name) : m_name(std::move(name)) {}

void NYX_DB_GROUP::set_base_directory(std::string directory) {
    m_base_directory = std::move(directory);
}

std::string nyx_join_to_base_dir(const std::string &base_dir, const std::string &path) {
    return (std::filesystem::path(base_dir) / path).string();
}

bool NYX_DB_GROUP::add_group_entry(const std::string &db_name, const std::string &path, NYX_DB::ACCESS_MODE mode,
                                   const std::string &base_dir, std::string *errors) {
    if (db_name.empty() || path.empty()) {
        if (errors != nullptr)
            *errors += db_name.empty() ? "Missing DB name for " + path : "Missing path for " + db_name;
        return false;
    }
    std::string full_path = nyx_join_to_base_dir(base_dir, path);
    if (errors != nullptr) {
        if (NYX_DB_PERSISTENT *const persistent = find_db_persistent(db_name)) {
            const std::string file = NYX_DB_LINKER::get().db_for_persistent(persistent)->get_file_name();
            if (file != full_path)
                NYX_REPORT::info(NYX_REPORT::PREFIX_VIEW()) << "DB " << db_name << " is already open as " << file
                                                            << ". Close it first to use " << full_path << " instead";
        }
        if (const auto old = m_paths.find(db_name); old != m_paths.end() && old->second.path != full_path)
            NYX_REPORT::info(NYX_REPORT::PREFIX_VIEW()) << "DB " << db_name << " was already mapped to "
                                                        << old->second.path << ". Now mapping to " << full_path;
    }
    m_paths.insert_or_assign(db_name, ENTRY{std::move(full_path), mode});
    return true;
}

NYX_DB_GROUP::ENTRY NYX_DB_GROUP::lookup(const std::string &db_name) const {
    if (const auto found = m_paths.find(db_name); found != m_paths.end())
        return found->second;
    if (!m_base_directory.empty())
        return {nyx_join_to_base_dir(m_base_directory, db_name), NYX_DB::ACCESS_MODE::READ_ONLY};
    return {};
}

void NYX_DB_GROUP::find_known_db_names(std::set<std::string> &names) const {
    for (const auto &[name, entry] : m_paths)
        names.insert(name);
}

NYX_DB_PERSISTENT *NYX_DB_GROUP::find_db_persistent(const std::string &db_name) const {
    const auto found = m_registered.find(db_name);
    return found != m_registered.end() ? found->second : nullptr;
}

void NYX_DB_GROUP::register_db(const std::string &db_name, NYX_DB_PERSISTENT *persistent) {
    if (db_name.empty())
        return;
    if (m_registered.contains(db_name))
        NYX_RAISE_RUNTIME_ERROR("NYX_DB_GROUP::register_db", "db_name '" + db_name + "' is already in use.");
    m_name_to_use_count.try_emplace(db_name, 0);
    try {
        m_registered.emplace(db_name, persistent);
    } catch (...) {
        m_name_to_use_count.erase(db_name);
        throw;
    }
}

void NYX_DB_GROUP::unregister_db(const std::string &db_name) {
    if (db_name.empty())
        return;
    if (m_registered.erase(db_name) == 0)
        NYX_RAISE_RUNTIME_ERROR("NYX_DB_GROUP::unregister_db", "DB '" + db_name + "' name is not registered");
    m_name_to_use_count.erase(db_name);
}

int NYX_DB_GROUP::change_use_count(const std::string &db_name, int change_num) {
    if (db_name.empty())
        return 0;
    NYX_CHECK_MSG(change_num != 0, "Refcount expects non-zero change value");
    NYX_CHECK_MSG(find_db_persistent(db_name) != nullptr, "DB '%s' must be registerd while counting its use.",
                  db_name.c_str());
    int &count = m_name_to_use_count[db_name];
    const long long changed = static_cast<long long>(count) + change_num;
    count = static_cast<int>(std::clamp<long long>(changed, 0, std::numeric_limits<int>::max()));
    return count;
}

int NYX_DB_GROUP::get_use_count(const std::string &db_name) const {
    if (find_db_persistent(db_name) == nullptr)
        return 0;
    const auto use_count_it = m_name_to_use_count.find(db_name);
    NYX_CHECK_MSG(use_count_it != m_name_to_use_count.end(),
                  "DB '%s' is registered in group %s, but its use is not counted.", db_name.c_str(), m_name.c_str());
    return use_count_it->second;
}
