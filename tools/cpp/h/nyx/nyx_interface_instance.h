#ifndef NYX_INTERFACE_INSTANCE_H
#define NYX_INTERFACE_INSTANCE_H

/// \file
/// Interfaces seen from outside their module: on an instance, and across the nets that join them. Both are values,
/// computed when they are asked for; nothing of them is stored, and a change of the netlist does not reach them.

#include "nyx/nyx_api.h"
#include "nyx/nyx_array_iter.h"
#include "nyx/nyx_fwd.h"
#include "nyx/nyx_name_style.h"

#include <boost/iterator/iterator_facade.hpp>
#include <boost/range/iterator_range_core.hpp>

#include <cstddef>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

/// An interface of the base module of an instance, as that instance has it. Default-constructed it is empty; all
/// members but the test for that, get_interface_net(), hash() and the comparisons raise NYX_RUNTIME_ERROR "MEMBER
/// called on an invalid interface instance" then.
class NYX_API NYX_INTERFACE_INSTANCE {
public:
    NYX_INTERFACE_INSTANCE() = default;
    /// Raises NYX_INVALID_ARGUMENT: "Instance cannot be null", "Interface cannot be null", and "Cannot create interface
    /// instance for instance NAME. Interface parent is MODULE instead of BASE_MODULE."
    NYX_INTERFACE_INSTANCE(const NYX_INSTANCE *instance, const NYX_INTERFACE *interface);

    /// False for the empty value.
    explicit operator bool() const { return m_instance != nullptr; }

    const NYX_INSTANCE *get_instance() const;
    const NYX_INTERFACE *get_interface() const;
    /// That of the instance.
    NYX_DB *get_db() const;
    /// The interface's name; the parent is the instance and the prefix "INTERFACE_INSTANCE:".
    std::string get_name(const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    /// Replaces `result`.
    void get_name(std::string &result, const NYX_NAME_STYLE &style = NYX_NAME_STYLE()) const;
    bool is_start() const;
    bool is_end() const;

    /// The instance's inst ports for the ports of the interface: those of the single ports, then those of the ports of
    /// each port bus. Null for a port that the instance has no inst port for.
    boost::iterator_range<NYX_INTERFACE_INSTANCE_INST_PORT_ITER> iter_inst_ports() const;

    /// What is connected to these inst ports. Raises NYX_INVALID_ARGUMENT "Interface instance must be valid" when
    /// empty. Ends the run if the instance has no inst port for one of the ports; members that are only met on the way
    /// may lack some.
    NYX_INTERFACE_NET get_interface_net() const;

    std::size_t hash() const;
    friend bool operator==(const NYX_INTERFACE_INSTANCE &a, const NYX_INTERFACE_INSTANCE &b) = default;

private:
    void check_is_valid(const char *member) const;

    const NYX_INSTANCE *m_instance = nullptr;
    const NYX_INTERFACE *m_interface = nullptr;
};

template <>
struct std::hash<NYX_INTERFACE_INSTANCE> {
    std::size_t operator()(const NYX_INTERFACE_INSTANCE &value) const { return value.hash(); }
};

/// \internal The ports of an interface, each once: the single ones, then those of each port bus. A single port that was
/// put in a bus afterwards is one of the bus.
class NYX_API NYX_INTERFACE_PORT_WALK {
public:
    NYX_INTERFACE_PORT_WALK() = default;
    explicit NYX_INTERFACE_PORT_WALK(const NYX_INTERFACE *interface);

    /// Null behind the last one.
    const NYX_PORT *get() const { return m_port; }
    void step();

private:
    const NYX_PORT *m_port = nullptr;
    NYX_INTERFACE_PORT_CONST_ITER m_next_port;
    NYX_INTERFACE_PORT_BUS_CONST_ITER m_next_bus;
    NYX_PORT_BUS_PORT_CONST_ITER m_next_bus_port;
};

/// Walks the inst ports of an interface instance.
class NYX_API NYX_INTERFACE_INSTANCE_INST_PORT_ITER
    : public boost::iterator_facade<NYX_INTERFACE_INSTANCE_INST_PORT_ITER, NYX_INST_PORT *,
                                    boost::forward_traversal_tag, NYX_INST_PORT *> {
public:
    /// The end.
    NYX_INTERFACE_INSTANCE_INST_PORT_ITER() = default;

private:
    friend class boost::iterator_core_access;
    friend class NYX_INTERFACE_INSTANCE;

    NYX_INTERFACE_INSTANCE_INST_PORT_ITER(const NYX_INSTANCE *instance, const NYX_INTERFACE *interface);

    NYX_INST_PORT *dereference() const;
    // The ports of an interface differ, and behind the last one is none.
    bool equal(const NYX_INTERFACE_INSTANCE_INST_PORT_ITER &other) const {
        return m_ports.get() == other.m_ports.get();
    }
    void increment();

    const NYX_INSTANCE *m_instance = nullptr;
    NYX_INTERFACE_PORT_WALK m_ports;
};

using NYX_INTERFACE_NET_INTERFACE_ITER = std::vector<const NYX_INTERFACE *>::const_iterator;
using NYX_INTERFACE_NET_INTERFACE_INSTANCE_ITER = std::vector<NYX_INTERFACE_INSTANCE>::const_iterator;

/// The interfaces and interface instances of one module that are connected: those that share a net with the one that it
/// was asked of, those that share one with these, and so on. It belongs to its group, not to where it was asked: two
/// are equal if they went over the same nets. The one that was asked is in the group if one of its ports has a net.
class NYX_API NYX_INTERFACE_NET {
public:
    /// The interfaces of the module that holds the nets, and those of the instances in it, in the order in which they
    /// were met: net by net from the first port on, the ports of a net before its inst ports, and what a member leads
    /// to before the next member.
    boost::iterator_range<NYX_INTERFACE_NET_INTERFACE_ITER> iter_interfaces() const;
    boost::iterator_range<NYX_INTERFACE_NET_INTERFACE_INSTANCE_ITER> iter_interface_instances() const;

    /// True if it has any member.
    explicit operator bool() const { return !m_interfaces.empty() || !m_interface_instances.empty(); }

    std::size_t hash() const;
    friend bool operator==(const NYX_INTERFACE_NET &a, const NYX_INTERFACE_NET &b) { return a.m_nets == b.m_nets; }

private:
    friend class NYX_INTERFACE;
    friend class NYX_INTERFACE_INSTANCE;
    class WALK;

    explicit NYX_INTERFACE_NET(const NYX_INTERFACE_INSTANCE &interface_instance);
    explicit NYX_INTERFACE_NET(const NYX_INTERFACE *interface);
    void add_interface_connections(const NYX_NET *net, WALK &walk);

    std::vector<const NYX_INTERFACE *> m_interfaces;
    std::vector<NYX_INTERFACE_INSTANCE> m_interface_instances;
    std::unordered_set<const NYX_NET *> m_nets; // over which the members were found
};

template <>
struct std::hash<NYX_INTERFACE_NET> {
    std::size_t operator()(const NYX_INTERFACE_NET &value) const { return value.hash(); }
};

#endif
