#ifndef NYX_FIND_PARENT_H
#define NYX_FIND_PARENT_H

/// \file
/// How nets and buses find their module: they store none, but what is connected to a net and the members of a bus tell
/// it without a search.

#include "database/nyx_db_persistent.h"
#include "netlist/nyx_bus_kind.h"
#include "netlist/nyx_chain.h"

/// The module of an object that may be a member of a bus, null if the object doesn't know it. O(1).
inline NYX_MODULE_IMPL *nyx_known_parent(const NYX_PORT_IMPL *port) {
    return port->m_parent_ptr.get();
}
inline NYX_MODULE_IMPL *nyx_known_parent(const NYX_INSTANCE_IMPL *instance) {
    return instance->m_parent_ptr.get();
}
/// A net knows its module by what is connected to it.
inline NYX_MODULE_IMPL *nyx_known_parent(const NYX_NET_IMPL *net) {
    if (const NYX_PORT_IMPL *const port = nyx_chain_first<NYX_PORT>(net))
        return port->m_parent_ptr.get();
    if (const NYX_INST_PORT_IMPL *const inst_port = nyx_chain_first<NYX_INST_PORT>(net))
        return inst_port->m_inst_ptr->m_parent_ptr.get();
    return nullptr;
}

/// The module of the first member of a bus that knows it, null if none does. O(size of the bus).
template <class BUS>
NYX_MODULE_IMPL *nyx_known_bus_parent(const typename NYX_OBJECT_TRAITS<BUS>::impl *bus) {
    auto &members = nyx_get_persistent(bus)->template table<typename NYX_BUS_KIND<BUS>::MEMBER>();
    const long long size = bus->get_size();
    for (long long loc = 0; loc < size; ++loc) {
        const auto id = bus->m_members_ptr[loc];
        if (id == std::decay_t<decltype(id)>::INVALID)
            continue;
        if (NYX_MODULE_IMPL *const parent = nyx_known_parent(members.get(id)))
            return parent;
    }
    return nullptr;
}

/// The module whose list of T a row is in, null for none. Only the head of the list has to be found: O(rows before it
/// in the list + modules). Modules of other databases are not asked, for lists are made of identifiers of one.
template <class T>
NYX_MODULE_IMPL *nyx_search_parent(const typename NYX_OBJECT_TRAITS<T>::impl *row) {
    using CHAIN = NYX_CHAIN<T, NYX_MODULE_IMPL>;
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    TABLE &rows = *TABLE::get_table(row);
    ID head = TABLE::get_id(row);
    for (ID prev = head; prev != ID::INVALID; prev = CHAIN::prev(rows, *rows.get(head), head))
        head = prev;
    NYX_MODULE_TABLE &modules = nyx_get_persistent(row)->template table<NYX_MODULE>();
    for (unsigned i = 0; i < modules.iter_limit(); ++i) {
        if (*(modules.*CHAIN::s_head).get(NYX_MODULE_ID(i)) == head)
            return modules.get(NYX_MODULE_ID(i));
    }
    return nullptr;
}

/// The module of a bus: that of its members, else the one whose list it is in; null if it is in none.
template <class BUS>
NYX_MODULE_IMPL *nyx_find_parent(const typename NYX_OBJECT_TRAITS<BUS>::impl *bus) {
    NYX_MODULE_IMPL *const parent = nyx_known_bus_parent<BUS>(bus);
    return parent != nullptr ? parent : nyx_search_parent<BUS>(bus);
}
/// The module of a net: that of its connections, of those of its bus, or else the one whose list it is in.
template <>
inline NYX_MODULE_IMPL *nyx_find_parent<NYX_NET>(const NYX_NET_IMPL *net) {
    if (NYX_MODULE_IMPL *const parent = nyx_known_parent(net))
        return parent;
    if (const NYX_NET_BUS_IMPL *const bus = nyx_cell(&NYX_NET_TABLE::m_bus_ptr, net).get()) {
        if (NYX_MODULE_IMPL *const parent = nyx_known_bus_parent<NYX_NET_BUS>(bus))
            return parent;
    }
    return nyx_search_parent<NYX_NET>(net);
}

/// The module that a row is to be taken out of; null if it is in no list. It is that of nyx_find_parent(), but
/// connections to and members of another module, which should not be, can't mislead where this would break two lists.
template <class T>
NYX_MODULE_IMPL *nyx_find_list_owner(const typename NYX_OBJECT_TRAITS<T>::impl *row) {
    using CHAIN = NYX_CHAIN<T, NYX_MODULE_IMPL>;
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    NYX_MODULE_IMPL *const parent = nyx_find_parent<T>(row);
    const ID id = TABLE::get_id(row);
    auto &own = const_cast<typename NYX_OBJECT_TRAITS<T>::impl &>(*row);
    const bool is_head = CHAIN::prev(*TABLE::get_table(row), own, id) == ID::INVALID;
    if (parent == nullptr || !is_head || nyx_chain_head<T>(parent) == id)
        return parent;
    return nyx_search_parent<T>(row);
}

#endif
