#include "nyx/nyx_inst_port.h"

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_naming.h"
#include "netlist/nyx_object_impl.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_net.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report.h"
#include "traits/nyx_attributes.h"

NYX_INST_PORT_IMPL *NYX_INST_PORT::get_impl() {
    return static_cast<NYX_INST_PORT_IMPL *>(this);
}
const NYX_INST_PORT_IMPL *NYX_INST_PORT::get_impl() const {
    return static_cast<const NYX_INST_PORT_IMPL *>(this);
}

template class NYX_OBJECT<NYX_INST_PORT>;

// ---- Life

static void put_on_net(NYX_INST_PORT *inst_port, NYX_NET *net) {
    NYX_CHECK_MSG(nyx_get_persistent(net) == nyx_get_persistent(inst_port),
                  "Inst port and net need to be in the same database");
    net->add_inst_port(inst_port);
}

NYX_INST_PORT *NYX_INST_PORT::allocate(NYX_INSTANCE *inst, NYX_PORT *port, NYX_NET *net) {
    NYX_CHECK_MSG(inst, "Instance must be non-null");
    NYX_CHECK_MSG(port, "Port must be non-null");
    NYX_CHECK_MSG(port->get_parent(),
                  "Error creating inst_port on inst %s in module %s %s. Port has not been allocated yet",
                  inst->get_name().c_str(), inst->get_parent()->get_name().c_str(), inst->get_src_location().c_str());
    NYX_CHECK_MSG(port->get_parent() == inst->get_module(),
                  "Error creating inst_port on inst %s in module %s %s. Port parent is %s instead of %s",
                  inst->get_name().c_str(), inst->get_parent()->get_name().c_str(), inst->get_src_location().c_str(),
                  port->get_parent()->get_name().c_str(), inst->get_module()->get_name().c_str());
    NYX_INSTANCE_IMPL *const inst_impl = inst->get_impl();
    const NYX_INST_PORT_ID first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, inst_impl);
    nyx_check_id(first);
    const NYX_INST_PORT_ID id(first.get() + port->get_index());
    NYX_INST_PORT_IMPL *const inst_port = nyx_get_persistent(inst_impl)->table<NYX_INST_PORT>().get(id);
    NYX_CHECK_MSG(!inst_port->is_valid(), "Duplicate allocation of inst_port");
    inst_port->m_inst_ptr = inst_impl;
    if (net != nullptr)
        put_on_net(inst_port, net);
    nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::allocated, inst_port);
    return inst_port;
}

void NYX_INST_PORT::deallocate() {
    NYX_CHECK_MSG(is_valid(), "This inst port has already been deallocated");
    if (get_net() != nullptr)
        disconnect();
    nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::deallocated, this);
    nyx_clear_traits<NYX_INST_PORT>(this);
    NYX_INST_PORT_TABLE::get_table(get_impl())->reset(NYX_INST_PORT_TABLE::get_id(get_impl()));
}

// ---- Connection

void NYX_INST_PORT::connect(NYX_NET *net) {
    nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::pre_connect, this);
    NYX_CHECK(net);
    NYX_CHECK_AS(is_valid(), "impl->get_inst_ptr().get()", "This inst port has not been allocated yet");
    put_on_net(this, net);
    nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::post_connect, this);
}

void NYX_INST_PORT::disconnect() {
    nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::pre_disconnect, this);
    NYX_NET *const net = get_net();
    NYX_CHECK_MSG(net, "The inst port is not connected");
    net->remove_inst_port(this);
    nyx_notify<NYX_INST_PORT>(&NYX_OBSERVER<NYX_INST_PORT>::post_disconnect, this);
}

// ---- Navigation

bool NYX_INST_PORT::is_valid() const {
    return get_impl()->m_inst_ptr.get() != nullptr;
}

NYX_INSTANCE *NYX_INST_PORT::get_inst() const {
    return get_impl()->m_inst_ptr.get();
}

NYX_PORT *NYX_INST_PORT::get_port() const {
    const NYX_INST_PORT_IMPL *const impl = get_impl();
    const NYX_INSTANCE_IMPL *const inst = impl->m_inst_ptr.get();
    NYX_CHECK_AS(
        inst, "impl->get_inst_ptr().get()",
        "This inst port has not been allocated yet: NYX_INST_PORT::allocate() has not yet been called for this "
        "inst port!");
    const NYX_INST_PORT_ID first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, inst);
    const unsigned index = NYX_INST_PORT_TABLE::get_id(impl).get() - first.get();
    // The short way, for walks over connections come through here at every step.
    const NYX_MODULE_IMPL *const module = inst->m_module_ptr.get();
    if (module == nullptr || index >= module->m_num_ports) [[unlikely]]
        return inst->get_module()->get_port_by_index(index);
    NYX_PORT_IMPL *const port =
        nyx_get_persistent(module)->table<NYX_PORT>().get(NYX_PORT_ID(module->m_first_port.get() + index));
    return port->m_parent_ptr != nullptr ? port : nullptr;
}

NYX_NET *NYX_INST_PORT::get_net() const {
    return get_impl()->m_net_ptr.get();
}

// ---- Names

std::string NYX_INST_PORT::get_name(const NYX_NAME_STYLE &style) const {
    std::string result;
    get_name(result, style);
    return result;
}

void NYX_INST_PORT::get_name(std::string &result, const NYX_NAME_STYLE &style) const {
    const auto get_parent = [this] { return get_inst(); };
    if (const NYX_PORT *const port = get_port()) {
        // It may lie in another database, with names of its own.
        nyx_write_name(result, style, "INST_PORT:", nyx_get_persistent(port)->names(), port->get_impl()->m_name_id,
                       NYX_NO_SUFFIX, get_parent);
        return;
    }
    const NYX_INST_PORT_ID first = nyx_cell(&NYX_INSTANCE_TABLE::m_first_inst_port, get_inst()->get_impl());
    const unsigned index = NYX_INST_PORT_TABLE::get_id(get_impl()).get() - first.get();
    nyx_write_name(result, style, "INST_PORT:", "<deleted port " + std::to_string(index) + '>', get_parent);
}

std::string NYX_INST_PORT::debug_get_name() const {
    return get_name();
}
