#include "nyx/nyx_net.h"

#include "database/nyx_db_cache.h"
#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_find_parent.h"
#include "netlist/nyx_naming.h"
#include "netlist/nyx_object_impl.h"
#include "netlist/nyx_sparse_location.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_inst_port.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_attributes.h"

#include <vector>

NYX_NET_IMPL *NYX_NET::get_impl() {
    return static_cast<NYX_NET_IMPL *>(this);
}
const NYX_NET_IMPL *NYX_NET::get_impl() const {
    return static_cast<const NYX_NET_IMPL *>(this);
}

template class NYX_OBJECT<NYX_NET>;

namespace {

template <class T>
void put_on_net(NYX_NET_IMPL *net, typename NYX_OBJECT_TRAITS<T>::impl *obj_impl) {
    NYX_CHECK_AS(!obj_impl->m_net_ptr, "!obj_impl->get_net_ptr()");
    obj_impl->m_net_ptr = net;
    nyx_push_front<T>(net, obj_impl);
}

template <class T>
void take_off_net(NYX_NET_IMPL *impl, typename NYX_OBJECT_TRAITS<T>::impl *obj_impl) {
    NYX_CHECK_AS(obj_impl->m_net_ptr.get() == impl, "obj_impl->get_net_ptr() == impl");
    obj_impl->m_net_ptr = nullptr;
    nyx_unlink<T>(impl, obj_impl);
}

void follow_rename(NYX_NET_IMPL *net, NYX_NAME_KEY old_key) {
    if (NYX_DB_CACHE::find_in_use(net) != nullptr)
        nyx_cache_rename<NYX_NET>(nyx_known_parent(net), net, old_key);
}

constexpr NYX_NAME_STYLE with_parent{.with_parent = true};

} // namespace

NYX_NET *NYX_NET::allocate(NYX_MODULE *parent, const std::string &name, bool make_unique) {
    NYX_CHECK_MSG(parent, "Parent must be non-null");
    NYX_CHECK_MSG(!name.empty(), "Net must have non-empty name");
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(parent);
    NYX_NAME_MANAGER &names = persistent->names();
    // What may fail comes first: a name and a number that nobody uses do no harm.
    const NYX_NAME_ID name_id = names.get_id(name.c_str());
    const std::uint32_t suffix = make_unique ? nyx_next_suffix(names, name, name_id) : NYX_NO_SUFFIX;
    NYX_NET_IMPL *const net = persistent->table<NYX_NET>().allocate();
    net->m_name_id = name_id;
    net->m_unique_suffix = suffix;
    parent->add_net(net);
    nyx_notify<NYX_NET>(&NYX_OBSERVER<NYX_NET>::allocated, net, parent);
    return net;
}

void NYX_NET::deallocate() {
    NYX_MODULE *const parent = nyx_find_list_owner<NYX_NET>(get_impl());
    NYX_CHECK_MSG(parent, "Net is dangling and can't find its parent");
    deallocate(parent);
}

void NYX_NET::deallocate(NYX_MODULE *parent) {
    NYX_NET_IMPL *const impl = get_impl();
    if (NYX_NET_BUS *const bus = get_bus())
        bus->remove_net(this);
    nyx_notify<NYX_NET>(&NYX_OBSERVER<NYX_NET>::deallocated, this, parent);
    nyx_clear_traits<NYX_NET>(this);
    parent->remove_net(this);
    while (NYX_PORT_IMPL *const port = nyx_chain_first<NYX_PORT>(impl))
        remove_port(port);
    while (NYX_INST_PORT_IMPL *const inst_port = nyx_chain_first<NYX_INST_PORT>(impl))
        remove_inst_port(inst_port);
    NYX_NET_TABLE::get_table(impl)->deallocate(impl);
}

NYX_MODULE *NYX_NET::get_parent() const {
    NYX_MODULE *const parent = nyx_find_parent<NYX_NET>(get_impl());
    if (parent == nullptr)
        NYX_RAISE_RUNTIME_ERROR("NYX_NET::get_parent", "net " + get_name() + " doesn't belong to any module");
    return parent;
}

NYX_NET_BUS *NYX_NET::get_bus() const {
    return nyx_cell(&NYX_NET_TABLE::m_bus_ptr, get_impl()).get();
}

boost::iterator_range<NYX_NET_PORT_ITER> NYX_NET::iter_ports() {
    return {NYX_NET_PORT_ITER(this), NYX_NET_PORT_ITER()};
}
boost::iterator_range<NYX_NET_PORT_CONST_ITER> NYX_NET::const_iter_ports() const {
    return {NYX_NET_PORT_CONST_ITER(this), NYX_NET_PORT_CONST_ITER()};
}
boost::iterator_range<NYX_NET_INST_PORT_ITER> NYX_NET::iter_inst_ports() {
    return {NYX_NET_INST_PORT_ITER(this), NYX_NET_INST_PORT_ITER()};
}
boost::iterator_range<NYX_NET_INST_PORT_CONST_ITER> NYX_NET::const_iter_inst_ports() const {
    return {NYX_NET_INST_PORT_CONST_ITER(this), NYX_NET_INST_PORT_CONST_ITER()};
}

void NYX_NET::add_port(NYX_PORT *port) {
    NYX_CHECK(port);
    put_on_net<NYX_PORT>(get_impl(), port->get_impl());
}
void NYX_NET::remove_port(NYX_PORT *port) {
    NYX_CHECK(port);
    take_off_net<NYX_PORT>(get_impl(), port->get_impl());
}
void NYX_NET::add_inst_port(NYX_INST_PORT *inst_port) {
    NYX_CHECK(inst_port);
    put_on_net<NYX_INST_PORT>(get_impl(), inst_port->get_impl());
}
void NYX_NET::remove_inst_port(NYX_INST_PORT *inst_port) {
    NYX_CHECK(inst_port);
    take_off_net<NYX_INST_PORT>(get_impl(), inst_port->get_impl());
}

void NYX_NET::merge(NYX_NET *net_losing_all_connections) {
    constexpr const char *function = "NYX_NET::merge";
    NYX_NET *const other = net_losing_all_connections;
    NYX_CHECK_MSG(other, "Net to merge must be non-null");
    NYX_MODULE *const parent = other->get_parent();
    NYX_CHECK_AS(parent == get_parent(), "net_losing_all_connections->get_parent() == get_parent()");
    if (other == this)
        return;
    if (is_ground() && other->is_power())
        NYX_RAISE_RUNTIME_ERROR(function, "Cannot merge away power net " + other->get_name(with_parent) +
                                              " into ground net " + get_name(with_parent));
    if (is_power() && other->is_ground())
        NYX_RAISE_RUNTIME_ERROR(function, "Cannot merge away ground net " + other->get_name(with_parent) +
                                              " into power net " + get_name(with_parent));
    // The deletion empties the lists, and tells nobody of the connections that end.
    const auto ports = other->iter_ports();
    const auto inst_ports = other->iter_inst_ports();
    const std::vector<NYX_PORT *> moved_ports(ports.begin(), ports.end());
    const std::vector<NYX_INST_PORT *> moved_inst_ports(inst_ports.begin(), inst_ports.end());
    other->deallocate(parent);
    for (NYX_PORT *const port : moved_ports) {
        NYX_CHECK(port->get_net() == nullptr);
        port->connect(this);
    }
    for (NYX_INST_PORT *const inst_port : moved_inst_ports) {
        NYX_CHECK(inst_port->get_net() == nullptr);
        inst_port->connect(this);
    }
}

void NYX_NET::convert(NYX_NET *base_net, bool make_unique) {
    NYX_CHECK_MSG(base_net, "Base net for convertion cannot be empty");
    NYX_NAME_MANAGER &names = nyx_get_persistent(this)->names();
    NYX_NET_IMPL *const impl = get_impl();
    const std::string name = base_net->get_original_name();
    const NYX_NAME_ID name_id = names.get_id(name.c_str());
    const NYX_NAME_KEY old_key(impl->m_name_id);
    impl->m_unique_suffix = make_unique ? nyx_next_suffix(names, name, name_id) : NYX_NO_SUFFIX;
    impl->m_name_id = name_id;
    impl->m_bits = base_net->get_impl()->m_bits;
    follow_rename(impl, old_key);
    if (base_net == this)
        return;
    nyx_clear_traits<NYX_NET>(this);
    nyx_copy_traits<NYX_NET>(base_net, this);
    nyx_copy_properties<NYX_NET>(base_net, this);
}

void NYX_NET::get_name(std::string &result, const NYX_NAME_STYLE &style) const {
    const NYX_NET_IMPL *const impl = get_impl();
    nyx_write_name(result, style, "NET:", nyx_get_persistent(impl)->names(), impl->m_name_id, impl->m_unique_suffix,
                   [this] { return get_parent(); });
}

std::string NYX_NET::get_name(const NYX_NAME_STYLE &style) const {
    std::string result;
    get_name(result, style);
    return result;
}

std::string NYX_NET::get_original_name() const {
    std::string result;
    nyx_append_name(result, nyx_get_persistent(this)->names(), get_impl()->m_name_id);
    return result;
}

std::string NYX_NET::debug_get_name() const {
    return get_name();
}

void NYX_NET::set_name(const std::string &name) {
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT("NYX_NET::set_name", "Net name cannot be empty");
    const bool observed = nyx_is_observed<NYX_NET>();
    const std::string old_name = observed ? get_name() : std::string();
    NYX_NET_IMPL *const impl = get_impl();
    const NYX_NAME_KEY old_key(impl->m_name_id);
    impl->m_name_id = nyx_get_persistent(this)->names().get_id(name.c_str());
    follow_rename(impl, old_key);
    if (observed)
        nyx_notify<NYX_NET>(&NYX_OBSERVER<NYX_NET>::name_changed, this, old_name);
}

bool NYX_NET::has_trait(TRAIT trait) const {
    return (get_impl()->m_bits >> static_cast<unsigned>(trait) & 1) != 0;
}

void NYX_NET::set_trait(TRAIT trait, bool value) {
    NYX_NET_IMPL *const impl = get_impl();
    const unsigned bit = 1u << static_cast<unsigned>(trait);
    impl->m_bits = static_cast<std::uint8_t>(value ? impl->m_bits | bit : impl->m_bits & ~bit);
}

bool NYX_NET::is_power() const {
    return has_trait(TRAIT::POWER);
}
bool NYX_NET::is_ground() const {
    return has_trait(TRAIT::GROUND);
}

void NYX_NET::set_is_power(bool value) {
    if (value && is_ground())
        NYX_RAISE_RUNTIME_ERROR("NYX_NET::set_is_power", "Cannot set ground net " + get_name() + " to be power");
    set_trait(TRAIT::POWER, value);
}

void NYX_NET::set_is_ground(bool value) {
    if (value && is_power())
        NYX_RAISE_RUNTIME_ERROR("NYX_NET::set_is_ground", "Cannot set power net " + get_name() + " to be ground");
    set_trait(TRAIT::GROUND, value);
}

bool NYX_NET::has_initial_value() const {
    return has_trait(TRAIT::HAS_INITIAL_VALUE);
}

bool NYX_NET::get_initial_value() const {
    if (!has_initial_value())
        NYX_RAISE_RUNTIME_ERROR("NYX_NET::get_initial_value", "Net " + get_name() + " has no initial value");
    return has_trait(TRAIT::INITIAL_VALUE);
}

void NYX_NET::set_initial_value(bool value) {
    set_trait(TRAIT::HAS_INITIAL_VALUE, true);
    set_trait(TRAIT::INITIAL_VALUE, value);
}

bool NYX_NET::is_global() const {
    NYX_BOOL_TRAIT *const trait = nyx_builtin_traits(this).m_net_is_global_trait;
    NYX_CHECK(trait);
    return get_value(trait);
}

void NYX_NET::set_is_global(bool value) {
    NYX_BOOL_TRAIT *const trait = nyx_builtin_traits(this).m_net_is_global_trait;
    NYX_CHECK(trait);
    set_value(trait, value);
}

namespace {

NYX_LOCATION_TRAITS location_traits(const NYX_NET *net) {
    const NYX_BUILTIN_TRAITS &traits = nyx_builtin_traits(net);
    return {traits.m_net_file_name_trait, traits.m_net_file_lineno_trait};
}

} // namespace

std::string NYX_NET::get_file_name() const {
    return nyx_get_sparse_file_name(this, location_traits(this));
}

unsigned int NYX_NET::get_file_lineno() const {
    return nyx_get_sparse_file_lineno(this, location_traits(this));
}

std::string NYX_NET::get_src_location() const {
    return nyx_format_location(get_file_name(), get_file_lineno());
}

void NYX_NET::set_src_location(const char *file_name, unsigned int lineno) {
    nyx_set_sparse_location(this, location_traits(this), file_name, lineno);
}
