#ifndef NYX_INTERFACE_MEMBERS_H
#define NYX_INTERFACE_MEMBERS_H

/// \file
/// The members of interfaces, as they are stored: one list of ports and one of port buses, in the order in which they
/// were added. A list exists from the first member on and stays until the interface goes.
///
/// Invariant: a row is in the list of an interface exactly if its own interface is that one.

#include "memory/nyx_segment.h"
#include "netlist/nyx_interface_table.h"
#include "nyx/nyx_bus.h"
#include "nyx/nyx_port.h"

#include <boost/container/vector.hpp>

/// The members of type T.
template <class T>
using NYX_INTERFACE_MEMBERS = boost::container::vector<NYX_OFFSET_PTR<T>, NYX_SEGMENT_ALLOCATOR<NYX_OFFSET_PTR<T>>>;

static_assert(sizeof(NYX_INTERFACE_MEMBERS<NYX_PORT>) == 32);

inline NYX_OFFSET_PTR<void> &nyx_members_ptr(NYX_INTERFACE_IMPL *interface, const NYX_PORT *) {
    return interface->m_ports_ptr;
}
inline NYX_OFFSET_PTR<void> &nyx_members_ptr(NYX_INTERFACE_IMPL *interface, const NYX_PORT_BUS *) {
    return interface->m_port_buses_ptr;
}

/// The list of an interface's members of type T, null before the first one.
template <class T>
NYX_INTERFACE_MEMBERS<T> *nyx_interface_members(const NYX_INTERFACE_IMPL *interface) {
    auto &ptr = nyx_members_ptr(const_cast<NYX_INTERFACE_IMPL *>(interface), static_cast<const T *>(nullptr));
    return static_cast<NYX_INTERFACE_MEMBERS<T> *>(ptr.get());
}

/// A port's row has moved, and so have its values: its interface, if it has one, refers to the new row from now on, at
/// the same place in its list. Allocates nothing. O(ports of the interface).
void nyx_interface_port_moved(const NYX_PORT *from, NYX_PORT *to);

#endif
