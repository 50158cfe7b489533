#ifndef NYX_BUS_PARENT_H
#define NYX_BUS_PARENT_H

/// \file
/// How a bus finds its module: it stores none, but the module of its members is known without a search.

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_bus_kind.h"
#include "netlist/nyx_chain.h"

/// The module of a member, null if the member doesn't know it.
inline NYX_MODULE_IMPL *nyx_known_parent(NYX_DB_PERSISTENT *, const NYX_PORT_IMPL *port) {
    return port->m_parent_ptr.get();
}
inline NYX_MODULE_IMPL *nyx_known_parent(NYX_DB_PERSISTENT *, const NYX_INSTANCE_IMPL *instance) {
    return instance->m_parent_ptr.get();
}
/// A net knows its module by what is connected to it.
inline NYX_MODULE_IMPL *nyx_known_parent(NYX_DB_PERSISTENT *persistent, const NYX_NET_IMPL *net) {
    if (const NYX_PORT_ID port = nyx_chain_head<NYX_PORT>(net); port != NYX_PORT_ID::INVALID)
        return persistent->table<NYX_PORT>().get(port)->m_parent_ptr.get();
    if (const NYX_INST_PORT_ID inst_port = nyx_chain_head<NYX_INST_PORT>(net); inst_port != NYX_INST_PORT_ID::INVALID)
        return persistent->table<NYX_INST_PORT>().get(inst_port)->m_inst_ptr->m_parent_ptr.get();
    return nullptr;
}

/// The module whose list a bus is in, null for none. Only the head of the list has to be found: O(buses before it in
/// the list + modules). Modules of other databases are not asked, for lists are made of identifiers of one.
template <class BUS>
NYX_MODULE_IMPL *nyx_search_bus_parent(const typename NYX_OBJECT_TRAITS<BUS>::impl *bus) {
    using CHAIN = NYX_CHAIN<BUS, NYX_MODULE_IMPL>;
    using TABLE = typename NYX_OBJECT_TRAITS<BUS>::table;
    using ID = typename NYX_OBJECT_TRAITS<BUS>::id;
    TABLE &buses = *TABLE::get_table(bus);
    ID head = TABLE::get_id(bus);
    for (ID prev = head; prev != ID::INVALID; prev = CHAIN::prev(buses, *buses.get(head), head))
        head = prev;
    NYX_MODULE_TABLE &modules = nyx_get_persistent(bus)->template table<NYX_MODULE>();
    for (unsigned i = 0; i < modules.iter_limit(); ++i) {
        if (*(modules.*CHAIN::s_head).get(NYX_MODULE_ID(i)) == head)
            return modules.get(NYX_MODULE_ID(i));
    }
    return nullptr;
}

/// The module of the first member that knows it, else the one whose list the bus is in; null if it is in none.
template <class BUS>
NYX_MODULE_IMPL *nyx_find_bus_parent(const typename NYX_OBJECT_TRAITS<BUS>::impl *bus) {
    NYX_DB_PERSISTENT *const persistent = nyx_get_persistent(bus);
    auto &members = persistent->template table<typename NYX_BUS_KIND<BUS>::MEMBER>();
    const long long size = bus->get_size();
    for (long long loc = 0; loc < size; ++loc) {
        const auto id = bus->m_members_ptr[loc];
        if (id == std::decay_t<decltype(id)>::INVALID)
            continue;
        if (NYX_MODULE_IMPL *const parent = nyx_known_parent(persistent, members.get(id)))
            return parent;
    }
    return nyx_search_bus_parent<BUS>(bus);
}

#endif
