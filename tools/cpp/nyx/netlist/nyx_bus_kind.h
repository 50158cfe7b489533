#ifndef NYX_BUS_KIND_H
#define NYX_BUS_KIND_H

/// \file
/// In what the classes of buses differ. All else is written once, over this table.

#include "netlist/nyx_instance_bus_table.h"
#include "netlist/nyx_instance_table.h"
#include "netlist/nyx_net_bus_table.h"
#include "netlist/nyx_net_table.h"
#include "netlist/nyx_port_bus_table.h"
#include "netlist/nyx_port_table.h"
#include "nyx/nyx_module.h"
#include "traits/nyx_builtin_traits.h"

/// The words of a class. They are parts of texts that users and scripts know, so their case is not for us to choose.
struct NYX_BUS_WORDS {
    const char *class_name;
    const char *member;     ///< what it holds
    const char *bus;        ///< what it is, within a text
    const char *named;      ///< ... at the start of "must have non-empty name"
    const char *sought;     ///< ... at the start of "is empty and can't find its parent"
    const char *renamed;    ///< ... at the start of "name cannot be empty"
    const char *prefix;     ///< of a printed name
    const char *free_check; ///< the check that a new member is in no bus, as it is reported
    const char *hole_check; ///< the check that a position is empty, as it is reported
};

template <class BUS>
struct NYX_BUS_KIND;

template <>
struct NYX_BUS_KIND<NYX_PORT_BUS> {
    using MEMBER = NYX_PORT;
    static constexpr auto s_bus_ptr = &NYX_PORT_TABLE::m_bus_ptr;
    static constexpr auto s_dimensions_trait = &NYX_BUILTIN_TRAITS::m_port_bus_bus_dimensions_trait;
    static constexpr auto s_add = &NYX_MODULE::add_port_bus;
    static constexpr auto s_remove = &NYX_MODULE::remove_port_bus;
    static constexpr NYX_BUS_WORDS s_words{
        .class_name = "NYX_PORT_BUS",
        .member = "port",
        .bus = "port bus",
        .named = "Port Bus",
        .sought = "Bus",
        .renamed = "Port bus",
        .prefix = "PORT_BUS:",
        .free_check = "!(port && port->get_bus())",
        .hole_check = "ports[loc] == NYX_PORT_ID::INVALID",
    };
};

template <>
struct NYX_BUS_KIND<NYX_NET_BUS> {
    using MEMBER = NYX_NET;
    static constexpr auto s_bus_ptr = &NYX_NET_TABLE::m_bus_ptr;
    static constexpr auto s_dimensions_trait = &NYX_BUILTIN_TRAITS::m_net_bus_bus_dimensions_trait;
    static constexpr auto s_add = &NYX_MODULE::add_net_bus;
    static constexpr auto s_remove = &NYX_MODULE::remove_net_bus;
    static constexpr NYX_BUS_WORDS s_words{
        .class_name = "NYX_NET_BUS",
        .member = "net",
        .bus = "net bus",
        .named = "Net bus",
        .sought = "Net bus",
        .renamed = "Net bus",
        .prefix = "NET_BUS:",
        .free_check = "!(net && net->get_bus())",
        .hole_check = "nets[loc] == NYX_NET_ID::INVALID",
    };
};

template <>
struct NYX_BUS_KIND<NYX_INSTANCE_BUS> {
    using MEMBER = NYX_INSTANCE;
    static constexpr auto s_bus_ptr = &NYX_INSTANCE_TABLE::m_bus_ptr;
    static constexpr auto s_dimensions_trait = &NYX_BUILTIN_TRAITS::m_instance_bus_bus_dimensions_trait;
    static constexpr auto s_add = &NYX_MODULE::add_instance_bus;
    static constexpr auto s_remove = &NYX_MODULE::remove_instance_bus;
    static constexpr NYX_BUS_WORDS s_words{
        .class_name = "NYX_INSTANCE_BUS",
        .member = "instance",
        .bus = "instance bus",
        .named = "bus",
        .sought = "bus",
        .renamed = "Instance bus",
        .prefix = "INSTANCE_BUS:",
        .free_check = "!(instance && instance->get_bus())",
        .hole_check = "instances[loc] == NYX_INSTANCE_ID::INVALID",
    };
};

#endif
