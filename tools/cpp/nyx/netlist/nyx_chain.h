#ifndef NYX_CHAIN_H
#define NYX_CHAIN_H

/// \file
/// Lists of rows: a module's nets, a net's ports and their like. The owner has the identifier of the first row, some
/// owners that of the last one too, and each row those of its neighbours; INVALID ends a list on both sides. Each list
/// is described once, by NYX_CHAIN; edits and iterators go by that description.
///
/// Invariant: the previous link of the head is INVALID, and b follows a exactly if a precedes b.

#include "memory/nyx_type_name.h"
#include "netlist/nyx_inst_port_table.h"
#include "netlist/nyx_instance_bus_table.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_interface_table.h"
#include "netlist/nyx_module_table.h"
#include "netlist/nyx_net_bus_table.h"
#include "netlist/nyx_net_table.h"
#include "netlist/nyx_object_traits.h"
#include "netlist/nyx_port_bus_table.h"
#include "netlist/nyx_port_table.h"
#include "nyx_report/nyx_report.h"

/// The cell of a row in a column of its table, from the row's address alone.
template <class TABLE, class COLUMN>
[[gnu::always_inline]] inline auto &nyx_cell(COLUMN TABLE::*column, const typename TABLE::row_type *row) {
    return *(TABLE::get_table(row)->*column).get(TABLE::get_id(row));
}

/// The list of the T of an owner: `next` and `prev` of a row, the owner's column `s_head`, and `s_tail` where it has
/// one.
template <class T, class OWNER_IMPL>
struct NYX_CHAIN;

/// Links that are fields of the primary row.
template <auto NEXT, auto PREV>
struct NYX_LINKS_IN_ROW {
    template <class TABLE, class ROW, class ID>
    static ID &next(TABLE &, ROW &row, ID) {
        return row.*NEXT;
    }
    template <class TABLE, class ROW, class ID>
    static ID &prev(TABLE &, ROW &row, ID) {
        return row.*PREV;
    }
};
/// Links that are columns of their own.
template <auto NEXT, auto PREV>
struct NYX_LINKS_IN_CELLS {
    template <class TABLE, class ROW, class ID>
    static ID &next(TABLE &table, ROW &, ID id) {
        return *(table.*NEXT).get(id);
    }
    template <class TABLE, class ROW, class ID>
    static ID &prev(TABLE &table, ROW &, ID id) {
        return *(table.*PREV).get(id);
    }
};

template <>
struct NYX_CHAIN<NYX_NET, NYX_MODULE_IMPL>
    : NYX_LINKS_IN_ROW<&NYX_NET_IMPL::m_next_in_module, &NYX_NET_IMPL::m_prev_in_module> {
    static constexpr auto s_head = &NYX_MODULE_TABLE::m_head_net;
};
template <>
struct NYX_CHAIN<NYX_INSTANCE, NYX_MODULE_IMPL>
    : NYX_LINKS_IN_ROW<&NYX_INSTANCE_IMPL::m_next_in_module, &NYX_INSTANCE_IMPL::m_prev_in_module> {
    static constexpr auto s_head = &NYX_MODULE_TABLE::m_head_instance;
    static constexpr auto s_tail = &NYX_MODULE_TABLE::m_tail_instance;
};
template <>
struct NYX_CHAIN<NYX_INTERFACE, NYX_MODULE_IMPL>
    : NYX_LINKS_IN_CELLS<&NYX_INTERFACE_TABLE::m_next_in_module, &NYX_INTERFACE_TABLE::m_prev_in_module> {
    static constexpr auto s_head = &NYX_MODULE_TABLE::m_head_interface;
};
template <>
struct NYX_CHAIN<NYX_PORT_BUS, NYX_MODULE_IMPL>
    : NYX_LINKS_IN_ROW<&NYX_PORT_BUS_IMPL::m_next_in_module, &NYX_PORT_BUS_IMPL::m_prev_in_module> {
    static constexpr auto s_head = &NYX_MODULE_TABLE::m_head_port_bus;
};
template <>
struct NYX_CHAIN<NYX_NET_BUS, NYX_MODULE_IMPL>
    : NYX_LINKS_IN_ROW<&NYX_NET_BUS_IMPL::m_next_in_module, &NYX_NET_BUS_IMPL::m_prev_in_module> {
    static constexpr auto s_head = &NYX_MODULE_TABLE::m_head_net_bus;
};
template <>
struct NYX_CHAIN<NYX_INSTANCE_BUS, NYX_MODULE_IMPL>
    : NYX_LINKS_IN_ROW<&NYX_INSTANCE_BUS_IMPL::m_next_in_module, &NYX_INSTANCE_BUS_IMPL::m_prev_in_module> {
    static constexpr auto s_head = &NYX_MODULE_TABLE::m_head_instance_bus;
};
template <>
struct NYX_CHAIN<NYX_PORT, NYX_NET_IMPL>
    : NYX_LINKS_IN_ROW<&NYX_PORT_IMPL::m_next_on_net, &NYX_PORT_IMPL::m_prev_on_net> {
    static constexpr auto s_head = &NYX_NET_TABLE::m_head_port;
};
template <>
struct NYX_CHAIN<NYX_INST_PORT, NYX_NET_IMPL>
    : NYX_LINKS_IN_ROW<&NYX_INST_PORT_IMPL::m_next_on_net, &NYX_INST_PORT_IMPL::m_prev_on_net> {
    static constexpr auto s_head = &NYX_NET_TABLE::m_head_inst_port;
};

/// The identifier of the first T of an owner, INVALID if it has none.
template <class T, class OWNER_IMPL>
auto &nyx_chain_head(const OWNER_IMPL *owner) {
    return nyx_cell(NYX_CHAIN<T, OWNER_IMPL>::s_head, owner);
}

/// The row behind `row` in its list, null at the end.
template <class T, class OWNER_IMPL>
typename NYX_OBJECT_TRAITS<T>::impl *nyx_chain_next(const typename NYX_OBJECT_TRAITS<T>::impl *row) {
    using TRAITS = NYX_OBJECT_TRAITS<T>;
    using TABLE = typename TRAITS::table;
    TABLE &table = *TABLE::get_table(row);
    auto &row_ref = const_cast<typename TRAITS::impl &>(*row);
    const auto next = NYX_CHAIN<T, OWNER_IMPL>::next(table, row_ref, TABLE::get_id(row));
    return next == TRAITS::id::INVALID ? nullptr : table.get(next);
}

/// The first T of an owner, null if it has none.
template <class T, class OWNER_IMPL>
typename NYX_OBJECT_TRAITS<T>::impl *nyx_chain_first(const OWNER_IMPL *owner);

/// Puts a row that is in no list at the front of its owner's. O(1).
template <class T, class OWNER_IMPL>
void nyx_push_front(OWNER_IMPL *owner, typename NYX_OBJECT_TRAITS<T>::impl *row) {
    using CHAIN = NYX_CHAIN<T, OWNER_IMPL>;
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    TABLE &table = *TABLE::get_table(row);
    const ID id = TABLE::get_id(row);
    ID &head = nyx_chain_head<T>(owner);
    CHAIN::next(table, *row, id) = head;
    CHAIN::prev(table, *row, id) = ID::INVALID;
    if (head != ID::INVALID)
        CHAIN::prev(table, *table.get(head), head) = id;
    else if constexpr (requires { CHAIN::s_tail; })
        nyx_cell(CHAIN::s_tail, owner) = id;
    head = id;
}

/// Puts a row that is in no list at the end of its owner's, which has a tail. O(1).
template <class T, class OWNER_IMPL>
void nyx_push_back(OWNER_IMPL *owner, typename NYX_OBJECT_TRAITS<T>::impl *row) {
    using CHAIN = NYX_CHAIN<T, OWNER_IMPL>;
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    TABLE &table = *TABLE::get_table(row);
    const ID id = TABLE::get_id(row);
    ID &tail = nyx_cell(CHAIN::s_tail, owner);
    CHAIN::next(table, *row, id) = ID::INVALID;
    CHAIN::prev(table, *row, id) = tail;
    if (tail != ID::INVALID)
        CHAIN::next(table, *table.get(tail), tail) = id;
    else
        nyx_chain_head<T>(owner) = id;
    tail = id;
}

/// Takes a row out of its owner's list; both its links are INVALID then. Ends the run for a row that is the first or
/// last of another list. O(1).
template <class T, class OWNER_IMPL>
void nyx_unlink(OWNER_IMPL *owner, typename NYX_OBJECT_TRAITS<T>::impl *row) {
    using CHAIN = NYX_CHAIN<T, OWNER_IMPL>;
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    TABLE &table = *TABLE::get_table(row);
    const ID id = TABLE::get_id(row);
    ID &own_next = CHAIN::next(table, *row, id);
    ID &own_prev = CHAIN::prev(table, *row, id);
    const ID next = own_next;
    const ID prev = own_prev;
    own_next = ID::INVALID;
    own_prev = ID::INVALID;
    if (prev != ID::INVALID) {
        CHAIN::next(table, *table.get(prev), prev) = next;
    } else {
        ID &head = nyx_chain_head<T>(owner);
        NYX_CHECK_MSG(head == id, "An object is not in the list that it is to be taken out of");
        head = next;
    }
    if (next != ID::INVALID) {
        CHAIN::prev(table, *table.get(next), next) = prev;
    } else if constexpr (requires { CHAIN::s_tail; }) {
        ID &tail = nyx_cell(CHAIN::s_tail, owner);
        NYX_CHECK_MSG(tail == id, "An object is not in the list that it is to be taken out of");
        tail = prev;
    }
}

/// Makes the neighbours of a row that has been moved within its table point to its new place.
template <class T, class OWNER_IMPL>
void nyx_relink_moved(OWNER_IMPL *owner, typename NYX_OBJECT_TRAITS<T>::impl *row) {
    using CHAIN = NYX_CHAIN<T, OWNER_IMPL>;
    using ID = typename NYX_OBJECT_TRAITS<T>::id;
    using TABLE = typename NYX_OBJECT_TRAITS<T>::table;
    TABLE &table = *TABLE::get_table(row);
    const ID id = TABLE::get_id(row);
    const ID next = CHAIN::next(table, *row, id);
    const ID prev = CHAIN::prev(table, *row, id);
    if (prev != ID::INVALID)
        CHAIN::next(table, *table.get(prev), prev) = id;
    else
        nyx_chain_head<T>(owner) = id;
    if (next != ID::INVALID)
        CHAIN::prev(table, *table.get(next), next) = id;
    else if constexpr (requires { CHAIN::s_tail; })
        nyx_cell(CHAIN::s_tail, owner) = id;
}

template <class T, class OWNER_IMPL>
typename NYX_OBJECT_TRAITS<T>::impl *nyx_chain_first(const OWNER_IMPL *owner) {
    using TRAITS = NYX_OBJECT_TRAITS<T>;
    const auto head = nyx_chain_head<T>(owner);
    if (head == TRAITS::id::INVALID)
        return nullptr;
    return nyx_get_persistent(owner)->template table<T>().get(head);
}

#endif
