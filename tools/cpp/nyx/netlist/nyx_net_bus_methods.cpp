#include "netlist/nyx_net_bus_table.h"
#include "netlist/nyx_object_impl.h"

NYX_NET *NYX_NET_BUS::get_net(const std::vector<int> &index) const {
    return get_member(index);
}

std::vector<NYX_NET *> NYX_NET_BUS::get_nets(const std::vector<NYX_BUS_DIMENSION> &sub_dims) const {
    return get_members(sub_dims);
}

std::vector<NYX_NET *> NYX_NET_BUS::get_nets(const std::string &query) const {
    return get_members(query);
}

void NYX_NET_BUS::set_net(int index, NYX_NET *net) {
    set_member(index, net);
}

void NYX_NET_BUS::set_net(const std::vector<int> &index, NYX_NET *net) {
    set_member(index, net);
}

int NYX_NET_BUS::remove_net(NYX_NET *net) {
    return remove_member(net);
}

boost::iterator_range<NYX_NET_BUS_NET_ITER> NYX_NET_BUS::iter_nets() {
    return {NYX_NET_BUS_NET_ITER(this), NYX_NET_BUS_NET_ITER()};
}

boost::iterator_range<NYX_NET_BUS_NET_CONST_ITER> NYX_NET_BUS::const_iter_nets() const {
    return {NYX_NET_BUS_NET_CONST_ITER(this), NYX_NET_BUS_NET_CONST_ITER()};
}

NYX_NET_BUS_IMPL *NYX_NET_BUS::get_impl() {
    return static_cast<NYX_NET_BUS_IMPL *>(this);
}
const NYX_NET_BUS_IMPL *NYX_NET_BUS::get_impl() const {
    return static_cast<const NYX_NET_BUS_IMPL *>(this);
}

template class NYX_OBJECT<NYX_NET_BUS>;
