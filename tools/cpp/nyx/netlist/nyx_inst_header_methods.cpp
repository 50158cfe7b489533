#include "nyx/nyx_inst_header.h"

#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_lock.h"
#include "database/nyx_db_persistent.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_naming.h"
#include "netlist/nyx_object_impl.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_param_values.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_attributes.h"

#include <boost/format.hpp>

#include <algorithm>

NYX_INST_HEADER_IMPL *NYX_INST_HEADER::get_impl() {
    return static_cast<NYX_INST_HEADER_IMPL *>(this);
}
const NYX_INST_HEADER_IMPL *NYX_INST_HEADER::get_impl() const {
    return static_cast<const NYX_INST_HEADER_IMPL *>(this);
}

template class NYX_OBJECT<NYX_INST_HEADER>;

namespace {

INST_HEADER_KEY make_key(bool is_group_link, NYX_NAME_ID db_name_id, NYX_NAME_ID module_name_id) {
    return INST_HEADER_KEY(std::string_view(), is_group_link, db_name_id, module_name_id);
}

// Partitions are parts of designs.
void check_can_link(const NYX_DB_PERSISTENT *persistent, bool is_group_link) {
    const NYX_DB_TYPE type = persistent->get_type();
    if (type == NYX_DB_TYPE::COMPONENT)
        NYX_CHECK_AS(!is_group_link, "db->is_user() && trait");
    else if (type != NYX_DB_TYPE::USER)
        NYX_CHECK_AS(!is_group_link, "!is_group_link");
}

std::string name_of(const NYX_INST_HEADER *header, NYX_NAME_ID name_id) {
    std::string result;
    nyx_append_name(result, nyx_get_persistent(header)->names(), name_id);
    return result;
}

} // namespace

// ---- Life

NYX_INST_HEADER *NYX_INST_HEADER::find_or_create(NYX_DB_PERSISTENT *db, NYX_MODULE *module,
                                                 const NYX_PARAM_VALUES *params) {
    constexpr const char *function = "NYX_INST_HEADER::find_or_create";
    NYX_DB_PERSISTENT *const other = nyx_get_persistent(module);
    NYX_CHECK_AS(db != other, "db != NYX_DB_PERSISTENT::get(module)", "module must be in different db");
    if (params != nullptr && !params->empty())
        NYX_RAISE_INVALID_ARGUMENT(function, "Cannot set generator params for non-definition module " +
                                                 module->get_name() + " in db " + module->get_db()->get_name());
    const unsigned num_ports = module->get_num_ports();
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    NYX_INST_HEADER *header = linker.find_linked_header(db, module);
    if (header == nullptr) {
        const NYX_DB_LOCK lock;
        NYX_DB *const this_db = linker.db_for_persistent(db);
        NYX_DB *const sub_db = linker.db_for_persistent(other);
        const std::string db_name = sub_db->get_name();
        NYX_CHECK_MSG(!db_name.empty(), "db_name must be non-null");
        const std::string module_name = module->get_name();
        const NYX_DB_GROUP *const group = NYX_DB_IMPL::of(*sub_db).m_group;
        const bool is_group_link = group != nullptr;
        if (is_group_link && group != NYX_DB_IMPL::of(*this_db).m_group)
            NYX_RAISE_INVALID_ARGUMENT(
                function, (boost::format("The module %1% is in db %2% from different user design group %3%") %
                           module_name % db_name % sub_db->get_db_group_name())
                              .str());

        // Names that are not known are in no key.
        NYX_NAME_MANAGER &names = db->names();
        NYX_NAME_ID db_name_id = names.find_id(db_name.c_str());
        NYX_NAME_ID module_name_id = names.find_id(module_name.c_str());
        NYX_INST_HEADER_ID id;
        if (db_name_id != NYX_NAME_ID::INVALID && module_name_id != NYX_NAME_ID::INVALID)
            id = db->find_inst_header(make_key(is_group_link, db_name_id, module_name_id));
        if (id != NYX_INST_HEADER_ID::INVALID) {
            header = db->table<NYX_INST_HEADER>().get(id);
        } else {
            const std::vector<NYX_DB *> &below = linker.get_sub_dbs(sub_db, false);
            if (std::find(below.begin(), below.end(), this_db) != below.end())
                NYX_RAISE_RUNTIME_ERROR(function, "Cannot create instance of module '" + module_name +
                                                      "' from super-db '" + db_name + "' in its sub-db '" +
                                                      this_db->get_name() + "'");
            check_can_link(db, is_group_link);
            db_name_id = names.get_id(db_name.c_str());
            module_name_id = names.get_id(module_name.c_str());
            header = create(db, make_key(is_group_link, db_name_id, module_name_id), num_ports);
            if (linker.add_sub_db(this_db, sub_db))
                linker.change_use_count(db_name, +1, NYX_DB_IMPL::of(*sub_db).m_group);
        }
        linker.link_header(header, module);
    }
    NYX_CHECK_MSG(header->get_num_ports() == num_ports, "number of ports mismatches");
    return header;
}

NYX_INST_HEADER *NYX_INST_HEADER::create(NYX_DB_PERSISTENT *db, const INST_HEADER_KEY &key, unsigned int num_ports) {
    NYX_INST_HEADER_TABLE &table = db->table<NYX_INST_HEADER>();
    NYX_INST_HEADER_IMPL *const row = table.allocate();
    try {
        db->register_inst_header(key, NYX_INST_HEADER_TABLE::get_id(row));
    } catch (...) {
        table.deallocate(row);
        throw;
    }
    row->m_db_name_id = key.m_db_name_id;
    row->m_module_name_id = key.m_module_name_id;
    row->m_num_ports = num_ports;
    if (key.m_is_user_group) {
        try {
            row->set_value(nyx_builtin_traits<NYX_INST_HEADER>(row).m_inst_header_is_user_group_trait, true);
        } catch (...) {
            db->unregister_inst_header(key);
            table.deallocate(row);
            throw;
        }
    }
    return row;
}

void NYX_INST_HEADER::increase_reference_count() {
    ++get_impl()->m_reference_count;
}

void NYX_INST_HEADER::decrease_reference_count() {
    if (get_impl()->m_reference_count < 2)
        deallocate();
    else
        --get_impl()->m_reference_count;
}

void NYX_INST_HEADER::deallocate() {
    NYX_INST_HEADER_IMPL *const impl = get_impl();
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(impl);
    NYX_DB_LINKER::get().forget_header(this);
    persistent->unregister_inst_header(get_key());
    nyx_clear_traits<NYX_INST_HEADER>(this);
    persistent->table<NYX_INST_HEADER>().deallocate(impl); // the name is INVALID with that
}

// ---- What it stands for

NYX_MODULE *NYX_INST_HEADER::find_module() const {
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    if (NYX_MODULE *const module = linker.find_linked_module(this))
        return module;
    const NYX_DB_LOCK lock;
    const NYX_DB_PERSISTENT *const sub_db = find_sub_db();
    NYX_MODULE *const module = sub_db != nullptr ? sub_db->find_module(get_module_name().c_str()) : nullptr;
    if (module != nullptr)
        linker.link_header(const_cast<NYX_INST_HEADER *>(this), module);
    return module;
}

NYX_MODULE *NYX_INST_HEADER::get_module() const {
    constexpr const char *function = "NYX_INST_HEADER::get_module";
    if (NYX_MODULE *const module = find_module())
        return module;
    if (find_sub_db() == nullptr)
        NYX_RAISE_RUNTIME_ERROR(function,
                                (boost::format("Unable to locate db %1% for module %2% for inst header in db %3%") %
                                 get_db_name() % get_module_name() % get_db()->get_name())
                                    .str());
    NYX_RAISE_RUNTIME_ERROR(function,
                            (boost::format("Unable to locate module %1% in db %2% for inst header in db %3%") %
                             get_module_name() % get_db_name() % get_db()->get_name())
                                .str());
}

// The database that is open by the name now.
const NYX_DB_PERSISTENT *NYX_INST_HEADER::find_sub_db() const {
    const NYX_DB_LOCK lock;
    NYX_DB_LINKER &linker = NYX_DB_LINKER::get();
    const NYX_DB_GROUP *const group = links_to_user_group() ? NYX_DB_IMPL::of(*get_db()).m_group : nullptr;
    return linker.find_db_persistent(get_db_name(), group);
}

bool NYX_INST_HEADER::links_to_user_group() const {
    return nyx_get_persistent(this)->get_type() == NYX_DB_TYPE::USER &&
           get_value(nyx_builtin_traits(this).m_inst_header_is_user_group_trait);
}

bool NYX_INST_HEADER::get_is_user_group() const {
    const NYX_DB_TYPE type = nyx_get_persistent(this)->get_type();
    if (type != NYX_DB_TYPE::USER && type != NYX_DB_TYPE::COMPONENT)
        return false;
    check_can_link(nyx_get_persistent(this), true);
    return get_value(nyx_builtin_traits(this).m_inst_header_is_user_group_trait);
}

void NYX_INST_HEADER::set_is_user_group(bool value) {
    const NYX_DB_TYPE type = nyx_get_persistent(this)->get_type();
    check_can_link(nyx_get_persistent(this), value || type == NYX_DB_TYPE::COMPONENT);
    if (type != NYX_DB_TYPE::USER)
        return;
    NYX_BOOL_TRAIT *const trait = nyx_builtin_traits(this).m_inst_header_is_user_group_trait;
    if (get_value(trait) == value)
        return;
    const INST_HEADER_KEY old_key = get_key();
    if (old_key.m_is_user_group == value) {
        set_value(trait, value); // only the trait said otherwise
        NYX_DB_LINKER::get().forget_header(this);
        return;
    }
    const INST_HEADER_KEY key = enter_key(value, get_impl()->m_module_name_id, "NYX_INST_HEADER::set_is_user_group");
    try {
        set_value(trait, value);
    } catch (...) {
        leave_key(key);
        throw;
    }
    leave_key(old_key);
    NYX_DB_LINKER::get().forget_header(this);
}

INST_HEADER_KEY NYX_INST_HEADER::get_key() const {
    return nyx_get_persistent(this)->get_inst_header_key(NYX_INST_HEADER_TABLE::get_id(get_impl()));
}

INST_HEADER_KEY NYX_INST_HEADER::enter_key(bool is_group_link, NYX_NAME_ID module_name_id, const char *function) {
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(this);
    const INST_HEADER_KEY key = make_key(is_group_link, get_impl()->m_db_name_id, module_name_id);
    if (persistent->find_inst_header(key) != NYX_INST_HEADER_ID::INVALID)
        NYX_RAISE_RUNTIME_ERROR(function, "There is an inst header for module " + name_of(this, module_name_id) +
                                              " in db " + get_db_name() + " already");
    persistent->register_inst_header(key, NYX_INST_HEADER_TABLE::get_id(get_impl()));
    return key;
}

INST_HEADER_KEY NYX_INST_HEADER::enter_module_name(const std::string &name, const char *function) {
    return enter_key(links_to_user_group(), nyx_get_persistent(this)->names().get_id(name.c_str()), function);
}

void NYX_INST_HEADER::leave_key(const INST_HEADER_KEY &key) {
    nyx_get_persistent(this)->unregister_inst_header(key);
}

void NYX_INST_HEADER::take_key(const INST_HEADER_KEY &key) {
    leave_key(get_key());
    get_impl()->m_module_name_id = key.m_module_name_id;
    NYX_DB_LINKER::get().forget_header(this);
}

std::string NYX_INST_HEADER::get_db_name() const {
    return name_of(this, get_impl()->m_db_name_id);
}
std::string NYX_INST_HEADER::get_module_name() const {
    return name_of(this, get_impl()->m_module_name_id);
}

void NYX_INST_HEADER::set_module_name(const std::string &name) {
    constexpr const char *function = "NYX_INST_HEADER::set_module_name";
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT(function, "Module name cannot be empty");
    if (name != get_module_name())
        take_key(enter_module_name(name, function));
}

// ---- Counts

unsigned int NYX_INST_HEADER::get_num_ports() const {
    return get_impl()->m_num_ports;
}
void NYX_INST_HEADER::set_num_ports(unsigned int num_ports) {
    get_impl()->m_num_ports = num_ports;
}

unsigned int NYX_INST_HEADER::get_reference_count() const {
    return get_impl()->m_reference_count;
}

bool NYX_INST_HEADER::is_unique() const {
    return nyx_get_persistent(this)->get_type() == NYX_DB_TYPE::COMPONENT;
}
