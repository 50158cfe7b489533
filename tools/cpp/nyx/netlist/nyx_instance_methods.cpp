#include "nyx/nyx_instance.h"

#include "database/nyx_db_cache.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_inst_header_table.h"
#include "netlist/nyx_naming.h"
#include "netlist/nyx_object_impl.h"
#include "netlist/nyx_release_run.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_inst_port.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_param_values.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_attributes.h"

NYX_INSTANCE_IMPL *NYX_INSTANCE::get_impl() {
    return static_cast<NYX_INSTANCE_IMPL *>(this);
}
const NYX_INSTANCE_IMPL *NYX_INSTANCE::get_impl() const {
    return static_cast<const NYX_INSTANCE_IMPL *>(this);
}

template class NYX_OBJECT<NYX_INSTANCE>;

namespace {

NYX_NAME_MANAGER &names_of(const NYX_INSTANCE *instance) {
    return nyx_get_persistent(instance)->names();
}

std::string db_name_of(const NYX_DB_PERSISTENT *persistent) {
    return NYX_DB_LINKER::get().db_for_persistent(persistent)->get_name();
}

NYX_INST_PORT_IMPL *inst_port_row(const NYX_INSTANCE_IMPL *instance, unsigned index) {
    const NYX_INST_PORT_ID first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, instance);
    return nyx_get_persistent(instance)->table<NYX_INST_PORT>().get(NYX_INST_PORT_ID(first.get() + index));
}

} // namespace

// ---- Life

NYX_INSTANCE *NYX_INSTANCE::allocate(NYX_MODULE *parent, const std::string &name, NYX_MODULE *module, bool make_unique,
                                     const NYX_PARAM_VALUES *params) {
    constexpr const char *function = "NYX_INSTANCE::allocate";
    if (parent == nullptr)
        NYX_RAISE_INVALID_ARGUMENT(function, "Cannot allocate instance " + name + " in null parent module");
    if (module == nullptr)
        NYX_RAISE_INVALID_ARGUMENT(function, "Cannot allocate instance " + name + " in " + parent->get_name() +
                                                 " using null module");
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(parent);
    if (persistent->get_type() == NYX_DB_TYPE::WORKING_LIBRARY)
        NYX_RAISE_INVALID_ARGUMENT(function,
                                   "Cannot create an instance inside working library " + db_name_of(persistent));
    if (persistent->get_type() == NYX_DB_TYPE::DEFINITION)
        NYX_RAISE_INVALID_ARGUMENT(function,
                                   "Cannot create an instance inside definition library " + db_name_of(persistent));
    check_base_module(persistent, module, params, function);
    NYX_CHECK(parent != module);
    NYX_CHECK_AS(!name.empty(), "!inst_name.empty()", "Instance must have non-empty name");

    // All that can fail comes before the first list is touched.
    NYX_NAME_MANAGER &names = persistent->names();
    const NYX_NAME_ID name_id = names.get_id(name.c_str());
    const std::uint32_t suffix = make_unique ? nyx_next_suffix(names, name, name_id) : NYX_NO_SUFFIX;
    NYX_INST_HEADER *const header = add_reference(persistent, module);
    NYX_MODULE_IMPL *const module_impl = module->get_impl();
    NYX_INST_PORT_TABLE &inst_ports = persistent->table<NYX_INST_PORT>();
    const unsigned num_ports = module_impl->m_num_ports;
    NYX_INST_PORT_ID first;
    NYX_INSTANCE_IMPL *instance = nullptr;
    try {
        if (num_ports != 0)
            first = NYX_INST_PORT_TABLE::get_id(inst_ports.allocate(num_ports));
        instance = persistent->table<NYX_INSTANCE>().allocate();
    } catch (...) {
        if (first != NYX_INST_PORT_ID::INVALID)
            nyx_release_run(inst_ports, first, num_ports);
        drop_reference(module, header);
        throw;
    }

    // What isn't set here is in its initial state in a fresh row: unplaced at the identity, without bus and flags.
    instance->m_name_id = name_id;
    instance->m_unique_suffix = suffix;
    instance->m_parent_ptr = parent->get_impl();
    if (header != nullptr)
        instance->m_inst_header_ptr = header->get_impl();
    else
        instance->m_module_ptr = module_impl;
    if (num_ports != 0) {
        nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, instance) = first;
        nyx_cell(&NYX_INSTANCE_TABLE::m_num_inst_ports, instance) = num_ports;
    }
    parent->add_instance(instance);

    const NYX_PORT_TABLE &ports = nyx_get_persistent(module_impl)->table<NYX_PORT>();
    for (unsigned i = 0; i < num_ports; ++i) {
        if (!ports.get(NYX_PORT_ID(module_impl->m_first_port.get() + i))->m_parent_ptr)
            continue;
        NYX_INST_PORT_IMPL *const inst_port = inst_ports.get(NYX_INST_PORT_ID(first.get() + i));
        inst_port->m_inst_ptr = instance;
        nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::allocated, inst_port);
    }
    nyx_notify<NYX_INSTANCE>(&NYX_OBSERVER<NYX_INSTANCE>::allocated, instance, parent);
    return instance;
}

NYX_INSTANCE *NYX_INSTANCE::allocate(NYX_MODULE *parent, const std::string &name, NYX_MODULE *module,
                                     const NYX_TRANSFORM &transform) {
    NYX_INSTANCE *const instance = allocate(parent, name, module, false, nullptr);
    instance->set_transform(transform);
    instance->set_placement_status(PLACED);
    return instance;
}

void NYX_INSTANCE::deallocate() {
    NYX_INSTANCE_IMPL *const impl = get_impl();
    NYX_MODULE *const parent = get_parent();
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(impl);
    const NYX_INST_PORT_ID first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, impl);
    const unsigned num_inst_ports = get_num_inst_ports();

    if (nyx_is_observed<NYX_INST_PORT>()) {
        for (NYX_INST_PORT *const inst_port : iter_inst_ports()) {
            if (inst_port->is_valid())
                nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::deallocated, inst_port);
        }
    }
    nyx_notify<NYX_INSTANCE>(&NYX_OBSERVER<NYX_INSTANCE>::deallocated, this, parent);
    nyx_clear_traits<NYX_INSTANCE>(this);
    if (NYX_INSTANCE_BUS *const bus = get_bus())
        bus->remove_instance(this);
    if (parent != nullptr)
        parent->remove_instance(this);
    for (unsigned i = 0; i < num_inst_ports; ++i) {
        NYX_INST_PORT_IMPL *const inst_port = inst_port_row(impl, i);
        if (!inst_port->m_inst_ptr)
            continue;
        if (inst_port->m_net_ptr)
            inst_port->disconnect();
        // Its identifier is handed out again with the run.
        nyx_clear_traits<NYX_INST_PORT>(inst_port);
    }
    nyx_release_run(persistent->table<NYX_INST_PORT>(), first, num_inst_ports);
    drop_reference(impl->m_module_ptr.get(), impl->m_inst_header_ptr.get());
    persistent->table<NYX_INSTANCE>().deallocate(impl);
}

// ---- Navigation

NYX_MODULE *NYX_INSTANCE::get_module() const {
    const NYX_INSTANCE_IMPL *const impl = get_impl();
    if (NYX_MODULE_IMPL *const module = impl->m_module_ptr.get())
        return module;
    const NYX_INST_HEADER_IMPL *const header = impl->m_inst_header_ptr.get();
    NYX_CHECK_MSG(header, "no header or module");
    return header->get_module();
}

NYX_MODULE *NYX_INSTANCE::get_parent() const {
    return get_impl()->m_parent_ptr.get();
}

NYX_INST_HEADER *NYX_INSTANCE::get_inst_header() const {
    return get_impl()->m_inst_header_ptr.get();
}

NYX_INSTANCE_BUS *NYX_INSTANCE::get_bus() const {
    return nyx_cell(&NYX_INSTANCE_TABLE::m_bus_ptr, get_impl()).get();
}

bool NYX_INSTANCE::module_in_same_db() const {
    return get_impl()->m_module_ptr.get() != nullptr;
}

bool NYX_INSTANCE::is_leaf() const {
    return get_module()->is_leaf();
}

// ---- Inst ports

unsigned int NYX_INSTANCE::get_num_inst_ports() const {
    return nyx_cell(&NYX_INSTANCE_TABLE::m_num_inst_ports, get_impl());
}

NYX_INST_PORT *NYX_INSTANCE::get_inst_port_by_index(unsigned int index) const {
    // The run mirrors that of the module's ports, so its length is theirs.
    NYX_CHECK_AS(index < get_num_inst_ports(), "index < get_module()->get_impl()->get_num_ports()",
                 "Attempt to access inst_port index (%u) > module num_ports (%u) inst %s module %s file %s", index,
                 get_module()->get_num_ports(), get_name().c_str(), get_module()->get_name().c_str(),
                 get_module()->get_file_name().c_str());
    NYX_INST_PORT_IMPL *const inst_port = inst_port_row(get_impl(), index);
    return inst_port->m_inst_ptr ? inst_port : nullptr;
}

NYX_INST_PORT *NYX_INSTANCE::get_inst_port_for_port(const NYX_PORT *port) const {
    NYX_CHECK(port);
    NYX_CHECK_MSG(port->get_parent() == get_module(), "This port %s doesn't belong to the module %s",
                  port->get_parent() != nullptr ? port->get_name().c_str() : "", get_module()->get_name().c_str());
    return get_inst_port_by_index(port->get_index());
}

NYX_INST_PORT *NYX_INSTANCE::find_inst_port(const char *name) const {
    const NYX_PORT *const port = get_module()->find_port(name);
    return port != nullptr ? get_inst_port_by_index(port->get_index()) : nullptr;
}

boost::iterator_range<NYX_INSTANCE_INST_PORT_ITER> NYX_INSTANCE::iter_inst_ports() {
    return {NYX_INSTANCE_INST_PORT_ITER(this), NYX_INSTANCE_INST_PORT_ITER()};
}
boost::iterator_range<NYX_INSTANCE_INST_PORT_CONST_ITER> NYX_INSTANCE::const_iter_inst_ports() const {
    return {NYX_INSTANCE_INST_PORT_CONST_ITER(this), NYX_INSTANCE_INST_PORT_CONST_ITER()};
}

// ---- Placement

NYX_INSTANCE::PLACEMENT_STATUS NYX_INSTANCE::get_placement_status() const {
    return nyx_cell(&NYX_INSTANCE_TABLE::m_placement_status, get_impl());
}
void NYX_INSTANCE::set_placement_status(PLACEMENT_STATUS status) {
    nyx_cell(&NYX_INSTANCE_TABLE::m_placement_status, get_impl()) = status;
}

NYX_TRANSFORM NYX_INSTANCE::get_transform() const {
    if (get_placement_status() == UNPLACED)
        NYX_RAISE_RUNTIME_ERROR("NYX_INSTANCE::get_transform", "Attempting to get_transform on an unplaced instance " +
                                                                   get_name() + " " + get_module()->get_name());
    return nyx_cell(&NYX_INSTANCE_TABLE::m_transform, get_impl());
}
void NYX_INSTANCE::set_transform(const NYX_TRANSFORM &transform) {
    nyx_cell(&NYX_INSTANCE_TABLE::m_transform, get_impl()) = transform;
}

NYX_TRANSFORM NYX_INSTANCE::get_inverse_transform() const {
    NYX_TRANSFORM transform = get_transform();
    transform.invert();
    return transform;
}

NYX_POINT NYX_INSTANCE::get_location() const {
    return get_transform().get_offset();
}
NYX_ORIENTATION NYX_INSTANCE::get_orientation() const {
    return get_transform().get_orientation();
}

NYX_BOX NYX_INSTANCE::get_bounds() const {
    if (get_placement_status() == UNPLACED)
        return NYX_BOX();
    NYX_BOX bounds = get_module()->get_bounds();
    if (bounds.is_valid())
        bounds.transform(get_transform());
    return bounds;
}

// ---- Names

std::string NYX_INSTANCE::get_name(const NYX_NAME_STYLE &style) const {
    std::string result;
    get_name(result, style);
    return result;
}

void NYX_INSTANCE::get_name(std::string &result, const NYX_NAME_STYLE &style) const {
    const NYX_INSTANCE_IMPL *const impl = get_impl();
    nyx_write_name(result, style, "INSTANCE:", names_of(this), impl->m_name_id, impl->m_unique_suffix,
                   [this] { return get_parent(); });
}

std::string NYX_INSTANCE::get_original_name() const {
    std::string result;
    nyx_append_name(result, names_of(this), get_impl()->m_name_id);
    return result;
}

std::string NYX_INSTANCE::debug_get_name() const {
    return get_name();
}

void NYX_INSTANCE::set_name(const std::string &name, bool make_unique) {
    if (name.empty())
        NYX_RAISE_INVALID_ARGUMENT("NYX_INSTANCE::set_name", "Instance name cannot be empty");
    NYX_INSTANCE_IMPL *const impl = get_impl();
    const bool observed = nyx_is_observed<NYX_INSTANCE>();
    const std::string old_name = observed ? get_name() : std::string();
    const NYX_NAME_KEY old_key(impl->m_name_id, impl->m_unique_suffix);
    NYX_NAME_MANAGER &names = names_of(this);
    const NYX_NAME_ID name_id = names.get_id(name.c_str());
    impl->m_unique_suffix = make_unique ? nyx_next_suffix(names, name, name_id) : NYX_NO_SUFFIX;
    impl->m_name_id = name_id;
    if (const NYX_MODULE_IMPL *const parent = impl->m_parent_ptr.get())
        nyx_cache_rename<NYX_INSTANCE>(parent, impl, old_key);
    if (observed)
        nyx_notify<NYX_INSTANCE>(&NYX_OBSERVER<NYX_INSTANCE>::name_changed, this, old_name);
}

bool NYX_INSTANCE_NAME_COMPARE::operator()(const NYX_INSTANCE *a, const NYX_INSTANCE *b) const {
    return a->get_name() < b->get_name();
}

// ---- Source location

std::string NYX_INSTANCE::get_file_name() const {
    std::string result;
    const NYX_NAME_ID file_name_id = nyx_cell(&NYX_INSTANCE_TABLE::m_file_name_id, get_impl());
    if (file_name_id != NYX_NAME_ID::INVALID)
        nyx_append_name(result, names_of(this), file_name_id);
    return result;
}

void NYX_INSTANCE::set_file_name(const std::string &file_name) {
    const NYX_NAME_ID id = file_name.empty() ? NYX_NAME_ID::INVALID : names_of(this).get_id(file_name.c_str());
    nyx_cell(&NYX_INSTANCE_TABLE::m_file_name_id, get_impl()) = id;
}

unsigned int NYX_INSTANCE::get_file_lineno() const {
    return nyx_cell(&NYX_INSTANCE_TABLE::m_file_lineno, get_impl());
}
void NYX_INSTANCE::set_file_lineno(unsigned int lineno) {
    nyx_cell(&NYX_INSTANCE_TABLE::m_file_lineno, get_impl()) = lineno;
}

std::string NYX_INSTANCE::get_src_location() const {
    return nyx_format_location(get_file_name(), get_file_lineno());
}

void NYX_INSTANCE::set_src_location(const char *file_name, unsigned int lineno) {
    set_file_name(file_name != nullptr ? file_name : "");
    set_file_lineno(lineno);
}

// ---- Initial value

bool NYX_INSTANCE::has_initial_value() const {
    NYX_BOOL_TRAIT *const trait = nyx_builtin_traits(this).m_instance_has_init_value_trait;
    NYX_CHECK(trait);
    return get_value(trait);
}

bool NYX_INSTANCE::get_initial_value() const {
    if (!has_initial_value())
        NYX_RAISE_RUNTIME_ERROR("NYX_INSTANCE::get_initial_value", "Net " + get_name() + " has no initial value");
    NYX_BOOL_TRAIT *const trait = nyx_builtin_traits(this).m_instance_init_value_trait;
    NYX_CHECK(trait);
    return get_value(trait);
}

void NYX_INSTANCE::set_initial_value(bool value) {
    const NYX_BUILTIN_TRAITS &traits = nyx_builtin_traits(this);
    NYX_BOOL_TRAIT *const has_trait = traits.m_instance_has_init_value_trait;
    NYX_BOOL_TRAIT *const trait = traits.m_instance_init_value_trait;
    NYX_CHECK(has_trait);
    NYX_CHECK(trait);
    set_value(has_trait, true);
    set_value(trait, value);
}

// ---- Flags

bool NYX_INSTANCE::has_trait(TRAIT trait) const {
    return (nyx_cell(&NYX_INSTANCE_TABLE::m_trait_bits, get_impl()) >> trait & 1u) != 0;
}

const char *NYX_INSTANCE::get_name_of_trait(TRAIT trait) {
    switch (trait) {
    case mux_type:
        return "mux_type";
    }
    NYX_FATAL("Unknown NYX_INSTANCE::TRAIT");
}
