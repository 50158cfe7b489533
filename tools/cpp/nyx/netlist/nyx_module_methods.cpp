#include "nyx/nyx_module.h"

#include "database/nyx_db_cache.h"
#include "database/nyx_db_impl.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_module_table.h"
#include "netlist/nyx_naming.h"
#include "netlist/nyx_object_impl.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_inst_header.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_interface.h"
#include "nyx/nyx_net.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_attributes.h"

#include <boost/format.hpp>

#include <new>
#include <utility>
#include <vector>

NYX_MODULE_IMPL *NYX_MODULE::get_impl() {
    return static_cast<NYX_MODULE_IMPL *>(this);
}
const NYX_MODULE_IMPL *NYX_MODULE::get_impl() const {
    return static_cast<const NYX_MODULE_IMPL *>(this);
}

template class NYX_OBJECT<NYX_MODULE>;

namespace {

constexpr std::uint32_t not_specified = ~std::uint32_t(0);

NYX_NAME_MANAGER &names_of(const NYX_MODULE *module) {
    return nyx_get_persistent(module)->names();
}

// INVALID for no name.
NYX_NAME_ID intern_file_name(NYX_NAME_MANAGER &names, const char *file_name) {
    return file_name != nullptr && *file_name != '\0' ? names.get_id(file_name) : NYX_NAME_ID::INVALID;
}

// Undoes a step of a creation that has failed. Undoing needs room itself, and when there is none a row without a name
// is left behind, which nobody takes for an object.
template <class UNDO>
void undo(UNDO &&step) noexcept {
    try {
        step();
    } catch (const boost::interprocess::bad_alloc &) {
    }
}

} // namespace

NYX_MODULE *NYX_MODULE::allocate(NYX_DB *db, const std::string &name, unsigned int num_ports, TYPE type,
                                 const char *file_name, unsigned int lineno) {
    NYX_CHECK(db);
    NYX_CHECK_MSG(!name.empty(), "Module must have non-empty name");
    NYX_DB_PERSISTENT *const persistent = NYX_DB_IMPL::of(*db).m_persistent;
    NYX_CHECK_AS(!persistent->find_module(name.c_str()), "!db->find_local_module(name.c_str())",
                 "Module %s already exists", name.c_str());

    // What may fail comes first; the name, by which the row is a module, is the last thing set.
    NYX_NAME_MANAGER &names = persistent->names();
    const NYX_NAME_ID name_id = names.get_id(name.c_str());
    const NYX_NAME_ID file_name_id = intern_file_name(names, file_name);
    NYX_MODULE_TABLE &table = persistent->table<NYX_MODULE>();
    NYX_MODULE_IMPL *const module = table.allocate();
    const NYX_MODULE_ID id = NYX_MODULE_TABLE::get_id(module);
    try {
        persistent->register_module(name_id, id);
        if (num_ports != 0)
            module->m_first_port = NYX_PORT_TABLE::get_id(persistent->table<NYX_PORT>().allocate(num_ports));
    } catch (...) {
        persistent->unregister_module(name_id);
        undo([&] { table.deallocate(module); });
        throw;
    }
    // The heads of lists, the bounds and the type's data are as they should be in a fresh row.
    module->m_num_ports = num_ports;
    module->set_type(type);
    *table.m_file_name_id.get(id) = file_name_id;
    *table.m_file_lineno.get(id) = lineno;
    *table.m_name_id.get(id) = name_id;
    nyx_notify<NYX_MODULE>(&NYX_OBSERVER<NYX_MODULE>::allocated, module);
    return module;
}

void NYX_MODULE::deallocate() {
    NYX_MODULE_IMPL *const impl = get_impl();
    if (nyx_is_observed<NYX_PORT>()) {
        for (NYX_PORT *const port : iter_ports()) {
            if (port->get_parent() == this)
                nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::deallocated, port, this);
        }
    }
    nyx_notify<NYX_MODULE>(&NYX_OBSERVER<NYX_MODULE>::deallocated, this);
    NYX_CHECK_AS(!is_top_module(), "this != db->get_top_module()", "Can't deallocate the top module");
    NYX_CHECK_AS(nyx_cell(&NYX_MODULE_TABLE::m_reference_count, impl) == 0, "impl->get_reference_count() == 0",
                 "Can't deallocate a module that has nonzero reference count (is an instance's base module or is base "
                 "module of some relative object)");

    nyx_clear_traits<NYX_MODULE>(this);
    while (NYX_NET_BUS *const bus = nyx_chain_first<NYX_NET_BUS>(impl))
        bus->deallocate();
    while (NYX_NET *const net = nyx_chain_first<NYX_NET>(impl))
        net->deallocate(this);
    while (NYX_INSTANCE_BUS *const bus = nyx_chain_first<NYX_INSTANCE_BUS>(impl))
        bus->deallocate();
    while (NYX_INSTANCE *const instance = nyx_chain_first<NYX_INSTANCE>(impl))
        instance->deallocate();
    while (NYX_PORT_BUS *const bus = nyx_chain_first<NYX_PORT_BUS>(impl))
        bus->deallocate();
    release_ports();
    while (NYX_INTERFACE *const interface = nyx_chain_first<NYX_INTERFACE>(impl))
        interface->deallocate();

    nyx_cache_drop(impl);
    NYX_DB_LINKER::get().forget_module(this);
    NYX_NAME_ID &name_id = nyx_cell(&NYX_MODULE_TABLE::m_name_id, impl);
    nyx_get_persistent(impl)->unregister_module(name_id);
    NYX_MODULE_TABLE::get_table(impl)->deallocate(impl);
    NYX_CHECK_AS(name_id == NYX_NAME_ID::INVALID, "impl->get_name_id()==NYX_NAME_ID::INVALID");
}

void NYX_MODULE::on_copy(NYX_MODULE *original) {
    nyx_notify<NYX_MODULE>(&NYX_OBSERVER<NYX_MODULE>::copied, this, original);
}

// ---- Names

void NYX_MODULE::get_name(std::string &result, const NYX_NAME_STYLE &style) const {
    const auto no_parent = []() -> const NYX_MODULE * { return nullptr; };
    nyx_write_name(result, style, "MODULE:", names_of(this), nyx_cell(&NYX_MODULE_TABLE::m_name_id, get_impl()),
                   NYX_NO_SUFFIX, no_parent);
}

std::string NYX_MODULE::get_name(const NYX_NAME_STYLE &style) const {
    std::string result;
    get_name(result, style);
    return result;
}

std::string NYX_MODULE::get_base_name() const {
    return get_name();
}

std::string NYX_MODULE::debug_get_name() const {
    return get_name();
}

void NYX_MODULE::set_name(const std::string &name) {
    constexpr const char *function = "NYX_MODULE::set_name";
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT(function, "Module name cannot be empty");
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(this);
    if (persistent->find_module(name.c_str()) != nullptr)
        NYX_RAISE_RUNTIME_ERROR(function, (boost::format("Module with name %1% already exists") % name).str());

    const bool observed = nyx_is_observed<NYX_MODULE>();
    const std::string old_name = observed ? get_name() : std::string();
    // Headers are found by the name that they hold, so they come before the change.
    const std::vector<NYX_INST_HEADER *> headers = NYX_DB_LINKER::get().get_headers_of(this);

    // The new name is entered everywhere beside the old one, and only when nothing can fail any more the old one goes.
    std::vector<std::pair<NYX_INST_HEADER *, INST_HEADER_KEY>> renamed;
    renamed.reserve(headers.size());
    NYX_NAME_ID name_id;
    try {
        for (NYX_INST_HEADER *const header : headers) {
            if (!header->get_db()->is_read_only())
                renamed.emplace_back(header, header->enter_module_name(name, function));
        }
        name_id = persistent->names().get_id(name.c_str());
        persistent->register_module(name_id, NYX_MODULE_TABLE::get_id(get_impl()));
    } catch (...) {
        for (const auto &[header, key] : renamed)
            header->leave_key(key);
        throw;
    }
    NYX_NAME_ID &cell = nyx_cell(&NYX_MODULE_TABLE::m_name_id, get_impl());
    persistent->unregister_module(cell);
    cell = name_id;
    for (const auto &[header, key] : renamed)
        header->take_key(key);

    for (const NYX_INST_HEADER *const header : headers) {
        const NYX_DB *const db = header->get_db();
        if (db->is_read_only())
            NYX_REPORT::warn("Module '%s' is now '%s', but the read-only database '%s' still refers to it by the old "
                             "name",
                             header->get_module_name().c_str(), name.c_str(), db->get_name().c_str());
    }
    if (observed)
        nyx_notify<NYX_MODULE>(&NYX_OBSERVER<NYX_MODULE>::name_changed, this, old_name);
}

bool NYX_MODULE_NAME_COMPARE::operator()(const NYX_MODULE *a, const NYX_MODULE *b) const {
    return a->get_name() < b->get_name();
}

// ---- Source location

std::string NYX_MODULE::get_file_name() const {
    std::string result;
    const NYX_NAME_ID file_name_id = nyx_cell(&NYX_MODULE_TABLE::m_file_name_id, get_impl());
    if (file_name_id != NYX_NAME_ID::INVALID)
        nyx_append_name(result, names_of(this), file_name_id);
    return result;
}

void NYX_MODULE::set_file_name(const std::string &file_name) {
    nyx_cell(&NYX_MODULE_TABLE::m_file_name_id, get_impl()) = intern_file_name(names_of(this), file_name.c_str());
}

unsigned int NYX_MODULE::get_file_lineno() const {
    return nyx_cell(&NYX_MODULE_TABLE::m_file_lineno, get_impl());
}

void NYX_MODULE::set_file_lineno(unsigned int lineno) {
    nyx_cell(&NYX_MODULE_TABLE::m_file_lineno, get_impl()) = lineno;
}

std::string NYX_MODULE::get_src_location() const {
    return nyx_format_location(get_file_name(), get_file_lineno());
}

void NYX_MODULE::set_src_location(const char *file_name, unsigned int lineno) {
    nyx_cell(&NYX_MODULE_TABLE::m_file_name_id, get_impl()) = intern_file_name(names_of(this), file_name);
    set_file_lineno(lineno);
}

// ---- Kind

NYX_MODULE::TYPE NYX_MODULE::get_type() const {
    return is_sgate() ? TYPE::SGATE : is_atom() ? TYPE::ATOM : TYPE::HIERARCHY;
}

void NYX_MODULE::set_type(TYPE type) {
    get_impl()->m_type_bits = type == TYPE::SGATE ? 1 : type == TYPE::ATOM ? 2 : 0;
}

bool NYX_MODULE::is_sgate() const {
    return (get_impl()->m_type_bits & 1) != 0;
}
bool NYX_MODULE::is_atom() const {
    return (get_impl()->m_type_bits & 2) != 0;
}
bool NYX_MODULE::is_leaf() const {
    return (get_impl()->m_type_bits & 3) != 0;
}
bool NYX_MODULE::is_hierarchy() const {
    return !is_leaf();
}

void NYX_MODULE::convert_to_sgate(unsigned int client_type) {
    if (!is_hierarchy())
        NYX_RAISE_RUNTIME_ERROR("NYX_MODULE::convert_to_sgate", "Cannot convert module " + get_name() +
                                                                    " to sgate. The module is not a hierarchy module.");
    set_type(TYPE::SGATE);
    set_client_type(client_type);
}

unsigned int NYX_MODULE::get_client_type() const {
    const std::uint32_t client_type = get_impl()->m_type_data;
    if (is_sgate() && client_type == not_specified)
        NYX_RAISE_RUNTIME_ERROR("NYX_MODULE::get_client_type", "SGATE type is not specified for SGATE module");
    return client_type;
}

void NYX_MODULE::set_client_type(unsigned int client_type) {
    if (is_atom())
        NYX_RAISE_RUNTIME_ERROR("NYX_MODULE::set_client_type", "Cannot set client type for atom module");
    get_impl()->m_type_data = client_type;
}

std::string NYX_MODULE::get_atom_type() const {
    constexpr const char *function = "NYX_MODULE::get_atom_type";
    if (!is_atom())
        NYX_RAISE_RUNTIME_ERROR(function, "Atom type is defined for atom module only");
    const NYX_NAME_ID atom_type(get_impl()->m_type_data);
    if (atom_type == NYX_NAME_ID::INVALID)
        NYX_RAISE_RUNTIME_ERROR(function, "Atom type is not specified for atom module");
    std::string result;
    nyx_append_name(result, names_of(this), atom_type);
    return result;
}

void NYX_MODULE::set_atom_type(const std::string &atom_type) {
    if (!is_atom())
        NYX_RAISE_RUNTIME_ERROR("NYX_MODULE::set_atom_type", "Atom type is defined for atom module only");
    get_impl()->m_type_data = names_of(this).get_id(atom_type.c_str()).get();
}

bool NYX_MODULE::is_top_module() const {
    const NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(this);
    // Libraries have none.
    const NYX_DB_TYPE type = persistent->get_type();
    return (type == NYX_DB_TYPE::USER || type == NYX_DB_TYPE::DEVICE) && persistent->get_top_module() == this;
}

bool NYX_MODULE::is_defined() const {
    return nyx_cell(&NYX_MODULE_TABLE::m_file_name_id, get_impl()) != NYX_NAME_ID::INVALID;
}

bool NYX_MODULE::contains_no_instances() const {
    return nyx_chain_head<NYX_INSTANCE>(get_impl()) == NYX_INSTANCE_ID::INVALID;
}

bool NYX_MODULE::is_empty() const {
    return contains_no_instances() && nyx_chain_head<NYX_NET>(get_impl()) == NYX_NET_ID::INVALID;
}

bool NYX_MODULE::is_unique() const {
    return NYX_DB_LINKER::get().has_fewer_than_two_instances(const_cast<NYX_MODULE *>(this));
}

// ---- Bounds

NYX_BOX NYX_MODULE::get_bounds() const {
    return nyx_cell(&NYX_MODULE_TABLE::m_bounds, get_impl());
}

void NYX_MODULE::set_bounds(NYX_BOX bounds) {
    nyx_cell(&NYX_MODULE_TABLE::m_bounds, get_impl()) = bounds;
}

void NYX_MODULE::update_bounds() {
    NYX_BOX bounds;
    for (const NYX_PORT *const port : const_iter_ports()) {
        if (port->get_parent() == this)
            bounds.include(port->get_bounds());
    }
    // Those of an instance that is not placed are inverted, which adds nothing.
    for (const NYX_INSTANCE *const instance : const_iter_instances())
        bounds.include(instance->get_bounds());
    set_bounds(bounds);
}

// ---- List maintenance

void NYX_MODULE::add_instance(NYX_INSTANCE *instance) {
    NYX_CHECK(instance);
    nyx_push_back<NYX_INSTANCE>(get_impl(), instance->get_impl());
    nyx_cache_add<NYX_INSTANCE>(get_impl(), instance->get_impl());
}
void NYX_MODULE::remove_instance(NYX_INSTANCE *instance) {
    NYX_CHECK(instance);
    nyx_cache_remove<NYX_INSTANCE>(get_impl(), instance->get_impl());
    nyx_unlink<NYX_INSTANCE>(get_impl(), instance->get_impl());
}

#define NYX_MODULE_LIST(type, add, remove, object)                                                                     \
    void NYX_MODULE::add(type *object) {                                                                               \
        NYX_CHECK(object);                                                                                             \
        nyx_push_front<type>(get_impl(), object->get_impl());                                                          \
        nyx_cache_add<type>(get_impl(), object->get_impl());                                                           \
    }                                                                                                                  \
    void NYX_MODULE::remove(type *object) {                                                                            \
        NYX_CHECK(object);                                                                                             \
        nyx_cache_remove<type>(get_impl(), object->get_impl());                                                        \
        nyx_unlink<type>(get_impl(), object->get_impl());                                                              \
    }
NYX_MODULE_LIST(NYX_NET, add_net, remove_net, net)
NYX_MODULE_LIST(NYX_PORT_BUS, add_port_bus, remove_port_bus, bus)
NYX_MODULE_LIST(NYX_NET_BUS, add_net_bus, remove_net_bus, bus)
NYX_MODULE_LIST(NYX_INSTANCE_BUS, add_instance_bus, remove_instance_bus, bus)
NYX_MODULE_LIST(NYX_INTERFACE, add_interface, remove_interface, interface)
#undef NYX_MODULE_LIST
