#ifndef NYX_BUS_VALUES_H
#define NYX_BUS_VALUES_H

/// \file
/// What few buses have and none of their columns holds: the dimensions, where there are several, and the interface of a
/// port bus; and the interface of a port, which is kept alike. They are values of the library's own traits.

#include "netlist/nyx_bus_kind.h"
#include "netlist/nyx_interface_table.h"
#include "nyx/nyx_app_data.h"
#include "nyx/nyx_bus_dimension.h"
#include "nyx/nyx_interface.h"
#include "nyx/nyx_traits.h"
#include "traits/nyx_attributes.h"

#include <cstring>
#include <vector>

/// The dimensions of a bus that has several; none for a bus of one.
template <class BUS>
std::vector<NYX_BUS_DIMENSION> nyx_stored_dimensions(const BUS *bus) {
    NYX_APP_TRAIT *const trait = nyx_builtin_traits(bus).*NYX_BUS_KIND<BUS>::s_dimensions_trait;
    NYX_CHECK(trait);
    const NYX_APP_DATA data = bus->get_value(trait);
    std::vector<NYX_BUS_DIMENSION> dimensions(data.get_size() / sizeof(NYX_BUS_DIMENSION));
    if (!dimensions.empty())
        std::memcpy(static_cast<void *>(dimensions.data()), data.get_data(), data.get_size());
    return dimensions;
}

/// Stores the dimensions of a bus that has several; none make it a bus of one.
template <class BUS>
void nyx_store_dimensions(BUS *bus, const std::vector<NYX_BUS_DIMENSION> &dimensions) {
    NYX_APP_TRAIT *const trait = nyx_builtin_traits(bus).*NYX_BUS_KIND<BUS>::s_dimensions_trait;
    NYX_CHECK(trait);
    bus->set_value(trait, NYX_APP_DATA(static_cast<unsigned>(dimensions.size() * sizeof(NYX_BUS_DIMENSION)),
                                       reinterpret_cast<const unsigned char *>(dimensions.data())));
}

inline NYX_INT_TRAIT *nyx_interface_trait(const NYX_PORT *port) {
    return nyx_builtin_traits(port).m_port_interface_id_trait;
}
inline NYX_INT_TRAIT *nyx_interface_trait(const NYX_PORT_BUS *port_bus) {
    return nyx_builtin_traits(port_bus).m_port_bus_interface_id_trait;
}

/// The interface that a port or port bus was added to, null for none. What is in a bus has none of its own.
template <class T>
NYX_INTERFACE *nyx_own_interface(const T *object) {
    NYX_INT_TRAIT *const trait = nyx_interface_trait(object);
    NYX_CHECK(trait);
    const NYX_INTERFACE_ID id(static_cast<unsigned>(object->get_value(trait)));
    if (id == NYX_INTERFACE_ID::INVALID)
        return nullptr;
    return nyx_get_persistent(object)->template table<NYX_INTERFACE>().get(id);
}

/// Stores that interface; null for none.
template <class T>
void nyx_set_own_interface(T *object, const NYX_INTERFACE *interface) {
    NYX_INT_TRAIT *const trait = nyx_interface_trait(object);
    NYX_CHECK(trait);
    const NYX_INTERFACE_ID id =
        interface != nullptr ? NYX_INTERFACE_TABLE::get_id(interface->get_impl()) : NYX_INTERFACE_ID::INVALID;
    object->set_value(trait, static_cast<int>(id.get()));
}

#endif
