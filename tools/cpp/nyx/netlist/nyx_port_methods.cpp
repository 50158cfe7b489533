#include "nyx/nyx_port.h"

#include "database/nyx_db_cache.h"
#include "database/nyx_db_persistent.h"
#include "netlist/nyx_bus_values.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_module_ports.h"
#include "netlist/nyx_naming.h"
#include "netlist/nyx_object_impl.h"
#include "netlist/nyx_port_table.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_inst_port.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_interface.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_net.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_attributes.h"

#include <functional>

NYX_PORT_IMPL *NYX_PORT::get_impl() {
    return static_cast<NYX_PORT_IMPL *>(this);
}
const NYX_PORT_IMPL *NYX_PORT::get_impl() const {
    return static_cast<const NYX_PORT_IMPL *>(this);
}

template class NYX_OBJECT<NYX_PORT>;

// ---- Life

NYX_PORT *NYX_PORT::allocate(NYX_MODULE *parent, const std::string &name, unsigned int index, NYX_NET *net) {
    NYX_CHECK_MSG(parent, "Parent must be non-null");
    NYX_CHECK_MSG(!name.empty(), "Port must have non-empty name");
    NYX_MODULE_IMPL *const parent_impl = parent->get_impl();
    NYX_CHECK_MSG(index < parent_impl->get_num_ports(), "Index %d exceeds total number of ports %d",
                  static_cast<int>(index), static_cast<int>(parent_impl->get_num_ports()));
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(parent_impl);
    nyx_check_id(parent_impl->m_first_port);
    NYX_PORT_IMPL *const port = persistent->table<NYX_PORT>().get(NYX_PORT_ID(parent_impl->m_first_port.get() + index));
    NYX_CHECK_MSG(!port->get_parent(), "Duplicate allocation of port %s in module %s file %s", name.c_str(),
                  parent->get_name().c_str(), parent->get_file_name().c_str());

    // An empty place is a row in its initial state, so no column needs to be set.
    port->m_name_id = persistent->names().get_id(name.c_str());
    port->m_parent_ptr = parent_impl;
    nyx_cache_add<NYX_PORT>(parent_impl, port);
    if (net != nullptr)
        port->put_on_net(net);
    nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::allocated, port, parent);
    return port;
}

void NYX_PORT::deallocate() {
    NYX_PORT_IMPL *const impl = get_impl();
    NYX_MODULE *const parent = get_parent();
    NYX_CHECK_MSG(parent, "This port has not been allocated yet");
    nyx_check_ports_are_writable(parent, "NYX_PORT::deallocate");
    if (get_net() != nullptr)
        disconnect();
    nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::deallocated, this, parent);
    if (NYX_PORT_BUS *const bus = get_bus())
        bus->remove_port(this);
    // Behind the bus, which hides an interface of the port's own.
    if (NYX_INTERFACE *const interface = get_interface())
        interface->remove_port(this);
    const unsigned index = get_index();
    for (NYX_INSTANCE *const instance : parent->iter_instances_of()) {
        if (NYX_INST_PORT *const inst_port = instance->get_inst_port_by_index(index))
            inst_port->deallocate();
    }
    nyx_clear_traits<NYX_PORT>(this);
    nyx_cache_remove<NYX_PORT>(parent->get_impl(), impl);
    NYX_PORT_TABLE::get_table(impl)->reset(NYX_PORT_TABLE::get_id(impl));
}

// ---- Connection

void NYX_PORT::put_on_net(NYX_NET *net) {
    NYX_CHECK_MSG(get_parent(), "This port has not been allocated yet");
    NYX_CHECK_MSG(nyx_get_persistent(net) == nyx_get_persistent(this), "Port and net need to be in the same database");
    net->add_port(this);
}

void NYX_PORT::connect(NYX_NET *net) {
    nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::pre_connect, this);
    NYX_CHECK(net);
    put_on_net(net);
    nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::post_connect, this);
}

void NYX_PORT::disconnect() {
    nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::pre_disconnect, this);
    NYX_NET *const net = get_net();
    NYX_CHECK_MSG(net, "The port is not connected");
    net->remove_port(this);
    nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::post_disconnect, this);
}

NYX_NET *NYX_PORT::get_net() const {
    return get_impl()->m_net_ptr.get();
}

// ---- Where it belongs

NYX_MODULE *NYX_PORT::get_parent() const {
    return get_impl()->m_parent_ptr.get();
}

unsigned int NYX_PORT::get_index() const {
    const NYX_PORT_IMPL *const impl = get_impl();
    const NYX_MODULE_IMPL *const parent = impl->m_parent_ptr.get();
    NYX_CHECK_MSG(parent, "This port has not been allocated yet");
    return NYX_PORT_TABLE::get_id(impl).get() - parent->m_first_port.get();
}

NYX_PORT_BUS *NYX_PORT::get_bus() const {
    return nyx_cell(&NYX_PORT_TABLE::m_bus_ptr, get_impl()).get();
}

NYX_INTERFACE *NYX_PORT::get_interface() const {
    if (const NYX_PORT_BUS *const bus = get_bus())
        return bus->get_interface();
    return nyx_own_interface<NYX_PORT>(this);
}

void NYX_PORT::set_interface(NYX_INTERFACE *interface) {
    if (get_bus() != nullptr)
        NYX_RAISE_INVALID_ARGUMENT("NYX_PORT::set_interface", "Cannot add a port in a bus to interface");
    nyx_set_own_interface<NYX_PORT>(this, interface);
}

bool NYX_PORT_INDEX_COMPARE::operator()(const NYX_PORT *a, const NYX_PORT *b) const {
    const unsigned index_a = a->get_index();
    const unsigned index_b = b->get_index();
    return index_a != index_b ? index_a < index_b : std::less<>()(a, b);
}

// ---- Names

void NYX_PORT::get_name(std::string &result, const NYX_NAME_STYLE &style) const {
    const NYX_PORT_IMPL *const impl = get_impl();
    nyx_write_name(result, style, "PORT:", nyx_get_persistent(impl)->names(), impl->m_name_id, NYX_NO_SUFFIX,
                   [this] { return get_parent(); });
}

std::string NYX_PORT::get_name(const NYX_NAME_STYLE &style) const {
    std::string result;
    get_name(result, style);
    return result;
}

std::string NYX_PORT::get_original_name() const {
    return get_name();
}

std::string NYX_PORT::debug_get_name() const {
    return get_name();
}

void NYX_PORT::set_name(const std::string &name) {
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT("NYX_PORT::set_name", "Port name cannot be empty");
    NYX_CHECK_MSG(get_parent(), "This port has not been allocated yet");
    NYX_PORT_IMPL *const impl = get_impl();
    const bool observed = nyx_is_observed<NYX_PORT>();
    const std::string old_name = observed ? get_name() : std::string();
    const NYX_NAME_KEY old_key = nyx_key_of<NYX_PORT>(impl);
    impl->m_name_id = nyx_get_persistent(impl)->names().get_id(name.c_str());
    nyx_cache_rename<NYX_PORT>(impl->m_parent_ptr.get(), impl, old_key);
    if (observed)
        nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::name_changed, this, old_name);
}

// ---- Flags

bool NYX_PORT::has_trait(TRAIT trait) const {
    return (nyx_cell(&NYX_PORT_TABLE::m_trait_bits, get_impl()) >> static_cast<unsigned>(trait) & 1) != 0;
}

void NYX_PORT::set_trait(TRAIT trait, bool value) {
    unsigned char &bits = nyx_cell(&NYX_PORT_TABLE::m_trait_bits, get_impl());
    const unsigned bit = 1u << static_cast<unsigned>(trait);
    bits = static_cast<unsigned char>(value ? bits | bit : bits & ~bit);
}

bool NYX_PORT::is_input() const {
    return has_trait(TRAIT::INPUT) && !has_trait(TRAIT::OUTPUT);
}
bool NYX_PORT::is_output() const {
    return has_trait(TRAIT::OUTPUT) && !has_trait(TRAIT::INPUT);
}
bool NYX_PORT::is_bidir() const {
    return has_trait(TRAIT::INPUT) && has_trait(TRAIT::OUTPUT);
}
void NYX_PORT::set_input(bool value) {
    set_trait(TRAIT::INPUT, value);
    set_trait(TRAIT::OUTPUT, !value);
}
void NYX_PORT::set_output(bool value) {
    set_input(!value);
}
void NYX_PORT::set_bidir(bool value) {
    set_trait(TRAIT::INPUT, value);
    set_trait(TRAIT::OUTPUT, value);
}

bool NYX_PORT::is_inverted() const {
    return has_trait(TRAIT::INVERTED);
}
void NYX_PORT::set_inverted(bool value) {
    set_trait(TRAIT::INVERTED, value);
}
bool NYX_PORT::is_physical_only_port() const {
    return has_trait(TRAIT::PHYSICAL_ONLY);
}
void NYX_PORT::set_physical_only(bool value) {
    set_trait(TRAIT::PHYSICAL_ONLY, value);
}

bool NYX_PORT::has_initial_value() const {
    return has_trait(TRAIT::HAS_INITIAL_VALUE);
}

bool NYX_PORT::get_initial_value() const {
    if (!has_initial_value())
        NYX_RAISE_RUNTIME_ERROR("NYX_PORT::get_initial_value", "Port " + get_name() + " has no initial value");
    return has_trait(TRAIT::INITIAL_VALUE);
}

void NYX_PORT::set_initial_value(bool value) {
    set_trait(TRAIT::HAS_INITIAL_VALUE, true);
    set_trait(TRAIT::INITIAL_VALUE, value);
}

// ---- Geometry

NYX_BOX NYX_PORT::get_bounds() const {
    return nyx_cell(&NYX_PORT_TABLE::m_bounds, get_impl());
}
void NYX_PORT::set_bounds(NYX_BOX bounds) {
    nyx_cell(&NYX_PORT_TABLE::m_bounds, get_impl()) = bounds;
}
unsigned char NYX_PORT::get_layer() const {
    return nyx_cell(&NYX_PORT_TABLE::m_layer, get_impl());
}
void NYX_PORT::set_layer(unsigned char layer) {
    nyx_cell(&NYX_PORT_TABLE::m_layer, get_impl()) = layer;
}
int NYX_PORT::get_re_index() const {
    return nyx_cell(&NYX_PORT_TABLE::m_re_index, get_impl());
}
void NYX_PORT::set_re_index(int index) {
    nyx_cell(&NYX_PORT_TABLE::m_re_index, get_impl()) = index;
}
