#include "netlist/nyx_bus_values.h"
#include "netlist/nyx_object_impl.h"
#include "nyx/nyx_port.h"

NYX_PORT *NYX_PORT_BUS::get_port(const std::vector<int> &index) const {
    return get_member(index);
}

std::vector<NYX_PORT *> NYX_PORT_BUS::get_ports(const std::vector<NYX_BUS_DIMENSION> &sub_dims) const {
    return get_members(sub_dims);
}

std::vector<NYX_PORT *> NYX_PORT_BUS::get_ports(const std::string &query) const {
    return get_members(query);
}

void NYX_PORT_BUS::set_port(int index, NYX_PORT *port) {
    set_member(index, port);
}

void NYX_PORT_BUS::set_port(const std::vector<int> &index, NYX_PORT *port) {
    set_member(index, port);
}

int NYX_PORT_BUS::remove_port(NYX_PORT *port) {
    return remove_member(port);
}

boost::iterator_range<NYX_PORT_BUS_PORT_ITER> NYX_PORT_BUS::iter_ports() {
    return {NYX_PORT_BUS_PORT_ITER(this), NYX_PORT_BUS_PORT_ITER()};
}

boost::iterator_range<NYX_PORT_BUS_PORT_CONST_ITER> NYX_PORT_BUS::const_iter_ports() const {
    return {NYX_PORT_BUS_PORT_CONST_ITER(this), NYX_PORT_BUS_PORT_CONST_ITER()};
}

namespace {

const NYX_PORT *find_first_port(const NYX_PORT_BUS *bus) {
    for (const NYX_PORT *const port : bus->const_iter_ports()) {
        if (port != nullptr)
            return port;
    }
    return nullptr;
}

} // namespace

bool NYX_PORT_BUS::is_input() const {
    const NYX_PORT *const port = find_first_port(this);
    return port != nullptr && port->is_input();
}

bool NYX_PORT_BUS::is_output() const {
    const NYX_PORT *const port = find_first_port(this);
    return port != nullptr && port->is_output();
}

bool NYX_PORT_BUS::is_bidir() const {
    const NYX_PORT *const port = find_first_port(this);
    return port != nullptr && port->is_bidir();
}

void NYX_PORT_BUS::set_input() {
    for (NYX_PORT *const port : iter_ports()) {
        if (port != nullptr)
            port->set_input();
    }
}

void NYX_PORT_BUS::set_output() {
    for (NYX_PORT *const port : iter_ports()) {
        if (port != nullptr)
            port->set_output();
    }
}

void NYX_PORT_BUS::set_bidir() {
    for (NYX_PORT *const port : iter_ports()) {
        if (port != nullptr)
            port->set_bidir();
    }
}

NYX_INTERFACE *NYX_PORT_BUS::get_interface() const {
    return nyx_own_interface(this);
}

void NYX_PORT_BUS::set_interface(NYX_INTERFACE *interface) {
    nyx_set_own_interface(this, interface);
}

NYX_PORT_BUS_IMPL *NYX_PORT_BUS::get_impl() {
    return static_cast<NYX_PORT_BUS_IMPL *>(this);
}
const NYX_PORT_BUS_IMPL *NYX_PORT_BUS::get_impl() const {
    return static_cast<const NYX_PORT_BUS_IMPL *>(this);
}

template class NYX_OBJECT<NYX_PORT_BUS>;
