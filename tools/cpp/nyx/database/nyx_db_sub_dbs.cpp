// How a database finds those that it refers to. It knows them by name only, from its headers.
#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_lock.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_module_table.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

namespace {

constexpr const char *s_function = "NYX_DB_PERSISTENT::open_sub_dbs";

// Calls `visit(id, row)` for each header in use.
template <class VISIT>
void for_each_header(const NYX_INST_HEADER_TABLE &table, VISIT &&visit) {
    for (unsigned i = 0; i < table.iter_limit(); ++i) {
        const NYX_INST_HEADER_IMPL &row = *table.get(NYX_INST_HEADER_ID(i));
        if (row.m_module_name_id != NYX_NAME_ID::INVALID)
            visit(i, row);
    }
}

// The modules of one database by name. Made from the rows: what a file claims in its hash maps is not believed here.
class MODULES_BY_NAME {
public:
    explicit MODULES_BY_NAME(const NYX_DB_PERSISTENT &persistent) : m_table(persistent.table<NYX_MODULE>()) {
        std::string name;
        for (unsigned i = 0; i < m_table.iter_limit(); ++i)
            if (persistent.names().find_name(*m_table.m_name_id.get(NYX_MODULE_ID(i)), name))
                m_name_to_id.emplace(name, i);
    }

    const NYX_MODULE_IMPL *find(const std::string &name) const {
        const auto found = m_name_to_id.find(name);
        return found != m_name_to_id.end() ? m_table.get(NYX_MODULE_ID(found->second)) : nullptr;
    }

private:
    const NYX_MODULE_TABLE &m_table;
    std::unordered_map<std::string, unsigned> m_name_to_id;
};

// Resolves the headers of one database.
class RESOLVER {
public:
    RESOLVER(NYX_DB_PERSISTENT &persistent, NYX_DB_GROUP *group, std::set<const NYX_DB_PERSISTENT *> &visited)
        : m_persistent(persistent)
        , m_db(m_linker.db_for_persistent(&persistent))
        , m_group(group)
        , m_visited(visited)
        , m_user_group(persistent.get_user_group_headers()) {}

    void resolve(unsigned id, const NYX_INST_HEADER_IMPL &row) {
        const std::string db_name = name_of(row.m_db_name_id);
        // Only designs have partitions.
        const bool user_group = m_db->is_user() && m_user_group[id];
        NYX_DB_GROUP *const group = user_group ? m_group : nullptr;
        NYX_DB_PERSISTENT *sub = m_linker.find_db_persistent(db_name, group);
        if (sub == nullptr)
            sub = open(db_name, group);
        else
            use(db_name, group, sub);
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
            m_linker.add_sub_db(m_db, m_linker.db_for_persistent(sub));
            return sub;
        } catch (...) {
            // It may be open, and one of those that it refers to is not. It goes with this database then.
            if (const NYX_DB_PERSISTENT *const sub = m_linker.find_db_persistent(db_name, group))
                m_linker.add_sub_db(m_db, m_linker.db_for_persistent(sub));
            throw;
        }
    }

    // A leaf may be shared by any number of databases, one with sub-databases of its own may be reached once.
    void use(const std::string &db_name, NYX_DB_GROUP *group, NYX_DB_PERSISTENT *sub) {
        const NYX_DB_LOCK lock;
        NYX_DB *const sub_db = m_linker.db_for_persistent(sub);
        const std::vector<NYX_DB *> &linked = m_linker.get_sub_dbs(m_db, true);
        if (std::find(linked.begin(), linked.end(), sub_db) != linked.end())
            return;
        if (sub->has_inst_headers() && !m_visited.insert(sub).second)
            NYX_RAISE_RUNTIME_ERROR(
                s_function, "Circular or multiple dependencies are not allowed on non-leaf database " + db_name);
        if (m_linker.add_sub_db(m_db, sub_db))
            m_linker.change_use_count(db_name, +1, group);
    }

    void check(const std::string &db_name, const NYX_INST_HEADER_IMPL &row, const NYX_DB_PERSISTENT &sub,
               bool user_group) {
        const std::string module_name = name_of(row.m_module_name_id);
        const MODULES_BY_NAME &modules = m_modules.try_emplace(&sub, sub).first->second;
        const NYX_MODULE_IMPL *const sub_module = modules.find(module_name);
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
    const std::vector<bool> m_user_group;
    std::map<const NYX_DB_PERSISTENT *, MODULES_BY_NAME> m_modules;
};

} // namespace

void NYX_DB_PERSISTENT::open_sub_dbs(NYX_DB_GROUP *group, std::set<const NYX_DB_PERSISTENT *> &visited) {
    if (has_inst_headers()) {
        visited.insert(this);
        RESOLVER resolver(*this, group, visited);
        for_each_header(*m_inst_header_table,
                        [&](unsigned id, const NYX_INST_HEADER_IMPL &row) { resolver.resolve(id, row); });
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
    const std::vector<bool> user_group = persistent.get_user_group_headers();
    for_each_header(persistent.table<NYX_INST_HEADER>(), [&](unsigned id, const NYX_INST_HEADER_IMPL &row) {
        std::string db_name;
        if (!persistent.names().find_name(row.m_db_name_id, db_name))
            return;
        const NYX_DB_GROUP *const group = db->is_user() && user_group[id] ? record.m_group : nullptr;
        const NYX_DB_PERSISTENT *const sub = find_db_persistent(db_name, group);
        if (sub == nullptr)
            return;
        NYX_DB *const sub_db = db_for_persistent(sub);
        add_sub_db(db, sub_db);
        update_hierarchy_maps(sub_db);
    });
}
