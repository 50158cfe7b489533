#include "nyx/nyx_interface_instance.h"

#include "nyx/nyx_bus.h"
#include "nyx/nyx_inst_port.h"
#include "nyx/nyx_instance.h"
#include "nyx/nyx_interface.h"
#include "nyx/nyx_module.h"
#include "nyx/nyx_net.h"
#include "nyx/nyx_port.h"
#include "nyx_report/nyx_report_exception.h"

#include <boost/container_hash/hash.hpp>
#include <boost/format.hpp>

#include <algorithm>

NYX_INTERFACE_INSTANCE::NYX_INTERFACE_INSTANCE(const NYX_INSTANCE *instance, const NYX_INTERFACE *interface)
    : m_instance(instance)
    , m_interface(interface) {
    constexpr const char *function = "NYX_INTERFACE_INSTANCE::NYX_INTERFACE_INSTANCE";
    if (instance == nullptr)
        NYX_RAISE_INVALID_ARGUMENT(function, "Instance cannot be null");
    if (interface == nullptr)
        NYX_RAISE_INVALID_ARGUMENT(function, "Interface cannot be null");
    const NYX_MODULE *const module = instance->get_module();
    const NYX_MODULE *const parent = interface->get_parent();
    if (parent != module) {
        boost::format text("Cannot create interface instance for instance %1%. Interface parent is %2% instead of "
                           "%3%.");
        NYX_RAISE_INVALID_ARGUMENT(function,
                                   (text % instance->get_name() % parent->get_name() % module->get_name()).str());
    }
}

NYX_INTERFACE_INSTANCE NYX_INSTANCE::get_interface_instance(const NYX_INTERFACE *interface) const {
    return NYX_INTERFACE_INSTANCE(this, interface);
}

void NYX_INTERFACE_INSTANCE::check_is_valid(const char *member) const {
    if (m_instance == nullptr) {
        const std::string function = std::string("NYX_INTERFACE_INSTANCE::") + member;
        NYX_RAISE_RUNTIME_ERROR(function.c_str(), std::string(member) + " called on an invalid interface instance");
    }
}

const NYX_INSTANCE *NYX_INTERFACE_INSTANCE::get_instance() const {
    check_is_valid("get_instance");
    return m_instance;
}

const NYX_INTERFACE *NYX_INTERFACE_INSTANCE::get_interface() const {
    check_is_valid("get_interface");
    return m_interface;
}

NYX_DB *NYX_INTERFACE_INSTANCE::get_db() const {
    check_is_valid("get_db");
    return m_instance->get_db();
}

std::string NYX_INTERFACE_INSTANCE::get_name(const NYX_NAME_STYLE &style) const {
    std::string result;
    get_name(result, style);
    return result;
}

void NYX_INTERFACE_INSTANCE::get_name(std::string &result, const NYX_NAME_STYLE &style) const {
    check_is_valid("get_name");
    result = style.with_type_prefix ? "INTERFACE_INSTANCE:" : "";
    if (style.with_parent) {
        result += m_instance->get_name(style.parent_style());
        result += style.parent_separator;
    }
    result += m_interface->get_name(style.parent_style());
}

bool NYX_INTERFACE_INSTANCE::is_start() const {
    check_is_valid("is_start");
    return m_interface->is_start();
}

bool NYX_INTERFACE_INSTANCE::is_end() const {
    check_is_valid("is_end");
    return m_interface->is_end();
}

boost::iterator_range<NYX_INTERFACE_INSTANCE_INST_PORT_ITER> NYX_INTERFACE_INSTANCE::iter_inst_ports() const {
    check_is_valid("iter_inst_ports");
    return {NYX_INTERFACE_INSTANCE_INST_PORT_ITER(m_instance, m_interface), NYX_INTERFACE_INSTANCE_INST_PORT_ITER()};
}

NYX_INTERFACE_NET NYX_INTERFACE_INSTANCE::get_interface_net() const {
    return NYX_INTERFACE_NET(*this);
}

std::size_t NYX_INTERFACE_INSTANCE::hash() const {
    std::size_t seed = 0;
    boost::hash_combine(seed, m_instance);
    boost::hash_combine(seed, m_interface);
    return seed;
}

NYX_INTERFACE_INSTANCE_INST_PORT_ITER::NYX_INTERFACE_INSTANCE_INST_PORT_ITER(const NYX_INSTANCE *instance,
                                                                             const NYX_INTERFACE *interface)
    : m_instance(instance)
    , m_ports(interface) {}

NYX_INST_PORT *NYX_INTERFACE_INSTANCE_INST_PORT_ITER::dereference() const {
    return m_instance->get_inst_port_for_port(m_ports.get());
}

void NYX_INTERFACE_INSTANCE_INST_PORT_ITER::increment() {
    m_ports.step();
}

NYX_INTERFACE_PORT_WALK::NYX_INTERFACE_PORT_WALK(const NYX_INTERFACE *interface)
    : m_next_port(interface)
    , m_next_bus(interface) {
    step();
}

void NYX_INTERFACE_PORT_WALK::step() {
    while (m_next_port != NYX_INTERFACE_PORT_CONST_ITER()) {
        m_port = *m_next_port++;
        // One that was put in a bus afterwards has the interface of the bus, and comes with it.
        if (m_port->get_bus() == nullptr)
            return;
    }
    for (;;) {
        while (m_next_bus_port != NYX_PORT_BUS_PORT_CONST_ITER()) {
            m_port = *m_next_bus_port++;
            if (m_port != nullptr)
                return;
        }
        if (m_next_bus == NYX_INTERFACE_PORT_BUS_CONST_ITER())
            break;
        m_next_bus_port = NYX_PORT_BUS_PORT_CONST_ITER(*m_next_bus++);
    }
    m_port = nullptr;
}

// One walk from net to member to net. What is to be done is on a stack and not in nested calls, whose depth would be
// the length of the longest chain of members; but the order is that of nested calls.
class NYX_INTERFACE_NET::WALK {
public:
    explicit WALK(NYX_INTERFACE_NET &result) : m_result(result) {}

    // What is behind the net. O(connections of the nets that are met for the first time).
    void follow(const NYX_NET *net) {
        put_net(net);
        while (!m_to_do.empty()) {
            const STEP step = m_to_do.back();
            m_to_do.pop_back();
            const std::size_t first = m_to_do.size();
            if (step.net != nullptr)
                visit(*step.net);
            else
                record(step);
            // The first one is done next.
            std::reverse(m_to_do.begin() + static_cast<std::ptrdiff_t>(first), m_to_do.end());
        }
    }

private:
    // A net to be visited, or a member to be recorded: an interface, of an instance or of the module itself.
    struct STEP {
        const NYX_NET *net;
        const NYX_INSTANCE *instance;
        const NYX_INTERFACE *interface;
    };

    void put_net(const NYX_NET *net) {
        if (net != nullptr)
            m_to_do.push_back({net, nullptr, nullptr});
    }

    void visit(const NYX_NET &net) {
        if (!m_result.m_nets.insert(&net).second)
            return;
        for (const NYX_PORT *const port : net.const_iter_ports()) {
            if (const NYX_INTERFACE *const interface = port->get_interface())
                m_to_do.push_back({nullptr, nullptr, interface});
        }
        for (const NYX_INST_PORT *const inst_port : net.const_iter_inst_ports()) {
            const NYX_PORT *const port = inst_port->get_port();
            if (const NYX_INTERFACE *const interface = port != nullptr ? port->get_interface() : nullptr)
                m_to_do.push_back({nullptr, inst_port->get_inst(), interface});
        }
    }

    void record(const STEP &member) {
        if (!m_members.insert({member.instance, member.interface}).second)
            return;
        if (member.instance == nullptr) {
            m_result.m_interfaces.push_back(member.interface);
            for (NYX_INTERFACE_PORT_WALK ports(member.interface); ports.get() != nullptr; ports.step())
                put_net(ports.get()->get_net());
        } else {
            m_result.m_interface_instances.emplace_back(member.instance, member.interface);
            for (NYX_INTERFACE_PORT_WALK ports(member.interface); ports.get() != nullptr; ports.step()) {
                if (const NYX_INST_PORT *const inst_port = member.instance->get_inst_port_for_port(ports.get()))
                    put_net(inst_port->get_net());
            }
        }
    }

    using MEMBER = std::pair<const NYX_INSTANCE *, const NYX_INTERFACE *>;

    NYX_INTERFACE_NET &m_result;
    std::vector<STEP> m_to_do;
    std::unordered_set<MEMBER, boost::hash<MEMBER>> m_members;
};

NYX_INTERFACE_NET::NYX_INTERFACE_NET(const NYX_INTERFACE_INSTANCE &interface_instance) {
    if (!interface_instance)
        NYX_RAISE_INVALID_ARGUMENT("NYX_INTERFACE_NET::NYX_INTERFACE_NET", "Interface instance must be valid");
    WALK walk(*this);
    for (const NYX_INST_PORT *const inst_port : interface_instance.iter_inst_ports()) {
        NYX_CHECK(inst_port);
        add_interface_connections(inst_port->get_net(), walk);
    }
}

NYX_INTERFACE_NET::NYX_INTERFACE_NET(const NYX_INTERFACE *interface) {
    if (interface == nullptr)
        NYX_RAISE_INVALID_ARGUMENT("NYX_INTERFACE_NET::NYX_INTERFACE_NET", "Interface cannot be null");
    WALK walk(*this);
    for (NYX_INTERFACE_PORT_WALK ports(interface); ports.get() != nullptr; ports.step())
        add_interface_connections(ports.get()->get_net(), walk);
}

void NYX_INTERFACE_NET::add_interface_connections(const NYX_NET *net, WALK &walk) {
    walk.follow(net);
}

boost::iterator_range<NYX_INTERFACE_NET_INTERFACE_ITER> NYX_INTERFACE_NET::iter_interfaces() const {
    return {m_interfaces.begin(), m_interfaces.end()};
}

boost::iterator_range<NYX_INTERFACE_NET_INTERFACE_INSTANCE_ITER> NYX_INTERFACE_NET::iter_interface_instances() const {
    return {m_interface_instances.begin(), m_interface_instances.end()};
}

std::size_t NYX_INTERFACE_NET::hash() const {
    // The order of the set is nobody's business.
    std::size_t sum = 0;
    for (const NYX_NET *const net : m_nets)
        sum += boost::hash<const NYX_NET *>()(net);
    return sum;
}
