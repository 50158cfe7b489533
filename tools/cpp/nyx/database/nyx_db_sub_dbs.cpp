// How a database finds those that it refers to. It knows them by name only, from its headers.
#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_lock.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_module_table.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_builtin_traits.h"

#include <algorithm>
#include <utility>

namespace {

constexpr const char *s_function = "NYX_DB_PERSISTENT::open_sub_dbs";

// Calls `visit(row)` for each header in use.
template <class VISIT>
void for_each_header(const NYX_INST_HEADER_TABLE &table, VISIT &&visit) {
    for (unsigned i = 0; i < table.iter_limit(); ++i) {
        const NYX_INST_HEADER_IMPL &row = *table.get(NYX_INST_HEADER_ID(i));
        if (row.m_module_name_id != NYX_NAME_ID::INVALID)
            visit(row);
    }
}

// Whether a header leads to the group of its database. Only designs have partitions.
bool links_to_user_group(const NYX_DB &db, const NYX_INST_HEADER_IMPL &row) {
    return db.is_user() && row.get_value(NYX_DB_IMPL::of(db).m_builtin_traits->m_inst_header_is_user_group_trait);
}

// The module of that name. The index was read from a file, and the row that it leads to need not be the module.
const NYX_MODULE_IMPL *find_module(const NYX_DB_PERSISTENT &persistent, const std::string &name) {
    const auto *const row = static_cast<const NYX_MODULE_IMPL *>(persistent.find_module(name.c_str()));
    if (row == nullptr)
        return nullptr;
    const NYX_NAME_ID name_id = *persistent.table<NYX_MODULE>().m_name_id.get(NYX_MODULE_TABLE::get_id(row));
    return name_id == persistent.names().find_id(name.c_str()) ? row : nullptr;
}

// Resolves the headers of one database.
class RESOLVER {
public:
    RESOLVER(NYX_DB_PERSISTENT &persistent, NYX_DB_GROUP *group, std::set<const NYX_DB_PERSISTENT *> &visited)
        : m_persistent(persistent)
        , m_db(m_linker.db_for_persistent(&persistent))
        , m_group(group)
        , m_visited(visited) {}

    void resolve(const NYX_INST_HEADER_IMPL &row) {
        const std::string db_name = name_of(row.m_db_name_id);
        const bool user_group = links_to_user_group(*m_db, row);
        NYX_DB_GROUP *const group = user_group ? m_group : nullptr;
        NYX_DB_PERSISTENT *sub = find_and_use(db_name, group);
        if (sub == nullptr)
            sub = open(db_name, group);
        NYX_CHECK_AS(sub != nullptr, "db", "no root of '%s'", db_name.c_str());
        check(db_name, row, *sub, user_group);
    }

private:
    std::string name_of(NYX_NAME_ID id) const {
        std::string name;
        if (!m_persistent.names().find_name(id, name))
            throw NYX_DATABASE_CORRUPTED_EXCEPTION(m_db->get_file_name());
        return name;
    }

    // The opening counts the use that this database holds.
    NYX_DB_PERSISTENT *open(const std::string &db_name, NYX_DB_GROUP *group) {
        try {
            NYX_DB_PERSISTENT *const sub = m_linker.find_or_open_db_persistent(db_name, group);
            if (!m_linker.add_sub_db(m_db, m_linker.db_for_persistent(sub)))
                m_linker.change_use_count(db_name, -1, group);
            return sub;
        } catch (...) {
            // It may be open, and one of those that it refers to is not. It goes with this database then.
            const NYX_DB_LOCK lock;
            if (const NYX_DB_PERSISTENT *const sub = m_linker.find_db_persistent(db_name, group))
                m_linker.add_sub_db(m_db, m_linker.db_for_persistent(sub));
            throw;
        }
    }

    // Null if it is not open. Else it is used in the same breath: another thread may close it in any other moment. A
    // leaf may be shared by any number of databases, one with sub-databases of its own may be reached once.
    NYX_DB_PERSISTENT *find_and_use(const std::string &db_name, NYX_DB_GROUP *group) {
        const NYX_DB_LOCK lock;
        NYX_DB_PERSISTENT *const sub = m_linker.find_db_persistent(db_name, group);
        if (sub == nullptr)
            return nullptr;
        NYX_DB *const sub_db = m_linker.db_for_persistent(sub);
        const std::vector<NYX_DB *> &linked = m_linker.get_sub_dbs(m_db, true);
        if (std::find(linked.begin(), linked.end(), sub_db) != linked.end())
            return sub;
        if (sub->has_inst_headers() && !m_visited.insert(sub).second)
            NYX_RAISE_RUNTIME_ERROR(
                s_function, "Circular or multiple dependencies are not allowed on non-leaf database " + db_name);
        if (m_linker.add_sub_db(m_db, sub_db))
            m_linker.change_use_count(db_name, +1, group);
        return sub;
    }

    void check(const std::string &db_name, const NYX_INST_HEADER_IMPL &row, const NYX_DB_PERSISTENT &sub,
               bool user_group) {
        const std::string module_name = name_of(row.m_module_name_id);
        const NYX_MODULE_IMPL *const sub_module = find_module(sub, module_name);
        if (sub_module == nullptr)
            NYX_RAISE_RUNTIME_ERROR(s_function, "Module " + module_name + " missing in sub-db " + db_name);
        const bool top_module_only = user_group && sub.get_type() == NYX_DB_TYPE::USER;
        NYX_CHECK_AS(!top_module_only || sub_module == sub.get_top_module(),
                     "!top_module_only || sub_module == db->get_top_module()",
                     "module '%s' of partition '%s' is not its top module", module_name.c_str(), db_name.c_str());
        if (sub_module->m_num_ports != row.m_num_ports)
            NYX_RAISE_RUNTIME_ERROR(s_function, "Mismatch between number of ports of inst header for db " + db_name +
                                                    " (" + std::to_string(row.m_num_ports) + ")" +
                                                    " and module in the sub-db " + module_name + " (" +
                                                    std::to_string(sub_module->m_num_ports) + ")");
    }

    NYX_DB_LINKER &m_linker = NYX_DB_LINKER::get();
    NYX_DB_PERSISTENT &m_persistent;
    NYX_DB *const m_db;
    NYX_DB_GROUP *const m_group;
    std::set<const NYX_DB_PERSISTENT *> &m_visited;
};

} // namespace

void NYX_DB_PERSISTENT::open_sub_dbs(NYX_DB_GROUP *group, std::set<const NYX_DB_PERSISTENT *> &visited) {
    if (has_inst_headers()) {
        visited.insert(this);
        RESOLVER resolver(*this, group, visited);
        for_each_header(*m_inst_header_table, [&](const NYX_INST_HEADER_IMPL &row) { resolver.resolve(row); });
    }
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    linker.update_hierarchy_maps(linker.db_for_persistent(this));
}

// A header in use has an instance or stands for a link that was counted, so the headers say it all.
void NYX_DB_LINKER::update_hierarchy_maps(NYX_DB *db) {
    const NYX_DB_LOCK lock;
    if (std::exchange(m_links.at(db).initialized, true))
        return;
    const NYX_DB_IMPL &record = NYX_DB_IMPL::of(*db);
    const NYX_DB_PERSISTENT &persistent = *record.m_persistent;
    for_each_header(persistent.table<NYX_INST_HEADER>(), [&](const NYX_INST_HEADER_IMPL &row) {
        std::string db_name;
        if (!persistent.names().find_name(row.m_db_name_id, db_name))
            return;
        NYX_DB_GROUP *const group = links_to_user_group(*db, row) ? record.m_group : nullptr;
        const NYX_DB_PERSISTENT *const sub = find_db_persistent(db_name, group);
        if (sub == nullptr)
            return;
        NYX_DB *const sub_db = db_for_persistent(sub);
        // Those that open_sub_dbs() has made are there already, and counted.
        if (add_sub_db(db, sub_db))
            change_use_count(db_name, +1, group);
        update_hierarchy_maps(sub_db);
    });
}
