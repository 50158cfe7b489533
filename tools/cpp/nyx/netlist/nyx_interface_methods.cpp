#include "netlist/nyx_bus_values.h"
#include "netlist/nyx_interface_members.h"
#include "netlist/nyx_location_columns.h"
#include "netlist/nyx_naming.h"
#include "netlist/nyx_object_impl.h"
#include "traits/nyx_attributes.h"

#include "database/nyx_db_cache.h"
#include "netlist/nyx_db_observer.h"
#include "nyx/nyx_interface_instance.h"
#include "nyx/nyx_module.h"
#include "nyx_report/nyx_report_exception.h"

#include <algorithm>

namespace {

constexpr std::uint8_t s_end_bit = 1;
constexpr std::uint8_t s_start_bit = 2;

constexpr const char *noun(const NYX_PORT *) {
    return "port";
}
constexpr const char *noun(const NYX_PORT_BUS *) {
    return "port_bus";
}

NYX_MODULE *parent_of(const NYX_PORT *port) {
    return port->get_parent();
}
NYX_MODULE *parent_of(const NYX_PORT_BUS *port_bus) {
    return port_bus->find_parent();
}

// The list of an interface's members of type T, made if it isn't there.
template <class T>
NYX_INTERFACE_MEMBERS<T> &make_members(NYX_INTERFACE_IMPL *interface) {
    using MEMBERS = NYX_INTERFACE_MEMBERS<T>;
    if (MEMBERS *const members = nyx_interface_members<T>(interface))
        return *members;
    NYX_SEGMENT_MANAGER *const manager = nyx_get_persistent(interface)->get_segment_manager();
    void *const block = NYX_SEGMENT_ALLOCATOR<MEMBERS>(manager).allocate(1).get();
    auto *const members = ::new (block) MEMBERS(typename MEMBERS::allocator_type(manager));
    nyx_members_ptr(interface, static_cast<const T *>(nullptr)) = members;
    return *members;
}

template <class T>
void free_members(NYX_INTERFACE_IMPL *interface) {
    using MEMBERS = NYX_INTERFACE_MEMBERS<T>;
    MEMBERS *const members = nyx_interface_members<T>(interface);
    if (members == nullptr)
        return;
    members->~MEMBERS();
    NYX_SEGMENT_ALLOCATOR<MEMBERS>(nyx_get_persistent(interface)->get_segment_manager()).deallocate(members, 1);
    nyx_members_ptr(interface, static_cast<const T *>(nullptr)) = nullptr;
}

} // namespace

NYX_INTERFACE *NYX_INTERFACE::allocate(NYX_MODULE *parent, const std::string &name) {
    NYX_CHECK_MSG(parent, "Parent must be non-null");
    NYX_CHECK_MSG(!name.empty(), "Interface must have non-empty name");
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(parent);
    const NYX_NAME_ID name_id = persistent->names().get_id(name.c_str());
    NYX_INTERFACE_IMPL *const row = persistent->table<NYX_INTERFACE>().allocate();
    row->m_parent_ptr = parent->get_impl();
    row->m_bits = 0;
    nyx_cell(&NYX_INTERFACE_TABLE::m_name_id, row) = name_id;
    parent->add_interface(row);
    nyx_notify<NYX_INTERFACE>(&NYX_OBSERVER<NYX_INTERFACE>::allocated, row, parent);
    return row;
}

void NYX_INTERFACE::deallocate() {
    NYX_INTERFACE_IMPL *const row = get_impl();
    NYX_INTERFACE_TABLE *const table = NYX_INTERFACE_TABLE::get_table(row);
    const NYX_INTERFACE_ID id = NYX_INTERFACE_TABLE::get_id(row);
    NYX_MODULE *const parent = get_parent();
    nyx_notify<NYX_INTERFACE>(&NYX_OBSERVER<NYX_INTERFACE>::deallocated, this, parent);
    // Ports that went with the whole of their module's forgot their interface then.
    for (NYX_PORT *const port : iter_ports())
        nyx_set_own_interface(port, nullptr);
    for (NYX_PORT_BUS *const port_bus : iter_port_buses())
        nyx_set_own_interface(port_bus, nullptr);
    nyx_clear_traits(this);
    parent->remove_interface(this);
    free_members<NYX_PORT>(row);
    free_members<NYX_PORT_BUS>(row);
    table->deallocate(row);
    // Who walks over the table knows free rows by it.
    NYX_CHECK_AS(*table->m_name_id.get(id) == NYX_NAME_ID::INVALID, "impl->get_name_id() == NYX_NAME_ID::INVALID");
}

NYX_MODULE *NYX_INTERFACE::get_parent() const {
    return get_impl()->m_parent_ptr.get();
}

template <class T>
void NYX_INTERFACE::add_member(const char *function, T *obj) {
    if (obj == nullptr)
        NYX_RAISE_INVALID_ARGUMENT(function, std::string(noun(obj)) + " to add cannot be NULL");
    if (parent_of(obj) != get_parent())
        NYX_RAISE_INVALID_ARGUMENT(function,
                                   noun(obj) + (" desn't belong to the same module as the interface " + get_name()));
    NYX_CHECK_MSG(!obj->get_interface(), "Attempt to add already owned object");
    // The place in the list first: what it takes may not be there.
    auto &members = make_members<T>(get_impl());
    members.push_back(obj);
    try {
        obj->set_interface(this);
    } catch (...) {
        members.pop_back();
        throw;
    }
}

template <class T>
void NYX_INTERFACE::remove_member(const char *function, T *obj) {
    if (obj == nullptr)
        NYX_RAISE_INVALID_ARGUMENT(function, std::string(noun(obj)) + " to remove cannot be NULL");
    // Its own interface, for a port that was put in a bus afterwards answers with that of the bus.
    NYX_CHECK_AS(nyx_own_interface(obj) == this, "obj->get_interface() == this",
                 "Attempt to remove object from non-owner");
    NYX_INTERFACE_MEMBERS<T> *const members = nyx_interface_members<T>(get_impl());
    NYX_CHECK(members);
    const auto place = std::find(members->begin(), members->end(), NYX_OFFSET_PTR<T>(obj));
    NYX_CHECK(place != members->end());
    nyx_set_own_interface(obj, nullptr);
    members->erase(place);
}

void NYX_INTERFACE::add_port(NYX_PORT *port) {
    add_member("NYX_INTERFACE::add_port", port);
}

void NYX_INTERFACE::remove_port(NYX_PORT *port) {
    remove_member("NYX_INTERFACE::remove_port", port);
}

void NYX_INTERFACE::add_port_bus(NYX_PORT_BUS *port_bus) {
    add_member("NYX_INTERFACE::add_port_bus", port_bus);
}

void NYX_INTERFACE::remove_port_bus(NYX_PORT_BUS *port_bus) {
    remove_member("NYX_INTERFACE::remove_port_bus", port_bus);
}

boost::iterator_range<NYX_INTERFACE_PORT_ITER> NYX_INTERFACE::iter_ports() {
    return {NYX_INTERFACE_PORT_ITER(this), NYX_INTERFACE_PORT_ITER()};
}

boost::iterator_range<NYX_INTERFACE_PORT_CONST_ITER> NYX_INTERFACE::const_iter_ports() const {
    return {NYX_INTERFACE_PORT_CONST_ITER(this), NYX_INTERFACE_PORT_CONST_ITER()};
}

boost::iterator_range<NYX_INTERFACE_PORT_BUS_ITER> NYX_INTERFACE::iter_port_buses() {
    return {NYX_INTERFACE_PORT_BUS_ITER(this), NYX_INTERFACE_PORT_BUS_ITER()};
}

boost::iterator_range<NYX_INTERFACE_PORT_BUS_CONST_ITER> NYX_INTERFACE::const_iter_port_buses() const {
    return {NYX_INTERFACE_PORT_BUS_CONST_ITER(this), NYX_INTERFACE_PORT_BUS_CONST_ITER()};
}

bool NYX_INTERFACE::is_start() const {
    return (get_impl()->m_bits & s_start_bit) != 0;
}

bool NYX_INTERFACE::is_end() const {
    return (get_impl()->m_bits & s_end_bit) != 0;
}

void NYX_INTERFACE::set_start() {
    std::uint8_t &bits = get_impl()->m_bits;
    bits = static_cast<std::uint8_t>((bits & ~s_end_bit) | s_start_bit);
}

void NYX_INTERFACE::set_end() {
    std::uint8_t &bits = get_impl()->m_bits;
    bits = static_cast<std::uint8_t>((bits & ~s_start_bit) | s_end_bit);
}

NYX_INTERFACE_NET NYX_INTERFACE::get_interface_net() const {
    return NYX_INTERFACE_NET(this);
}

std::string NYX_INTERFACE::get_name(const NYX_NAME_STYLE &style) const {
    std::string result;
    get_name(result, style);
    return result;
}

void NYX_INTERFACE::get_name(std::string &result, const NYX_NAME_STYLE &style) const {
    const NYX_INTERFACE_IMPL *const row = get_impl();
    nyx_write_name(result, style, "ITF:", nyx_get_persistent(row)->names(),
                   nyx_cell(&NYX_INTERFACE_TABLE::m_name_id, row), NYX_NO_SUFFIX, [this] { return get_parent(); });
}

std::string NYX_INTERFACE::debug_get_name() const {
    return get_name();
}

void NYX_INTERFACE::set_name(const std::string &name) {
    NYX_INTERFACE_IMPL *const row = get_impl();
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT("NYX_INTERFACE::set_name", "Interface name cannot be empty");
    const std::string old_name = nyx_is_observed<NYX_INTERFACE>() ? get_name() : std::string();
    const NYX_NAME_KEY old_key = nyx_key_of<NYX_INTERFACE>(row);
    nyx_cell(&NYX_INTERFACE_TABLE::m_name_id, row) = nyx_get_persistent(row)->names().get_id(name.c_str());
    nyx_cache_rename<NYX_INTERFACE>(row->m_parent_ptr.get(), row, old_key);
    nyx_notify<NYX_INTERFACE>(&NYX_OBSERVER<NYX_INTERFACE>::name_changed, this, old_name);
}

std::string NYX_INTERFACE::get_file_name() const {
    return nyx_stored_file_name<NYX_INTERFACE>(get_impl());
}

void NYX_INTERFACE::set_file_name(const std::string &file_name) {
    nyx_store_file_name<NYX_INTERFACE>(get_impl(), file_name.c_str());
}

unsigned int NYX_INTERFACE::get_file_lineno() const {
    return nyx_cell(&NYX_INTERFACE_TABLE::m_file_lineno, get_impl());
}

void NYX_INTERFACE::set_file_lineno(unsigned int lineno) {
    nyx_cell(&NYX_INTERFACE_TABLE::m_file_lineno, get_impl()) = lineno;
}

std::string NYX_INTERFACE::get_src_location() const {
    return nyx_format_location(get_file_name(), get_file_lineno());
}

void NYX_INTERFACE::set_src_location(const char *file_name, unsigned int lineno) {
    nyx_store_file_name<NYX_INTERFACE>(get_impl(), file_name != nullptr ? file_name : "");
    set_file_lineno(lineno);
}

NYX_INTERFACE_IMPL *NYX_INTERFACE::get_impl() {
    return static_cast<NYX_INTERFACE_IMPL *>(this);
}
const NYX_INTERFACE_IMPL *NYX_INTERFACE::get_impl() const {
    return static_cast<const NYX_INTERFACE_IMPL *>(this);
}

template class NYX_OBJECT<NYX_INTERFACE>;

void nyx_interface_port_moved(const NYX_PORT *from, NYX_PORT *to) {
    const NYX_INTERFACE *const interface = nyx_own_interface(to);
    if (interface == nullptr)
        return;
    auto &members = *nyx_interface_members<NYX_PORT>(interface->get_impl());
    const auto place = std::find_if(members.begin(), members.end(),
                                    [from](const NYX_OFFSET_PTR<NYX_PORT> &member) { return member.get() == from; });
    NYX_CHECK(place != members.end());
    *place = to;
}
