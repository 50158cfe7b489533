// The run of rows that holds a module's ports: how it grows, is compacted and goes.
//
// Ports are moved within it in their order. A moved port takes along all that is kept for it: its row and cells, the
// values that are kept by its identifier, its place on its net, in its bus and in its interface.

#include "netlist/nyx_module_ports.h"
#include "database/nyx_db_cache.h"
#include "database/nyx_db_linker.h"
#include "database/nyx_db_persistent.h"
#include "netlist/nyx_chain.h"
#include "netlist/nyx_db_observer.h"
#include "netlist/nyx_interface_members.h"
#include "netlist/nyx_release_run.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_interface.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_net.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report.h"
#include "nyx_report/nyx_report_exception.h"
#include "traits/nyx_attributes.h"

#include <boost/format.hpp>

#include <utility>
#include <vector>

namespace {

constexpr unsigned not_moved = ~0u;

// A move of a module's ports to the front of another run, or of their own.
class PORT_MOVE {
public:
    PORT_MOVE(NYX_MODULE_IMPL *module, unsigned new_size)
        : m_module(module)
        , m_table(nyx_get_persistent(module)->table<NYX_PORT>())
        , m_old_first(module->m_first_port)
        , m_old_size(module->m_num_ports)
        , m_new_first(m_old_first)
        , m_new_size(new_size)
        , m_old_to_new(m_old_size, not_moved) {
        for (unsigned i = 0; i < m_old_size; ++i) {
            if (old_row(i)->m_parent_ptr.get() == module) {
                m_old_to_new[i] = static_cast<unsigned>(m_new_to_old.size());
                m_new_to_old.push_back(i);
            }
        }
    }

    PORT_MOVE(const PORT_MOVE &) = delete;
    PORT_MOVE &operator=(const PORT_MOVE &) = delete;
    ~PORT_MOVE() {
        if (m_is_reserved)
            nyx_release_run(m_table, m_new_first, m_new_size);
    }

    // By the new index of a port its old one.
    const std::vector<unsigned> &new_to_old() const { return m_new_to_old; }

    // Does what can fail. Nothing has changed when it throws.
    void reserve() {
        find_bus_members();
        if (m_new_size > m_old_size) {
            m_new_first = NYX_PORT_TABLE::get_id(m_table.allocate(m_new_size));
            m_is_reserved = true;
        }
        reserve_attributes();
    }

    // Takes the room that values of traits of ports need in the new run; the same holds.
    void reserve_attributes() {
        NYX_ROW_MOVES moves;
        for (unsigned i = 0; i < m_new_to_old.size(); ++i)
            if (old_row(m_new_to_old[i]) != new_row(i))
                moves.emplace_back(m_old_first.get() + m_new_to_old[i], m_new_first.get() + i);
        nyx_make_room_for_traits<NYX_PORT>(nyx_get_persistent(m_module), moves);
    }

    // To be called once, after reserve().
    void run() {
        const bool grows = std::exchange(m_is_reserved, false);
        for (NYX_PORT_ID *const member : m_bus_members)
            *member = NYX_PORT_ID(m_new_first.get() + m_old_to_new[member->get() - m_old_first.get()]);
        for (unsigned i = 0; i < m_new_to_old.size(); ++i) {
            if (old_row(m_new_to_old[i]) != new_row(i))
                move(old_row(m_new_to_old[i]), new_row(i));
        }
        m_module->m_first_port = m_new_size == 0 ? NYX_PORT_ID::INVALID : m_new_first;
        m_module->m_num_ports = m_new_size;
        if (grows)
            nyx_release_run(m_table, m_old_first, m_old_size);
        else if (m_new_size < m_old_size)
            nyx_release_run(m_table, NYX_PORT_ID(m_old_first.get() + m_new_size), m_old_size - m_new_size);
    }

    void tell() {
        for (unsigned i = 0; i < m_new_to_old.size(); ++i) {
            NYX_PORT *const from = old_row(m_new_to_old[i]);
            NYX_PORT *const to = new_row(i);
            if (from != to)
                nyx_notify<NYX_PORT>(&NYX_OBSERVER<NYX_PORT>::moved, from, to);
        }
    }

private:
    NYX_PORT_IMPL *old_row(unsigned index) const { return m_table.get(NYX_PORT_ID(m_old_first.get() + index)); }
    NYX_PORT_IMPL *new_row(unsigned index) const { return m_table.get(NYX_PORT_ID(m_new_first.get() + index)); }

    // The arrays of buses name their members by identifier.
    void find_bus_members() {
        std::vector<bool> is_member(m_old_size);
        for (NYX_PORT_BUS_IMPL *bus = nyx_chain_first<NYX_PORT_BUS>(m_module); bus != nullptr;
             bus = nyx_chain_next<NYX_PORT_BUS, NYX_MODULE_IMPL>(bus)) {
            const long long size = bus->get_size();
            for (long long position = 0; position < size; ++position) {
                NYX_PORT_ID &member = bus->m_members_ptr[position];
                if (member == NYX_PORT_ID::INVALID)
                    continue;
                const unsigned index = member.get() - m_old_first.get();
                NYX_CHECK_MSG(index < m_old_size && m_old_to_new[index] != not_moved,
                              "Port bus %s has a member that is not a port of module %s", bus->get_name().c_str(),
                              m_module->get_name().c_str());
                NYX_CHECK_AS(!is_member[index], "bus_info.find(mem_port) == bus_info.end()",
                             "port in more than one bus");
                is_member[index] = true;
                m_bus_members.push_back(&member);
            }
        }
        for (const unsigned index : m_new_to_old)
            NYX_CHECK_MSG(is_member[index] || old_row(index)->get_bus() == nullptr,
                          "Port %s is in a bus that is not one of module %s", old_row(index)->get_name().c_str(),
                          m_module->get_name().c_str());
    }

    void move(NYX_PORT_IMPL *from, NYX_PORT_IMPL *to) {
        const NYX_PORT_ID from_id = NYX_PORT_TABLE::get_id(from);
        const NYX_PORT_ID to_id = NYX_PORT_TABLE::get_id(to);
        m_table.move(from_id, to_id);
        nyx_move_traits<NYX_PORT>(m_table.get(from_id), m_table.get(to_id));
        nyx_interface_port_moved(from, to);
        if (to->m_net_ptr)
            nyx_relink_moved<NYX_PORT>(to->m_net_ptr.get(), to);
        m_table.reset(from_id);
    }

    NYX_MODULE_IMPL *const m_module;
    NYX_PORT_TABLE &m_table;
    const NYX_PORT_ID m_old_first;
    const unsigned m_old_size;
    NYX_PORT_ID m_new_first;
    const unsigned m_new_size;
    std::vector<unsigned> m_old_to_new; // not_moved for an empty place
    std::vector<unsigned> m_new_to_old;
    std::vector<NYX_PORT_ID *> m_bus_members; // the places in the arrays of buses
    bool m_is_reserved = false;               // the new run is there, and not in use yet
};

} // namespace

// Instances that can't be changed are found before anything is.
void nyx_check_ports_are_writable(NYX_MODULE *module, const char *function) {
    const NYX_DB_PERSISTENT *checked = nullptr;
    for (const NYX_INSTANCE *const instance : module->iter_instances_of()) {
        const NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(instance);
        if (persistent == checked)
            continue;
        checked = persistent;
        const NYX_DB *const db = instance->get_db();
        if (db->is_read_only())
            NYX_RAISE_RUNTIME_ERROR(
                function,
                (boost::format("Cannot change ports of module %1%: its instances in read-only database '%2%' can't "
                               "follow") %
                 module->get_name() % db->get_name())
                    .str());
    }
}

void NYX_MODULE::set_num_ports(unsigned int num_ports) {
    PORT_MOVE move(get_impl(), num_ports);
    // All rows that are needed are taken before the first port moves, here and for each instance.
    NYX_INSTANCE::RUNS instances;
    try {
        for (NYX_INSTANCE *const instance : iter_instances_of()) {
            instances.emplace_back(instance, NYX_INST_PORT_ID::INVALID);
            instances.back().second = instance->reserve_run(num_ports, move.new_to_old());
        }
        NYX_INSTANCE::reserve_attributes(instances, move.new_to_old());
        move.reserve();
        // These may have been left by ports that were deleted while the instance's database was closed.
        bool has_told = false;
        for (const auto &[instance, run] : instances)
            has_told |= instance->deallocate_left_out(move.new_to_old());
        // Who was told of that may have given values to what is about to move.
        if (has_told) {
            NYX_INSTANCE::reserve_attributes(instances, move.new_to_old());
            move.reserve_attributes();
        }
        move.run();
    } catch (...) {
        for (const auto &[instance, run] : instances)
            instance->release_reserved_run(run, num_ports);
        throw;
    }
    nyx_cache_drop(get_impl());
    NYX_INSTANCE::INST_PORT_MOVES inst_port_moves;
    for (const auto &[instance, run] : instances)
        instance->update_inst_port_array(num_ports, move.new_to_old(), run, inst_port_moves);
    NYX_INSTANCE::tell_moves(inst_port_moves);
    move.tell();
}

void NYX_MODULE::increase_num_ports(unsigned int num_ports) {
    if (num_ports == 0)
        return;
    NYX_CHECK_MSG(num_ports <= ~0u - get_num_ports(), "Too many ports");
    nyx_check_ports_are_writable(this, "NYX_MODULE::increase_num_ports");
    set_num_ports(get_num_ports() + num_ports);
}

void NYX_MODULE::update_num_ports() {
    unsigned num_ports = 0;
    for (const NYX_PORT *const port : const_iter_ports())
        num_ports += port->get_parent() == this;
    if (num_ports == get_num_ports())
        return;
    nyx_check_ports_are_writable(this, "NYX_MODULE::update_num_ports");
    set_num_ports(num_ports);
}

void NYX_MODULE::release_ports() {
    NYX_MODULE_IMPL *const impl = get_impl();
    if (impl->m_num_ports == 0)
        return;
    // The module's own nets and buses are gone, but a port may be on or in those of another one. Interfaces go later.
    // The values are kept by identifier, and the identifiers are handed out again.
    for (NYX_PORT *const port : iter_ports()) {
        if (port->get_parent() != this)
            continue;
        if (NYX_NET *const net = port->get_net())
            net->remove_port(port);
        if (NYX_PORT_BUS *const bus = port->get_bus())
            bus->remove_port(port);
        if (NYX_INTERFACE *const interface = port->get_interface())
            interface->remove_port(port);
        nyx_clear_traits<NYX_PORT>(port);
    }
    const NYX_PORT_ID first = impl->m_first_port;
    const unsigned num_ports = impl->m_num_ports;
    impl->m_first_port = NYX_PORT_ID::INVALID;
    impl->m_num_ports = 0;
    nyx_cache_drop(impl);
    nyx_release_run(nyx_get_persistent(impl)->table<NYX_PORT>(), first, num_ports);
}
