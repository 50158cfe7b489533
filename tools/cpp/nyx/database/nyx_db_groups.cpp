// The members of NYX_DB that work on groups.
#include "database/nyx_db_diagnostics.h"
#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_lock.h"
#include "nyx/nyx_db.h"
#include "nyx_report/nyx_report_exception.h"

#include <filesystem>

namespace {

NYX_DB_GROUP *add_group(const std::string &group_name, const std::string &dir, std::string &base_directory) {
    constexpr const char *function = "NYX_DB::create_group";
    if (group_name.empty())
        NYX_RAISE_INVALID_ARGUMENT(function, "DB group name cannot be empty");
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    if (linker.find_group(group_name) != nullptr)
        NYX_RAISE_INVALID_ARGUMENT(function, "DB group " + group_name +
                                                 " already exists. Cannot create DB group with the same name.");
    std::error_code error;
    base_directory = dir.empty() ? std::filesystem::current_path(error).string() : dir;
    NYX_DB_GROUP *const group = linker.find_or_add_group(group_name);
    group->set_base_directory(base_directory);
    return group;
}

} // namespace

void NYX_DB::create_group(const std::string &group_name, const std::string &dir) {
    const NYX_DB_LOCK lock;
    std::string base_directory;
    add_group(group_name, dir, base_directory);
}

void NYX_DB::create_group(const std::string &group_name, std::vector<GROUP_ENTRY> &entries, const std::string &dir) {
    const NYX_DB_LOCK lock;
    std::string base_directory;
    NYX_DB_GROUP *const group = add_group(group_name, dir, base_directory);
    for (const GROUP_ENTRY &entry : entries) {
        std::string errors = "Cannot initialize DB group " + group_name + " : ";
        if (!group->add_group_entry(entry.name, entry.path, entry.mode, base_directory, &errors))
            NYX_RAISE_INVALID_ARGUMENT("NYX_DB::create_group", errors);
    }
}

void NYX_DB::remove_group(const std::string &group_name) {
    if (group_name.empty())
        NYX_RAISE_INVALID_ARGUMENT("NYX_DB::remove_group", "DB group name cannot be empty");
    NYX_DB_LINKER::get().remove_group(group_name);
}

void NYX_DB::purge_db_group(const std::string &group_name) {
    if (group_name.empty())
        return;
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    if (linker.find_group(group_name) == nullptr)
        NYX_RAISE_INVALID_ARGUMENT("NYX_DB::purge_db_group",
                                   "DB group " + group_name + " doesn't exists. Cannot purge.");
    // By the name, for another thread may remove the group while none of its databases is open.
    const auto find_first = [&]() -> NYX_DB * {
        const NYX_DB_LOCK lock;
        const NYX_DB_GROUP *const group = linker.find_group(group_name);
        return group != nullptr ? linker.find_first_db(group) : nullptr;
    };
    // Each round closes one at least; one that goes with a parent's close is gone before the next round looks.
    while (NYX_DB *const db = find_first()) {
        NYX_DB *top = db;
        try {
            top = const_cast<NYX_DB *>(db->get_top_db());
        } catch (const NYX_RUNTIME_ERROR &) {
            // It has several parents: it goes by itself.
        }
        trace_db_access("purge()", top);
        top->close(true);
    }
    linker.remove_group(group_name);
}
